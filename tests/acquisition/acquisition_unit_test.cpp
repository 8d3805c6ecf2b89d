// The pieces of acquisition that need no camera: test patterns, chunk
// layouts, CRC-32, chunk data, pooled images.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "Orvane/ChunkData.h"
#include "Orvane/Exception.h"
#include "PatternReference.h"
#include "acquisition/FrameQueue.h"
#include "acquisition/ImageLeasePool.h"
#include "acquisition/StreamRun.h"
#include "image/ChunkLayout.h"
#include "image/Crc32.h"
#include "virtual/TestPattern.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualChunks.h"

using namespace Orvane;
using namespace Orvane::internal;

namespace {

uint32_t Be32(const uint8_t* p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }
uint64_t Be64(const uint8_t* p) { return uint64_t(Be32(p)) << 32 | Be32(p + 4); }
double BeDouble(const uint8_t* p) {
    const uint64_t bits = Be64(p);
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

TEST(TestPattern, OffersExactlyTheDescriptionsPixelFormats) {
    std::set<std::string> offered;
    for (const vcam::EntryInfo& e : vcam::kEntries)
        if (std::string(e.feature) == "PixelFormat") offered.insert(e.entry);
    std::set<std::string> known;
    for (const reference::Format& f : reference::Formats()) known.insert(f.name);
    EXPECT_EQ(offered, known);
    for (const vcam::EntryInfo& e : vcam::kEntries) {
        if (std::string(e.feature) != "PixelFormat") continue;
        const reference::Format* f = reference::FindFormat(e.entry);
        ASSERT_NE(f, nullptr) << e.entry;
        EXPECT_EQ(uint64_t(f->pfnc), uint64_t(e.value)) << e.entry;
    }
}

TEST(TestPattern, EveryFormatAndPatternMatchesTheFormulas) {
    struct Size {
        uint32_t w, h, ox, oy;
    };
    // 36 wide: the burned-in frame counter spans two lines; 35: lines that
    // do not end on a byte in the packed formats.
    const Size sizes[] = {{36, 7, 10, 3}, {35, 5, 60, 70}, {80, 4, 0, 0}};
    const uint64_t frameIds[] = {1, 0x8000000000000001ull, 0x0123456789ABCDEFull};
    PatternScratch scratch;
    for (const reference::Format& fmt : reference::Formats()) {
        for (const auto& pattern : reference::Patterns()) {
            for (const Size& s : sizes) {
                if (fmt.family == reference::Family::Yuv && fmt.storage == 16 && s.w % 2) continue;
                for (uint64_t f : frameIds) {
                    const std::vector<uint8_t> expected =
                        reference::Image(fmt, pattern.second, s.w, s.h, s.ox, s.oy, f);
                    ASSERT_EQ(PatternImageBytes(fmt.pfnc, s.w, s.h), expected.size()) << fmt.name;
                    std::vector<uint8_t> buffer(expected.size() + 16, 0xA5);
                    PatternFrame frame;
                    frame.data = buffer.data();
                    frame.capacity = expected.size();
                    frame.width = s.w;
                    frame.height = s.h;
                    frame.offsetX = s.ox;
                    frame.offsetY = s.oy;
                    frame.pixelFormat = fmt.pfnc;
                    frame.pattern = pattern.second;
                    frame.frameId = f;
                    ASSERT_EQ(FillTestPattern(frame, scratch), expected.size()) << fmt.name << " " << pattern.first;
                    const std::vector<uint8_t> image(buffer.begin(), buffer.begin() + expected.size());
                    ASSERT_EQ(image, expected)
                        << fmt.name << " " << pattern.first << " " << s.w << "x" << s.h << " frame " << f;
                    for (size_t i = expected.size(); i < buffer.size(); ++i)
                        ASSERT_EQ(buffer[i], 0xA5) << fmt.name << ": wrote past the image";
                }
            }
        }
    }
}

TEST(TestPattern, DocumentedValuesOfMono8) {
    // Off, frame 3, offsets (10, 3): pixel (x, y) = (x + 10 + y + 3 + 3) mod 256,
    // except the first 64 pixels, which carry the frame ID's bits.
    std::vector<uint8_t> buffer(128 * 2);
    PatternScratch scratch;
    PatternFrame frame;
    frame.data = buffer.data();
    frame.capacity = buffer.size();
    frame.width = 128;
    frame.height = 2;
    frame.offsetX = 10;
    frame.offsetY = 3;
    frame.pixelFormat = 0x01080001;
    frame.pattern = 0;
    frame.frameId = 3;
    ASSERT_EQ(FillTestPattern(frame, scratch), 256u);
    EXPECT_EQ(buffer[0], 255); // bit 0 of 3
    EXPECT_EQ(buffer[1], 255); // bit 1
    EXPECT_EQ(buffer[2], 0);
    EXPECT_EQ(buffer[63], 0);
    EXPECT_EQ(buffer[64], (64 + 10 + 3 + 3) % 256);
    EXPECT_EQ(buffer[128 + 5], (5 + 10 + 1 + 3 + 3) % 256);
}

TEST(TestPattern, RefusesWhatItCannotDraw) {
    std::vector<uint8_t> buffer(64 * 64 * 4);
    PatternScratch scratch;
    PatternFrame frame;
    frame.data = buffer.data();
    frame.capacity = buffer.size();
    frame.width = 64;
    frame.height = 64;
    frame.pixelFormat = 0x02180014; // RGB8 fits
    EXPECT_EQ(FillTestPattern(frame, scratch), 64u * 64 * 3);
    frame.pixelFormat = 0x0220001C; // a planar format the camera does not offer
    EXPECT_EQ(FillTestPattern(frame, scratch), 0u);
    EXPECT_EQ(PatternImageBytes(0xDEADBEEF, 8, 8), 0u);
    frame.pixelFormat = 0x02200016; // RGBa8: 16384 bytes
    frame.capacity = 64 * 64 * 4 - 1;
    EXPECT_EQ(FillTestPattern(frame, scratch), 0u);
    frame.data = nullptr;
    EXPECT_EQ(FillTestPattern(frame, scratch), 0u);
}

TEST(Crc32, MatchesTheStandardCheckValues) {
    EXPECT_EQ(Crc32("123456789", 9), 0xCBF43926u);
    EXPECT_EQ(Crc32("", 0), 0u);
    const char* text = "The quick brown fox jumps over the lazy dog";
    EXPECT_EQ(Crc32(text, std::strlen(text)), 0x414FA339u);
    EXPECT_EQ(Crc32(text + 10, std::strlen(text) - 10, Crc32(text, 10)), 0x414FA339u);
    std::vector<uint8_t> big(100003);
    for (size_t i = 0; i < big.size(); ++i) big[i] = uint8_t(i * 7 + (i >> 9));
    uint32_t bytewise = 0xFFFFFFFFu;
    for (uint8_t b : big) {
        bytewise ^= b;
        for (int k = 0; k < 8; ++k) bytewise = (bytewise & 1) ? 0xEDB88320u ^ (bytewise >> 1) : bytewise >> 1;
    }
    EXPECT_EQ(Crc32(big.data(), big.size()), ~bytewise);
}

TEST(VirtualChunks, LayoutHoldsTheEnabledChunksWithTheirValuesAndTheCrcLast) {
    // Enabled: FrameID, Width, ExposureTime, Gain, CounterValue, CRC.
    uint64_t mask = 1;
    auto enable = [&mask](uint32_t id) {
        for (size_t i = 0; i < std::size(vcam::kChunks); ++i)
            if (vcam::kChunks[i].id == id) mask |= uint64_t(1) << i;
    };
    enable(vcam::chunk::CRC);
    enable(vcam::chunk::FrameID);
    enable(vcam::chunk::Width);
    enable(vcam::chunk::ExposureTime);
    enable(vcam::chunk::Gain);
    enable(vcam::chunk::CounterValue);
    const size_t imageSize = 100;
    const size_t expectedSize = imageSize + 8 + (4 + 8) + (8 + 8) + (4 + 8) + (8 + 8) + (8 + 8) + (16 + 8);
    EXPECT_EQ(imageSize + VirtualChunkBytes(mask), expectedSize);
    std::vector<uint8_t> payload(expectedSize + 10, 0);
    for (size_t i = 0; i < imageSize; ++i) payload[i] = uint8_t(i * 3);
    VirtualChunkValues v;
    v.frameId = 0x1122334455667788ull;
    v.width = 640;
    v.exposureTime = 1234.5;
    v.gain = 6.25;
    v.counterValue[0] = 7;
    v.counterValue[1] = 0xFFFFFFFFFFull;
    EXPECT_EQ(WriteVirtualChunks(payload.data(), imageSize, expectedSize - 1, mask, v), 0u);
    ASSERT_EQ(WriteVirtualChunks(payload.data(), imageSize, payload.size(), mask, v), expectedSize);

    std::vector<ChunkEntry> chunks;
    ASSERT_TRUE(WalkChunks(payload.data(), expectedSize, [&](const ChunkEntry& e) {
        chunks.push_back(e);
        return true;
    }));
    ASSERT_EQ(chunks.size(), 7u);
    // Last first: CRC, CounterValue, Gain, ExposureTime, Width, FrameID, Image.
    EXPECT_EQ(chunks[0].id, vcam::chunk::CRC);
    EXPECT_EQ(Be32(payload.data() + chunks[0].offset), Crc32(payload.data(), imageSize));
    EXPECT_EQ(chunks[1].id, vcam::chunk::CounterValue);
    EXPECT_EQ(Be64(payload.data() + chunks[1].offset), 7u);
    EXPECT_EQ(Be64(payload.data() + chunks[1].offset + 8), 0xFFFFFFFFFFull);
    EXPECT_EQ(chunks[2].id, vcam::chunk::Gain);
    EXPECT_EQ(BeDouble(payload.data() + chunks[2].offset), 6.25);
    EXPECT_EQ(chunks[3].id, vcam::chunk::ExposureTime);
    EXPECT_EQ(BeDouble(payload.data() + chunks[3].offset), 1234.5);
    EXPECT_EQ(chunks[4].id, vcam::chunk::Width);
    EXPECT_EQ(Be32(payload.data() + chunks[4].offset), 640u);
    EXPECT_EQ(chunks[5].id, vcam::chunk::FrameID);
    EXPECT_EQ(Be64(payload.data() + chunks[5].offset), 0x1122334455667788ull);
    EXPECT_EQ(chunks[6].id, vcam::chunk::Image);
    EXPECT_EQ(chunks[6].offset, 0u);
    EXPECT_EQ(chunks[6].length, imageSize);

    const uint64_t id = ChunkLayoutId(payload.data(), expectedSize);
    EXPECT_NE(id, 0u);
    v.frameId = 1;
    WriteVirtualChunks(payload.data(), imageSize, payload.size(), mask, v);
    EXPECT_EQ(ChunkLayoutId(payload.data(), expectedSize), id); // same chunks, other values
    EXPECT_EQ(ChunkLayoutId(payload.data(), imageSize), 0u);    // no layout
}

TEST(ChunkLayout, RejectsLengthsOutsideThePayload) {
    uint8_t bytes[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0x4F, 0x56, 0, 1, 0, 0, 0, 9};
    int visited = 0;
    EXPECT_FALSE(WalkChunks(bytes, sizeof bytes, [&](const ChunkEntry&) { return ++visited, true; }));
    EXPECT_EQ(visited, 0);
    bytes[15] = 8;
    EXPECT_TRUE(WalkChunks(bytes, sizeof bytes, [&](const ChunkEntry&) { return ++visited, true; }));
    EXPECT_EQ(visited, 1);
    EXPECT_FALSE(WalkChunks(bytes, 5, [&](const ChunkEntry&) { return true; }));
}

TEST(ChunkData, AbsentChunksRaiseNoDataNamingTheChunk) {
    ChunkData data;
    try {
        data.GetExposureTime();
        FAIL() << "no exception";
    } catch (const Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_NO_DATA);
        EXPECT_NE(std::string(e.GetErrorMessage()).find("ChunkExposureTime"), std::string::npos) << e.GetErrorMessage();
    }
    try {
        data.GetTransferQueueCurrentBlockCount();
        FAIL() << "no exception";
    } catch (const Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_NO_DATA);
        EXPECT_NE(std::string(e.GetErrorMessage()).find("ChunkTransferQueueCurrentBlockCount"), std::string::npos);
    }
    EXPECT_FALSE(data.IsPresent(ChunkData::FrameID));
    EXPECT_STREQ(ChunkData::GetName(ChunkData::Scan3dTransformValue), "ChunkScan3dTransformValue");
    EXPECT_EQ(ChunkData::GetName(ChunkData::IntegerItemCount), nullptr);
    try {
        data.GetIntegerValue(static_cast<ChunkData::IntegerItem>(40));
        FAIL() << "no exception";
    } catch (const Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_OUT_OF_RANGE);
    }
}

TEST(FrameQueue, IsADoubleEndedRing) {
    StreamSlot* a = reinterpret_cast<StreamSlot*>(0x10);
    StreamSlot* b = reinterpret_cast<StreamSlot*>(0x20);
    StreamSlot* c = reinterpret_cast<StreamSlot*>(0x30);
    FrameQueue q(3);
    q.PushBack(a);
    q.PushBack(b);
    EXPECT_EQ(q.PopFront(), a);
    q.PushBack(c);
    q.PushBack(a); // wraps
    EXPECT_EQ(q.Size(), 3u);
    EXPECT_EQ(q.PopBack(), a);
    EXPECT_EQ(q.PopFront(), b);
    EXPECT_EQ(q.PopFront(), c);
    EXPECT_TRUE(q.Empty());
}

TEST(ImageLeasePool, ReusesBlocksOnceWarm) {
    std::shared_ptr<ImageLeasePool> pool = ImageLeasePool::Create();
    {
        std::vector<ImagePtr> held;
        for (int i = 0; i < 5; ++i) held.push_back(pool->NewImage());
        EXPECT_EQ(pool->BlocksAllocated(), 5u);
    }
    for (int i = 0; i < 1000; ++i) {
        ImagePtr a = pool->NewImage();
        ImagePtr b = pool->NewImage();
        EXPECT_EQ(a->GetWidth(), 0u);
    }
    EXPECT_EQ(pool->BlocksAllocated(), 5u);
    ImagePtr survivor = pool->NewImage();
    pool.reset(); // the image keeps its pool
    EXPECT_EQ(survivor->GetData(), nullptr);
}

// Lost frames from GigE Vision frame IDs: gaps, 16-bit wrap, frames that
// arrived without an ID, late IDs.
TEST(StreamRunLostFrames, GapsBetweenFrameIds) {
    EXPECT_EQ(StreamRun::MissedBetween(0, 65401, 0), 0u);     // the first frame
    EXPECT_EQ(StreamRun::MissedBetween(65401, 65402, 0), 0u); // the next one
    EXPECT_EQ(StreamRun::MissedBetween(65401, 65404, 0), 2u);
    // Across the wrap: 65535 is followed by 1.
    EXPECT_EQ(StreamRun::MissedBetween(65535, 1, 0), 0u);
    EXPECT_EQ(StreamRun::MissedBetween(65534, 2, 0), 2u); // 65535 and 1
    // Frames without an ID (their leader lost) fill places of the gap.
    EXPECT_EQ(StreamRun::MissedBetween(65401, 65403, 1), 0u);
    EXPECT_EQ(StreamRun::MissedBetween(65401, 65405, 1), 2u);
    EXPECT_EQ(StreamRun::MissedBetween(65535, 2, 1), 0u);
    EXPECT_EQ(StreamRun::MissedBetween(10, 11, 3), 0u); // never below zero
    // A late or repeated ID is no wrap past 65535 more frames.
    EXPECT_EQ(StreamRun::MissedBetween(65403, 65402, 0), 0u);
    EXPECT_EQ(StreamRun::MissedBetween(500, 500, 0), 0u);
    EXPECT_EQ(StreamRun::MissedBetween(500, 400, 0), 0u);      // behind: not 65434 frames ahead
    EXPECT_EQ(StreamRun::MissedBetween(60000, 100, 0), 5634u); // a wrap: 60001..65535, 1..99
    // 64-bit IDs do not wrap.
    EXPECT_EQ(StreamRun::MissedBetween(0x10000, 0x10005, 1), 3u);
    EXPECT_EQ(StreamRun::MissedBetween(0x10005, 0x10000, 0), 0u);
}

} // namespace
