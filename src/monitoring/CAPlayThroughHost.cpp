#include "monitoring/CAPlayThroughHost.h"

#include <utility>

namespace Tolm::Monitoring {

CAPlayThroughHost::CAPlayThroughHost(AudioDeviceID input, AudioDeviceID output)
{
    CreatePlayThrough(input, output);
}

CAPlayThroughHost::~CAPlayThroughHost()
{
    DeletePlayThrough();
}

void CAPlayThroughHost::CreatePlayThrough(AudioDeviceID input, AudioDeviceID output)
{
    DeletePlayThrough();
    // Ends the program when the devices cannot be set up.
    auto created = std::make_unique<CAPlayThrough>(input, output);
    const AudioDeviceID device = created->GetInputDeviceID();
    {
        std::lock_guard lock(mMutex);
        engine = std::move(created);
        ++mBuilds;
    }
    // A failure leaves the engine without rebuilds; nothing more to do about it.
    AddDeviceListeners(device);
}

void CAPlayThroughHost::DeletePlayThrough()
{
    // First make sure no rebuild is running or can start, then tear down.
    RemoveDeviceListeners();
    std::unique_ptr<CAPlayThrough> old;
    {
        std::lock_guard lock(mMutex);
        old = std::move(engine);
    }
    if (old)
        old->Stop();
    // The engine's destructor cleans up its streams.
}

void CAPlayThroughHost::ResetPlayThrough()
{
    std::lock_guard lock(mMutex);
    if (!engine)
        return;
    const AudioDeviceID input = engine->GetInputDeviceID();
    const AudioDeviceID output = engine->GetOutputDeviceID();
    engine->Stop();
    engine.reset();
    engine = std::make_unique<CAPlayThrough>(input, output);
    ++mBuilds;
    engine->Start();
}

bool CAPlayThroughHost::PlayThroughExists() const
{
    std::lock_guard lock(mMutex);
    return engine != nullptr;
}

OSStatus CAPlayThroughHost::Start()
{
    std::lock_guard lock(mMutex);
    return engine ? engine->Start() : noErr;
}

OSStatus CAPlayThroughHost::Stop()
{
    std::lock_guard lock(mMutex);
    return engine ? engine->Stop() : noErr;
}

bool CAPlayThroughHost::IsRunning() const
{
    std::lock_guard lock(mMutex);
    return engine && engine->IsRunning();
}

CAPlayThrough* CAPlayThroughHost::Engine() const
{
    std::lock_guard lock(mMutex);
    return engine.get();
}

OSStatus CAPlayThroughHost::AddDeviceListeners(AudioDeviceID input)
{
    const auto id = Platform::Hardware().AddStreamFormatListener(input, [this] { StreamListener(this); });
    std::lock_guard lock(mMutex);
    mListener = id;
    mListening = true;
    return noErr;
}

void CAPlayThroughHost::RemoveDeviceListeners()
{
    Platform::AudioHardware::ListenerId id = 0;
    {
        std::lock_guard lock(mMutex);
        if (!std::exchange(mListening, false))
            return;
        id = mListener;
    }
    // Waits for a running rebuild, which needs the mutex: so not held here.
    Platform::Hardware().RemoveListener(id);
}

OSStatus CAPlayThroughHost::StreamListener(CAPlayThroughHost* host)
{
    host->ResetPlayThrough();
    return noErr;
}

} // namespace Tolm::Monitoring
