#pragma once

#include "recording/CAAudioFile.h"

#include <memory>

// Owns the file a writer streams into; destroying it closes the file.
class CAAudioFileStreamer {
  public:
    CAAudioFileStreamer() = default;
    virtual ~CAAudioFileStreamer() = default;

    CAAudioFileStreamer(const CAAudioFileStreamer&) = delete;
    CAAudioFileStreamer& operator=(const CAAudioFileStreamer&) = delete;

    bool IsRunning() const { return mRunning; }
    // Null until a file is set.
    CAAudioFile* GetFile() const { return mFile.get(); }

  protected:
    bool mRunning = false;
    std::unique_ptr<CAAudioFile> mFile;
};
