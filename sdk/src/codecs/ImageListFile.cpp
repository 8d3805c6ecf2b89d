// Image list files, format versions 1 and 2 (docs/image-list-format.md). All
// integers are little-endian.
#include "codecs/ImageListFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include "codecs/AtomicFile.h"
#include "codecs/WriterSupport.h"
#include "core/Raise.h"

namespace Orvane {
namespace codecs {

namespace {

const uint8_t kMagic[8] = {0x89, 'O', 'I', 'L', '\r', '\n', 0x1A, '\n'};
const uint32_t kFileHeaderSize = 32;
const uint32_t kMaxFileHeaderSize = 4096;
const uint8_t kRecordMarker[4] = {'O', 'R', 'E', 'C'};
const uint32_t kCrcSize = 4;

// Record header sizes: version 1 ends after the image and chunk sizes; version
// 2 appends the chunk values.
const uint32_t kRecordHeaderSizeV1 = 168;
const uint32_t kRecordHeaderSize = 432;
const uint32_t kMaxRecordHeaderSize = kRecordHeaderSize;
// Offsets of the chunk values in a version 2 record header.
const size_t kIntegerPresentAt = 168;
const size_t kFloatPresentAt = 172;
const size_t kChunkFlagsAt = 176;
const size_t kCrcValueAt = 180;
const size_t kIntegersAt = 184;
const size_t kFloatsAt = kIntegersAt + 8 * kChunkIntegerCount;
static_assert(kFloatsAt + 8 * kChunkFloatCount == kRecordHeaderSize, "the chunk values end the record header");
const uint32_t kChunkFlagCrc = 1u; // the image carried a CRC chunk
const uint32_t kIntegerBits = (1u << kChunkIntegerCount) - 1u;
const uint32_t kFloatBits = (1u << kChunkFloatCount) - 1u;

uint32_t RecordHeaderSize(uint32_t version) { return version == 1 ? kRecordHeaderSizeV1 : kRecordHeaderSize; }

std::string Hex32(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

uint64_t DoubleBits(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

double BitsDouble(uint64_t bits) {
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// zlib treats a null buffer as a request for the initial value; an empty
// buffer must leave the running CRC unchanged instead.
uint32_t Crc(uint32_t crc, const void* data, size_t size) {
    if (size == 0) return crc;
    return static_cast<uint32_t>(crc32_z(crc, static_cast<const Bytef*>(data), size));
}

void EncodeRecordHeader(const ImageRecordInfo& r, uint32_t index, uint64_t dataSize, uint64_t chunkSize, uint8_t* h) {
    std::memset(h, 0, kRecordHeaderSize);
    std::memcpy(h, kRecordMarker, 4);
    StoreLE32(h + 4, kRecordHeaderSize);
    StoreLE32(h + 8, index);
    StoreLE32(h + 12, r.pixelFormat);
    StoreLE64(h + 16, r.pfnc);
    StoreLE32(h + 24, r.pixelFormatNamespace);
    StoreLE32(h + 28, r.payloadType);
    StoreLE32(h + 32, r.status);
    StoreLE32(h + 36, r.colorProcessing);
    StoreLE64(h + 40, r.width);
    StoreLE64(h + 48, r.height);
    StoreLE64(h + 56, r.offsetX);
    StoreLE64(h + 64, r.offsetY);
    StoreLE64(h + 72, r.paddingX);
    StoreLE64(h + 80, r.paddingY);
    StoreLE64(h + 88, r.stride);
    StoreLE64(h + 96, r.frameId);
    StoreLE64(h + 104, r.timestamp);
    StoreLE64(h + 112, r.chunkLayoutId);
    StoreLE64(h + 120, r.transportPayloadType);
    StoreLE64(h + 128, r.validPayloadSize);
    StoreLE64(h + 136, r.imageId);
    // 144..151: reserved, zero
    StoreLE64(h + 152, dataSize);
    StoreLE64(h + 160, chunkSize);
    const ChunkValues& c = r.chunks;
    StoreLE32(h + kIntegerPresentAt, c.integerPresent);
    StoreLE32(h + kFloatPresentAt, c.floatPresent);
    StoreLE32(h + kChunkFlagsAt, c.crcPresent ? kChunkFlagCrc : 0u);
    StoreLE32(h + kCrcValueAt, c.crcPresent ? c.crc : 0u);
    for (size_t i = 0; i < kChunkIntegerCount; ++i)
        if (c.integerPresent >> i & 1u) StoreLE64(h + kIntegersAt + 8 * i, static_cast<uint64_t>(c.integers[i]));
    for (size_t i = 0; i < kChunkFloatCount; ++i)
        if (c.floatPresent >> i & 1u) StoreLE64(h + kFloatsAt + 8 * i, DoubleBits(c.floats[i]));
}

// Version 2 chunk values; the reader has checked them (CheckChunkValues).
void DecodeChunkValues(const uint8_t* h, ChunkValues& c) {
    c.integerPresent = LoadLE32(h + kIntegerPresentAt);
    c.floatPresent = LoadLE32(h + kFloatPresentAt);
    c.crcPresent = (LoadLE32(h + kChunkFlagsAt) & kChunkFlagCrc) != 0;
    c.crc = LoadLE32(h + kCrcValueAt);
    for (size_t i = 0; i < kChunkIntegerCount; ++i)
        c.integers[i] = static_cast<int64_t>(LoadLE64(h + kIntegersAt + 8 * i));
    for (size_t i = 0; i < kChunkFloatCount; ++i) c.floats[i] = BitsDouble(LoadLE64(h + kFloatsAt + 8 * i));
}

// Why a version 2 record header's chunk values are invalid; empty when they
// are valid: no undefined present bits or flags, and zero wherever nothing is
// present.
std::string CheckChunkValues(const uint8_t* h) {
    const uint32_t integerPresent = LoadLE32(h + kIntegerPresentAt);
    const uint32_t floatPresent = LoadLE32(h + kFloatPresentAt);
    const uint32_t flags = LoadLE32(h + kChunkFlagsAt);
    if (integerPresent & ~kIntegerBits)
        return "marks integer chunk items that do not exist (present bits " + Hex32(integerPresent) + ")";
    if (floatPresent & ~kFloatBits)
        return "marks float chunk items that do not exist (present bits " + Hex32(floatPresent) + ")";
    if (flags & ~kChunkFlagCrc) return "has undefined chunk flags " + Hex32(flags);
    if (!(flags & kChunkFlagCrc) && LoadLE32(h + kCrcValueAt) != 0) return "has a CRC value but no CRC chunk";
    for (size_t i = 0; i < kChunkIntegerCount; ++i)
        if (!(integerPresent >> i & 1u) && LoadLE64(h + kIntegersAt + 8 * i) != 0)
            return "has a value for the absent integer chunk item " + std::to_string(i);
    for (size_t i = 0; i < kChunkFloatCount; ++i)
        if (!(floatPresent >> i & 1u) && LoadLE64(h + kFloatsAt + 8 * i) != 0)
            return "has a value for the absent float chunk item " + std::to_string(i);
    return std::string();
}

void DecodeRecordHeader(const uint8_t* h, ImageRecordInfo& r) {
    r.pixelFormat = LoadLE32(h + 12);
    r.pfnc = LoadLE64(h + 16);
    r.pixelFormatNamespace = LoadLE32(h + 24);
    r.payloadType = LoadLE32(h + 28);
    r.status = LoadLE32(h + 32);
    r.colorProcessing = LoadLE32(h + 36);
    r.width = LoadLE64(h + 40);
    r.height = LoadLE64(h + 48);
    r.offsetX = LoadLE64(h + 56);
    r.offsetY = LoadLE64(h + 64);
    r.paddingX = LoadLE64(h + 72);
    r.paddingY = LoadLE64(h + 80);
    r.stride = LoadLE64(h + 88);
    r.frameId = LoadLE64(h + 96);
    r.timestamp = LoadLE64(h + 104);
    r.chunkLayoutId = LoadLE64(h + 112);
    r.transportPayloadType = LoadLE64(h + 120);
    r.validPayloadSize = LoadLE64(h + 128);
    r.imageId = LoadLE64(h + 136);
}

// Reads a whole image list file through one descriptor, checking every read
// against the file's size.
class ListReader {
public:
    explicit ListReader(const std::string& fileName) : m_name(fileName) {
        m_fd = ::open(fileName.c_str(), O_RDONLY | O_CLOEXEC);
        if (m_fd < 0) FailIo("cannot open the file", errno);
        struct stat st;
        if (::fstat(m_fd, &st) != 0) FailIo("cannot stat the file", errno);
        if (!S_ISREG(st.st_mode)) FailIoText("not a regular file");
        m_size = static_cast<uint64_t>(st.st_size);
    }
    ~ListReader() {
        if (m_fd >= 0) ::close(m_fd);
    }
    ListReader(const ListReader&) = delete;
    ListReader& operator=(const ListReader&) = delete;

    uint64_t Remaining() const { return m_size - m_position; }
    uint64_t Position() const { return m_position; }

    // Reads exactly size bytes (size <= Remaining() is the caller's check).
    void Read(void* data, size_t size) {
        uint8_t* p = static_cast<uint8_t*>(data);
        size_t done = 0;
        while (done < size) {
            const ssize_t n = ::read(m_fd, p + done, size - done);
            if (n < 0) {
                if (errno == EINTR) continue;
                FailIo("read failed", errno);
            }
            if (n == 0) Corrupt("the file ended at byte " + std::to_string(m_position + done) + " while being read");
            done += static_cast<size_t>(n);
        }
        m_position += size;
    }

    [[noreturn]] void Corrupt(const std::string& reason) const {
        ORV_RAISE(ORVANE_ERR_CORRUPT_DATA, "Cannot load image list file '" + m_name + "': " + reason);
    }
    [[noreturn]] void FailIo(const std::string& what, int err) const { FailIoText(what + ": " + ErrnoText(err)); }
    [[noreturn]] void FailIoText(const std::string& reason) const {
        ORV_RAISE(ORVANE_ERR_IO, "Cannot load image list file '" + m_name + "': " + reason);
    }
    [[noreturn]] void Unsupported(const std::string& reason) const {
        ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, "Cannot load image list file '" + m_name + "': " + reason);
    }

private:
    std::string m_name;
    int m_fd = -1;
    uint64_t m_size = 0;
    uint64_t m_position = 0;
};

} // namespace

void SaveImageList(const std::string& fileName, const std::vector<ImageRecordView>& images,
                   const WriteSettings& settings) {
    const std::string context = "Cannot save image list file '" + fileName + "'";
    if (images.size() > 0xffffffffu) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, context + ": more than 4294967295 images");
    for (size_t i = 0; i < images.size(); ++i) {
        if ((images[i].data == nullptr && images[i].dataSize != 0) ||
            (images[i].chunkData == nullptr && images[i].chunkDataSize != 0))
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                      context + ": image " + std::to_string(i) + " has a size but no bytes");
        const ChunkValues& c = images[i].chunks;
        if ((c.integerPresent & ~kIntegerBits) || (c.floatPresent & ~kFloatBits))
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                      context + ": image " + std::to_string(i) + " marks chunk items that do not exist (integer bits " +
                          Hex32(c.integerPresent) + ", float bits " + Hex32(c.floatPresent) + ")");
    }
    AtomicFile file(fileName, context, settings.syncToDisk);
    uint8_t header[kFileHeaderSize] = {};
    std::memcpy(header, kMagic, sizeof kMagic);
    StoreLE32(header + 8, kImageListVersion);
    StoreLE32(header + 12, kFileHeaderSize);
    StoreLE32(header + 16, static_cast<uint32_t>(images.size()));
    StoreLE32(header + 28, Crc(0, header, kFileHeaderSize - kCrcSize));
    file.Write(header, sizeof header);
    for (size_t i = 0; i < images.size(); ++i) {
        const ImageRecordView& image = images[i];
        uint8_t h[kRecordHeaderSize];
        EncodeRecordHeader(image, static_cast<uint32_t>(i), image.dataSize, image.chunkDataSize, h);
        uint32_t crc = Crc(0, h, sizeof h);
        crc = Crc(crc, image.data, image.dataSize);
        crc = Crc(crc, image.chunkData, image.chunkDataSize);
        uint8_t trailer[kCrcSize];
        StoreLE32(trailer, crc);
        file.Write(h, sizeof h);
        file.Write(image.data, image.dataSize);
        file.Write(image.chunkData, image.chunkDataSize);
        file.Write(trailer, sizeof trailer);
    }
    file.Commit();
}

void SaveImageList(const std::string& fileName, const std::vector<ImageRecord>& images, const WriteSettings& settings) {
    std::vector<ImageRecordView> views(images.size());
    for (size_t i = 0; i < images.size(); ++i) {
        static_cast<ImageRecordInfo&>(views[i]) = images[i];
        views[i].data = images[i].data.data();
        views[i].dataSize = images[i].data.size();
        views[i].chunkData = images[i].chunkData.data();
        views[i].chunkDataSize = images[i].chunkData.size();
    }
    SaveImageList(fileName, views, settings);
}

std::vector<ImageRecord> LoadImageList(const std::string& fileName) {
    ListReader in(fileName);

    // File header: magic first, so that a foreign file is named as such.
    uint8_t header[kMaxFileHeaderSize];
    if (in.Remaining() < sizeof kMagic) {
        in.Read(header, static_cast<size_t>(in.Remaining()));
        if (std::memcmp(header, kMagic, static_cast<size_t>(in.Position())) != 0 || in.Position() == 0)
            in.Corrupt("not an Orvane image list file (" + std::to_string(in.Position()) + " bytes)");
        in.Corrupt("the file is truncated inside its header");
    }
    in.Read(header, sizeof kMagic);
    if (std::memcmp(header, kMagic, sizeof kMagic) != 0) in.Corrupt("not an Orvane image list file (wrong signature)");
    if (in.Remaining() < 8) in.Corrupt("the file is truncated inside its header");
    in.Read(header + 8, 8);
    const uint32_t version = LoadLE32(header + 8);
    const uint32_t headerSize = LoadLE32(header + 12);
    if (headerSize < kFileHeaderSize || headerSize > kMaxFileHeaderSize || headerSize % 4 != 0)
        in.Corrupt("the header size " + std::to_string(headerSize) + " is invalid");
    if (in.Remaining() < headerSize - 16u) in.Corrupt("the file is truncated inside its header");
    in.Read(header + 16, headerSize - 16u);
    const uint32_t headerCrc = LoadLE32(header + headerSize - kCrcSize);
    if (Crc(0, header, headerSize - kCrcSize) != headerCrc) in.Corrupt("the header's checksum does not match");
    static_assert(kOldestImageListVersion == 1 && kImageListVersion == 2, "the reader knows versions 1 and 2");
    if (version < kOldestImageListVersion || version > kImageListVersion)
        in.Unsupported("format version " + std::to_string(version) +
                       " is not supported (this SDK reads versions 1 and 2)");
    if (headerSize != kFileHeaderSize)
        in.Corrupt("the header size " + std::to_string(headerSize) + " does not match version " +
                   std::to_string(version));
    const uint32_t count = LoadLE32(header + 16);
    if (LoadLE32(header + 20) != 0 || LoadLE32(header + 24) != 0) in.Corrupt("reserved header fields are not zero");
    const uint32_t recordHeaderSize = RecordHeaderSize(version);
    const uint64_t minRecord = recordHeaderSize + kCrcSize;
    if (count > in.Remaining() / minRecord)
        in.Corrupt("the header announces " + std::to_string(count) + " images but the file can hold at most " +
                   std::to_string(in.Remaining() / minRecord));

    std::vector<ImageRecord> images;
    images.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
        const std::string which = "image " + std::to_string(i) + " of " + std::to_string(count);
        if (in.Remaining() < minRecord) in.Corrupt("the file is truncated: " + which + " is missing");
        uint8_t h[kMaxRecordHeaderSize];
        in.Read(h, recordHeaderSize);
        if (std::memcmp(h, kRecordMarker, 4) != 0) in.Corrupt(which + " does not start with its record marker");
        if (LoadLE32(h + 4) != recordHeaderSize)
            in.Corrupt(which + " has record header size " + std::to_string(LoadLE32(h + 4)) + " instead of " +
                       std::to_string(recordHeaderSize));
        if (LoadLE32(h + 8) != i) in.Corrupt(which + " carries the index " + std::to_string(LoadLE32(h + 8)));
        if (LoadLE64(h + 144) != 0) in.Corrupt(which + " has a non-zero reserved field");
        if (version >= 2) {
            const std::string invalid = CheckChunkValues(h);
            if (!invalid.empty()) in.Corrupt(which + " " + invalid);
        }
        const uint64_t dataSize = LoadLE64(h + 152);
        const uint64_t chunkSize = LoadLE64(h + 160);
        const uint64_t available = in.Remaining() - kCrcSize; // Remaining() >= kCrcSize here
        if (dataSize > available || chunkSize > available - dataSize)
            in.Corrupt(which + " declares " + std::to_string(dataSize) + " image bytes and " +
                       std::to_string(chunkSize) + " chunk bytes but only " + std::to_string(available) +
                       " bytes remain");
        ImageRecord record;
        DecodeRecordHeader(h, record);
        if (version >= 2) DecodeChunkValues(h, record.chunks);
        record.data.resize(static_cast<size_t>(dataSize));
        record.chunkData.resize(static_cast<size_t>(chunkSize));
        in.Read(record.data.data(), record.data.size());
        in.Read(record.chunkData.data(), record.chunkData.size());
        uint8_t trailer[kCrcSize];
        in.Read(trailer, sizeof trailer);
        uint32_t crc = Crc(0, h, recordHeaderSize);
        crc = Crc(crc, record.data.data(), record.data.size());
        crc = Crc(crc, record.chunkData.data(), record.chunkData.size());
        if (crc != LoadLE32(trailer)) in.Corrupt(which + ": checksum does not match");
        images.push_back(std::move(record));
    }
    if (in.Remaining() != 0) in.Corrupt(std::to_string(in.Remaining()) + " unexpected bytes follow the last image");
    return images;
}

} // namespace codecs
} // namespace Orvane
