#include "recording/WaveFileRepair.h"

#include <cerrno>
#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <vector>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t kUnknownSize32 = 0xFFFFFFFFu;
// The three 64-bit sizes of a ds64 chunk; the table that may follow is never used here.
constexpr std::uint32_t kDs64Sizes = 24;
constexpr std::uint32_t kDs64Payload = 28; // the three sizes and an empty table

std::uint32_t Le32(const unsigned char* p)
{
    return std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16 | std::uint32_t(p[3]) << 24;
}

std::uint64_t Le64(const unsigned char* p)
{
    return std::uint64_t(Le32(p)) | std::uint64_t(Le32(p + 4)) << 32;
}

void PutLe32(unsigned char* p, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * i));
}

void PutLe64(unsigned char* p, std::uint64_t v)
{
    PutLe32(p, std::uint32_t(v));
    PutLe32(p + 4, std::uint32_t(v >> 32));
}

bool ReadAt(int fd, std::int64_t offset, void* data, std::size_t size)
{
    return pread(fd, data, size, offset) == ssize_t(size);
}

bool WriteAt(int fd, std::int64_t offset, const void* data, std::size_t size)
{
    return pwrite(fd, data, size, offset) == ssize_t(size);
}

bool IsChunkId(const unsigned char* id)
{
    for (int i = 0; i < 4; ++i) {
        if (id[i] < 0x20 || id[i] > 0x7E)
            return false;
    }
    return true;
}

// Where the header says what, as far as the file can be trusted.
struct Layout {
    bool rf64 = false;
    std::int64_t fileSize = 0;
    std::uint32_t blockAlign = 0;
    double sampleRate = 0.0;
    unsigned channels = 0;
    std::int64_t ds64Offset = -1;   // payload of the ds64 chunk (RF64), or of a JUNK chunk that may become one
    std::uint32_t ds64Size = 0;
    bool junkPlaceholder = false;   // ds64Offset points at JUNK in a plain WAV
    std::int64_t factOffset = -1;   // payload of the fact chunk
    std::int64_t fmtHeader = -1;    // the fmt chunk's id
    std::uint32_t fmtSize = 0;
    std::int64_t dataHeader = -1;   // the data chunk's id
    std::uint64_t statedDataSize = 0;
};

std::optional<Layout> ReadLayout(int fd)
{
    Layout layout;
    struct stat st {};
    if (fstat(fd, &st) != 0)
        return std::nullopt;
    layout.fileSize = st.st_size;
    unsigned char top[12];
    if (!ReadAt(fd, 0, top, sizeof top) || std::memcmp(top + 8, "WAVE", 4) != 0)
        return std::nullopt;
    if (std::memcmp(top, "RF64", 4) == 0)
        layout.rf64 = true;
    else if (std::memcmp(top, "RIFF", 4) != 0)
        return std::nullopt;

    std::uint64_t ds64Data = 0;
    bool haveFormat = false;
    for (std::int64_t at = 12; at + 8 <= layout.fileSize;) {
        unsigned char chunk[8];
        if (!ReadAt(fd, at, chunk, sizeof chunk) || !IsChunkId(chunk))
            return std::nullopt;
        const std::uint32_t size = Le32(chunk + 4);
        const std::int64_t payload = at + 8;
        if (std::memcmp(chunk, "data", 4) == 0) {
            layout.dataHeader = at;
            layout.statedDataSize = (layout.rf64 && size == kUnknownSize32) ? ds64Data : size;
            break;
        }
        if (std::memcmp(chunk, "fmt ", 4) == 0 && size >= 16) {
            unsigned char fmt[16];
            if (!ReadAt(fd, payload, fmt, sizeof fmt))
                return std::nullopt;
            layout.channels = fmt[2] | fmt[3] << 8;
            layout.sampleRate = Le32(fmt + 4);
            layout.blockAlign = fmt[12] | fmt[13] << 8;
            layout.fmtHeader = at;
            layout.fmtSize = size + (size & 1);
            haveFormat = true;
        } else if (std::memcmp(chunk, "ds64", 4) == 0 && size >= kDs64Sizes) {
            unsigned char ds64[16];
            if (!ReadAt(fd, payload, ds64, sizeof ds64))
                return std::nullopt;
            ds64Data = Le64(ds64 + 8);
            layout.ds64Offset = payload;
            layout.ds64Size = size;
        } else if (std::memcmp(chunk, "JUNK", 4) == 0 && size >= kDs64Sizes && layout.ds64Offset < 0) {
            layout.ds64Offset = payload;
            layout.ds64Size = size;
            layout.junkPlaceholder = true;
        } else if (std::memcmp(chunk, "fact", 4) == 0 && size >= 4) {
            layout.factOffset = payload;
        }
        at = payload + std::int64_t(size) + (size & 1);
    }
    if (!haveFormat || layout.blockAlign == 0 || layout.dataHeader < 0)
        return std::nullopt;
    return layout;
}

std::int64_t DataBytesInFile(const Layout& layout)
{
    const std::int64_t bytes = std::max<std::int64_t>(0, layout.fileSize - (layout.dataHeader + 8));
    return bytes - bytes % layout.blockAlign;
}

// A data chunk shorter than the file is fine when a proper chunk follows it to the end.
bool TrailingChunkFollows(int fd, const Layout& layout)
{
    const std::int64_t end = layout.dataHeader + 8 + std::int64_t(layout.statedDataSize) +
                             std::int64_t(layout.statedDataSize & 1);
    unsigned char chunk[8];
    if (end + 8 > layout.fileSize || !ReadAt(fd, end, chunk, sizeof chunk) || !IsChunkId(chunk))
        return false;
    return end + 8 + std::int64_t(Le32(chunk + 4)) <= layout.fileSize;
}

bool NeedsRepair(int fd, const Layout& layout)
{
    const std::int64_t actual = DataBytesInFile(layout);
    if (std::int64_t(layout.statedDataSize) == actual)
        return false;
    if (std::int64_t(layout.statedDataSize) < actual && TrailingChunkFollows(fd, layout))
        return false;
    return true;
}

} // namespace

WaveFileRepair::Inspection WaveFileRepair::Inspect(const std::string& path)
{
    Inspection result;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return result;
    if (const auto layout = ReadLayout(fd)) {
        result.readable = true;
        result.sampleRate = layout->sampleRate;
        result.channels = layout->channels;
        result.needsRepair = NeedsRepair(fd, *layout);
        const std::int64_t bytes = result.needsRepair ? DataBytesInFile(*layout)
                                                      : std::int64_t(layout->statedDataSize);
        result.frames = bytes / layout->blockAlign;
    }
    close(fd);
    return result;
}

bool WaveFileRepair::Repair(const std::string& path, std::string& error)
{
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) {
        error = std::strerror(errno);
        return false;
    }
    const auto fail = [&](const std::string& why) {
        error = why;
        close(fd);
        return false;
    };
    const auto layout = ReadLayout(fd);
    if (!layout)
        return fail("not a WAV file");
    if (!NeedsRepair(fd, *layout)) {
        close(fd);
        return true;
    }

    const std::uint64_t data = std::uint64_t(DataBytesInFile(*layout));
    const std::uint64_t end = std::uint64_t(layout->dataHeader) + 8 + data;
    const std::uint64_t frames = data / layout->blockAlign;
    const bool fits32 = end - 8 <= kUnknownSize32 - 1;
    unsigned char field[8];

    if (layout->rf64 || !fits32) {
        unsigned char ds64[kDs64Payload] = {};
        PutLe64(ds64, end - 8);
        PutLe64(ds64 + 8, data);
        PutLe64(ds64 + 16, frames);
        if (layout->rf64) {
            if (layout->ds64Offset < 0)
                return fail("an RF64 file without its 64-bit sizes");
            if (!WriteAt(fd, layout->ds64Offset, ds64, std::min<std::size_t>(layout->ds64Size, sizeof ds64)))
                return fail(std::strerror(errno));
        } else {
            // The header is laid out again in the room it has: ds64, the format, and what is
            // left as padding, so the data stays where it is.
            const std::int64_t room = layout->dataHeader - 12;
            const std::int64_t needed = 8 + kDs64Payload + 8 + layout->fmtSize;
            if (!layout->junkPlaceholder || room < needed || (room > needed && room - needed < 8))
                return fail("too long for a WAV file without room for a 64-bit header");
            std::vector<unsigned char> header(std::size_t(room), 0);
            std::memcpy(header.data(), "ds64", 4);
            PutLe32(header.data() + 4, kDs64Payload);
            std::memcpy(header.data() + 8, ds64, sizeof ds64);
            if (!ReadAt(fd, layout->fmtHeader, header.data() + 8 + kDs64Payload, 8 + layout->fmtSize))
                return fail(std::strerror(errno));
            if (room > needed) {
                std::memcpy(header.data() + needed, "JUNK", 4);
                PutLe32(header.data() + needed + 4, std::uint32_t(room - needed - 8));
            }
            if (!WriteAt(fd, 12, header.data(), header.size()))
                return fail(std::strerror(errno));
        }
        if (!WriteAt(fd, 0, "RF64", 4))
            return fail(std::strerror(errno));
        PutLe32(field, kUnknownSize32);
        if (!WriteAt(fd, 4, field, 4) || !WriteAt(fd, layout->dataHeader + 4, field, 4))
            return fail(std::strerror(errno));
    } else {
        PutLe32(field, std::uint32_t(end - 8));
        if (!WriteAt(fd, 4, field, 4))
            return fail(std::strerror(errno));
        PutLe32(field, std::uint32_t(data));
        if (!WriteAt(fd, layout->dataHeader + 4, field, 4))
            return fail(std::strerror(errno));
        if (layout->factOffset >= 0) {
            PutLe32(field, std::uint32_t(frames));
            if (!WriteAt(fd, layout->factOffset, field, 4))
                return fail(std::strerror(errno));
        }
    }
    // A frame cut in half by the kill is no sound anyone wants.
    if (std::int64_t(end) < layout->fileSize && ftruncate(fd, off_t(end)) != 0)
        return fail(std::strerror(errno));
    if (fsync(fd) != 0)
        return fail(std::strerror(errno));
    close(fd);
    return true;
}
