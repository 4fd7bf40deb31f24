#include "platform/CABufferList.h"

#include <algorithm>
#include <cstring>
#include <new>

std::size_t CABufferList::CalculateByteSize(UInt32 numberBuffers)
{
    return std::max(sizeof(AudioBufferList),
                    offsetof(AudioBufferList, mBuffers) + std::size_t(numberBuffers) * sizeof(AudioBuffer));
}

CABufferList::CABufferList(const char* name, UInt32 numberBuffers, UInt32 channelsPerBuffer)
    : mName(name), mListStorage(new std::byte[CalculateByteSize(numberBuffers)]())
{
    mList = new (mListStorage.get()) AudioBufferList{};
    mList->mNumberBuffers = numberBuffers;
    for (UInt32 i = 0; i < numberBuffers; ++i)
        mList->mBuffers[i] = AudioBuffer{channelsPerBuffer, 0, nullptr};
}

CABufferList::~CABufferList() = default;

std::unique_ptr<CABufferList> CABufferList::New(const char* name, const CAStreamBasicDescription& format)
{
    return std::make_unique<CABufferList>(name, format.NumberChannelStreams(),
                                          format.NumberInterleavedChannels());
}

void CABufferList::AllocateBuffers(UInt32 nBytes)
{
    const UInt32 count = mList->mNumberBuffers;
    UInt32 spacing = nBytes;
    if (count >= 2)
        spacing = ((nBytes & ~UInt32(15)) + 16) | 16;

    mMemory.reset(new std::byte[std::size_t(spacing) * count]());
    mRequestedBytes = nBytes;
    mAllocatedBytesPerBuffer = spacing;
    Reset();
}

void CABufferList::DeallocateBuffers()
{
    mMemory.reset();
    mRequestedBytes = 0;
    mAllocatedBytesPerBuffer = 0;
    Reset();
}

void CABufferList::SetNumBytes(UInt32 nBytes)
{
    for (UInt32 i = 0; i < mList->mNumberBuffers; ++i)
        mList->mBuffers[i].mDataByteSize = nBytes;
}

void CABufferList::SetFrom(const AudioBufferList& list)
{
    const UInt32 count = std::min(mList->mNumberBuffers, list.mNumberBuffers);
    for (UInt32 i = 0; i < count; ++i)
        mList->mBuffers[i] = list.mBuffers[i];
}

void CABufferList::Reset()
{
    for (UInt32 i = 0; i < mList->mNumberBuffers; ++i) {
        AudioBuffer& buffer = mList->mBuffers[i];
        if (mMemory) {
            buffer.mData = mMemory.get() + std::size_t(i) * mAllocatedBytesPerBuffer;
            buffer.mDataByteSize = mRequestedBytes;
        } else {
            buffer.mData = nullptr;
            buffer.mDataByteSize = 0;
        }
    }
}

void CABufferList::BytesConsumed(UInt32 nBytes)
{
    for (UInt32 i = 0; i < mList->mNumberBuffers; ++i) {
        AudioBuffer& buffer = mList->mBuffers[i];
        const UInt32 n = std::min(nBytes, buffer.mDataByteSize);
        if (buffer.mData != nullptr)
            buffer.mData = static_cast<std::byte*>(buffer.mData) + n;
        buffer.mDataByteSize -= n;
    }
}

void CABufferList::SetToZeroes()
{
    for (UInt32 i = 0; i < mList->mNumberBuffers; ++i) {
        AudioBuffer& buffer = mList->mBuffers[i];
        if (buffer.mData != nullptr)
            std::memset(buffer.mData, 0, buffer.mDataByteSize);
    }
}
