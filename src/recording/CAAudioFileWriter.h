#pragma once

#include "recording/CAAudioFileStreamer.h"
#include "recording/CABufferQueue.h"

#include <atomic>
#include <string>

// A push queue whose full buffers the work thread writes to a file.
class CAAudioFileWriter : public CAPushBufferQueue, public CAAudioFileStreamer {
  public:
    CAAudioFileWriter(int nBuffers, UInt32 bufferSizeFrames);
    ~CAAudioFileWriter() override;

    // Stops, drops the old buffers and file, creates the new file and makes the buffers for
    // a non-interleaved float client format of the file's rate and channels. Throws
    // CAXException.
    virtual void SetFile(const FSRef& parentDir, const std::string& name, AudioFileTypeID fileType,
                         const CAStreamBasicDescription& dataFormat);
    virtual void Start();
    // Writes what the queue still holds, on the calling thread.
    virtual void Stop();

    // The status of the first write that failed (a full disk: kCAAudioFileDiskFullError),
    // 0 while every write has succeeded. Set on the work thread; any thread may ask. After a
    // failure the file keeps what was written before it and later buffers are dropped.
    OSStatus GetWriteError() const { return mWriteError.load(std::memory_order_acquire); }

  protected:
    Buffer* CreateBuffer(const CAStreamBasicDescription& format, UInt32 nBytes) override;
    void ProcessBuffer(Buffer* buffer) override { WriteBuffer(buffer); }
    void WriteBuffer(Buffer* buffer);

  private:
    std::atomic<OSStatus> mWriteError{0};
};
