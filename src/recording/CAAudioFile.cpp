#include "recording/CAAudioFile.h"

#include "platform/CAXException.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr OSStatus kParamError = -50;

OSStatus StatusFromErrno(int error)
{
    switch (error) {
    case EEXIST:
    case ELOOP:
        return kCAAudioFileDuplicateError;
    case ENOENT:
    case ENOTDIR:
        return kCAAudioFileNotFoundError;
    case EACCES:
    case EPERM:
        return kCAAudioFilePermissionError;
    case EROFS:
        return kCAAudioFileReadOnlyVolumeError;
    case ENOSPC:
    case EDQUOT:
        return kCAAudioFileDiskFullError;
    case ENAMETOOLONG:
        return kCAAudioFileBadNameError;
    default:
        return kCAAudioFileIOError;
    }
}

// libsndfile keeps errno of a failed system call; anything else is its own failure.
OSStatus StatusOfFailedCall(SNDFILE* file, int savedErrno)
{
    if (savedErrno != 0)
        return StatusFromErrno(savedErrno);
    switch (sf_error(file)) {
    case SF_ERR_UNRECOGNISED_FORMAT:
        return kCAAudioFileUnsupportedFileTypeError;
    case SF_ERR_MALFORMED_FILE:
        return kCAAudioFileInvalidFileError;
    case SF_ERR_UNSUPPORTED_ENCODING:
        return kCAAudioFileUnsupportedDataFormatError;
    default:
        return kCAAudioFileUnspecifiedError;
    }
}

// The libsndfile subtype for a WAV file of this format, or 0 when WAV cannot hold it.
int SubtypeFor(const CAStreamBasicDescription& format)
{
    if (!format.IsPCM() || !format.IsInterleaved() || format.IsBigEndian() || format.mChannelsPerFrame == 0 ||
        format.mFramesPerPacket != 1 ||
        format.mBytesPerFrame != format.mChannelsPerFrame * format.mBitsPerChannel / 8)
        return 0;
    if (format.IsFloat()) {
        if (format.mBitsPerChannel == 32)
            return SF_FORMAT_FLOAT;
        if (format.mBitsPerChannel == 64)
            return SF_FORMAT_DOUBLE;
        return 0;
    }
    switch (format.mBitsPerChannel) {
    case 8:
        return format.IsSignedInteger() ? 0 : SF_FORMAT_PCM_U8;
    case 16:
        return format.IsSignedInteger() ? SF_FORMAT_PCM_16 : 0;
    case 24:
        return format.IsSignedInteger() ? SF_FORMAT_PCM_24 : 0;
    case 32:
        return format.IsSignedInteger() ? SF_FORMAT_PCM_32 : 0;
    default:
        return 0;
    }
}

CAStreamBasicDescription FormatOf(const SF_INFO& info)
{
    CAStreamBasicDescription format;
    format.mSampleRate = info.samplerate;
    format.mChannelsPerFrame = UInt32(info.channels);
    format.mFramesPerPacket = 1;
    UInt32 bits = 0;
    AudioFormatFlags flags = kAudioFormatFlagIsPacked;
    switch (info.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_U8:
        bits = 8;
        break;
    case SF_FORMAT_PCM_S8:
        bits = 8;
        flags |= kAudioFormatFlagIsSignedInteger;
        break;
    case SF_FORMAT_PCM_16:
        bits = 16;
        flags |= kAudioFormatFlagIsSignedInteger;
        break;
    case SF_FORMAT_PCM_24:
        bits = 24;
        flags |= kAudioFormatFlagIsSignedInteger;
        break;
    case SF_FORMAT_PCM_32:
        bits = 32;
        flags |= kAudioFormatFlagIsSignedInteger;
        break;
    case SF_FORMAT_FLOAT:
        bits = 32;
        flags |= kAudioFormatFlagIsFloat;
        break;
    case SF_FORMAT_DOUBLE:
        bits = 64;
        flags |= kAudioFormatFlagIsFloat;
        break;
    default:
        break; // compressed: no PCM description
    }
    if (bits != 0) {
        format.mFormatID = kAudioFormatLinearPCM;
        format.mFormatFlags = flags;
        format.mBitsPerChannel = bits;
        format.mBytesPerFrame = format.mBytesPerPacket = bits / 8 * format.mChannelsPerFrame;
    }
    return format;
}

bool IsFloat32(const CAStreamBasicDescription& format)
{
    return format.IsFloat() && format.mBitsPerChannel == 32 && !format.IsBigEndian() &&
           (format.mFormatFlags & kAudioFormatFlagIsPacked) != 0;
}

} // namespace

OSStatus PosixPathToParentFSRefAndName(const char* path, FSRef& parent, std::string& name)
{
    std::string text = path != nullptr ? path : "";
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    const std::size_t slash = text.rfind('/');
    std::string folder = slash == std::string::npos ? "." : (slash == 0 ? "/" : text.substr(0, slash));
    name = slash == std::string::npos ? text : text.substr(slash + 1);
    std::replace(name.begin(), name.end(), ':', '/');

    char resolved[PATH_MAX];
    struct stat info {};
    if (text.empty() || realpath(folder.c_str(), resolved) == nullptr || stat(resolved, &info) != 0 ||
        !S_ISDIR(info.st_mode))
        return kCAAudioFileNotFoundError;
    parent.path = resolved;
    return noErr;
}

CAAudioFile::CAAudioFile() = default;

CAAudioFile::~CAAudioFile()
{
    Close();
}

void CAAudioFile::Open(const FSRef& file)
{
    XThrowIf(mMode != kClosed, kCAAudioFileInvalidOperationOrder, "file already open");
    const int fd = open(file.path.c_str(), O_RDONLY | O_CLOEXEC);
    XThrowIf(fd < 0, StatusFromErrno(errno), "open audio file");
    SF_INFO info{};
    errno = 0;
    SNDFILE* sndfile = sf_open_fd(fd, SFM_READ, &info, SF_FALSE);
    if (sndfile == nullptr) {
        const OSStatus status = StatusOfFailedCall(nullptr, 0);
        close(fd);
        throw CAXException("open audio file", status);
    }
    mFileID = sndfile;
    mFileDescriptor = fd;
    mOwnsFile = true;
    mPath = file.path;
    mFileDataFormat = FormatOf(info);
    mNumberFrames = info.frames;
    mClientDataFormat = CAStreamBasicDescription::Float32(info.samplerate, UInt32(info.channels), true);
    mConverter = false;
    mPacketMark = mFrameMark = 0;
    mMode = kReading;
}

void CAAudioFile::CreateNew(const FSRef& parentDir, const std::string& name, AudioFileTypeID fileType,
                            const AudioStreamBasicDescription& dataFormat)
{
    XThrowIf(mMode != kClosed, kCAAudioFileInvalidOperationOrder, "file already open");
    mFileDataFormat = dataFormat;
    mMode = kPreparingToCreate;
    try {
        XThrowIf(fileType != kAudioFileWAVEType, kCAAudioFileUnsupportedFileTypeError, "create audio file");
        XThrowIf(SubtypeFor(mFileDataFormat) == 0, kCAAudioFileUnsupportedDataFormatError,
                 "create audio file");
        std::string posixName = name;
        std::replace(posixName.begin(), posixName.end(), '/', ':');
        XThrowIf(posixName.empty() || posixName == "." || posixName == "..", kCAAudioFileBadNameError,
                 "create audio file");
        mPath = parentDir.path + (parentDir.path.ends_with('/') ? "" : "/") + posixName;
        ApplyFileFormat();
    } catch (...) {
        mMode = kClosed;
        throw;
    }
}

void CAAudioFile::ApplyFileFormat()
{
    XThrowIf(mMode != kPreparingToCreate && mMode != kCreated, kCAAudioFileInvalidOperationOrder,
             "new file not prepared");
    if (mMode == kPreparingToCreate) {
        if (mFileDataFormat.mSampleRate == 0.0)
            mFileDataFormat.mSampleRate = 44100.0;
        XThrowIf(mFileDataFormat.mSampleRate < 1.0 || mFileDataFormat.mSampleRate > INT_MAX,
                 kCAAudioFileUnsupportedDataFormatError, "create audio file");

        // Exclusive: an existing file, or a link planted at the path, makes creation fail.
        const int fd = open(mPath.c_str(), O_CREAT | O_EXCL | O_NOFOLLOW | O_RDWR | O_CLOEXEC, 0644);
        XThrowIf(fd < 0, StatusFromErrno(errno), "create audio file");

        SF_INFO info{};
        info.samplerate = int(mFileDataFormat.mSampleRate);
        info.channels = int(mFileDataFormat.mChannelsPerFrame);
        // RF64 downgraded to plain WAV at close, and in every header update, while the file is below 4 GiB.
        info.format = SF_FORMAT_RF64 | SubtypeFor(mFileDataFormat);
        errno = 0;
        SNDFILE* sndfile = sf_open_fd(fd, SFM_WRITE, &info, SF_FALSE);
        if (sndfile == nullptr) {
            const OSStatus status = StatusOfFailedCall(nullptr, errno);
            close(fd);
            unlink(mPath.c_str());
            throw CAXException("create audio file", status);
        }
        sf_command(sndfile, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
        // Integer files: out-of-range floats clip instead of wrapping round.
        sf_command(sndfile, SFC_SET_CLIPPING, nullptr, SF_TRUE);
        mFileID = sndfile;
        mFileDescriptor = fd;
        mOwnsFile = true;
        mMode = kCreated;
        mClientDataFormat = mFileDataFormat;
        mConverter = false;
    }
    mPacketMark = mFrameMark = 0;
}

void CAAudioFile::SetClientFormat(const CAStreamBasicDescription& format)
{
    XThrowIf(!format.IsPCM(), kCAAudioFileNonPCMClientFormat, "non-PCM client format on audio file");
    if (!(format == mClientDataFormat)) {
        mConverter = false;
        mPendingBuffers.reset();
        mIOBuffer.reset();
        mClientDataFormat = format;
    }
    if (mClientDataFormat == mFileDataFormat && mMode != kReading)
        return;

    if (mMode == kPreparingToCreate || mMode == kCreated || mMode == kReading) {
        // libsndfile converts between float and the file's sample type; interleaving and
        // nothing else is left to do here.
        XThrowIf(!IsFloat32(format) || format.mChannelsPerFrame != mFileDataFormat.mChannelsPerFrame ||
                     format.mSampleRate != mFileDataFormat.mSampleRate,
                 kCAAudioFileUnsupportedDataFormatError, "create audio converter");
        mConverter = !format.IsInterleaved() || !(format == mFileDataFormat);
        if (mConverter)
            mPendingBuffers = CABufferList::New("CAAudioFile pending buffers", format);
    } else {
        throw CAXException("audio file format not yet known", kCAAudioFileInvalidOperationOrder);
    }
}

UInt32 CAAudioFile::MaximumPacketSize() const
{
    return mFileDataFormat.mBytesPerPacket;
}

void CAAudioFile::AllocateIOBuffer()
{
    const UInt32 maxPacketSize = MaximumPacketSize();
    XThrowIf(maxPacketSize == 0, kCAAudioFileMaxPacketSizeUnknown, "file's maximum packet size is 0");
    const UInt32 bytes = std::max(mIOBufferSizeBytes, maxPacketSize);
    mIOBufferFrames = bytes / maxPacketSize;
    mIOBuffer.reset(new float[std::size_t(mIOBufferFrames) * mFileDataFormat.mChannelsPerFrame]);
}

void CAAudioFile::Write(UInt32 frames, const AudioBufferList* data)
{
    if (mConverter && !mIOBuffer)
        AllocateIOBuffer();
    if (mMode == kCreated)
        mMode = kWriting;
    XThrowIf(mMode != kWriting, kCAAudioFileInvalidOperationOrder, "can't write to this file");
    if (frames == 0)
        return;

    const UInt32 streams = mClientDataFormat.NumberChannelStreams();
    XThrowIf(data == nullptr || data->mNumberBuffers < streams, kParamError, "write audio file");
    for (UInt32 i = 0; i < streams; ++i)
        XThrowIf(data->mBuffers[i].mDataByteSize < mClientDataFormat.FramesToBytes(frames), kParamError,
                 "write audio file");

    if (!mConverter) {
        errno = 0;
        const sf_count_t written =
            sf_writef_float(mFileID, static_cast<const float*>(data->mBuffers[0].mData), frames);
        XThrowIf(written != sf_count_t(frames), StatusOfFailedCall(mFileID, errno), "write audio file");
        mPacketMark += frames;
        mFrameMark += frames;
        return;
    }

    mPendingFrames = frames;
    mPendingBuffers->SetFrom(*data);
    const UInt32 channels = mFileDataFormat.mChannelsPerFrame;
    const bool interleaved = mClientDataFormat.IsInterleaved();
    while (mPendingFrames > 0) {
        const UInt32 n = std::min(mPendingFrames, mIOBufferFrames);
        float* out = mIOBuffer.get();
        if (interleaved) {
            std::memcpy(out, mPendingBuffers->GetBuffer(0).mData, std::size_t(n) * channels * sizeof(float));
        } else {
            for (UInt32 c = 0; c < channels; ++c) {
                const auto* in = static_cast<const float*>(mPendingBuffers->GetBuffer(c).mData);
                for (UInt32 i = 0; i < n; ++i)
                    out[std::size_t(i) * channels + c] = in[i];
            }
        }
        errno = 0;
        const sf_count_t written = sf_writef_float(mFileID, out, n);
        XThrowIf(written != sf_count_t(n), StatusOfFailedCall(mFileID, errno), "write audio file");
        mPendingBuffers->BytesConsumed(mClientDataFormat.FramesToBytes(n));
        mPendingFrames -= n;
        mPacketMark += n;
        mFrameMark += n;
    }
}

void CAAudioFile::Read(UInt32& ioFrames, AudioBufferList* data)
{
    XThrowIf(mMode != kReading, kCAAudioFileInvalidOperationOrder, "can't read from this file");
    const UInt32 streams = mClientDataFormat.NumberChannelStreams();
    XThrowIf(data == nullptr || data->mNumberBuffers < streams, kParamError, "read audio file");
    for (UInt32 i = 0; i < streams; ++i)
        ioFrames = std::min(ioFrames, mClientDataFormat.BytesToFrames(data->mBuffers[i].mDataByteSize));

    UInt32 done = 0;
    if (!mConverter) {
        errno = 0;
        const sf_count_t got =
            sf_readf_float(mFileID, static_cast<float*>(data->mBuffers[0].mData), ioFrames);
        XThrowIf(got < 0 || (got < sf_count_t(ioFrames) && sf_error(mFileID) != SF_ERR_NO_ERROR),
                 StatusOfFailedCall(mFileID, errno), "read audio file");
        done = UInt32(got);
    } else {
        if (!mIOBuffer)
            AllocateIOBuffer();
        const UInt32 channels = mFileDataFormat.mChannelsPerFrame;
        while (done < ioFrames) {
            const UInt32 want = std::min(ioFrames - done, mIOBufferFrames);
            errno = 0;
            const sf_count_t got = sf_readf_float(mFileID, mIOBuffer.get(), want);
            XThrowIf(got < 0 || (got < sf_count_t(want) && sf_error(mFileID) != SF_ERR_NO_ERROR),
                     StatusOfFailedCall(mFileID, errno), "read audio file");
            for (UInt32 c = 0; c < channels; ++c) {
                auto* out = static_cast<float*>(data->mBuffers[c].mData) + done;
                for (sf_count_t i = 0; i < got; ++i)
                    out[i] = mIOBuffer[std::size_t(i) * channels + c];
            }
            done += UInt32(got);
            if (got < sf_count_t(want))
                break;
        }
    }
    for (UInt32 i = 0; i < streams; ++i)
        data->mBuffers[i].mDataByteSize = mClientDataFormat.FramesToBytes(done);
    ioFrames = done;
    mPacketMark += done;
    mFrameMark += done;
}

void CAAudioFile::UpdateHeader()
{
    if (mFileID != nullptr && (mMode == kCreated || mMode == kWriting))
        sf_command(mFileID, SFC_UPDATE_HEADER_NOW, nullptr, 0);
}

void CAAudioFile::CloseHandles() noexcept
{
    if (mFileID != nullptr)
        sf_close(mFileID); // writes the final header
    mFileID = nullptr;
    if (mFileDescriptor >= 0 && mOwnsFile)
        close(mFileDescriptor);
    mFileDescriptor = -1;
    mOwnsFile = false;
}

void CAAudioFile::Close()
{
    if (mMode == kClosed)
        return;
    CloseHandles();
    mConverter = false;
    mIOBuffer.reset();
    mPendingBuffers.reset();
    mPendingFrames = 0;
    mMode = kClosed;
}
