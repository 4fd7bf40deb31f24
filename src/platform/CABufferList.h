#pragma once

#include "platform/CAStreamBasicDescription.h"
#include "platform/CoreAudioTypes.h"

#include <cstddef>
#include <memory>

// An AudioBufferList that owns its list storage and, optionally, the memory of its buffers.
// Without memory of its own it is a list of pointers that callers aim at other memory.
class CABufferList {
  public:
    // `numberBuffers` buffers of `channelsPerBuffer` channels each, pointing nowhere.
    CABufferList(const char* name, UInt32 numberBuffers, UInt32 channelsPerBuffer = 1);
    ~CABufferList();

    CABufferList(const CABufferList&) = delete;
    CABufferList& operator=(const CABufferList&) = delete;

    // A pointer-only list shaped for `format`: one buffer per channel when it is
    // non-interleaved, else one buffer of all channels.
    static std::unique_ptr<CABufferList> New(const char* name, const CAStreamBasicDescription& format);

    const char* Name() const { return mName; }
    UInt32 GetNumberBuffers() const { return mList->mNumberBuffers; }
    const AudioBufferList& GetBufferList() const { return *mList; }
    AudioBufferList& GetModifiableBufferList() { return *mList; }
    AudioBuffer& GetBuffer(UInt32 index) { return mList->mBuffers[index]; }
    const AudioBuffer& GetBuffer(UInt32 index) const { return mList->mBuffers[index]; }

    // Gives every buffer `nBytes` of zeroed memory, all in one block. With two or more
    // buffers each is spaced ((nBytes with its low 4 bits cleared) + 16) with bit 4 set
    // apart, which keeps them 16-byte aligned and off each other's cache lines;
    // mDataByteSize stays nBytes.
    void AllocateBuffers(UInt32 nBytes);
    void DeallocateBuffers();
    bool OwnsMemory() const { return mMemory != nullptr; }
    // Bytes set aside for each buffer by AllocateBuffers (0 when it owns no memory).
    UInt32 GetAllocatedBytesPerBuffer() const { return mAllocatedBytesPerBuffer; }

    // Byte size of the first buffer (all buffers are kept the same size).
    UInt32 GetNumBytes() const { return mList->mNumberBuffers == 0 ? 0 : mList->mBuffers[0].mDataByteSize; }
    void SetNumBytes(UInt32 nBytes);
    // Points the buffers at those of `list` (as many as both have) with their sizes.
    void SetFrom(const AudioBufferList& list);
    // Back to the own memory at its full size; pointers cleared when there is none.
    void Reset();
    // Moves every buffer's start `nBytes` on and shrinks it by as much.
    void BytesConsumed(UInt32 nBytes);
    // Zeroes each buffer's data up to its current size.
    void SetToZeroes();

    // Byte size of an AudioBufferList header with `numberBuffers` buffers.
    static std::size_t CalculateByteSize(UInt32 numberBuffers);

  private:
    const char* mName;
    std::unique_ptr<std::byte[]> mListStorage;
    AudioBufferList* mList;
    std::unique_ptr<std::byte[]> mMemory;
    UInt32 mRequestedBytes = 0;
    UInt32 mAllocatedBytesPerBuffer = 0;
};
