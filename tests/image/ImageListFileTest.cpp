// ImageList::Save and ImageList::Load with chunk values: loaded images give
// the values, present items and CRC answers of the saved images; chunks that
// cannot be decoded any more are saved as absent; version 1 lists load with
// no chunk values.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "../codecs/CodecTestSupport.h"
#include "FloatBits.h"
#include "Orvane/ChunkData.h"
#include "Orvane/Image.h"
#include "Orvane/ImageList.h"
#include "SdkError.h"
#include "core/Raise.h"
#include "image/ChunkDecoder.h"
#include "image/Crc32.h"
#include "image/ImageAccess.h"

using namespace Orvane;
using codectest::ReadBytes;
using codectest::TempDir;
using codectest::WriteBytes;
using internal::ChunkCrc;
using internal::ChunkDataAccess;
using internal::ImageAccess;
using orvtest::CodeOf;
using orvtest::MessageOf;

namespace {

const size_t kWidth = 8, kHeight = 4, kImageBytes = kWidth * kHeight, kChunkBytes = 16;

using orvtest::BitsOf;
using orvtest::DoubleOf;

ChunkData::IntegerItem IntItem(int i) { return static_cast<ChunkData::IntegerItem>(i); }
ChunkData::FloatItem FloatItem(int i) { return static_cast<ChunkData::FloatItem>(i); }

internal::ImageMetadata Metadata(uint64_t frameId) {
    internal::ImageMetadata m;
    m.width = kWidth;
    m.height = kHeight;
    m.pixelFormat = PixelFormat_Mono8;
    m.tlPixelFormat = 0x01080001;
    m.tlPayloadType = PayloadType_ChunkData;
    m.payloadType = 0x4001;
    m.id = frameId;
    m.frameId = frameId;
    m.timestamp = 1000 * frameId;
    m.chunkLayoutId = 0x77;
    m.validPayloadSize = kImageBytes + kChunkBytes;
    return m;
}

std::vector<uint8_t> Payload(uint8_t seed) {
    std::vector<uint8_t> bytes(kImageBytes + kChunkBytes);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 13 + seed);
    return bytes;
}

// Every item present, with values no two items share, extremes included.
ChunkData AllItems() {
    ChunkData d;
    for (int i = 0; i < ChunkData::IntegerItemCount; ++i)
        ChunkDataAccess::SetInteger(d, IntItem(i), i == 0 ? INT64_MIN : i == 1 ? INT64_MAX : -1000 * i - 7);
    const double floats[ChunkData::FloatItemCount] = {250.0,
                                                      -0.0,
                                                      3.5,
                                                      DoubleOf(0x7FF8000000000ABCull), // a NaN with a payload
                                                      std::numeric_limits<double>::infinity(),
                                                      std::numeric_limits<double>::denorm_min(),
                                                      -1e300,
                                                      0.1,
                                                      -2.25,
                                                      1.0 / 3.0,
                                                      std::numeric_limits<double>::max(),
                                                      -7.0};
    for (int i = 0; i < ChunkData::FloatItemCount; ++i) ChunkDataAccess::SetFloat(d, FloatItem(i), floats[i]);
    return d;
}

// Only ChunkFrameID, ChunkTimestamp and ChunkGain.
ChunkData SomeItems(int64_t frameId) {
    ChunkData d;
    ChunkDataAccess::SetInteger(d, ChunkData::FrameID, frameId);
    ChunkDataAccess::SetInteger(d, ChunkData::Timestamp, 1000 * frameId);
    ChunkDataAccess::SetFloat(d, ChunkData::Gain, 6.5);
    return d;
}

// An image owning its bytes (as loaded images do) with the given chunk values.
ImagePtr ImageWithChunks(uint8_t seed, const ChunkData& values, bool crcPresent, uint32_t crc) {
    ImagePtr image = ImageAccess::NewImage();
    ImageAccess::Adopt(*image, Metadata(seed), Payload(seed), kImageBytes);
    ChunkCrc c;
    c.present = crcPresent;
    c.value = crc;
    ImageAccess::SetChunkData(*image, values, c);
    return image;
}

uint32_t CrcOfData(const ImagePtr& image) { return internal::Crc32(image->GetData(), image->GetSize()); }

// A decoder standing for a camera's: gives fixed values, or fails as one
// whose camera was closed.
class FakeDecoder : public internal::ChunkDecoder {
public:
    FakeDecoder(const ChunkData& values, ChunkCrc crc, bool fail) : m_values(values), m_crc(crc), m_fail(fail) {}
    void Decode(const uint8_t*, size_t payloadSize, size_t imageSize, ChunkData& values, ChunkCrc& crc) const override {
        ++calls;
        EXPECT_EQ(payloadSize, kImageBytes + kChunkBytes);
        EXPECT_EQ(imageSize, kImageBytes);
        if (m_fail) ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE, "the camera was closed");
        values = m_values;
        crc = m_crc;
    }
    mutable int calls = 0;

private:
    ChunkData m_values;
    ChunkCrc m_crc;
    bool m_fail;
};

// A stream-like image whose chunk values come from a decoder on first use.
struct DecodedImage {
    std::shared_ptr<std::vector<uint8_t>> bytes;
    std::shared_ptr<FakeDecoder> decoder;
    ImagePtr image;
};

DecodedImage ImageWithDecoder(uint8_t seed, const ChunkData& values, ChunkCrc crc, bool fail) {
    DecodedImage d;
    d.bytes = std::make_shared<std::vector<uint8_t>>(Payload(seed));
    d.decoder = std::make_shared<FakeDecoder>(values, crc, fail);
    d.image = ImageAccess::NewImage();
    ImageAccess::Attach(*d.image, Metadata(seed), d.bytes->data(), d.bytes->size(), d.bytes, nullptr, d.decoder);
    return d;
}

std::vector<uint8_t> Bytes(const ImagePtr& image) {
    const uint8_t* p = static_cast<const uint8_t*>(image->GetData());
    return std::vector<uint8_t>(p, p + image->GetBufferSize());
}

// Loaded image b gives what saved image a gave: every item's presence and
// value (floats bit for bit), NO_DATA naming the feature for absent items,
// HasCRC and CheckCRC.
void ExpectSameChunkData(const ImagePtr& a, const ImagePtr& b) {
    const ChunkData& x = a->GetChunkData();
    const ChunkData& y = b->GetChunkData();
    for (int i = 0; i < ChunkData::IntegerItemCount; ++i) {
        SCOPED_TRACE(ChunkData::GetName(IntItem(i)));
        ASSERT_EQ(y.IsPresent(IntItem(i)), x.IsPresent(IntItem(i)));
        if (x.IsPresent(IntItem(i))) {
            EXPECT_EQ(y.GetIntegerValue(IntItem(i)), x.GetIntegerValue(IntItem(i)));
        } else {
            EXPECT_EQ(CodeOf([&] { y.GetIntegerValue(IntItem(i)); }), ORVANE_ERR_NO_DATA);
            EXPECT_NE(MessageOf([&] { y.GetIntegerValue(IntItem(i)); }).find(ChunkData::GetName(IntItem(i))),
                      std::string::npos);
        }
    }
    for (int i = 0; i < ChunkData::FloatItemCount; ++i) {
        SCOPED_TRACE(ChunkData::GetName(FloatItem(i)));
        ASSERT_EQ(y.IsPresent(FloatItem(i)), x.IsPresent(FloatItem(i)));
        if (x.IsPresent(FloatItem(i))) {
            EXPECT_EQ(BitsOf(y.GetFloatValue(FloatItem(i))), BitsOf(x.GetFloatValue(FloatItem(i))));
        } else {
            EXPECT_EQ(CodeOf([&] { y.GetFloatValue(FloatItem(i)); }), ORVANE_ERR_NO_DATA);
            EXPECT_NE(MessageOf([&] { y.GetFloatValue(FloatItem(i)); }).find(ChunkData::GetName(FloatItem(i))),
                      std::string::npos);
        }
    }
    EXPECT_EQ(b->HasCRC(), a->HasCRC());
    EXPECT_EQ(b->CheckCRC(), a->CheckCRC());
}

void ExpectNoChunkData(const ImagePtr& image) {
    const ChunkData& d = image->GetChunkData();
    for (int i = 0; i < ChunkData::IntegerItemCount; ++i) EXPECT_FALSE(d.IsPresent(IntItem(i))) << i;
    for (int i = 0; i < ChunkData::FloatItemCount; ++i) EXPECT_FALSE(d.IsPresent(FloatItem(i))) << i;
    EXPECT_EQ(CodeOf([&] { d.GetFrameID(); }), ORVANE_ERR_NO_DATA);
    EXPECT_EQ(MessageOf([&] { d.GetFrameID(); }),
              "ChunkData: the image carries no ChunkFrameID chunk (chunk mode off, the chunk not enabled, or the "
              "camera does not have it)");
    EXPECT_FALSE(image->HasCRC());
    EXPECT_FALSE(image->CheckCRC());
}

struct ImageListFile : ::testing::Test {
    TempDir dir;
};

} // namespace

TEST_F(ImageListFile, LoadedImagesGiveTheSavedChunkValues) {
    ImageList list;
    ImagePtr all = ImageWithChunks(1, AllItems(), true, 0);
    ChunkCrc goodCrc;
    goodCrc.present = true;
    goodCrc.value = CrcOfData(all);
    ImageAccess::SetChunkData(*all, AllItems(), goodCrc);
    ASSERT_TRUE(all->CheckCRC());
    ImagePtr some = ImageWithChunks(2, SomeItems(42), true, CrcOfData(all)); // a CRC that does not match
    ASSERT_TRUE(some->HasCRC());
    ASSERT_FALSE(some->CheckCRC());
    ImagePtr noCrc = ImageWithChunks(3, SomeItems(43), false, 0);
    ImagePtr plain = Image::Create(kWidth, kHeight, 0, 0, PixelFormat_Mono8); // no chunks at all
    for (const ImagePtr& image : {all, some, noCrc, plain}) list.PushBack(image);

    const std::string file = dir.File("chunks.oil");
    list.Save(file.c_str());
    const ImageList loaded = ImageList::Load(file.c_str());
    ASSERT_EQ(loaded.GetSize(), 4u);
    for (size_t i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        ExpectSameChunkData(list.GetByIndex(i), loaded.GetByIndex(i));
        EXPECT_EQ(Bytes(loaded.GetByIndex(i)), Bytes(list.GetByIndex(i)));
    }
    // The getters by name, as the C library reads them.
    const ChunkData& a = loaded.GetByIndex(0)->GetChunkData();
    EXPECT_EQ(a.GetFrameID(), INT64_MIN);
    EXPECT_EQ(a.GetOffsetX(), INT64_MAX);
    EXPECT_EQ(a.GetEncoderValue(), -18007);
    EXPECT_EQ(a.GetExposureTime(), 250.0);
    EXPECT_TRUE(std::signbit(a.GetCompressionRatio()));
    EXPECT_TRUE(std::isnan(a.GetBlackLevel()));
    EXPECT_EQ(a.GetScan3dTransformValue(), -7.0);
    const ChunkData& s = loaded.GetByIndex(1)->GetChunkData();
    EXPECT_EQ(s.GetFrameID(), 42);
    EXPECT_EQ(s.GetTimestamp(), 42000);
    EXPECT_EQ(s.GetGain(), 6.5);
    EXPECT_EQ(CodeOf([&] { s.GetExposureTime(); }), ORVANE_ERR_NO_DATA);
    EXPECT_EQ(CodeOf([&] { s.GetWidth(); }), ORVANE_ERR_NO_DATA);
    // CRC answers: matching, present but not matching, absent.
    EXPECT_TRUE(loaded.GetByIndex(0)->HasCRC());
    EXPECT_TRUE(loaded.GetByIndex(0)->CheckCRC());
    EXPECT_TRUE(loaded.GetByIndex(1)->HasCRC());
    EXPECT_FALSE(loaded.GetByIndex(1)->CheckCRC());
    EXPECT_FALSE(loaded.GetByIndex(2)->HasCRC());
    EXPECT_FALSE(loaded.GetByIndex(2)->CheckCRC());
    ExpectNoChunkData(loaded.GetByIndex(3));
    // CheckCRC re-checks the loaded bytes.
    static_cast<uint8_t*>(loaded.GetByIndex(0)->GetData())[5] ^= 0x10;
    EXPECT_TRUE(loaded.GetByIndex(0)->HasCRC());
    EXPECT_FALSE(loaded.GetByIndex(0)->CheckCRC());
}

TEST_F(ImageListFile, SavingDecodesChunkValuesNotYetDecoded) {
    ChunkCrc crc;
    crc.present = true;
    crc.value = 0xCAFEF00Du;
    DecodedImage d = ImageWithDecoder(4, SomeItems(7), crc, false);
    ImageList list;
    list.PushBack(d.image);
    const std::string file = dir.File("decoded.oil");
    list.Save(file.c_str());
    EXPECT_EQ(d.decoder->calls, 1);
    const ImageList loaded = ImageList::Load(file.c_str());
    ASSERT_EQ(loaded.GetSize(), 1u);
    ExpectSameChunkData(d.image, loaded.GetByIndex(0));
    EXPECT_EQ(d.decoder->calls, 1); // decoded once, for the save
    EXPECT_EQ(loaded.GetByIndex(0)->GetChunkData().GetFrameID(), 7);
    EXPECT_TRUE(loaded.GetByIndex(0)->HasCRC());
    EXPECT_FALSE(loaded.GetByIndex(0)->CheckCRC());
    EXPECT_EQ(Bytes(loaded.GetByIndex(0)), *d.bytes);
}

TEST_F(ImageListFile, ImagesWhoseChunksCannotBeDecodedAreSavedWithoutChunkValues) {
    ChunkCrc crc;
    crc.present = true;
    DecodedImage closed = ImageWithDecoder(5, AllItems(), crc, true);
    DecodedImage open = ImageWithDecoder(6, SomeItems(9), ChunkCrc(), false);
    ImageList list;
    list.PushBack(closed.image);
    list.PushBack(open.image);
    const std::string file = dir.File("closed.oil");
    list.Save(file.c_str());
    EXPECT_EQ(closed.decoder->calls, 1);
    const ImageList loaded = ImageList::Load(file.c_str());
    ASSERT_EQ(loaded.GetSize(), 2u);
    ExpectNoChunkData(loaded.GetByIndex(0));
    // The bytes are all kept, chunk bytes included.
    EXPECT_EQ(Bytes(loaded.GetByIndex(0)), *closed.bytes);
    EXPECT_EQ(loaded.GetByIndex(0)->GetFrameID(), 5u);
    // The other image is unaffected.
    EXPECT_EQ(loaded.GetByIndex(1)->GetChunkData().GetFrameID(), 9);
    // The saved image itself still reports why it has no values.
    EXPECT_EQ(CodeOf([&] { closed.image->GetChunkData(); }), ORVANE_ERR_NOT_AVAILABLE);
}

TEST_F(ImageListFile, CopiesOfLoadedImagesKeepTheirChunkValues) {
    ImageList list;
    list.PushBack(ImageWithChunks(7, SomeItems(11), true, 0x1234u));
    const std::string file = dir.File("copy.oil");
    list.Save(file.c_str());
    const ImagePtr loaded = ImageList::Load(file.c_str()).GetByIndex(0);
    const ImagePtr copy = Image::Create(loaded);
    ExpectSameChunkData(loaded, copy);
    EXPECT_EQ(copy->GetChunkData().GetFrameID(), 11);
    ImagePtr deep = Image::Create();
    deep->DeepCopy(loaded);
    ExpectSameChunkData(loaded, deep);
    EXPECT_TRUE(deep->HasCRC());
    // A reset image is a new image: no chunk values.
    deep->Reset(kWidth, kHeight, 0, 0, PixelFormat_Mono8);
    ExpectNoChunkData(deep);
}

TEST_F(ImageListFile, DecodedStreamImagesCopyTheirValues) {
    DecodedImage d = ImageWithDecoder(8, SomeItems(12), ChunkCrc(), false);
    EXPECT_EQ(d.image->GetChunkData().GetFrameID(), 12);
    const ImagePtr copy = Image::Create(d.image);
    EXPECT_EQ(copy->GetChunkData().GetFrameID(), 12);
    EXPECT_EQ(d.decoder->calls, 1); // the copy did not decode again
    // A copy made before the first decode decodes through the same decoder.
    DecodedImage e = ImageWithDecoder(9, SomeItems(13), ChunkCrc(), false);
    const ImagePtr early = Image::Create(e.image);
    EXPECT_EQ(early->GetChunkData().GetFrameID(), 13);
    EXPECT_EQ(e.decoder->calls, 1);
}

TEST_F(ImageListFile, VersionOneListsLoadWithoutChunkValues) {
    ImageList list;
    list.PushBack(ImageWithChunks(10, AllItems(), true, 0));
    list.PushBack(ImageWithChunks(11, SomeItems(3), false, 0));
    const std::string file = dir.File("v2.oil");
    list.Save(file.c_str());
    // The same list as version 1 wrote it: no chunk values in the record
    // headers (bytes 168 .. 431 of version 2), record header size 168.
    const std::vector<uint8_t> v2 = ReadBytes(file);
    std::vector<uint8_t> v1(v2.begin(), v2.begin() + 32);
    v1[8] = 1;
    const uint32_t headerCrc = internal::Crc32(v1.data(), 28);
    for (int i = 0; i < 4; ++i) v1[28 + static_cast<size_t>(i)] = static_cast<uint8_t>(headerCrc >> (8 * i));
    size_t at = 32;
    for (size_t r = 0; r < 2; ++r) {
        const size_t begin = v1.size();
        const size_t record = 432 + kImageBytes + kChunkBytes + 4;
        v1.insert(v1.end(), v2.begin() + static_cast<std::ptrdiff_t>(at),
                  v2.begin() + static_cast<std::ptrdiff_t>(at + 168));
        v1[begin + 4] = 168;
        v1[begin + 5] = 0;
        v1.insert(v1.end(), v2.begin() + static_cast<std::ptrdiff_t>(at + 432),
                  v2.begin() + static_cast<std::ptrdiff_t>(at + record - 4));
        const uint32_t crc = internal::Crc32(v1.data() + begin, v1.size() - begin);
        for (int i = 0; i < 4; ++i) v1.push_back(static_cast<uint8_t>(crc >> (8 * i)));
        at += record;
    }
    ASSERT_EQ(at, v2.size());
    const std::string old = dir.File("v1.oil");
    WriteBytes(old, v1);
    const ImageList loaded = ImageList::Load(old.c_str());
    ASSERT_EQ(loaded.GetSize(), 2u);
    for (size_t i = 0; i < 2; ++i) {
        SCOPED_TRACE(i);
        ExpectNoChunkData(loaded.GetByIndex(i));
        EXPECT_EQ(Bytes(loaded.GetByIndex(i)), Bytes(list.GetByIndex(i)));
        EXPECT_EQ(loaded.GetByIndex(i)->GetFrameID(), list.GetByIndex(i)->GetFrameID());
    }
    // Saved again, the list is version 2 (with no chunk values).
    loaded.Save(file.c_str());
    EXPECT_EQ(ReadBytes(file)[8], 2);
    ExpectNoChunkData(ImageList::Load(file.c_str()).GetByIndex(0));
}
