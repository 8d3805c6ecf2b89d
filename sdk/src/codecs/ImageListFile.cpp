// Image list files, format version 1 (docs/image-list-format.md). All
// integers are little-endian.
#include "codecs/ImageListFile.h"

#include <cerrno>
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
const uint32_t kRecordHeaderSize = 168;
const uint32_t kCrcSize = 4;

// zlib treats a null buffer as a request for the initial value; an empty
// buffer must leave the running CRC unchanged instead.
uint32_t Crc(uint32_t crc, const void* data, size_t size) {
    if (size == 0) return crc;
    return static_cast<uint32_t>(crc32_z(crc, static_cast<const Bytef*>(data), size));
}

void EncodeRecordHeader(const ImageRecordInfo& r, uint32_t index, uint64_t dataSize, uint64_t chunkSize,
                        uint8_t* h) {
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
    if (images.size() > 0xffffffffu)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, context + ": more than 4294967295 images");
    for (size_t i = 0; i < images.size(); ++i) {
        if ((images[i].data == nullptr && images[i].dataSize != 0) ||
            (images[i].chunkData == nullptr && images[i].chunkDataSize != 0))
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, context + ": image " + std::to_string(i) +
                                                       " has a size but no bytes");
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

void SaveImageList(const std::string& fileName, const std::vector<ImageRecord>& images,
                   const WriteSettings& settings) {
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
    if (version != kImageListVersion)
        in.Unsupported("format version " + std::to_string(version) + " is not supported (this SDK reads version " +
                       std::to_string(kImageListVersion) + ")");
    if (headerSize != kFileHeaderSize)
        in.Corrupt("the header size " + std::to_string(headerSize) + " does not match version 1");
    const uint32_t count = LoadLE32(header + 16);
    if (LoadLE32(header + 20) != 0 || LoadLE32(header + 24) != 0)
        in.Corrupt("reserved header fields are not zero");
    const uint64_t minRecord = kRecordHeaderSize + kCrcSize;
    if (count > in.Remaining() / minRecord)
        in.Corrupt("the header announces " + std::to_string(count) + " images but the file can hold at most " +
                   std::to_string(in.Remaining() / minRecord));

    std::vector<ImageRecord> images;
    images.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
        const std::string which = "image " + std::to_string(i) + " of " + std::to_string(count);
        if (in.Remaining() < minRecord) in.Corrupt("the file is truncated: " + which + " is missing");
        uint8_t h[kRecordHeaderSize];
        in.Read(h, sizeof h);
        if (std::memcmp(h, kRecordMarker, 4) != 0) in.Corrupt(which + " does not start with its record marker");
        if (LoadLE32(h + 4) != kRecordHeaderSize)
            in.Corrupt(which + " has record header size " + std::to_string(LoadLE32(h + 4)) + " instead of " +
                       std::to_string(kRecordHeaderSize));
        if (LoadLE32(h + 8) != i)
            in.Corrupt(which + " carries the index " + std::to_string(LoadLE32(h + 8)));
        if (LoadLE64(h + 144) != 0) in.Corrupt(which + " has a non-zero reserved field");
        const uint64_t dataSize = LoadLE64(h + 152);
        const uint64_t chunkSize = LoadLE64(h + 160);
        const uint64_t available = in.Remaining() - kCrcSize;  // Remaining() >= kCrcSize here
        if (dataSize > available || chunkSize > available - dataSize)
            in.Corrupt(which + " declares " + std::to_string(dataSize) + " image bytes and " +
                       std::to_string(chunkSize) + " chunk bytes but only " + std::to_string(available) +
                       " bytes remain");
        ImageRecord record;
        DecodeRecordHeader(h, record);
        record.data.resize(static_cast<size_t>(dataSize));
        record.chunkData.resize(static_cast<size_t>(chunkSize));
        in.Read(record.data.data(), record.data.size());
        in.Read(record.chunkData.data(), record.chunkData.size());
        uint8_t trailer[kCrcSize];
        in.Read(trailer, sizeof trailer);
        uint32_t crc = Crc(0, h, sizeof h);
        crc = Crc(crc, record.data.data(), record.data.size());
        crc = Crc(crc, record.chunkData.data(), record.chunkData.size());
        if (crc != LoadLE32(trailer)) in.Corrupt(which + ": checksum does not match");
        images.push_back(std::move(record));
    }
    if (in.Remaining() != 0)
        in.Corrupt(std::to_string(in.Remaining()) + " unexpected bytes follow the last image");
    return images;
}

} // namespace codecs
} // namespace Orvane
