// GenApi semantics on arv-fake-gv-camera-0.8 and its stock description, over
// loopback in a private network namespace: the full walk, verification on
// write, enumerations, the selector of the trigger registers, overlapping
// registers, text round trips of every node kind and callbacks. The fake is
// restarted for every case (its memory outlives client sessions).
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "../tools/FakeGigECamera.h"
#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

using orvtest::CodeOf;

bool Readable(INode* n) {
    const EAccessMode m = n->GetAccessMode();
    return m == RO || m == RW;
}

class GigESemanticsTest : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "gige", 1);
        fake = std::make_unique<FakeGigECamera>("127.0.0.1", "GS01");
        system = System::GetInstance();
        for (int attempt = 0; attempt < 5 && !camera; ++attempt) {
            CameraList cameras = system->GetCameras();
            for (unsigned i = 0; i < cameras.GetSize(); ++i)
                if (cameras[i]->GetTransport() == "GigEVision") camera = cameras[i];
        }
        ASSERT_TRUE(camera) << "the fake GigE Vision camera was not discovered";
        camera->Init();
        map = &camera->GetNodeMap();
    }

    void TearDown() override {
        if (camera) camera->DeInit();
        camera = nullptr;
        if (system) system->ReleaseInstance();
        fake.reset();
    }

    INode* Node(const char* name) {
        INode* n = map->GetNode(name);
        EXPECT_NE(n, nullptr) << name;
        return n;
    }

    std::unique_ptr<FakeGigECamera> fake;
    SystemPtr system;
    CameraPtr camera;
    INodeMap* map = nullptr;
};

TEST_F(GigESemanticsTest, FullWalkAndTextRoundTrips) {
    int read = 0, roundTrips = 0;
    std::function<void(INode*)> walk = [&](INode* node) {
        if (node->GetPrincipalInterfaceType() == intfICategory) {
            FeatureList_t features;
            CCategoryPtr(node)->GetFeatures(features);
            for (IValue* f : features) walk(f->GetNode());
            return;
        }
        if (!Readable(node)) return;
        auto* value = dynamic_cast<IValue*>(node);
        ASSERT_NE(value, nullptr) << node->GetName();
        std::string text;
        EXPECT_EQ(CodeOf([&] { text = value->ToString().str(); }), 0) << node->GetName();
        ++read;
        const EAccessMode mode = node->GetAccessMode();
        if (mode != RW || node->GetPrincipalInterfaceType() == intfICommand) return;
        EXPECT_EQ(CodeOf([&] { value->FromString(text.c_str()); }), 0) << node->GetName() << " '" << text << "'";
        EXPECT_EQ(value->ToString().str(), text) << node->GetName();
        ++roundTrips;
    };
    walk(Node("Root"));
    EXPECT_GE(read, 20);
    EXPECT_GE(roundTrips, 12);
    // Kinds the stock description has beside the Root tree.
    CBooleanPtr flag(Node("TestBoolean"));
    flag->FromString("true");
    EXPECT_EQ(flag->ToString(), "true");
    EXPECT_EQ(CIntegerPtr(Node("TestRegister"))->GetValue(), 321); // the boolean's OnValue
    flag->FromString("0");
    EXPECT_EQ(CIntegerPtr(Node("TestRegister"))->GetValue(), 123);
    CStringPtr text(Node("TestStringReg"));
    const std::string url = text->GetValue().str(); // the fake keeps its XML's address here
    EXPECT_EQ(CodeOf([&] { text->SetValue(std::string(33, 'x')); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(text->GetValue().str(), url);
    CCommandPtr trigger(Node("TriggerSoftware"));
    trigger->FromString("1");
    EXPECT_TRUE(trigger->IsDone());
    EXPECT_EQ(trigger->ToString(), "1");
}

TEST_F(GigESemanticsTest, VerificationLeavesTheDeviceUnchanged) {
    CIntegerPtr gain(Node("GainRaw"));
    gain->SetValue(4);
    EXPECT_EQ(gain->GetMax(), 10);
    EXPECT_EQ(CodeOf([&] { gain->SetValue(11); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(CodeOf([&] { gain->SetValue(-1); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    uint8_t reg[4] = {0};
    camera->ReadPort(0x110, reg, 4); // the gain register
    EXPECT_EQ(reg[3], 4);
    CFloatPtr exposure(Node("ExposureTimeAbs"));
    const double e = exposure->GetValue();
    EXPECT_EQ(CodeOf([&] { exposure->SetValue(1.0); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_DOUBLE_EQ(exposure->GetValue(false, true), e);
    // Read-only features refuse writes (Aravis alone would write the memory).
    CIntegerPtr sensorWidth(Node("SensorWidth"));
    const int64_t sw = sensorWidth->GetValue();
    EXPECT_EQ(sensorWidth->GetNode()->GetAccessMode(), RO);
    EXPECT_EQ(CodeOf([&] { sensorWidth->SetValue(sw - 1); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(sensorWidth->GetValue(false, true), sw);
    EXPECT_EQ(CodeOf([&] { CStringPtr(Node("DeviceVendorName"))->SetValue("x"); }), ORVANE_ERR_GENICAM_ACCESS);
    // The command registers are write-only: their commands are always done.
    EXPECT_EQ(CodeOf([&] { CIntegerPtr(Node("AcquisitionCommandRegister"))->GetValue(); }), ORVANE_ERR_GENICAM_ACCESS);
    CCommandPtr stop(Node("AcquisitionStop"));
    stop->Execute();
    EXPECT_TRUE(stop->IsDone());
}

TEST_F(GigESemanticsTest, EnumerationsSelectorsAndOverlappingRegisters) {
    CEnumerationPtr format(Node("PixelFormat"));
    NodeList_t entries;
    format->GetEntries(entries);
    const std::vector<std::pair<std::string, int64_t>> expected = {
        {"BayerBG8", 0x0108000B}, {"BayerGB8", 0x0108000A}, {"BayerGR8", 0x01080008}, {"BayerRG8", 0x01080009},
        {"Mono8", 0x01080001},    {"RGB8", 0x02180014},     {"Mono16", 0x01100007}};
    ASSERT_EQ(entries.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(CEnumEntryPtr(entries[i])->GetSymbolic().str(), expected[i].first);
        EXPECT_EQ(CEnumEntryPtr(entries[i])->GetValue(), expected[i].second);
    }
    format->SetIntValue(0x01100007);
    EXPECT_EQ(format->ToString(), "Mono16");
    uint8_t reg[4] = {0};
    camera->ReadPort(0x128, reg, 4); // the pixel format register holds the PFNC code
    EXPECT_EQ((reg[0] << 24) | (reg[1] << 16) | (reg[2] << 8) | reg[3], 0x01100007);
    EXPECT_EQ(CodeOf([&] { format->SetIntValue(5); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);

    // TriggerSelector indexes the trigger registers (0x300 + 0x20 n).
    CEnumerationPtr selector(Node("TriggerSelector"));
    CEnumerationPtr mode(Node("TriggerMode"));
    selector->FromString("AcquisitionStart");
    mode->FromString("On");
    selector->FromString("FrameStart");
    EXPECT_EQ(mode->ToString(), "Off");
    selector->FromString("AcquisitionStart");
    EXPECT_EQ(mode->ToString(), "On");
    camera->ReadPort(0x320, reg, 4);
    EXPECT_EQ(reg[3], 1);
    camera->ReadPort(0x300, reg, 4);
    EXPECT_EQ(reg[3], 0);

    // TestRegister, TestBoolean and the struct entries share one big-endian
    // register: bit 0 is its most significant bit.
    CIntegerPtr whole(Node("TestRegister"));
    CIntegerPtr high(Node("StructEntry_0_15"));
    CIntegerPtr low(Node("StructEntry_16_31")); // signed
    CIntegerPtr bit15(Node("StructEntry_15"));
    whole->SetValue(0x0002FFFF);
    EXPECT_EQ(high->GetValue(), 2);
    EXPECT_EQ(low->GetValue(), -1);
    EXPECT_EQ(bit15->GetValue(), 0);
    low->SetValue(5);
    EXPECT_EQ(whole->GetValue(), 0x00020005);
    high->SetValue(3);
    EXPECT_EQ(whole->GetValue(), 0x00030005);
    EXPECT_EQ(bit15->GetValue(), 1);
    EXPECT_FALSE(CBooleanPtr(Node("TestBoolean"))->GetValue());
    std::atomic<int> calls{0};
    auto* cb = new FunctionNodeCallback(low->GetNode(), [&](INode*) { ++calls; });
    const CallbackHandleType h = low->GetNode()->RegisterCallback(cb);
    CBooleanPtr(Node("TestBoolean"))->SetValue(true);
    EXPECT_EQ(calls.load(), 1);
    EXPECT_EQ(whole->GetValue(), 321);
    EXPECT_EQ(low->GetValue(), 321);
    EXPECT_EQ(high->GetValue(), 0);
    low->GetNode()->DeregisterCallback(h);
    cb->Destroy();
}

TEST_F(GigESemanticsTest, CallbacksFireOnceForDependentsOutsideTheLock) {
    CIntegerPtr width(Node("Width"));
    CIntegerPtr payload(Node("PayloadSize"));
    CEnumerationPtr(Node("PixelFormat"))->FromString("Mono8");
    CIntegerPtr(Node("Height"))->SetValue(10);
    std::atomic<int> calls{0};
    std::atomic<bool> unlocked{false};
    auto* cb = new FunctionNodeCallback(payload->GetNode(), [&](INode*) {
        ++calls;
        unlocked = std::async(std::launch::async, [&] {
                       if (!map->TryLock()) return false;
                       map->Unlock();
                       return true;
                   }).get();
    });
    const CallbackHandleType h = payload->GetNode()->RegisterCallback(cb);
    width->SetValue(100);
    EXPECT_EQ(calls.load(), 1);
    EXPECT_TRUE(unlocked.load());
    EXPECT_EQ(payload->GetValue(), 1000);
    EXPECT_EQ(CodeOf([&] { width->SetValue(100000); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(calls.load(), 1);
    payload->GetNode()->DeregisterCallback(h);
    cb->Destroy();
}

} // namespace
