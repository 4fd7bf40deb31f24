#pragma once

// One audio file seen through a client format. Writing: the program hands it blocks in the
// client format (non-interleaved float for the recorder); it interleaves them and writes
// them with libsndfile. Reading returns frames in the client format. Files are WAV with
// 32-bit float (or PCM) samples, written as RF64 that stays plain WAV below 4 GiB.

#include "platform/CABufferList.h"
#include "platform/CAStreamBasicDescription.h"
#include "platform/CoreAudioTypes.h"

#include <memory>
#include <sndfile.h>
#include <string>

// A reference to something that exists in the file system: a folder to create files in,
// or a file to open. Held as an absolute path.
struct FSRef {
    std::string path;
};

// Splits `path` into a reference to its parent folder, which must exist, and the file name.
// In the name every ":" becomes "/" (CreateNew turns them back), as names are given to file
// creation in the other separator convention. Returns 0, or -43 when the folder is missing.
OSStatus PosixPathToParentFSRefAndName(const char* path, FSRef& parent, std::string& name);

// Statuses for failures the file library does not report itself.
inline constexpr OSStatus kCAAudioFileNonPCMClientFormat = -66563;
inline constexpr OSStatus kCAAudioFileInvalidChannelMap = -66564;
inline constexpr OSStatus kCAAudioFileInvalidOperationOrder = -66565;
inline constexpr OSStatus kCAAudioFileInvalidDataFormat = -66566;
inline constexpr OSStatus kCAAudioFileMaxPacketSizeUnknown = -66567;
inline constexpr OSStatus kCAAudioFileUnspecifiedError = OSStatus(FourCC("wht?"));
inline constexpr OSStatus kCAAudioFileUnsupportedFileTypeError = OSStatus(FourCC("typ?"));
inline constexpr OSStatus kCAAudioFileUnsupportedDataFormatError = OSStatus(FourCC("fmt?"));
inline constexpr OSStatus kCAAudioFileInvalidFileError = OSStatus(FourCC("dta?"));
inline constexpr OSStatus kCAAudioFileNotFoundError = -43;  // no such file or folder
inline constexpr OSStatus kCAAudioFileDuplicateError = -48; // a file of that name exists
inline constexpr OSStatus kCAAudioFileDiskFullError = -34;
inline constexpr OSStatus kCAAudioFilePermissionError = -54;
inline constexpr OSStatus kCAAudioFileReadOnlyVolumeError = -61;
inline constexpr OSStatus kCAAudioFileBadNameError = -37;
inline constexpr OSStatus kCAAudioFileIOError = -36;

class CAAudioFile {
  public:
    enum Mode { kClosed = 0, kReading = 1, kPreparingToCreate = 2, kCreated = 3, kWriting = 4 };

    CAAudioFile();
    virtual ~CAAudioFile();

    CAAudioFile(const CAAudioFile&) = delete;
    CAAudioFile& operator=(const CAAudioFile&) = delete;

    // Opens an existing file for reading. The client format starts as 32-bit float,
    // interleaved, at the file's rate and channel count.
    void Open(const FSRef& file);
    // Creates `name` in `parentDir`; never replaces an existing file (nor follows a link
    // planted at the path). A sample rate of 0 is written as 44100.
    void CreateNew(const FSRef& parentDir, const std::string& name, AudioFileTypeID fileType,
                   const AudioStreamBasicDescription& dataFormat);
    // 32-bit float, interleaved or not, at the file's rate and channel count.
    void SetClientFormat(const CAStreamBasicDescription& format);
    void SetIOBufferSizeBytes(UInt32 bytes) { mIOBufferSizeBytes = bytes; }
    UInt32 GetIOBufferSizeBytes() const { return mIOBufferSizeBytes; }

    // Not real-time: allocates the I/O buffer on first use and writes to the file.
    void Write(UInt32 frames, const AudioBufferList* data);
    // Reads up to `ioFrames` frames into `data` (client format); `ioFrames` becomes the
    // number read, 0 at the end of the file.
    void Read(UInt32& ioFrames, AudioBufferList* data);
    // Brings the header's size fields up to date, so that a file left unclosed (the
    // process killed) still opens with every frame written so far.
    void UpdateHeader();
    // Closes the file; run by the destructor too. Never throws.
    void Close();

    int GetMode() const { return mMode; }
    const CAStreamBasicDescription& GetFileDataFormat() const { return mFileDataFormat; }
    const CAStreamBasicDescription& GetClientDataFormat() const { return mClientDataFormat; }
    SInt64 GetNumberFrames() const { return mNumberFrames; } // reading: frames in the file
    SInt64 Tell() const { return mFrameMark; }               // next frame to write or read
    const std::string& GetPath() const { return mPath; }

  private:
    void ApplyFileFormat();
    void AllocateIOBuffer();
    void CloseHandles() noexcept;
    UInt32 MaximumPacketSize() const;

    SNDFILE* mFileID = nullptr;
    int mFileDescriptor = -1;
    bool mOwnsFile = false;
    int mMode = kClosed;
    SInt64 mPacketMark = 0;
    SInt64 mFrameMark = 0;
    SInt64 mNumberFrames = 0;
    UInt32 mIOBufferSizeBytes = 0x10000;
    std::unique_ptr<float[]> mIOBuffer; // interleaved float
    UInt32 mIOBufferFrames = 0;
    // Client and file differ (interleaving): blocks go through mIOBuffer.
    bool mConverter = false;
    CAStreamBasicDescription mFileDataFormat;
    CAStreamBasicDescription mClientDataFormat;
    UInt32 mPendingFrames = 0;
    std::unique_ptr<CABufferList> mPendingBuffers;
    std::string mPath;
};
