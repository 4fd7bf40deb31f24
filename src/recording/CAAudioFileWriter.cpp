#include "recording/CAAudioFileWriter.h"

#include "platform/CAXException.h"

CAAudioFileWriter::CAAudioFileWriter(int nBuffers, UInt32 bufferSizeFrames)
    : CAPushBufferQueue(nBuffers, bufferSizeFrames)
{
}

CAAudioFileWriter::~CAAudioFileWriter()
{
    // The file goes before the queue's own destructor runs: take the buffers away from the
    // work thread first so it cannot be writing into a closed file.
    CancelAndDisposeBuffers();
}

void CAAudioFileWriter::SetFile(const FSRef& parentDir, const std::string& name, AudioFileTypeID fileType,
                                const CAStreamBasicDescription& dataFormat)
{
    Stop();
    CancelAndDisposeBuffers();
    mFile.reset();

    auto file = std::make_unique<CAAudioFile>();
    file->CreateNew(parentDir, name, fileType, dataFormat);
    const CAStreamBasicDescription& fileFormat = file->GetFileDataFormat();
    const auto client =
        CAStreamBasicDescription::Float32(fileFormat.mSampleRate, fileFormat.mChannelsPerFrame, false);
    file->SetClientFormat(client);
    mFile = std::move(file);
    SetFormat(client);
}

void CAAudioFileWriter::Start()
{
    ResetOverrunCount();
    mWriteError.store(0, std::memory_order_release);
    mRunning = true;
}

void CAAudioFileWriter::Stop()
{
    Flush();
    mRunning = false;
}

CABufferQueue::Buffer* CAAudioFileWriter::CreateBuffer(const CAStreamBasicDescription& format, UInt32 nBytes)
{
    return new Buffer(this, format, nBytes);
}

void CAAudioFileWriter::WriteBuffer(Buffer* buffer)
{
    if (mWriteError.load(std::memory_order_relaxed) != 0 || !mFile) {
        buffer->SetEmpty(); // a gap in the middle would be worse than a clean end
        return;
    }
    const UInt32 frames = buffer->FrameCount();
    AudioBufferList& list = mBufferList->GetModifiableBufferList();
    const AudioBufferList& memory = buffer->Memory();
    for (UInt32 i = 0; i < list.mNumberBuffers; ++i) {
        list.mBuffers[i].mNumberChannels = memory.mBuffers[i].mNumberChannels;
        list.mBuffers[i].mData = static_cast<std::byte*>(memory.mBuffers[i].mData) +
                                 std::size_t(buffer->mStartOffset) * mBytesPerFrame;
        list.mBuffers[i].mDataByteSize = mBytesPerFrame * frames;
    }
    try {
        mFile->Write(frames, &list);
        // Never on the audio thread: a header seek and write per buffer keeps a killed
        // recording readable up to its last written buffer.
        mFile->UpdateHeader();
    } catch (const CAXException& e) {
        mWriteError.store(e.GetError() != 0 ? e.GetError() : kCAAudioFileIOError, std::memory_order_release);
        mFile->UpdateHeader(); // in place: the header needs no new room on the disk
    }
    buffer->SetEmpty();
}
