// Camera control on the SDK's virtual cameras, through the public API only:
// life cycle, the three node maps, port access, and GenApi behaviour of the
// device node map.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <functional>
#include <future>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"
#include "VirtualCameraFacts.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

using orvtest::CodeOf;
using orvtest::MessageOf;

class VirtualCameraTest : public ::testing::Test {
protected:
    void SetUp() override {
        system = System::GetInstance();
        CameraList cameras = system->GetCameras();
        ASSERT_GE(cameras.GetSize(), 1u);
        camera = cameras.GetBySerial("VC0001");
        ASSERT_TRUE(camera);
    }
    void TearDown() override {
        if (camera) camera->DeInit();
        camera = nullptr;
        system->ReleaseInstance();
    }

    SystemPtr system;
    CameraPtr camera;
};

TEST_F(VirtualCameraTest, LifeCycleKeepsNodeMapsStablePerInit) {
    EXPECT_FALSE(camera->IsInitialized());
    EXPECT_TRUE(camera->IsValid());
    EXPECT_FALSE(camera->IsStreaming());
    EXPECT_EQ(camera->GetAccessMode(), RW);
    EXPECT_EQ(CodeOf([&] { camera->GetNodeMap(); }), ORVANE_ERR_CAMERA_NOT_INITIALIZED);
    uint8_t byte = 0;
    EXPECT_EQ(CodeOf([&] { camera->ReadPort(0x1000, &byte, 1); }), ORVANE_ERR_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(CodeOf([&] { camera->GetGuiXml(); }), ORVANE_ERR_CAMERA_NOT_INITIALIZED);

    INodeMap* tlDevice = &camera->GetTLDeviceNodeMap();
    INodeMap* tlStream = &camera->GetTLStreamNodeMap(0);
    EXPECT_EQ(CStringPtr(tlDevice->GetNode("DeviceSerialNumber"))->GetValue(), "VC0001");

    camera->Init();
    EXPECT_TRUE(camera->IsInitialized());
    INodeMap* map = &camera->GetNodeMap();
    EXPECT_EQ(&camera->GetNodeMap(), map);
    camera->Init(); // a no-op
    EXPECT_EQ(&camera->GetNodeMap(), map);
    EXPECT_EQ(camera->GetAccessMode(), RW);
    EXPECT_EQ(CEnumerationPtr(tlDevice->GetNode("DeviceAccessStatus"))->ToString(), "OpenReadWrite");
    CIntegerPtr(map->GetNode("Width"))->SetValue(256);

    camera->DeInit();
    EXPECT_FALSE(camera->IsInitialized());
    EXPECT_EQ(CodeOf([&] { camera->GetNodeMap(); }), ORVANE_ERR_CAMERA_NOT_INITIALIZED);
    camera->DeInit(); // a no-op
    EXPECT_EQ(&camera->GetTLDeviceNodeMap(), tlDevice);
    EXPECT_EQ(&camera->GetTLStreamNodeMap(), tlStream);
    EXPECT_EQ(CEnumerationPtr(tlDevice->GetNode("DeviceAccessStatus"))->ToString(), "ReadWrite");

    camera->Init();
    // A fresh device: the virtual camera starts from its initial values again.
    EXPECT_NE(vcamtest::InitialUInt("Width"), 256u);
    EXPECT_EQ(CIntegerPtr(camera->GetNodeMap().GetNode("Width"))->GetValue(),
              static_cast<int64_t>(vcamtest::InitialUInt("Width")));
}

TEST_F(VirtualCameraTest, FullWalkReadsEveryReadableFeature) {
    camera->Init();
    INodeMap& map = camera->GetNodeMap();
    int read = 0, categories = 0, dataFeatures = 0;
    std::function<void(INode*)> walk = [&](INode* node) {
        ASSERT_NE(node, nullptr);
        if (node->GetPrincipalInterfaceType() == intfICategory) {
            ++categories;
            FeatureList_t features;
            CCategoryPtr(node)->GetFeatures(features);
            for (IValue* f : features) walk(f->GetNode());
            return;
        }
        const std::string name = node->GetName().str();
        // Chunk features and event data features read data that is only
        // attached during an acquisition: NA here.
        bool data = false;
        for (const auto& c : vcam::kChunkFeatures) data = data || name == c.feature;
        for (const auto& e : vcam::kEventFeatures) data = data || name == e.feature;
        const EAccessMode mode = node->GetAccessMode();
        if (data) {
            EXPECT_EQ(mode, NA) << name;
            ++dataFeatures;
            return;
        }
        if (mode != RO && mode != RW) return;
        auto* value = dynamic_cast<IValue*>(node);
        ASSERT_NE(value, nullptr) << name;
        EXPECT_NO_THROW(value->ToString()) << name;
        ++read;
    };
    walk(map.GetNode("Root"));
    EXPECT_GE(categories, 5);
    EXPECT_GE(read, 200);
    // Every chunk feature (one per chunk value) and every event data feature.
    EXPECT_EQ(dataFeatures, static_cast<int>(std::size(vcam::kChunkFeatures) + std::size(vcam::kEventFeatures)));
    EXPECT_EQ(CStringPtr(map.GetNode("DeviceID"))->GetValue(), "VC0001");
}

TEST_F(VirtualCameraTest, WidthChangeNotifiesPayloadSizeOnceOutsideTheLock) {
    camera->Init();
    INodeMap& map = camera->GetNodeMap();
    CIntegerPtr width(map.GetNode("Width"));
    CIntegerPtr height(map.GetNode("Height"));
    CIntegerPtr payload(map.GetNode("PayloadSize"));
    CEnumerationPtr(map.GetNode("PixelFormat"))->FromString("Mono8");
    height->SetValue(100);
    std::atomic<int> calls{0};
    std::atomic<bool> unlocked{false};
    int64_t seen = 0;
    auto* cb = new FunctionNodeCallback(payload->GetNode(), [&](INode* n) {
        ++calls;
        seen = CIntegerPtr(n)->GetValue();
        unlocked = std::async(std::launch::async, [&] {
                       if (!map.TryLock()) return false;
                       map.Unlock();
                       return true;
                   }).get();
    });
    const CallbackHandleType h = payload->GetNode()->RegisterCallback(cb);
    width->SetValue(320);
    EXPECT_EQ(calls.load(), 1);
    EXPECT_EQ(seen, 32000);
    EXPECT_TRUE(unlocked.load());
    EXPECT_EQ(CodeOf([&] { width->SetValue(100000); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(calls.load(), 1);
    EXPECT_EQ(width->GetValue(false, true), 320);
    payload->GetNode()->DeregisterCallback(h);
    cb->Destroy();
}

TEST_F(VirtualCameraTest, PortAccessReachesDeviceMemoryAndFeatures) {
    camera->Init();
    INodeMap& map = camera->GetNodeMap();
    // DeviceUserID's register, a 32-byte text.
    CStringPtr userId(map.GetNode("DeviceUserID"));
    EXPECT_EQ(userId->GetValue(), "");
    const uint8_t out[6] = {'p', 'o', 'r', 't', '!', 0};
    camera->WritePort(vcam::reg::DeviceUserID.address, out, sizeof out);
    uint8_t in[6] = {0};
    camera->ReadPort(vcam::reg::DeviceUserID.address, in, sizeof in);
    EXPECT_EQ(std::memcmp(in, out, sizeof out), 0);
    EXPECT_EQ(userId->GetValue(), "port!");
    CIntegerPtr width(map.GetNode("Width"));
    EXPECT_EQ(width->GetValue(), static_cast<int64_t>(vcamtest::InitialUInt("Width")));
    ASSERT_EQ(vcam::reg::Width.length, 4u);
    const uint8_t be[4] = {0, 0, 0x01, 0x40}; // big-endian 320
    camera->WritePort(vcam::reg::Width.address, be, 4);
    EXPECT_EQ(width->GetValue(), 320);
    EXPECT_EQ(CodeOf([&] { camera->ReadPort(0x1000, nullptr, 4); }), ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(CodeOf([&] { camera->ReadPort(0x1000, in, uint64_t(1) << 33); }), ORVANE_ERR_INVALID_ARGUMENT);
    const std::string xml = camera->GetGuiXml().str();
    EXPECT_NE(xml.find("<RegisterDescription"), std::string::npos);
    EXPECT_EQ(camera->DiscoverMaxPacketSize(), 0u);
}

// The hex text of a number, as port range errors print addresses.
std::string Hex(uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
    return text;
}

// Guard bytes on both sides of a caller's buffer: nothing may be written
// outside the buffer.
struct GuardedBuffer {
    static constexpr size_t kGuard = 4096;
    explicit GuardedBuffer(size_t length) : bytes(length + 2 * kGuard, 0xA5) {}
    uint8_t* data() { return bytes.data() + kGuard; }
    bool Untouched() const {
        for (size_t i = 0; i < bytes.size(); ++i)
            if (bytes[i] != 0xA5) return false;
        return true;
    }
    std::vector<uint8_t> bytes;
};

TEST_F(VirtualCameraTest, PortAccessOutsideTheAddressSpaceFailsWithoutTouchingMemory) {
    camera->Init();
    const std::string id = camera->GetDeviceID().str();
    // Reads reach the register memory (64 KiB) and the description above it.
    const uint64_t lastRead = 0x10000 + camera->GetGuiXml().size() - 1;
    const std::string readSpace = " is outside the device's address space (0x0 to " + Hex(lastRead) + ")";
    const std::string writeSpace = " is outside the device's writable address space (0x0 to 0xffff)";
    GuardedBuffer buffer(64);
    // address + length wraps past 2^64: refused, nothing copied.
    EXPECT_EQ(orvtest::Failure([&] { camera->ReadPort(0xFFFFFFFFFFFFFFF0ull, buffer.data(), 64); }),
              std::make_pair(int(ORVANE_ERR_OUT_OF_RANGE),
                             "camera " + id + ": reading 64 bytes at 0xfffffffffffffff0" + readSpace));
    EXPECT_EQ(orvtest::Failure([&] { camera->WritePort(0xFFFFFFFFFFFFFFF0ull, buffer.data(), 64); }),
              std::make_pair(int(ORVANE_ERR_OUT_OF_RANGE),
                             "camera " + id + ": writing 64 bytes at 0xfffffffffffffff0" + writeSpace));
    // 32-bit wrap (the device takes 32-bit addresses).
    EXPECT_EQ(CodeOf([&] { camera->ReadPort(0xFFFFFFF0ull, buffer.data(), 64); }), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(CodeOf([&] { camera->ReadPort(0x1FFFFFFF0ull, buffer.data(), 64); }), ORVANE_ERR_OUT_OF_RANGE);
    // One byte past the end, and just inside it.
    EXPECT_EQ(orvtest::Failure([&] { camera->ReadPort(lastRead - 62, buffer.data(), 64); }),
              std::make_pair(int(ORVANE_ERR_OUT_OF_RANGE),
                             "camera " + id + ": reading 64 bytes at " + Hex(lastRead - 62) + readSpace));
    EXPECT_EQ(CodeOf([&] { camera->ReadPort(lastRead + 1, buffer.data(), 1); }), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_TRUE(buffer.Untouched());
    camera->ReadPort(lastRead - 63, buffer.data(), 64);
    const std::string xml = camera->GetGuiXml().str();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer.data()), 64), xml.substr(xml.size() - 64));
    // Writes reach the register memory only; the description is read-only.
    EXPECT_EQ(CodeOf([&] { camera->WritePort(0xFFF0, buffer.data(), 17); }), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(CodeOf([&] { camera->WritePort(0x10000, buffer.data(), 4); }), ORVANE_ERR_OUT_OF_RANGE);
    const uint8_t word[4] = {1, 2, 3, 4};
    camera->WritePort(0xFFFC, word, 4);
    uint8_t back[4] = {0};
    camera->ReadPort(0xFFFC, back, 4);
    EXPECT_EQ(std::memcmp(back, word, 4), 0);
    // A length above 32 bits is refused before the range.
    EXPECT_EQ(CodeOf([&] { camera->ReadPort(0, buffer.data(), uint64_t(1) << 32); }), ORVANE_ERR_INVALID_ARGUMENT);
    // Zero bytes anywhere: nothing to do.
    camera->ReadPort(0xFFFFFFFFFFFFFFFFull, buffer.data(), 0);

    // The same bounds through the device node map's port.
    CPortPtr port(camera->GetNodeMap().GetNode("Device"));
    ASSERT_TRUE(port.IsValid());
    GuardedBuffer viaPort(64);
    EXPECT_EQ(CodeOf([&] { port->Read(viaPort.data(), 0x7FFFFFFFFFFFFFF0ll, 64); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(CodeOf([&] { port->Read(viaPort.data(), 0xFFFFFFF0ll, 64); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(MessageOf([&] { port->Read(viaPort.data(), static_cast<int64_t>(lastRead + 1), 1); }),
              "Device: reading 1 bytes at " + Hex(lastRead + 1) + readSpace);
    EXPECT_EQ(CodeOf([&] { port->Write(viaPort.data(), 0x10000, 4); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(CodeOf([&] { port->Read(viaPort.data(), 0, int64_t(1) << 32); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_TRUE(viaPort.Untouched());
    port->Read(back, 0xFFFC, 4);
    EXPECT_EQ(std::memcmp(back, word, 4), 0);
}

TEST_F(VirtualCameraTest, TransportLayerDeviceNodeMapTellsTheTruth) {
    INodeMap& tl = camera->GetTLDeviceNodeMap();
    EXPECT_EQ(CStringPtr(tl.GetNode("DeviceID"))->GetValue(), camera->GetDeviceID());
    EXPECT_EQ(CStringPtr(tl.GetNode("DeviceVendorName"))->GetValue(), "Orvane");
    EXPECT_EQ(CStringPtr(tl.GetNode("DeviceModelName"))->GetValue(), "Orvane Virtual Camera");
    EXPECT_EQ(CStringPtr(tl.GetNode("DeviceDisplayName"))->GetValue(), "Orvane Orvane Virtual Camera (VC0001)");
    EXPECT_EQ(CEnumerationPtr(tl.GetNode("DeviceType"))->ToString(), "Custom");
    EXPECT_EQ(CEnumerationPtr(tl.GetNode("GenICamXMLLocation"))->ToString(), "Host");
    EXPECT_EQ(CStringPtr(tl.GetNode("DeviceDriverVersion"))->GetValue().str().rfind("Aravis 0.8.", 0), 0u);
    // GigE Vision features do not exist on a virtual camera.
    EXPECT_EQ(tl.GetNode("GevDeviceIPAddress"), nullptr);
    EXPECT_EQ(tl.GetNode("GevDeviceDiscoverMaximumPacketSize"), nullptr);
}

TEST_F(VirtualCameraTest, TransportLayerStreamNodeMapStoresBufferSettings) {
    EXPECT_EQ(CodeOf([&] { camera->GetTLStreamNodeMap(1); }), ORVANE_ERR_OUT_OF_RANGE);
    INodeMap& s = camera->GetTLStreamNodeMap();
    CEnumerationPtr handling(s.GetNode("StreamBufferHandlingMode"));
    NodeList_t entries;
    handling->GetEntries(entries);
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[0]->GetName(), "EnumEntry_StreamBufferHandlingMode_OldestFirst");
    EXPECT_EQ(entries[1]->GetName(), "EnumEntry_StreamBufferHandlingMode_OldestFirstOverwrite");
    EXPECT_EQ(entries[2]->GetName(), "EnumEntry_StreamBufferHandlingMode_NewestOnly");
    EXPECT_EQ(entries[3]->GetName(), "EnumEntry_StreamBufferHandlingMode_NewestFirst");
    handling->FromString("NewestOnly");
    EXPECT_EQ(handling->ToString(), "NewestOnly");
    CIntegerPtr manual(s.GetNode("StreamBufferCountManual"));
    CIntegerPtr result(s.GetNode("StreamBufferCountResult"));
    manual->SetValue(25);
    EXPECT_EQ(result->GetValue(), 25);
    CEnumerationPtr(s.GetNode("StreamBufferCountMode"))->FromString("Auto");
    EXPECT_EQ(result->GetValue(), 10);
    EXPECT_EQ(CodeOf([&] { manual->SetValue(0); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(CodeOf([&] { manual->SetValue(1001); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(manual->GetValue(), 25);
    EXPECT_FALSE(CBooleanPtr(s.GetNode("StreamIsGrabbing"))->GetValue());
    EXPECT_EQ(CIntegerPtr(s.GetNode("StreamDeliveredFrameCount"))->GetValue(), 0);
    EXPECT_EQ(CStringPtr(s.GetNode("StreamID"))->GetValue(), "Stream0");
    EXPECT_EQ(s.GetNode("StreamPacketResendEnable"), nullptr); // GigE Vision only
    // Settings belong to the camera, not to one Init.
    camera->Init();
    camera->DeInit();
    EXPECT_EQ(handling->ToString(), "NewestOnly");
}

} // namespace

namespace {

// The virtual camera's floats: no increment inherited from the registers
// underneath, text as their display notation and precision say, converter
// bounds from the formula.
TEST_F(VirtualCameraTest, FloatsFollowTheirDescription) {
    camera->Init();
    INodeMap& map = camera->GetNodeMap();
    CFloatPtr exposure = map.GetNode("ExposureTime");
    EXPECT_FALSE(exposure->HasInc());
    EXPECT_EQ(exposure->GetIncMode(), noIncrement);
    exposure->SetValue(1000.5);
    exposure->SetValue(100000.0);
    EXPECT_EQ(exposure->ToString(), "100000");

    CBooleanPtr(map.GetNode("AcquisitionFrameRateEnable"))->SetValue(true);
    CFloatPtr rate = map.GetNode("AcquisitionFrameRate");
    rate->SetValue(25.0);
    EXPECT_EQ(rate->ToString(), "25.000");
    EXPECT_DOUBLE_EQ(rate->GetMin(), 1.0);
    EXPECT_DOUBLE_EQ(rate->GetMax(), 1000.0);

    CFloatPtr conv = map.GetNode("AcquisitionFrameRateConv");
    ASSERT_TRUE(conv.IsValid());
    EXPECT_DOUBLE_EQ(conv->GetMin(), 1000000.0 / 4294967295.0);
    EXPECT_DOUBLE_EQ(conv->GetMax(), 1000000.0);
}

} // namespace
