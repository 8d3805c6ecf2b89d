// Image list files: every field and byte survives save and load; the byte
// layout is the documented one; damaged, truncated and foreign files raise the
// exact errors.
#include <gtest/gtest.h>

#include <zlib.h>

#include "CodecTestSupport.h"
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
    return r;
}

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
}

uint32_t Le32(const std::vector<uint8_t>& b, size_t p) {
    return uint32_t(b[p]) | (uint32_t(b[p + 1]) << 8) | (uint32_t(b[p + 2]) << 16) | (uint32_t(b[p + 3]) << 24);
}
uint64_t Le64(const std::vector<uint8_t>& b, size_t p) { return uint64_t(Le32(b, p)) | (uint64_t(Le32(b, p + 4)) << 32); }
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
    SaveImageList(dir.File("x.oil"), std::vector<ImageRecord>{extreme});
    const std::vector<ImageRecord> x = LoadImageList(dir.File("x.oil"));
    ASSERT_EQ(x.size(), 1u);
    ExpectSame(extreme, x[0]);
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
    ImageRecord r = MakeRecord(5, 3, 2);
    SaveImageList(dir.File("b.oil"), std::vector<ImageRecord>{r});
    const std::vector<uint8_t> f = ReadBytes(dir.File("b.oil"));
    ASSERT_EQ(f.size(), 32u + 168u + 3u + 2u + 4u);
    const uint8_t magic[8] = {0x89, 'O', 'I', 'L', '\r', '\n', 0x1A, '\n'};
    EXPECT_EQ(std::memcmp(f.data(), magic, 8), 0);
    EXPECT_EQ(Le32(f, 8), 1u);    // version
    EXPECT_EQ(Le32(f, 12), 32u);  // header size
    EXPECT_EQ(Le32(f, 16), 1u);   // image count
    EXPECT_EQ(Le32(f, 20), 0u);   // flags
    EXPECT_EQ(Le32(f, 24), 0u);   // reserved
    EXPECT_EQ(Le32(f, 28), CrcOf(f, 0, 28));
    const size_t h = 32;
    EXPECT_EQ(std::memcmp(f.data() + h, "OREC", 4), 0);
    EXPECT_EQ(Le32(f, h + 4), 168u);
    EXPECT_EQ(Le32(f, h + 8), 0u);  // index
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
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + h + 168, f.begin() + h + 171), r.data);
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + h + 171, f.begin() + h + 173), r.chunkData);
    EXPECT_EQ(Le32(f, h + 173), CrcOf(f, h, h + 173));
}

TEST_F(ImageList, EveryFlippedBitIsCorruptData) {
    SaveImageList(dir.File("s.oil"), std::vector<ImageRecord>{MakeRecord(0, 6, 3), MakeRecord(1, 2, 0)});
    const std::vector<uint8_t> good = ReadBytes(dir.File("s.oil"));
    const std::string path = dir.File("f.oil");
    for (size_t byte = 0; byte < good.size(); ++byte)
        for (int bit = 0; bit < 8; ++bit) {
            std::vector<uint8_t> bad = good;
            bad[byte] ^= static_cast<uint8_t>(1u << bit);
            WriteBytes(path, bad);
            const Outcome o = Capture([&] { LoadImageList(path); });
            ASSERT_EQ(o.code, ORVANE_ERR_CORRUPT_DATA) << "byte " << byte << " bit " << bit << ": " << o.message;
            ASSERT_EQ(o.message.rfind("Cannot load image list file '" + path + "': ", 0), 0u) << o.message;
        }
}

TEST_F(ImageList, EveryTruncationIsCorruptData) {
    SaveImageList(dir.File("s.oil"), std::vector<ImageRecord>{MakeRecord(0, 6, 3), MakeRecord(1, 2, 0)});
    const std::vector<uint8_t> good = ReadBytes(dir.File("s.oil"));
    const std::string path = dir.File("t.oil");
    for (size_t length = 0; length < good.size(); ++length) {
        WriteBytes(path, std::vector<uint8_t>(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)));
        const Outcome o = Capture([&] { LoadImageList(path); });
        ASSERT_EQ(o.code, ORVANE_ERR_CORRUPT_DATA) << "length " << length << ": " << o.message;
    }
    // A byte too many is corrupt as well.
    std::vector<uint8_t> longer = good;
    longer.push_back(0);
    WriteBytes(path, longer);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA),
              "Cannot load image list file '" + path + "': 1 unexpected bytes follow the last image");
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
    bad[32 + 168 + 2] ^= 0x40;  // a data byte of image 0
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "image 0 of 2: checksum does not match");

    WriteBytes(path, std::vector<uint8_t>(good.begin(), good.begin() + 32 + 172));
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA),
              p + "the header announces 2 images but the file can hold at most 1");

    // The second record cut after its header.
    bad = std::vector<uint8_t>(good.begin(), good.begin() + 32 + 168 + 6 + 3 + 4 + 172);
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA),
              p + "image 1 of 2 declares 2 image bytes and 0 chunk bytes but only 0 bytes remain");

    // A record whose sizes point past the end (checked before allocating).
    bad = good;
    PutLe64(bad, 32 + 152, 0x7FFFFFFFFFFFFFFFull);
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA),
              p + "image 0 of 2 declares 9223372036854775807 image bytes and 3 chunk bytes but only " +
                  std::to_string(good.size() - 32 - 168 - 4) + " bytes remain");

    // A header announcing 4 billion images (with a valid checksum).
    bad = good;
    PutLe32(bad, 16, 0xFFFFFFFFu);
    PutLe32(bad, 28, CrcOf(bad, 0, 28));
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA),
              p + "the header announces 4294967295 images but the file can hold at most 2");

    // Records swapped: the index gives it away even though each checksum holds.
    const size_t first = 168 + 6 + 3 + 4;
    bad.assign(good.begin(), good.begin() + 32);
    bad.insert(bad.end(), good.begin() + 32 + static_cast<std::ptrdiff_t>(first), good.end());
    bad.insert(bad.end(), good.begin() + 32, good.begin() + 32 + static_cast<std::ptrdiff_t>(first));
    WriteBytes(path, bad);
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "image 0 of 2 carries the index 1");

    WriteBytes(path, {'G', 'I', 'F', '8', '9', 'a', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                      0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "not an Orvane image list file (wrong signature)");
    WriteBytes(path, {'h', 'i'});
    EXPECT_EQ(Expect(path, ORVANE_ERR_CORRUPT_DATA), p + "not an Orvane image list file (2 bytes)");
}

TEST_F(ImageList, NewerVersionIsNotSupported) {
    SaveImageList(dir.File("s.oil"), std::vector<ImageRecord>{MakeRecord(0, 6, 3)});
    std::vector<uint8_t> v2 = ReadBytes(dir.File("s.oil"));
    PutLe32(v2, 8, 2);
    PutLe32(v2, 28, CrcOf(v2, 0, 28));
    const std::string path = dir.File("v2.oil");
    WriteBytes(path, v2);
    EXPECT_EQ(Expect(path, ORVANE_ERR_NOT_SUPPORTED),
              "Cannot load image list file '" + path +
                  "': format version 2 is not supported (this SDK reads version 1)");
    // A later version may have a longer header; its checksum is still verified first.
    std::vector<uint8_t> longer(v2.begin(), v2.begin() + 28);
    PutLe32(longer, 12, 48);
    longer.resize(44, 0);
    longer.resize(48);
    PutLe32(longer, 44, CrcOf(longer, 0, 44));
    WriteBytes(path, longer);
    EXPECT_EQ(Expect(path, ORVANE_ERR_NOT_SUPPORTED),
              "Cannot load image list file '" + path +
                  "': format version 2 is not supported (this SDK reads version 1)");
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
    EXPECT_EQ(o.message, "Cannot load image list file '" + dir.File("p.oil") +
                             "': cannot open the file: Permission denied");
}

TEST_F(ImageList, SaveReplacesAtomically) {
    const std::string path = dir.File("r.oil");
    SaveImageList(path, std::vector<ImageRecord>{MakeRecord(0, 10, 0)});
    SaveImageList(path, std::vector<ImageRecord>{MakeRecord(1, 20, 0), MakeRecord(2, 30, 0)});
    EXPECT_EQ(LoadImageList(path).size(), 2u);
    EXPECT_EQ(dir.List(), std::vector<std::string>{"r.oil"});
}
