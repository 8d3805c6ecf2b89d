// Chunk and event ports of the device node map on a description made for it
// (data/data-ports.xml): every register kind and byte order the map decodes,
// struct entries, pass-through nodes, cached values across attachments.
#include <gtest/gtest.h>

#include <arv.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "Orvane/GenApi/GenApi.h"
#include "SdkError.h"
#include "genapi/ArvNodeMap.h"

using namespace Orvane;
using namespace Orvane::GenApi;
using Orvane::GenApi::impl::ArvNodeMap;

// Allocations made while counting (this program's operator new).
static std::atomic<bool> g_counting{false};
static std::atomic<long> g_allocations{0};

void* operator new(size_t size) {
    if (g_counting.load(std::memory_order_relaxed)) ++g_allocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
// This program's operator new takes its memory from malloc.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
#pragma GCC diagnostic pop

namespace {

using orvtest::CodeOf;
using orvtest::MessageOf;

void AppendChunk(std::vector<uint8_t>& out, uint32_t id, const std::vector<uint8_t>& data) {
    out.insert(out.end(), data.begin(), data.end());
    for (uint32_t v : {id, static_cast<uint32_t>(data.size())})
        for (int i = 3; i >= 0; --i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

class DataPortsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        arv_set_fake_camera_genicam_filename(ORVANE_SOURCE_DIR "/tests/virtual-camera/data/data-ports.xml");
    }

    void SetUp() override {
        GError* error = nullptr;
        device = arv_fake_device_new("DP0001", &error);
        ASSERT_NE(device, nullptr) << (error ? error->message : "");
        map = std::make_unique<ArvNodeMap>(device, "Device");
    }

    void TearDown() override {
        map.reset();
        g_object_unref(device);
    }

    // Chunk A's 40 bytes.
    static std::vector<uint8_t> ChunkA() {
        std::vector<uint8_t> a(40, 0);
        const uint8_t littleUnsigned[] = {0x78, 0x56, 0x34, 0x12}; // 0x12345678
        std::memcpy(&a[0], littleUnsigned, 4);
        a[4] = 0xFF; // -2, big-endian 16-bit
        a[5] = 0xFE;
        const uint8_t littleSigned[] = {0x00, 0xFF, 0xFF, 0xFF}; // -256
        std::memcpy(&a[8], littleSigned, 4);
        a[12] = 0xA5; // bits 4..11 of 0x00000BA5 = 0xBA
        a[13] = 0x0B;
        a[16] = 0x00; // big-endian 0x00000F80: bits 20..27 in big-endian numbering (4..11) = 0xF8 = -8 signed
        a[17] = 0x00;
        a[18] = 0x0F;
        a[19] = 0x80;
        const float f = 1.5f;
        uint32_t fbits;
        std::memcpy(&fbits, &f, 4);
        for (int i = 0; i < 4; ++i) a[20 + i] = static_cast<uint8_t>(fbits >> (8 * i)); // little-endian
        const double d = -2.25;
        uint64_t dbits;
        std::memcpy(&dbits, &d, 8);
        for (int i = 0; i < 8; ++i) a[24 + i] = static_cast<uint8_t>(dbits >> (8 * (7 - i))); // big-endian
        a[32] = 'o';
        a[33] = 'k';
        a[36] = 0x80; // big-endian status word 0x80000042: bit 0 (the MSB) set, low byte 0x42
        a[39] = 0x42;
        return a;
    }

    ArvDevice* device = nullptr;
    std::unique_ptr<ArvNodeMap> map;
};

TEST_F(DataPortsTest, RegistersDecodeAsTheDescriptionLaysThemOut) {
    std::vector<uint8_t> data;
    AppendChunk(data, 0x1000000A, ChunkA());
    AppendChunk(data, 0x1000000B, {3, 0, 0, 0, 0xDE, 0xAD, 0xBE, 0xEF});
    map->AttachChunkData(data.data(), data.size());
    EXPECT_EQ(CIntegerPtr(map->GetNode("LittleUnsigned"))->GetValue(), 0x12345678);
    EXPECT_EQ(CIntegerPtr(map->GetNode("BigSigned"))->GetValue(), -2);
    EXPECT_EQ(CIntegerPtr(map->GetNode("LittleSigned"))->GetValue(), -256);
    EXPECT_EQ(CIntegerPtr(map->GetNode("MaskedLittle"))->GetValue(), 0xBA);
    EXPECT_EQ(CIntegerPtr(map->GetNode("MaskedBig"))->GetValue(), -8);
    EXPECT_DOUBLE_EQ(CFloatPtr(map->GetNode("LittleFloat"))->GetValue(), 1.5);
    EXPECT_DOUBLE_EQ(CFloatPtr(map->GetNode("BigDouble"))->GetValue(), -2.25);
    EXPECT_EQ(CStringPtr(map->GetNode("Text"))->GetValue(), "ok");
    EXPECT_EQ(CIntegerPtr(map->GetNode("StructLow"))->GetValue(), 0x42);
    EXPECT_EQ(CIntegerPtr(map->GetNode("StructFlag"))->GetValue(), 1);
    EXPECT_EQ(CEnumerationPtr(map->GetNode("Mode"))->ToString(), "Fast");
    CRegisterPtr blob(map->GetNode("Blob"));
    uint8_t bytes[4] = {0};
    blob->Get(bytes, 4);
    EXPECT_EQ(bytes[0], 0xDE);
    EXPECT_EQ(bytes[3], 0xEF);
    EXPECT_EQ(blob->ToString(), "0xdeadbeef");
    // The device's own registers are untouched by any of it.
    CIntegerPtr(map->GetNode("Plain"))->SetValue(77);
    EXPECT_EQ(CIntegerPtr(map->GetNode("Plain"))->GetValue(), 77);
}

TEST_F(DataPortsTest, CachedValuesFollowEveryAttachment) {
    CIntegerPtr value(map->GetNode("LittleUnsigned"));
    ASSERT_TRUE(value->GetNode()->IsCachable());
    std::vector<uint8_t> chunk = ChunkA();
    std::vector<uint8_t> data;
    AppendChunk(data, 0x1000000A, chunk);
    map->AttachChunkData(data.data(), data.size());
    EXPECT_EQ(value->GetValue(), 0x12345678);
    // The same memory with new content, attached again (as a stream reuses buffers).
    data[0] = 0x01;
    map->AttachChunkData(data.data(), data.size());
    EXPECT_EQ(value->GetValue(), 0x12345601);
    map->DetachChunkData();
    EXPECT_EQ(value->GetNode()->GetAccessMode(), NA);
    EXPECT_EQ(map->GetNode("ChunkA")->GetAccessMode(), NA);
    std::vector<uint8_t> other;
    AppendChunk(other, 0x1000000A, std::vector<uint8_t>(40, 0x11));
    map->AttachChunkData(other.data(), other.size());
    EXPECT_EQ(value->GetValue(), 0x11111111);
    EXPECT_EQ(map->GetNode("ChunkA")->GetAccessMode(), RO);
}

TEST_F(DataPortsTest, AttachingAFrameAllocatesNothing) {
    std::vector<uint8_t> data;
    AppendChunk(data, 0x1000000A, ChunkA());
    AppendChunk(data, 0x1000000B, {3, 0, 0, 0, 1, 2, 3, 4});
    AppendChunk(data, 0x0BADC0DE, {9, 9, 9, 9});    // unknown to the description
    map->AttachChunkData(data.data(), data.size()); // the first attachment builds what notification needs
    map->DetachChunkData();
    map->AttachEventData(0x5001, data.data(), 16);
    g_allocations = 0;
    g_counting = true;
    for (int frame = 0; frame < 100; ++frame) {
        data[0] = static_cast<uint8_t>(frame);
        map->AttachChunkData(data.data(), data.size());
        map->AttachEventData(0x5001, data.data(), 16);
    }
    map->DetachChunkData();
    g_counting = false;
    EXPECT_EQ(g_allocations.load(), 0);
    EXPECT_EQ(map->GetNode("LittleUnsigned")->GetAccessMode(), NA);
}

TEST_F(DataPortsTest, PortNodesReadTheDataAndRefuseWrites) {
    CPortPtr port(map->GetNode("ChunkB"));
    uint8_t bytes[4] = {0};
    EXPECT_EQ(CodeOf([&] { port->Read(bytes, 0, 4); }), ORVANE_ERR_GENICAM_ACCESS);
    std::vector<uint8_t> data;
    AppendChunk(data, 0x1000000B, {7, 0, 0, 0, 1, 2, 3, 4});
    map->AttachChunkData(data.data(), data.size());
    port->Read(bytes, 4, 4);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(bytes[3], 4);
    EXPECT_EQ(CodeOf([&] { port->Read(bytes, 6, 4); }), ORVANE_ERR_INVALID_BUFFER);
    EXPECT_EQ(CodeOf([&] { port->Write(bytes, 0, 4); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(CEnumerationPtr(map->GetNode("Mode"))->ToString(), "Slow");
    EXPECT_TRUE(map->HasChunkPort(0x1000000B));
    EXPECT_FALSE(map->HasChunkPort(0x1000000C));
    const uint8_t* found = nullptr;
    size_t size = 0;
    ASSERT_TRUE(map->FindChunk(0x1000000B, &found, &size));
    EXPECT_EQ(found, data.data());
    EXPECT_EQ(size, 8u);
    EXPECT_FALSE(map->FindChunk(0x1000000A, &found, &size));
}

TEST_F(DataPortsTest, EventDataIsPerEventId) {
    CIntegerPtr stamp(map->GetNode("EventStamp"));
    EXPECT_EQ(stamp->GetNode()->GetAccessMode(), NA);
    EXPECT_NE(MessageOf([&] { stamp->GetValue(); }).find("no data is attached for event 0x5001"), std::string::npos);
    std::vector<uint8_t> event(16, 0);
    event[15] = 9;
    map->AttachEventData(0x5001, event.data(), event.size());
    EXPECT_EQ(stamp->GetValue(), 9);
    EXPECT_EQ(CodeOf([&] { map->AttachEventData(0x5002, event.data(), event.size()); }), ORVANE_ERR_INVALID_ID);
    EXPECT_EQ(CodeOf([&] { map->AttachEventData(0x5001, nullptr, 4); }), ORVANE_ERR_INVALID_ARGUMENT);
    // Chunk data leaves event data alone, and the other way round.
    map->DetachChunkData();
    EXPECT_EQ(stamp->GetValue(), 9);
    std::vector<uint8_t> shorter(12, 0);
    map->AttachEventData(0x5001, shorter.data(), shorter.size());
    EXPECT_EQ(CodeOf([&] { stamp->GetValue(); }), ORVANE_ERR_INVALID_BUFFER);
    map->DetachEventData(0x5001);
    EXPECT_EQ(stamp->GetNode()->GetAccessMode(), NA);
}

} // namespace
