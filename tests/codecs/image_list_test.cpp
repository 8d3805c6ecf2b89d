// Image list files: every field and byte survives save and load; the byte
// layout is the documented one; damaged, truncated and foreign files raise the
// exact errors.
#include <gtest/gtest.h>

#include <zlib.h>

#include <cmath>
#include <limits>

#include "CodecTestSupport.h"
#include "FloatBits.h"
#include "codecs/ImageListFile.h"

using namespace Orvane;
using namespace Orvane::codecs;
using namespace codectest;

namespace {

ImageRecord MakeRecord(uint32_t seed, size_t dataSize, size_t chunkSize) {
    ImageRecord r;
    r.pixelFormat = 17 + seed;
    r.pfnc = 0x01080001ull + seed;
    r.pixelFormatNamespace = 3 + seed;
    r.width = 640 + seed;
    r.height = 480 + seed;
    r.offsetX = 8 + seed;
    r.offsetY = 16 + seed;
    r.paddingX = 2 + seed;
    r.paddingY = 4 + seed;
    r.stride = 1280 + seed;
    r.frameId = 0xFFFFFFFFFFFFFFF0ull + seed;
    r.timestamp = 0x123456789ABCDEF0ull + seed;
    r.chunkLayoutId = 0xABCD0000ull + seed;
    r.payloadType = 4 + seed;
    r.status = 2 + seed;
    r.colorProcessing = 3 + seed;
    r.transportPayloadType = 0x4001 + seed;
    r.validPayloadSize = dataSize + chunkSize + seed;
    r.imageId = 1000 + seed;
    r.data.resize(dataSize);
    r.chunkData.resize(chunkSize);
    for (size_t i = 0; i < dataSize; ++i) r.data[i] = static_cast<uint8_t>(i * 31 + seed);
    for (size_t i = 0; i < chunkSize; ++i) r.chunkData[i] = static_cast<uint8_t>(i * 7 + seed + 1);
    // Chunk values: a different subset of items present for each seed.
    r.chunks.integerPresent = (0x5A5A5u >> seed) & 0x7FFFFu;
    r.chunks.floatPresent = (0xC3Bu << seed) & 0xFFFu;
    for (size_t i = 0; i < kChunkIntegerCount; ++i)
        if (r.chunks.integerPresent >> i & 1u) r.chunks.integers[i] = int64_t(i * 1000003) - 7 * int64_t(seed) - 5;
    for (size_t i = 0; i < kChunkFloatCount; ++i)
        if (r.chunks.floatPresent >> i & 1u) r.chunks.floats[i] = 0.25 * double(i) - double(seed) - 1.5;
    r.chunks.crcPresent = seed % 2 == 0;
    r.chunks.crc = r.chunks.crcPresent ? 0xDEADBEEFu - seed : 0;
    return r;
}

using orvtest::BitsOf;
using orvtest::DoubleOf;

void ExpectSameChunks(const ChunkValues& a, const ChunkValues& b) {
    EXPECT_EQ(a.integerPresent, b.integerPresent);
    EXPECT_EQ(a.floatPresent, b.floatPresent);
    for (size_t i = 0; i < kChunkIntegerCount; ++i) EXPECT_EQ(a.integers[i], b.integers[i]) << "integer item " << i;
    for (size_t i = 0; i < kChunkFloatCount; ++i)
        EXPECT_EQ(BitsOf(a.floats[i]), BitsOf(b.floats[i])) << "float item " << i;
    EXPECT_EQ(a.crcPresent, b.crcPresent);
    EXPECT_EQ(a.crc, b.crc);
}

void ExpectNoChunks(const ChunkValues& c) { ExpectSameChunks(c, ChunkValues()); }

void ExpectSame(const ImageRecord& a, const ImageRecord& b) {
    EXPECT_EQ(a.pixelFormat, b.pixelFormat);
    EXPECT_EQ(a.pfnc, b.pfnc);
    EXPECT_EQ(a.pixelFormatNamespace, b.pixelFormatNamespace);
    EXPECT_EQ(a.width, b.width);
    EXPECT_EQ(a.height, b.height);
    EXPECT_EQ(a.offsetX, b.offsetX);
    EXPECT_EQ(a.offsetY, b.offsetY);
    EXPECT_EQ(a.paddingX, b.paddingX);
    EXPECT_EQ(a.paddingY, b.paddingY);
    EXPECT_EQ(a.stride, b.stride);
    EXPECT_EQ(a.frameId, b.frameId);
    EXPECT_EQ(a.timestamp, b.timestamp);
    EXPECT_EQ(a.chunkLayoutId, b.chunkLayoutId);
    EXPECT_EQ(a.payloadType, b.payloadType);
    EXPECT_EQ(a.status, b.status);
    EXPECT_EQ(a.colorProcessing, b.colorProcessing);
    EXPECT_EQ(a.transportPayloadType, b.transportPayloadType);
    EXPECT_EQ(a.validPayloadSize, b.validPayloadSize);
    EXPECT_EQ(a.imageId, b.imageId);
    EXPECT_EQ(a.data, b.data);
    EXPECT_EQ(a.chunkData, b.chunkData);
    ExpectSameChunks(a.chunks, b.chunks);
}

// Everything but the chunk values (which version 1 files do not hold).
void ExpectSameWithoutChunks(const ImageRecord& a, const ImageRecord& b) {
    ImageRecord withoutChunks = a;
    withoutChunks.chunks = ChunkValues();
    ExpectSame(withoutChunks, b);
}

uint32_t Le32(const std::vector<uint8_t>& b, size_t p) {
    return uint32_t(b[p]) | (uint32_t(b[p + 1]) << 8) | (uint32_t(b[p + 2]) << 16) | (uint32_t(b[p + 3]) << 24);
}
uint64_t Le64(const std::vector<uint8_t>& b, size_t p) {
    return uint64_t(Le32(b, p)) | (uint64_t(Le32(b, p + 4)) << 32);
}
void PutLe32(std::vector<uint8_t>& b, size_t p, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[p + static_cast<size_t>(i)] = static_cast<uint8_t>(v >> (8 * i));
}
void PutLe64(std::vector<uint8_t>& b, size_t p, uint64_t v) {
    PutLe32(b, p, static_cast<uint32_t>(v));
    PutLe32(b, p + 4, static_cast<uint32_t>(v >> 32));
}
uint32_t CrcOf(const std::vector<uint8_t>& b, size_t from, size_t to) {
    return static_cast<uint32_t>(crc32(0, b.data() + from, static_cast<uInt>(to - from)));
}

// A version 1 file as that version's writers made it: 32-byte header, records
// with a 168-byte header and no chunk values.
std::vector<uint8_t> VersionOneFile(const std::vector<ImageRecord>& images) {
    std::vector<uint8_t> f(32, 0);
    const uint8_t magic[8] = {0x89, 'O', 'I', 'L', '\r', '\n', 0x1A, '\n'};
    std::memcpy(f.data(), magic, 8);
    PutLe32(f, 8, 1);
    PutLe32(f, 12, 32);
    PutLe32(f, 16, static_cast<uint32_t>(images.size()));
    PutLe32(f, 28, CrcOf(f, 0, 28));
    for (size_t i = 0; i < images.size(); ++i) {
        const ImageRecord& r = images[i];
        const size_t h = f.size();
        f.resize(h + 168, 0);
        std::memcpy(f.data() + h, "OREC", 4);
        PutLe32(f, h + 4, 168);
        PutLe32(f, h + 8, static_cast<uint32_t>(i));
        PutLe32(f, h + 12, r.pixelFormat);
        PutLe64(f, h + 16, r.pfnc);
        PutLe32(f, h + 24, r.pixelFormatNamespace);
        PutLe32(f, h + 28, r.payloadType);
        PutLe32(f, h + 32, r.status);
        PutLe32(f, h + 36, r.colorProcessing);
        PutLe64(f, h + 40, r.width);
        PutLe64(f, h + 48, r.height);
        PutLe64(f, h + 56, r.offsetX);
        PutLe64(f, h + 64, r.offsetY);
        PutLe64(f, h + 72, r.paddingX);
        PutLe64(f, h + 80, r.paddingY);
        PutLe64(f, h + 88, r.stride);
        PutLe64(f, h + 96, r.frameId);
        PutLe64(f, h + 104, r.timestamp);
        PutLe64(f, h + 112, r.chunkLayoutId);
        PutLe64(f, h + 120, r.transportPayloadType);
        PutLe64(f, h + 128, r.validPayloadSize);
        PutLe64(f, h + 136, r.imageId);
        PutLe64(f, h + 152, r.data.size());
        PutLe64(f, h + 160, r.chunkData.size());
        f.insert(f.end(), r.data.begin(), r.data.end());
        f.insert(f.end(), r.chunkData.begin(), r.chunkData.end());
        const uint32_t crc = CrcOf(f, h, f.size());
        f.resize(f.size() + 4);
        PutLe32(f, f.size() - 4, crc);
    }
    return f;
}

struct ImageList : ::testing::Test {
    TempDir dir;
    std::string Expect(const std::string& path, int code) {
        const Outcome o = Capture([&] { LoadImageList(path); });
        EXPECT_EQ(o.code, code) << o.message;
        return o.message;
    }
};

} // namespace

TEST_F(ImageList, SaveAndLoadKeepEveryFieldAndByte) {
    const std::vector<ImageRecord> images = {MakeRecord(0, 1000, 64), MakeRecord(1, 0, 0), MakeRecord(2, 3, 0),
                                             MakeRecord(3, 0, 17), MakeRecord(4, 300000, 4096)};
    SaveImageList(dir.File("l.oil"), images);
    const std::vector<ImageRecord> loaded = LoadImageList(dir.File("l.oil"));
    ASSERT_EQ(loaded.size(), images.size());
    for (size_t i = 0; i < images.size(); ++i) {
        SCOPED_TRACE(i);
        ExpectSame(images[i], loaded[i]);
    }
    // Extreme values.
    ImageRecord extreme = MakeRecord(0, 1, 1);
    extreme.pixelFormat = extreme.pixelFormatNamespace = extreme.payloadType = extreme.status =
        extreme.colorProcessing = 0xFFFFFFFFu;
    extreme.transportPayloadType = extreme.validPayloadSize = extreme.imageId = UINT64_MAX;
    extreme.pfnc = extreme.width = extreme.height = extreme.offsetX = extreme.offsetY = extreme.paddingX =
        extreme.paddingY = extreme.stride = extreme.frameId = extreme.timestamp = extreme.chunkLayoutId = UINT64_MAX;
    extreme.chunks.integerPresent = 0x7FFFFu;
    extreme.chunks.floatPresent = 0xFFFu;
    const int64_t integers[kChunkIntegerCount] = {
        INT64_MIN, INT64_MAX, -1, 0,  1, INT64_MIN + 1, 0x0123456789ABCDEF, -0x0123456789ABCDEF, 2, 3, 4, 5, 6, 7,
        8,         9,         10, 11, 12};
    const double floats[kChunkFloatCount] = {DoubleOf(0x7FF4000000000123ull), // a signalling NaN with a payload
                                             DoubleOf(0xFFF8000000000001ull), // a negative quiet NaN
                                             -0.0,
                                             std::numeric_limits<double>::infinity(),
                                             -std::numeric_limits<double>::infinity(),
                                             std::numeric_limits<double>::denorm_min(),
                                             std::numeric_limits<double>::max(),
                                             std::numeric_limits<double>::lowest(),
                                             0.1,
                                             -1e-300,
                                             3.5,
                                             1.0 / 3.0};
    std::memcpy(extreme.chunks.integers, integers, sizeof integers);
    std::memcpy(extreme.chunks.floats, floats, sizeof floats);
    extreme.chunks.crcPresent = true;
    extreme.chunks.crc = 0xFFFFFFFFu;
    ImageRecord zeroCrc = MakeRecord(1, 4, 0);
    zeroCrc.chunks = ChunkValues();
    zeroCrc.chunks.crcPresent = true; // a CRC chunk whose value is 0 stays present
    zeroCrc.chunks.crc = 0;
    zeroCrc.chunks.integerPresent = 1; // a present item whose value is 0 stays present
    zeroCrc.chunks.integers[0] = 0;
    SaveImageList(dir.File("x.oil"), std::vector<ImageRecord>{extreme, zeroCrc});
    const std::vector<ImageRecord> x = LoadImageList(dir.File("x.oil"));
    ASSERT_EQ(x.size(), 2u);
    ExpectSame(extreme, x[0]);
    ExpectSame(zeroCrc, x[1]);
    EXPECT_TRUE(std::isnan(x[0].chunks.floats[0]));
    EXPECT_TRUE(std::signbit(x[0].chunks.floats[2]));
}

TEST_F(ImageList, AbsentChunkItemsAreSavedAsZeroAndLoadAsZero) {
    ImageRecord r = MakeRecord(0, 4, 2);
    r.chunks.integerPresent = 1u << 3;
    r.chunks.floatPresent = 1u << 11;
    for (size_t i = 0; i < kChunkIntegerCount; ++i) r.chunks.integers[i] = -99; // stale values of absent items
    for (size_t i = 0; i < kChunkFloatCount; ++i) r.chunks.floats[i] = 99.5;
    r.chunks.crcPresent = false;
    r.chunks.crc = 0x12345678u; // ignored without the CRC chunk
    SaveImageList(dir.File("a.oil"), std::vector<ImageRecord>{r});
    const std::vector<uint8_t> f = ReadBytes(dir.File("a.oil"));
    const size_t h = 32;
    EXPECT_EQ(Le32(f, h + 176), 0u);
    EXPECT_EQ(Le32(f, h + 180), 0u);
    for (size_t i = 0; i < kChunkIntegerCount; ++i)
        EXPECT_EQ(Le64(f, h + 184 + 8 * i), i == 3 ? uint64_t(-99) : 0u) << i;
    for (size_t i = 0; i < kChunkFloatCount; ++i) EXPECT_EQ(Le64(f, h + 336 + 8 * i), i == 11 ? BitsOf(99.5) : 0u) << i;
    const std::vector<ImageRecord> loaded = LoadImageList(dir.File("a.oil"));
    ASSERT_EQ(loaded.size(), 1u);
    ChunkValues expected;
    expected.integerPresent = 1u << 3;
    expected.integers[3] = -99;
    expected.floatPresent = 1u << 11;
    expected.floats[11] = 99.5;
    ExpectSameChunks(expected, loaded[0].chunks);
}

TEST_F(ImageList, ChunkItemsBeyondTheFormatAreRefusedWhenSaving) {
    ImageRecord r = MakeRecord(0, 4, 2);
    r.chunks.integerPresent = 1u << 19;
    r.chunks.floatPresent = 0;
    const std::string path = dir.File("u.oil");
    Outcome o = Capture([&] { SaveImageList(path, std::vector<ImageRecord>{MakeRecord(1, 1, 0), r}); });
    EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(o.message, "Cannot save image list file '" + path +
                             "': image 1 marks chunk items that do not exist (integer bits 0x00080000, float bits "
                             "0x00000000)");
    r.chunks.integerPresent = 0;
    r.chunks.floatPresent = 0x80000000u;
    o = Capture([&] { SaveImageList(path, std::vector<ImageRecord>{r}); });
    EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(o.message, "Cannot save image list file '" + path +
                             "': image 0 marks chunk items that do not exist (integer bits 0x00000000, float bits "
                             "0x80000000)");
    EXPECT_TRUE(dir.List().empty());
}

TEST_F(ImageList, EmptyList) {
    SaveImageList(dir.File("e.oil"), std::vector<ImageRecord>());
    EXPECT_EQ(ReadBytes(dir.File("e.oil")).size(), 32u);
    EXPECT_TRUE(LoadImageList(dir.File("e.oil")).empty());
}

TEST_F(ImageList, ViewsSaveWhatTheyPointAt) {
    const uint8_t pixels[5] = {1, 2, 3, 4, 5};
    const uint8_t chunk[2] = {9, 8};
    ImageRecordView v;
    v.width = 5;
    v.frameId = 77;
    v.data = pixels;
    v.dataSize = 5;
    v.chunkData = chunk;
    v.chunkDataSize = 2;
    SaveImageList(dir.File("v.oil"), std::vector<ImageRecordView>{v});
    const std::vector<ImageRecord> r = LoadImageList(dir.File("v.oil"));
    ASSERT_EQ(r.size(), 1u);
    EXPECT_EQ(r[0].width, 5u);
    EXPECT_EQ(r[0].frameId, 77u);
    EXPECT_EQ(r[0].data, std::vector<uint8_t>(pixels, pixels + 5));
    EXPECT_EQ(r[0].chunkData, std::vector<uint8_t>(chunk, chunk + 2));
    v.data = nullptr;
    const Outcome o = Capture([&] { SaveImageList(dir.File("n.oil"), std::vector<ImageRecordView>{v}); });
    EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(o.message, "Cannot save image list file '" + dir.File("n.oil") + "': image 0 has a size but no bytes");
    EXPECT_FALSE(Exists(dir.File("n.oil")));
}

TEST_F(ImageList, DocumentedByteLayout) {
    ImageRecord r = MakeRecord(4, 3, 2);
    ASSERT_NE(r.chunks.integerPresent, 0u);
    ASSERT_NE(r.chunks.floatPresent, 0u);
    ASSERT_TRUE(r.chunks.crcPresent);
    SaveImageList(dir.File("b.oil"), std::vector<ImageRecord>{r});
    const std::vector<uint8_t> f = ReadBytes(dir.File("b.oil"));
    ASSERT_EQ(f.size(), 32u + 432u + 3u + 2u + 4u);
    const uint8_t magic[8] = {0x89, 'O', 'I', 'L', '\r', '\n', 0x1A, '\n'};
    EXPECT_EQ(std::memcmp(f.data(), magic, 8), 0);
    EXPECT_EQ(Le32(f, 8), 2u);   // version
    EXPECT_EQ(Le32(f, 12), 32u); // header size
    EXPECT_EQ(Le32(f, 16), 1u);  // image count
    EXPECT_EQ(Le32(f, 20), 0u);  // flags
    EXPECT_EQ(Le32(f, 24), 0u);  // reserved
    EXPECT_EQ(Le32(f, 28), CrcOf(f, 0, 28));
    const size_t h = 32;
    EXPECT_EQ(std::memcmp(f.data() + h, "OREC", 4), 0);
    EXPECT_EQ(Le32(f, h + 4), 432u);
    EXPECT_EQ(Le32(f, h + 8), 0u); // index
    EXPECT_EQ(Le32(f, h + 12), r.pixelFormat);
    EXPECT_EQ(Le64(f, h + 16), r.pfnc);
    EXPECT_EQ(Le32(f, h + 24), r.pixelFormatNamespace);
    EXPECT_EQ(Le32(f, h + 28), r.payloadType);
    EXPECT_EQ(Le32(f, h + 32), r.status);
    EXPECT_EQ(Le32(f, h + 36), r.colorProcessing);
    EXPECT_EQ(Le64(f, h + 40), r.width);
    EXPECT_EQ(Le64(f, h + 48), r.height);
    EXPECT_EQ(Le64(f, h + 56), r.offsetX);
    EXPECT_EQ(Le64(f, h + 64), r.offsetY);
    EXPECT_EQ(Le64(f, h + 72), r.paddingX);
    EXPECT_EQ(Le64(f, h + 80), r.paddingY);
    EXPECT_EQ(Le64(f, h + 88), r.stride);
    EXPECT_EQ(Le64(f, h + 96), r.frameId);
    EXPECT_EQ(Le64(f, h + 104), r.timestamp);
    EXPECT_EQ(Le64(f, h + 112), r.chunkLayoutId);
    EXPECT_EQ(Le64(f, h + 120), r.transportPayloadType);
    EXPECT_EQ(Le64(f, h + 128), r.validPayloadSize);
    EXPECT_EQ(Le64(f, h + 136), r.imageId);
    EXPECT_EQ(Le64(f, h + 144), 0u);
    EXPECT_EQ(Le64(f, h + 152), 3u);
    EXPECT_EQ(Le64(f, h + 160), 2u);
    EXPECT_EQ(Le32(f, h + 168), r.chunks.integerPresent);
    EXPECT_EQ(Le32(f, h + 172), r.chunks.floatPresent);
    EXPECT_EQ(Le32(f, h + 176), 1u); // chunk flags: CRC chunk present
    EXPECT_EQ(Le32(f, h + 180), r.chunks.crc);
    for (size_t i = 0; i < kChunkIntegerCount; ++i) {
        const bool present = r.chunks.integerPresent >> i & 1u;
        EXPECT_EQ(Le64(f, h + 184 + 8 * i), present ? uint64_t(r.chunks.integers[i]) : 0u) << i;
    }
    for (size_t i = 0; i < kChunkFloatCount; ++i) {
        const bool present = r.chunks.floatPresent >> i & 1u;
        EXPECT_EQ(Le64(f, h + 336 + 8 * i), present ? BitsOf(r.chunks.floats[i]) : 0u) << i;
    }
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + h + 432, f.begin() + h + 435), r.data);
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + h + 435, f.begin() + h + 437), r.chunkData);
    EXPECT_EQ(Le32(f, h + 437), CrcOf(f, h, h + 437));
}

namespace {

// Every single flipped bit of the file, and every truncation of it, is a
// corrupt file (the file loads as it is).
void ExpectEveryFlipAndCutIsCorrupt(const std::vector<uint8_t>& good, const std::string& path) {
    WriteBytes(path, good);
    ASSERT_EQ(Capture([&] { LoadImageList(path); }).code, 0);
    for (size_t byte = 0; byte < good.size(); ++byte)
        for (int bit = 0; bit < 8; ++bit) {
            std::vector<uint8_t> bad = good;
            bad[byte] ^= static_cast<uint8_t>(1u << bit);
            WriteBytes(path, bad);
            const Outcome o = Capture([&] { LoadImageList(path); });
            ASSERT_EQ(o.code, ORVANE_ERR_CORRUPT_DATA) << "byte " << byte << " bit " << bit << ": " << o.message;
            ASSERT_EQ(o.message.rfind("Cannot load image list file '" + path + "': ", 0), 0u) << o.message;
        }
    for (size_t length = 0; length < good.size(); ++length) {
        WriteBytes(path, std::vector<uint8_t>(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)));
        const Outcome o = Capture([&] { LoadImageList(path); });
        ASSERT_EQ(o.code, ORVANE_ERR_CORRUPT_DATA) << "length " << length << ": " << o.message;
    }
    // A byte too many is corrupt as well.
    std::vector<uint8_t> longer = good;
    longer.push_back(0);
    WriteBytes(path, longer);
    const Outcome o = Capture([&] { LoadImageList(path); });
    EXPECT_EQ(o.code, ORVANE_ERR_CORRUPT_DATA);
    EXPECT_EQ(o.message, "Cannot load image list file '" + path + "': 1 unexpected bytes follow the last image");
}

} // namespace

TEST_F(ImageList, EveryFlippedBitAndTruncationIsCorruptData) {
    const std::vector<ImageRecord> images = {MakeRecord(0, 6, 3), MakeRecord(1, 2, 0)};
    SaveImageList(dir.File("s.oil"), images);
    const std::vector<uint8_t> good = ReadBytes(dir.File("s.oil"));
    ASSERT_EQ(good.size(), 32u + (432 + 6 + 3 + 4) + (432 + 2 + 4));
    ExpectEveryFlipAndCutIsCorrupt(good, dir.File("f.oil"));
}

TEST_F(ImageList, VersionOneFilesLoadWithoutChunkValues) {
    const std::vector<ImageRecord> images = {MakeRecord(0, 6, 3), MakeRecord(1, 2, 0), MakeRecord(2, 0, 0)};
    ASSERT_NE(images[0].chunks.integerPresent, 0u);
    const std::vector<uint8_t> v1 = VersionOneFile(images);
    ASSERT_EQ(v1.size(), 32u + (168 + 6 + 3 + 4) + (168 + 2 + 4) + (168 + 4));
    WriteBytes(dir.File("v1.oil"), v1);
    const std::vector<ImageRecord> loaded = LoadImageList(dir.File("v1.oil"));
    ASSERT_EQ(loaded.size(), images.size());
    for (size_t i = 0; i < images.size(); ++i) {
        SCOPED_TRACE(i);
        ExpectSameWithoutChunks(images[i], loaded[i]);
        ExpectNoChunks(loaded[i].chunks);
    }
    // An empty version 1 list.
    WriteBytes(dir.File("e1.oil"), VersionOneFile({}));
    EXPECT_TRUE(LoadImageList(dir.File("e1.oil")).empty());
    // Version 1 keeps its own checks.
    ExpectEveryFlipAndCutIsCorrupt(VersionOneFile({MakeRecord(0, 6, 3), MakeRecord(1, 2, 0)}), dir.File("f1.oil"));
}

TEST_F(ImageList, RecordHeaderSizeMustMatchTheVersion) {
    const std::string path = dir.File("h.oil");
    const std::string p = "Cannot load image list file '" + path + "': ";
    // A version 1 file with version 2 in its header: its 168-byte record header
    // is not a version 2 one.
    std::vector<uint8_t> f = VersionOneFile({MakeRecord(0, 300, 3)});
    PutLe32(f, 8, 2);
    PutLe32(f, 28, CrcOf(f, 0, 28));
    WriteBytes(path, f);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "image 0 of 1 has record header size 168 instead of 432");
    // A version 2 file with version 1 in its header.
    SaveImageList(dir.File("s.oil"), std::vector<ImageRecord>{MakeRecord(0, 6, 3)});
    f = ReadBytes(dir.File("s.oil"));
    PutLe32(f, 8, 1);
    PutLe32(f, 28, CrcOf(f, 0, 28));
    WriteBytes(path, f);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "image 0 of 1 has record header size 432 instead of 168");
}

TEST_F(ImageList, ExactMessages) {
    SaveImageList(dir.File("s.oil"), std::vector<ImageRecord>{MakeRecord(0, 6, 3), MakeRecord(1, 2, 0)});
    const std::vector<uint8_t> good = ReadBytes(dir.File("s.oil"));
    const std::string path = dir.File("m.oil");
    const std::string p = "Cannot load image list file '" + path + "': ";

    WriteBytes(path, {});
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "not an Orvane image list file (0 bytes)");
    WriteBytes(path, std::vector<uint8_t>(good.begin(), good.begin() + 5));
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "the file is truncated inside its header");
    WriteBytes(path, std::vector<uint8_t>(good.begin(), good.begin() + 20));
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "the file is truncated inside its header");

    std::vector<uint8_t> bad = good;
    bad[30] ^= 1;
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "the header's checksum does not match");

    bad = good;
    bad[32 + 432 + 2] ^= 0x40; // a data byte of image 0
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "image 0 of 2: checksum does not match");

    WriteBytes(path, std::vector<uint8_t>(good.begin(), good.begin() + 32 + 436));
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA),
              p + "the header announces 2 images but the file can hold at most 1");

    // The second record cut after its header.
    bad = std::vector<uint8_t>(good.begin(), good.begin() + 32 + 432 + 6 + 3 + 4 + 436);
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA),
              p + "image 1 of 2 declares 2 image bytes and 0 chunk bytes but only 0 bytes remain");

    // A record whose sizes point past the end (checked before allocating).
    bad = good;
    PutLe64(bad, 32 + 152, 0x7FFFFFFFFFFFFFFFull);
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA),
              p + "image 0 of 2 declares 9223372036854775807 image bytes and 3 chunk bytes but only " +
                  std::to_string(good.size() - 32 - 432 - 4) + " bytes remain");

    // A header announcing 4 billion images (with a valid checksum).
    bad = good;
    PutLe32(bad, 16, 0xFFFFFFFFu);
    PutLe32(bad, 28, CrcOf(bad, 0, 28));
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA),
              p + "the header announces 4294967295 images but the file can hold at most 2");

    // Records swapped: the index gives it away even though each checksum holds.
    const size_t first = 432 + 6 + 3 + 4;
    bad.assign(good.begin(), good.begin() + 32);
    bad.insert(bad.end(), good.begin() + 32 + static_cast<std::ptrdiff_t>(first), good.end());
    bad.insert(bad.end(), good.begin() + 32, good.begin() + 32 + static_cast<std::ptrdiff_t>(first));
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "image 0 of 2 carries the index 1");

    WriteBytes(path, {'G', 'I', 'F', '8', '9', 'a', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                      0,   0,   0,   0,   0,   0,   0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "not an Orvane image list file (wrong signature)");
    WriteBytes(path, {'h', 'i'});
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "not an Orvane image list file (2 bytes)");
}

TEST_F(ImageList, MalformedChunkValuesAreCorruptData) {
    // Image 0 (seed 0): integer present bits 0x5A5A5, float present bits
    // 0xC3B, a CRC chunk. Image 1 (seed 1): no CRC chunk.
    const std::vector<ImageRecord> images = {MakeRecord(0, 6, 3), MakeRecord(1, 2, 0)};
    ASSERT_EQ(images[0].chunks.integerPresent, 0x5A5A5u);
    ASSERT_EQ(images[0].chunks.floatPresent, 0xC3Bu);
    ASSERT_TRUE(images[0].chunks.crcPresent);
    ASSERT_FALSE(images[1].chunks.crcPresent);
    SaveImageList(dir.File("s.oil"), images);
    const std::vector<uint8_t> good = ReadBytes(dir.File("s.oil"));
    const std::string path = dir.File("c.oil");
    const std::string p = "Cannot load image list file '" + path + "': ";
    const size_t r0 = 32, end0 = 32 + 432 + 6 + 3 + 4, r1 = end0, end1 = good.size();
    // Each change comes with a valid record checksum, as a faulty writer would
    // leave it: the field checks alone catch it.
    auto sealed = [&](size_t at, size_t from, size_t to, uint32_t value) {
        std::vector<uint8_t> bad = good;
        PutLe32(bad, at, value);
        PutLe32(bad, to - 4, CrcOf(bad, from, to - 4));
        WriteBytes(path, bad);
        return Expect(path, ORVANE_ERR_CORRUPT_DATA);
    };
    EXPECT_EQ(sealed(r0 + 168, r0, end0, 0x5A5A5u | 1u << 19),
              p + "image 0 of 2 marks integer chunk items that do not exist (present bits 0x000DA5A5)");
    EXPECT_EQ(sealed(r0 + 172, r0, end0, 0xC3Bu | 1u << 12),
              p + "image 0 of 2 marks float chunk items that do not exist (present bits 0x00001C3B)");
    EXPECT_EQ(sealed(r0 + 176, r0, end0, 3), p + "image 0 of 2 has undefined chunk flags 0x00000003");
    EXPECT_EQ(sealed(r1 + 180, r1, end1, 5), p + "image 1 of 2 has a CRC value but no CRC chunk");
    // Integer item 1 is absent in image 0.
    EXPECT_EQ(sealed(r0 + 184 + 8 * 1 + 4, r0, end0, 1),
              p + "image 0 of 2 has a value for the absent integer chunk item 1");
    // Float item 2 is absent in image 0; -0.0 is a value too.
    EXPECT_EQ(sealed(r0 + 336 + 8 * 2 + 4, r0, end0, 0x80000000u),
              p + "image 0 of 2 has a value for the absent float chunk item 2");
    // Clearing a present bit leaves a value behind.
    EXPECT_EQ(sealed(r0 + 168, r0, end0, 0x5A5A4u), p + "image 0 of 2 has a value for the absent integer chunk item 0");
}

TEST_F(ImageList, OtherVersionsAreNotSupported) {
    SaveImageList(dir.File("s.oil"), std::vector<ImageRecord>{MakeRecord(0, 6, 3)});
    std::vector<uint8_t> v3 = ReadBytes(dir.File("s.oil"));
    PutLe32(v3, 8, 3);
    PutLe32(v3, 28, CrcOf(v3, 0, 28));
    const std::string path = dir.File("v3.oil");
    WriteBytes(path, v3);
    EXPECT_EQ(Expect(path, ORVANE_ERR_NOT_SUPPORTED),
              "Cannot load image list file '" + path +
                  "': format version 3 is not supported (this SDK reads versions 1 and 2)");
    std::vector<uint8_t> v0 = v3;
    PutLe32(v0, 8, 0);
    PutLe32(v0, 28, CrcOf(v0, 0, 28));
    WriteBytes(path, v0);
    EXPECT_EQ(Expect(path, ORVANE_ERR_NOT_SUPPORTED),
              "Cannot load image list file '" + path +
                  "': format version 0 is not supported (this SDK reads versions 1 and 2)");
    // A later version may have a longer header; its checksum is still verified first.
    std::vector<uint8_t> longer(v3.begin(), v3.begin() + 28);
    PutLe32(longer, 12, 48);
    longer.resize(44, 0);
    longer.resize(48);
    PutLe32(longer, 44, CrcOf(longer, 0, 44));
    WriteBytes(path, longer);
    EXPECT_EQ(Expect(path, ORVANE_ERR_NOT_SUPPORTED),
              "Cannot load image list file '" + path +
                  "': format version 3 is not supported (this SDK reads versions 1 and 2)");
    longer[44] ^= 1;
    WriteBytes(path, longer);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA),
              "Cannot load image list file '" + path + "': the header's checksum does not match");
}

TEST_F(ImageList, UnreadableFilesAreIoErrors) {
    const std::string missing = dir.File("missing.oil");
    EXPECT_EQ(Expect(missing, ORVANE_ERR_IO),
              "Cannot load image list file '" + missing + "': cannot open the file: No such file or directory");
    EXPECT_EQ(Expect(dir.Path(), ORVANE_ERR_IO),
              "Cannot load image list file '" + dir.Path() + "': not a regular file");
    SaveImageList(dir.File("p.oil"), std::vector<ImageRecord>{MakeRecord(0, 6, 3)});
    ASSERT_EQ(chmod(dir.File("p.oil").c_str(), 0), 0);
    const Outcome o = CaptureUnprivileged([&] { LoadImageList(dir.File("p.oil")); });
    EXPECT_EQ(o.code, ORVANE_ERR_IO);
    EXPECT_EQ(o.message,
              "Cannot load image list file '" + dir.File("p.oil") + "': cannot open the file: Permission denied");
}

TEST_F(ImageList, SaveReplacesAtomically) {
    const std::string path = dir.File("r.oil");
    SaveImageList(path, std::vector<ImageRecord>{MakeRecord(0, 10, 0)});
    SaveImageList(path, std::vector<ImageRecord>{MakeRecord(1, 20, 0), MakeRecord(2, 30, 0)});
    EXPECT_EQ(LoadImageList(path).size(), 2u);
    EXPECT_EQ(dir.List(), std::vector<std::string>{"r.oil"});
}
