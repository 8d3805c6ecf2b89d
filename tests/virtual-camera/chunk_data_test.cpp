// Chunk and event data of the virtual camera's description, attached by hand
// to its device node map (as the acquisition attaches each image's chunks):
// every chunk feature, missing chunks, refused layouts, a little fuzzing, and
// the event data features.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "genapi/ArvNodeMap.h"
#include "virtual/VirtualCameraRegisters.h"

using namespace Orvane;
using namespace Orvane::GenApi;
using Orvane::GenApi::impl::ArvNodeMap;
namespace vcam = Orvane::internal::vcam;

namespace {

using orvtest::CodeOf;
using orvtest::MessageOf;

void PutBE(std::vector<uint8_t>& data, size_t at, uint64_t value, size_t length) {
    for (size_t i = 0; i < length; ++i) data[at + length - 1 - i] = static_cast<uint8_t>(value >> (8 * i));
}

void AppendChunk(std::vector<uint8_t>& out, uint32_t id, const std::vector<uint8_t>& data) {
    out.insert(out.end(), data.begin(), data.end());
    for (uint32_t v : {id, static_cast<uint32_t>(data.size())})
        for (int i = 3; i >= 0; --i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

bool IsReadable(INode* node) {
    const EAccessMode mode = node->GetAccessMode();
    return mode == RO || mode == RW;
}

const vcam::RegisterInfo* ChunkRegister(const char* feature) {
    for (const vcam::NamedRegister& r : vcam::kRegisters)
        if (r.portId != 0 && std::strcmp(r.feature, feature) == 0) return r.info;
    return nullptr;
}

std::vector<int64_t> EntryValues(const char* feature) {
    std::vector<int64_t> values;
    for (const vcam::EntryInfo& e : vcam::kEntries)
        if (std::strcmp(e.feature, feature) == 0) values.push_back(e.value);
    return values;
}

class ChunkDataTest : public ::testing::Test {
protected:
    void SetUp() override {
        system = System::GetInstance();
        camera = system->GetCameras().GetBySerial("VC0001");
        ASSERT_TRUE(camera);
        camera->Init();
        nodes = &camera->GetNodeMap();
        map = &camera->Core().Access().Connection()->NodeMap();
        // A small image: the ChunkImage register's length follows the format.
        CIntegerPtr(nodes->GetNode("Width"))->SetValue(16);
        CIntegerPtr(nodes->GetNode("Height"))->SetValue(16);
        CEnumerationPtr(nodes->GetNode("PixelFormat"))->FromString("Mono8");
    }
    void TearDown() override {
        if (camera) camera->DeInit();
        camera = nullptr;
        system->ReleaseInstance();
    }

    // One value per chunk feature slot, and the chunk data holding them all.
    struct Expected {
        std::string feature;
        const char* selector = nullptr;
        int64_t selectorValue = 0;
        int64_t integer = 0;
        double real = 0;
        bool isFloat = false;
    };

    std::vector<uint8_t> FullChunkData(std::vector<Expected>& expected, std::vector<uint8_t>& image) {
        std::map<uint32_t, std::vector<uint8_t>> chunks;
        for (const vcam::ChunkInfo& c : vcam::kChunks)
            chunks[c.id] = std::vector<uint8_t>(c.id == vcam::chunk::Image ? 16 * 16 : c.length, 0);
        image = chunks[vcam::chunk::Image];
        for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<uint8_t>(i * 7 + 1);
        chunks[vcam::chunk::Image] = image;
        int k = 0;
        for (const vcam::ChunkFeatureInfo& f : vcam::kChunkFeatures) {
            if (f.chunkId == vcam::chunk::Image) continue;
            const vcam::RegisterInfo* reg = ChunkRegister(f.feature);
            EXPECT_NE(reg, nullptr) << f.feature;
            if (!reg) continue;
            std::vector<int64_t> selectorValues{0};
            if (reg->selector[0]) selectorValues = EntryValues(reg->selector[0]);
            INode* node = nodes->GetNode(f.feature);
            EXPECT_NE(node, nullptr) << f.feature;
            if (!node) continue;
            for (int64_t v : selectorValues) {
                Expected e;
                e.feature = f.feature;
                e.selector = reg->selector[0];
                e.selectorValue = v;
                const size_t at = f.offset + static_cast<size_t>(v) * f.stride;
                ++k;
                switch (node->GetPrincipalInterfaceType()) {
                case intfIFloat: {
                    e.isFloat = true;
                    e.real = 1.25 * k + 0.5;
                    uint64_t bits;
                    std::memcpy(&bits, &e.real, 8);
                    PutBE(chunks[f.chunkId], at, bits, 8);
                    break;
                }
                case intfIEnumeration:
                    e.integer = EntryValues("ChunkPixelFormat").at(static_cast<size_t>(k) % 3);
                    PutBE(chunks[f.chunkId], at, static_cast<uint64_t>(e.integer), f.length);
                    break;
                default:
                    e.integer = f.length == 8 ? 0x0102030405060000LL + k : 0x1000 + 17 * k;
                    PutBE(chunks[f.chunkId], at, static_cast<uint64_t>(e.integer), f.length);
                    break;
                }
                expected.push_back(e);
            }
        }
        std::vector<uint8_t> data;
        AppendChunk(data, vcam::chunk::Image, chunks[vcam::chunk::Image]);
        for (const auto& c : chunks)
            if (c.first != vcam::chunk::Image) AppendChunk(data, c.first, c.second);
        return data;
    }

    void ExpectValue(const Expected& e) {
        if (e.selector) CEnumerationPtr(nodes->GetNode(e.selector))->SetIntValue(e.selectorValue);
        INode* node = nodes->GetNode(e.feature.c_str());
        EXPECT_EQ(node->GetAccessMode(), RO) << e.feature;
        if (e.isFloat) {
            EXPECT_DOUBLE_EQ(CFloatPtr(node)->GetValue(), e.real) << e.feature << " " << e.selectorValue;
        } else if (node->GetPrincipalInterfaceType() == intfIEnumeration) {
            EXPECT_EQ(CEnumerationPtr(node)->GetIntValue(), e.integer) << e.feature;
        } else {
            EXPECT_EQ(CIntegerPtr(node)->GetValue(), e.integer) << e.feature << " " << e.selectorValue;
        }
    }

    SystemPtr system;
    CameraPtr camera;
    INodeMap* nodes = nullptr;
    ArvNodeMap* map = nullptr;
};

TEST_F(ChunkDataTest, WithoutChunkDataEveryChunkFeatureIsNA) {
    EXPECT_FALSE(map->HasChunkData());
    for (const vcam::ChunkFeatureInfo& f : vcam::kChunkFeatures) {
        INode* node = nodes->GetNode(f.feature);
        ASSERT_NE(node, nullptr) << f.feature;
        EXPECT_EQ(node->GetAccessMode(), NA) << f.feature;
        EXPECT_FALSE(IsReadable(node)) << f.feature;
    }
    const std::string message = MessageOf([&] { CIntegerPtr(nodes->GetNode("ChunkFrameID"))->GetValue(); });
    EXPECT_NE(message.find("ChunkFrameID: the node is not readable (access mode NA): no chunk data is attached"),
              std::string::npos)
        << message;
    EXPECT_EQ(CodeOf([&] { CIntegerPtr(nodes->GetNode("ChunkFrameID"))->GetValue(); }), ORVANE_ERR_GENICAM_ACCESS);
    // The controls of chunk data are ordinary features.
    EXPECT_EQ(nodes->GetNode("ChunkModeActive")->GetAccessMode(), RW);
}

TEST_F(ChunkDataTest, EveryChunkFeatureReadsTheValuePlacedInTheBuffer) {
    std::vector<Expected> expected;
    std::vector<uint8_t> image;
    const std::vector<uint8_t> data = FullChunkData(expected, image);
    map->AttachChunkData(data.data(), data.size());
    EXPECT_TRUE(map->HasChunkData());
    // Every chunk feature but the image got a value (selector slots included).
    size_t features = 0;
    for (const vcam::ChunkFeatureInfo& f : vcam::kChunkFeatures) features += f.chunkId != vcam::chunk::Image;
    EXPECT_GE(expected.size(), features);
    for (const Expected& e : expected) ExpectValue(e);
    CRegisterPtr chunkImage(nodes->GetNode("ChunkImage"));
    ASSERT_EQ(chunkImage->GetLength(), 256);
    std::vector<uint8_t> read(256);
    chunkImage->Get(read.data(), 256);
    EXPECT_EQ(read, image);
    // Text round trip of a chunk value.
    EXPECT_EQ(CIntegerPtr(nodes->GetNode("ChunkWidth"))->ToString(),
              std::to_string(CIntegerPtr(nodes->GetNode("ChunkWidth"))->GetValue()));
}

TEST_F(ChunkDataTest, AMissingChunkIsNAWithAClearError) {
    std::vector<uint8_t> frameId(8, 0);
    PutBE(frameId, 0, 4242, 8);
    std::vector<uint8_t> data;
    AppendChunk(data, vcam::chunk::FrameID, frameId);
    map->AttachChunkData(data.data(), data.size());
    EXPECT_EQ(CIntegerPtr(nodes->GetNode("ChunkFrameID"))->GetValue(), 4242);
    CIntegerPtr width(nodes->GetNode("ChunkWidth"));
    EXPECT_EQ(width->GetNode()->GetAccessMode(), NA);
    EXPECT_EQ(CodeOf([&] { width->GetValue(); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_NE(MessageOf([&] { width->GetValue(); }).find("the attached chunk data holds no chunk 0x4F560012"),
              std::string::npos)
        << MessageOf([&] { width->GetValue(); });
    EXPECT_EQ(nodes->GetNode("ChunkWidthPort")->GetAccessMode(), NA);
    EXPECT_EQ(nodes->GetNode("ChunkFrameIDPort")->GetAccessMode(), RO);
    // A chunk shorter than its features need: readable, but the read is refused.
    std::vector<uint8_t> shortData;
    AppendChunk(shortData, vcam::chunk::FrameID, {0, 0, 0, 1});
    map->AttachChunkData(shortData.data(), shortData.size());
    EXPECT_EQ(CodeOf([&] { CIntegerPtr(nodes->GetNode("ChunkFrameID"))->GetValue(); }), ORVANE_ERR_INVALID_BUFFER);
    EXPECT_NE(MessageOf([&] {
                  CIntegerPtr(nodes->GetNode("ChunkFrameID"))->GetValue();
              }).find("reading 8 bytes at offset 0 of chunk 0x4F560010: the data holds only 4 bytes"),
              std::string::npos);
}

TEST_F(ChunkDataTest, EachAttachmentReplacesTheLastAndNotifiesTheChunkFeatures) {
    CIntegerPtr frameId(nodes->GetNode("ChunkFrameID"));
    std::atomic<int> calls{0};
    auto* cb = new FunctionNodeCallback(frameId->GetNode(), [&](INode*) { ++calls; });
    const CallbackHandleType h = frameId->GetNode()->RegisterCallback(cb);
    std::vector<uint8_t> chunk(8, 0);
    std::vector<uint8_t> data;
    PutBE(chunk, 0, 1, 8);
    AppendChunk(data, vcam::chunk::FrameID, chunk);
    map->AttachChunkData(data.data(), data.size());
    EXPECT_EQ(calls.load(), 1);
    EXPECT_EQ(frameId->GetValue(), 1);
    data[7] = 2; // the same buffer, refilled
    map->AttachChunkData(data.data(), data.size());
    EXPECT_EQ(calls.load(), 2);
    EXPECT_EQ(frameId->GetValue(), 2);
    map->DetachChunkData();
    EXPECT_EQ(calls.load(), 3);
    EXPECT_EQ(frameId->GetNode()->GetAccessMode(), NA);
    frameId->GetNode()->DeregisterCallback(h);
    cb->Destroy();
}

TEST_F(ChunkDataTest, DuplicateAndUnknownChunkIds) {
    std::vector<uint8_t> first(4, 0), last(4, 0);
    PutBE(first, 0, 100, 4);
    PutBE(last, 0, 200, 4);
    std::vector<uint8_t> data;
    AppendChunk(data, vcam::chunk::Width, first);
    AppendChunk(data, 0x12345678, {1, 2, 3}); // unknown to the description, odd length
    AppendChunk(data, vcam::chunk::Width, last);
    AppendChunk(data, vcam::chunk::Height, {}); // an empty chunk
    map->AttachChunkData(data.data(), data.size());
    EXPECT_EQ(CIntegerPtr(nodes->GetNode("ChunkWidth"))->GetValue(), 200); // the one nearer the end
    EXPECT_EQ(nodes->GetNode("ChunkHeight")->GetAccessMode(), RO);
    EXPECT_EQ(CodeOf([&] { CIntegerPtr(nodes->GetNode("ChunkHeight"))->GetValue(); }), ORVANE_ERR_INVALID_BUFFER);
    // No chunks at all.
    map->AttachChunkData(nullptr, 0);
    EXPECT_TRUE(map->HasChunkData());
    EXPECT_EQ(nodes->GetNode("ChunkWidth")->GetAccessMode(), NA);
}

TEST_F(ChunkDataTest, TruncatedAndGarbageLayoutsAreRefused) {
    std::vector<uint8_t> good;
    AppendChunk(good, vcam::chunk::Width, {0, 0, 0, 9});
    map->AttachChunkData(good.data(), good.size());
    ASSERT_EQ(CIntegerPtr(nodes->GetNode("ChunkWidth"))->GetValue(), 9);
    for (size_t size = 1; size < 8; ++size) {
        std::vector<uint8_t> bytes(size, 0xFF);
        EXPECT_EQ(CodeOf([&] { map->AttachChunkData(bytes.data(), bytes.size()); }), ORVANE_ERR_INVALID_BUFFER) << size;
        // A refused layout leaves nothing attached.
        EXPECT_FALSE(map->HasChunkData());
        EXPECT_EQ(nodes->GetNode("ChunkWidth")->GetAccessMode(), NA);
    }
    std::vector<uint8_t> truncated = good;
    truncated.erase(truncated.begin()); // 11 bytes: the chunk claims 4 data bytes, 3 precede its trailer
    const std::string message = MessageOf([&] { map->AttachChunkData(truncated.data(), truncated.size()); });
    EXPECT_NE(message.find("chunk data of 11 bytes refused: chunk 0x4F560012 (trailer at byte 3) claims 4 data bytes, "
                           "only 3 bytes precede its trailer"),
              std::string::npos)
        << message;
    std::vector<uint8_t> huge = good;
    huge[huge.size() - 4] = 0xFF; // a length of about 4 GB
    EXPECT_EQ(CodeOf([&] { map->AttachChunkData(huge.data(), huge.size()); }), ORVANE_ERR_INVALID_BUFFER);
    std::vector<uint8_t> tail = good;
    tail.insert(tail.begin(), {1, 2, 3}); // three bytes before the first chunk: no trailer fits them
    EXPECT_NE(MessageOf([&] { map->AttachChunkData(tail.data(), tail.size()); }).find("truncated"), std::string::npos);
    EXPECT_EQ(CodeOf([&] { map->AttachChunkData(nullptr, 16); }), ORVANE_ERR_INVALID_ARGUMENT);
}

TEST_F(ChunkDataTest, FuzzedLayoutsNeverReadOutOfBounds) {
    std::vector<Expected> expected;
    std::vector<uint8_t> image;
    const std::vector<uint8_t> valid = FullChunkData(expected, image);
    std::mt19937 random(20261122);
    int attached = 0, refused = 0;
    for (int round = 0; round < 600; ++round) {
        std::vector<uint8_t> bytes;
        switch (round % 4) {
        case 0: { // a valid layout with a few bytes changed
            bytes = valid;
            for (int i = 0; i < 3; ++i) bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
            break;
        }
        case 1: // a valid layout cut short at the front (the end stays a trailer)
            bytes.assign(valid.begin() + static_cast<long>(random() % valid.size()), valid.end());
            break;
        case 2: // a valid layout cut short at the end
            bytes.assign(valid.begin(), valid.begin() + static_cast<long>(random() % valid.size()));
            break;
        default: // noise
            bytes.resize(random() % 200);
            for (uint8_t& b : bytes) b = static_cast<uint8_t>(random() % 4 == 0 ? random() : 0);
            break;
        }
        // Exactly sized storage: a read past its end is a sanitizer error.
        std::unique_ptr<uint8_t[]> exact(new uint8_t[bytes.size() + 1]);
        if (!bytes.empty()) std::memcpy(exact.get(), bytes.data(), bytes.size());
        const int code = CodeOf([&] { map->AttachChunkData(exact.get(), bytes.size()); });
        if (code != 0) {
            EXPECT_EQ(code, ORVANE_ERR_INVALID_BUFFER);
            ++refused;
            continue;
        }
        ++attached;
        for (const vcam::ChunkFeatureInfo& f : vcam::kChunkFeatures) {
            INode* node = nodes->GetNode(f.feature);
            if (!IsReadable(node)) continue;
            const int read = CodeOf([&] { dynamic_cast<IValue*>(node)->ToString(); });
            EXPECT_TRUE(read == 0 || read == ORVANE_ERR_INVALID_BUFFER || read == ORVANE_ERR_GENICAM_OUT_OF_RANGE)
                << f.feature << " " << read;
        }
        map->DetachChunkData();
    }
    EXPECT_GT(attached, 50);
    EXPECT_GT(refused, 50);
}

TEST_F(ChunkDataTest, EventDataFeaturesReadTheAttachedEvent) {
    CIntegerPtr timestamp(nodes->GetNode("EventExposureEndTimestamp"));
    CIntegerPtr frameId(nodes->GetNode("EventExposureEndFrameID"));
    EXPECT_EQ(timestamp->GetNode()->GetAccessMode(), NA);
    // The event's ID is a constant, readable at any time.
    EXPECT_EQ(CIntegerPtr(nodes->GetNode("EventExposureEnd"))->GetValue(), vcam::event::ExposureEnd);
    std::vector<uint8_t> data(vcam::kEventDataSize, 0);
    PutBE(data, 0, 123456789012ULL, 8);
    PutBE(data, 8, 77, 8);
    map->AttachEventData(vcam::event::ExposureEnd, data.data(), data.size());
    EXPECT_EQ(timestamp->GetValue(), 123456789012LL);
    EXPECT_EQ(frameId->GetValue(), 77);
    EXPECT_EQ(nodes->GetNode("EventExposureStartTimestamp")->GetAccessMode(), NA);
    // The Error event's own field.
    std::vector<uint8_t> error(vcam::kEventDataSize, 0);
    PutBE(error, 16, 3, 4);
    map->AttachEventData(vcam::event::Error, error.data(), error.size());
    EXPECT_EQ(CIntegerPtr(nodes->GetNode("EventErrorCode"))->GetValue(), 3);
    map->DetachEventData(vcam::event::ExposureEnd);
    EXPECT_EQ(timestamp->GetNode()->GetAccessMode(), NA);
    EXPECT_EQ(CIntegerPtr(nodes->GetNode("EventErrorCode"))->GetValue(), 3);
    EXPECT_TRUE(map->HasEventPort(vcam::event::Test));
    EXPECT_FALSE(map->HasEventPort(0x9999));
    // Every event data feature has its port.
    for (const vcam::EventFeatureInfo& f : vcam::kEventFeatures) EXPECT_TRUE(map->HasEventPort(f.eventId)) << f.feature;
}

} // namespace
