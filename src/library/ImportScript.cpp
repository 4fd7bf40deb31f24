#include "library/ImportScript.h"

#include "capture/InputChain.h"
#include "library/AppleScriptRunner.h"
#include "library/TrackTags.h"
#include "recording/CAAudioFile.h"

#include <QFile>
#include <unistd.h>
#include <vector>

// The script resource lives in this static library: register it before the first lookup.
static void InitScriptResources()
{
    Q_INIT_RESOURCE(library_scripts);
}

namespace Tolm::Library {

namespace {

constexpr float kNormalizedPeak = 0.97f;
constexpr UInt32 kNormalizeBlockBytes = 8192;

QString ImportScriptText()
{
    static const bool registered = (InitScriptResources(), true);
    (void)registered;
    QFile resource(QStringLiteral(":/scripts/ImportTrack.js"));
    if (!resource.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(resource.readAll());
}

// Scales the track file into "normalized.wav" in its folder; returns that file's path, or
// `path` unchanged when the file or its folder cannot be found.
QString Normalize(const QString& path)
{
    const QByteArray posixPath = QFile::encodeName(path);
    FSRef folder;
    std::string name;
    if (PosixPathToParentFSRefAndName(posixPath.constData(), folder, name) != noErr ||
        ::access(posixPath.constData(), R_OK) != 0)
        return path;

    // A silent recording has no peak to scale to; it is imported as it is.
    const float peak = Capture::GetVUMax();
    if (!(peak > 0.0f))
        return path;
    const float gain = kNormalizedPeak / peak;

    const std::string normalizedName = "normalized.wav";
    const std::string normalizedPath = folder.path + "/" + normalizedName;
    ::unlink(normalizedPath.c_str());

    CAAudioFile in;
    in.Open(FSRef{folder.path + "/" + name});
    CAAudioFile out;
    out.CreateNew(folder, normalizedName, kAudioFileWAVEType, in.GetFileDataFormat());
    const CAStreamBasicDescription client = in.GetClientDataFormat();
    out.SetClientFormat(client);

    const UInt32 bytesPerFrame = std::max<UInt32>(in.GetFileDataFormat().mBytesPerFrame, 1);
    const UInt32 blockFrames = std::max<UInt32>(kNormalizeBlockBytes / bytesPerFrame, 1);
    const UInt32 channels = client.NumberChannels();
    std::vector<float> samples(std::size_t(blockFrames) * channels);
    AudioBufferList list{};
    list.mNumberBuffers = 1;
    for (;;) {
        list.mBuffers[0] = AudioBuffer{channels, UInt32(samples.size() * sizeof(float)), samples.data()};
        UInt32 frames = blockFrames;
        in.Read(frames, &list);
        if (frames == 0)
            break;
        for (std::size_t i = 0; i < std::size_t(frames) * channels; ++i)
            samples[i] *= gain;
        out.Write(frames, &list);
    }
    out.Close();
    in.Close();
    return QFile::decodeName(QByteArray::fromStdString(normalizedPath));
}

} // namespace

bool convertAndTagAudioFile4(const QString& path, const QString& artist, const QString& album,
                             const QString& name, const QString& trackNumber, bool normalize,
                             QString* errorMessage)
{
    const QString trackName = name.isEmpty() ? UnknownTrackName(trackNumber) : name;
    const QString trackArtist = artist.isEmpty() ? UnknownArtistName() : artist;
    const QString trackAlbum = album.isEmpty() ? UnknownAlbumName() : album;

    const QString source = normalize ? Normalize(path) : path;
    static const QByteArray script = ImportScriptText().toUtf8();
    const ScriptValues values{{QStringLiteral("thePath"), source},
                              {QStringLiteral("theArtist"), trackArtist},
                              {QStringLiteral("theAlbum"), trackAlbum},
                              {QStringLiteral("theName"), trackName},
                              {QStringLiteral("theTrackNumber"), trackNumber}};
    ScriptResultDescriptor result;
    const OSStatus status =
        LowRunAppleScript(script.constData(), std::size_t(script.size()), &result, values);
    if (status != noErr && errorMessage != nullptr)
        *errorMessage =
            result.descriptorType == typeText ? result.text : QStringLiteral("script status %1").arg(status);
    return status != noErr;
}

} // namespace Tolm::Library
