// Proves that the play-through callbacks neither allocate nor lock. This program replaces
// malloc and friends and the pthread locks with counting versions; a wrapper around the
// virtual hardware marks the threads while they run the engine's callbacks, and only what
// happens on a marked thread is counted.

#include "monitoring/CAPlayThrough.h"

#include "VirtualRig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <dlfcn.h>
#include <pthread.h>

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
}

namespace {

thread_local bool tInCallback = false;
std::atomic<int> gAllocations{0};
std::atomic<int> gLocks{0};

void CountAllocation()
{
    if (tInCallback)
        gAllocations.fetch_add(1, std::memory_order_relaxed);
}

void CountLock()
{
    if (tInCallback)
        gLocks.fetch_add(1, std::memory_order_relaxed);
}

// The real function, looked up on first use (locks are taken before static initialisation).
template <typename F>
F Next(std::atomic<F>& cache, const char* name)
{
    F f = cache.load(std::memory_order_acquire);
    if (f == nullptr) {
        f = reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
        cache.store(f, std::memory_order_release);
    }
    return f;
}

using MutexFn = int (*)(pthread_mutex_t*);
using RwFn = int (*)(pthread_rwlock_t*);
std::atomic<MutexFn> gMutexLock{nullptr};
std::atomic<MutexFn> gMutexTryLock{nullptr};
std::atomic<RwFn> gReadLock{nullptr};
std::atomic<RwFn> gWriteLock{nullptr};

} // namespace

extern "C" {

void* malloc(size_t size)
{
    CountAllocation();
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size)
{
    CountAllocation();
    return __libc_calloc(count, size);
}

void* realloc(void* pointer, size_t size)
{
    CountAllocation();
    return __libc_realloc(pointer, size);
}

void* aligned_alloc(size_t alignment, size_t size)
{
    CountAllocation();
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** pointer, size_t alignment, size_t size)
{
    CountAllocation();
    *pointer = __libc_memalign(alignment, size);
    return *pointer ? 0 : 12;
}

int pthread_mutex_lock(pthread_mutex_t* mutex)
{
    CountLock();
    return Next(gMutexLock, "pthread_mutex_lock")(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex)
{
    CountLock();
    return Next(gMutexTryLock, "pthread_mutex_trylock")(mutex);
}

int pthread_rwlock_rdlock(pthread_rwlock_t* lock)
{
    CountLock();
    return Next(gReadLock, "pthread_rwlock_rdlock")(lock);
}

int pthread_rwlock_wrlock(pthread_rwlock_t* lock)
{
    CountLock();
    return Next(gWriteLock, "pthread_rwlock_wrlock")(lock);
}

} // extern "C"

namespace {

using namespace Tolm::Platform;

// Forwards to the virtual hardware; marks the thread while an engine callback runs.
class MarkingHardware final : public AudioHardware {
public:
    explicit MarkingHardware(std::shared_ptr<VirtualAudioHardware> inner) : mInner(std::move(inner)) {}

    std::vector<AudioDeviceInfo> Devices() const override { return mInner->Devices(); }
    OSStatus GetDevice(AudioDeviceID id, AudioDeviceInfo& info) const override { return mInner->GetDevice(id, info); }
    AudioDeviceID DefaultInputDevice() const override { return mInner->DefaultInputDevice(); }
    AudioDeviceID DefaultOutputDevice() const override { return mInner->DefaultOutputDevice(); }
    ListenerId AddDeviceSetListener(std::function<void()> l) override { return mInner->AddDeviceSetListener(std::move(l)); }
    ListenerId AddStreamFormatListener(AudioDeviceID d, std::function<void()> l) override
    {
        return mInner->AddStreamFormatListener(d, std::move(l));
    }
    void RemoveListener(ListenerId id) override { mInner->RemoveListener(id); }

    OSStatus OpenInputStream(AudioDeviceID device, AudioStreamProc proc, void* refCon,
                             std::unique_ptr<AudioStream>& stream) override
    {
        return mInner->OpenInputStream(device, &Marked, Wrap(proc, refCon), stream);
    }
    OSStatus OpenOutputStream(AudioDeviceID device, AudioStreamProc proc, void* refCon,
                              std::unique_ptr<AudioStream>& stream) override
    {
        return mInner->OpenOutputStream(device, &Marked, Wrap(proc, refCon), stream);
    }

private:
    struct Callback {
        AudioStreamProc proc;
        void* refCon;
    };

    void* Wrap(AudioStreamProc proc, void* refCon)
    {
        mCallbacks.push_back(std::make_unique<Callback>(Callback{proc, refCon}));
        return mCallbacks.back().get();
    }

    static OSStatus Marked(void* refCon, const AudioTimeStamp& time, UInt32 frames, AudioBufferList* data)
    {
        const auto* callback = static_cast<const Callback*>(refCon);
        tInCallback = true;
        const OSStatus status = callback->proc(callback->refCon, time, frames, data);
        tInCallback = false;
        return status;
    }

    std::shared_ptr<VirtualAudioHardware> mInner;
    std::vector<std::unique_ptr<Callback>> mCallbacks;
};

std::atomic<int> gHookBlocks{0};

// Stands in for the input chain: touches every sample, as the meters do.
OSStatus PeakHook(AudioBufferList* list, unsigned long frames, long long)
{
    float peak = 0.0f;
    for (UInt32 b = 0; b < list->mNumberBuffers; ++b)
        for (unsigned long i = 0; i < frames; ++i)
            peak = std::max(peak, std::fabs(static_cast<const float*>(list->mBuffers[b].mData)[i]));
    if (peak > 0.0f)
        ++gHookBlocks;
    return noErr;
}

} // namespace

TEST(RealTimeSafety, CountersSeeWhatHappensOnAMarkedThread)
{
    gAllocations = 0;
    gLocks = 0;
    // Called through volatile pointers, so the compiler cannot leave the calls out.
    void* (*volatile allocate)(std::size_t) = &::operator new;
    void* (*volatile allocateC)(std::size_t) = &std::malloc;
    std::mutex mutex;
    tInCallback = true;
    void* a = allocate(16);
    void* b = allocateC(16);
    mutex.lock();
    mutex.unlock();
    tInCallback = false;
    ::operator delete(a);
    std::free(b);
    EXPECT_EQ(gAllocations.load(), 2);
    EXPECT_EQ(gLocks.load(), 1);
}

TEST(RealTimeSafety, PlayThroughCallbacksNeitherAllocateNorLock)
{
    // Different rates, a fast input clock, gain, a hook, output before input, an underrun
    // and a hole: every path of both callbacks.
    Tolm::Test::VirtualRig rig({44100.0, 441, 48000.0, 480}, Tolm::Test::Sine(1000.0, 44100.0),
                               [](auto inner) { return std::make_shared<MarkingHardware>(inner); });
    rig.hardware->SetRateScalar(rig.input, 1.0005);
    Tolm::Monitoring::CAPlayThrough engine(rig.input, rig.output);
    engine.SetInputGain(3.0f);
    engine.inputHook = &PeakHook;
    gHookBlocks = 0;
    ASSERT_EQ(engine.Start(), noErr);

    gAllocations = 0;
    gLocks = 0;
    rig.hardware->Pump(rig.output, 4 * 480);
    rig.Run(100);
    rig.hardware->Pump(rig.output, 20 * 480);
    rig.hardware->InjectHole(rig.input, 441 * 3);
    rig.Run(100);
    engine.Stop();

    EXPECT_GT(gHookBlocks.load(), 150);
    EXPECT_EQ(gAllocations.load(), 0);
    EXPECT_EQ(gLocks.load(), 0);
    rig.hardware->SetCaptureOutput(rig.output, false);
}
