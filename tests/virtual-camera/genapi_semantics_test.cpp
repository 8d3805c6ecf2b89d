// GenApi semantics of the virtual camera's description, through the public
// SDK only: the full walk, verification on write, availability rules,
// selectors, enumerations, registers, commands, text round trips of every
// node kind, and node callbacks.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <string>
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

bool Readable(INode* n) {
    const EAccessMode m = n->GetAccessMode();
    return m == RO || m == RW;
}

bool Writable(INode* n) {
    const EAccessMode m = n->GetAccessMode();
    return m == WO || m == RW;
}

// Counts callbacks of one node until destroyed.
class Counter {
public:
    explicit Counter(INode* node) : m_node(node) {
        m_cb = new FunctionNodeCallback(node, [this](INode*) { ++calls; });
        m_handle = node->RegisterCallback(m_cb);
    }
    ~Counter() {
        m_node->DeregisterCallback(m_handle);
        m_cb->Destroy();
    }
    std::atomic<int> calls{0};

private:
    INode* m_node;
    FunctionNodeCallback* m_cb;
    CallbackHandleType m_handle;
};

class GenApiSemanticsTest : public ::testing::Test {
protected:
    void SetUp() override {
        system = System::GetInstance();
        camera = system->GetCameras().GetBySerial("VC0001");
        ASSERT_TRUE(camera);
        camera->Init();
        map = &camera->GetNodeMap();
    }
    void TearDown() override {
        if (camera) camera->DeInit();
        camera = nullptr;
        system->ReleaseInstance();
    }

    INode* Node(const char* name) {
        INode* n = map->GetNode(name);
        EXPECT_NE(n, nullptr) << name;
        return n;
    }
    CIntegerPtr Int(const char* name) { return CIntegerPtr(Node(name)); }
    CFloatPtr Float(const char* name) { return CFloatPtr(Node(name)); }
    CEnumerationPtr Enum(const char* name) { return CEnumerationPtr(Node(name)); }
    CBooleanPtr Bool(const char* name) { return CBooleanPtr(Node(name)); }
    void Set(const char* name, const char* entry) { Enum(name)->FromString(entry); }

    // Every feature reachable from Root, in walk order.
    std::vector<INode*> Walk() {
        std::vector<INode*> out;
        std::function<void(INode*)> walk = [&](INode* node) {
            if (node->GetPrincipalInterfaceType() == intfICategory) {
                FeatureList_t features;
                CCategoryPtr(node)->GetFeatures(features);
                for (IValue* f : features) walk(f->GetNode());
                return;
            }
            out.push_back(node);
        };
        walk(Node("Root"));
        return out;
    }

    static bool IsDataFeature(const std::string& name) {
        for (const auto& c : vcam::kChunkFeatures)
            if (name == c.feature) return true;
        for (const auto& e : vcam::kEventFeatures)
            if (name == e.feature) return true;
        return false;
    }

    SystemPtr system;
    CameraPtr camera;
    INodeMap* map = nullptr;
};

TEST_F(GenApiSemanticsTest, FullWalkReadsEveryReadableFeatureWithItsRange) {
    std::map<EInterfaceType, int> kinds;
    int notAvailable = 0, data = 0;
    for (INode* node : Walk()) {
        const std::string name = node->GetName().str();
        if (IsDataFeature(name)) {
            // Chunk and event data exist only while attached (acquisition).
            EXPECT_EQ(node->GetAccessMode(), NA) << name;
            EXPECT_EQ(CodeOf([&] { dynamic_cast<IValue*>(node)->ToString(); }), ORVANE_ERR_GENICAM_ACCESS) << name;
            ++data;
            continue;
        }
        if (!Readable(node)) {
            ++notAvailable;
            continue;
        }
        auto* value = dynamic_cast<IValue*>(node);
        ASSERT_NE(value, nullptr) << name;
        // Verify: the value respects the node's own limits.
        EXPECT_EQ(CodeOf([&] { value->ToString(true); }), 0)
            << name << ": " << MessageOf([&] { value->ToString(true); });
        ++kinds[node->GetPrincipalInterfaceType()];
    }
    EXPECT_EQ(data, static_cast<int>(std::size(vcam::kChunkFeatures) + std::size(vcam::kEventFeatures)));
    EXPECT_GE(kinds[intfIInteger], 100);
    EXPECT_GE(kinds[intfIFloat], 20);
    EXPECT_GE(kinds[intfIEnumeration], 80);
    EXPECT_GE(kinds[intfIBoolean], 10);
    EXPECT_GE(kinds[intfIString], 10);
    EXPECT_GE(kinds[intfICommand], 20);
    EXPECT_GE(kinds[intfIRegister], 2);
    EXPECT_GT(notAvailable, 0);
}

TEST_F(GenApiSemanticsTest, RangeIncrementAndAccessViolationsLeaveTheValue) {
    CIntegerPtr width = Int("Width");
    const int64_t w = width->GetValue();
    EXPECT_EQ(width->GetMin(), 16);
    EXPECT_EQ(width->GetInc(), 8);
    EXPECT_EQ(width->GetMax(), 2048); // WidthMax - OffsetX
    EXPECT_EQ(CodeOf([&] { width->SetValue(8); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(CodeOf([&] { width->SetValue(2056); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_NE(MessageOf([&] { width->SetValue(w + 4); }).find("does not match the increment 8"), std::string::npos);
    EXPECT_EQ(width->GetValue(), w);
    EXPECT_EQ(width->GetValue(false, true), w);
    // A maximum that follows another feature.
    width->SetValue(1024);
    Int("OffsetX")->SetValue(1024);
    EXPECT_EQ(width->GetMax(), 1024);
    EXPECT_EQ(CodeOf([&] { width->SetValue(1032); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);

    CFloatPtr exposure = Float("ExposureTime");
    const double e = exposure->GetValue();
    EXPECT_DOUBLE_EQ(exposure->GetMin(), 10.0);
    EXPECT_DOUBLE_EQ(exposure->GetMax(), 1000000.0);
    for (double bad : {5.0, 2e6, std::nan("")})
        EXPECT_EQ(CodeOf([&] { exposure->SetValue(bad); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE) << bad;
    EXPECT_DOUBLE_EQ(exposure->GetValue(), e);

    // Read-only and write-only features.
    CIntegerPtr sensorWidth = Int("SensorWidth");
    EXPECT_EQ(sensorWidth->GetNode()->GetAccessMode(), RO);
    EXPECT_EQ(CodeOf([&] { sensorWidth->SetValue(100); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(sensorWidth->GetValue(), vcam::kSensorWidth);
    uint8_t reg[4];
    camera->ReadPort(vcam::reg::SensorWidth.address, reg, 4);
    EXPECT_EQ((reg[2] << 8) | reg[3], static_cast<int>(vcam::kSensorWidth));
    EXPECT_EQ(CodeOf([&] { CStringPtr(Node("DeviceVendorName"))->SetValue("Other"); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(CStringPtr(Node("DeviceVendorName"))->GetValue(), "Orvane");
    CIntegerPtr key = Int("ActionDeviceKey");
    EXPECT_EQ(key->GetNode()->GetAccessMode(), WO);
    key->SetValue(0x1234);
    EXPECT_EQ(CodeOf([&] { key->GetValue(); }), ORVANE_ERR_GENICAM_ACCESS);

    // Text too long for its register, an entry that does not exist.
    CStringPtr userId(Node("DeviceUserID"));
    const int64_t maxLength = userId->GetMaxLength();
    EXPECT_EQ(maxLength, vcam::reg::DeviceUserID.length);
    EXPECT_EQ(CodeOf([&] { userId->SetValue(std::string(static_cast<size_t>(maxLength) + 1, 'x')); }),
              ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    CEnumerationPtr format = Enum("PixelFormat");
    const int64_t f = format->GetIntValue();
    EXPECT_EQ(CodeOf([&] { format->SetIntValue(12345); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(CodeOf([&] { format->FromString("NoSuchFormat"); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
    EXPECT_EQ(format->GetIntValue(), f);
    EXPECT_EQ(CodeOf([&] { Int("Width")->FromString("wide"); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
}

TEST_F(GenApiSemanticsTest, AvailabilityRulesOfTheDescription) {
    INode* exposure = Node("ExposureTime");
    // Exposure under automatic control is read-only.
    Counter exposureCalls(exposure);
    Set("ExposureAuto", "Continuous");
    EXPECT_EQ(exposureCalls.calls.load(), 1); // its access changed: one callback
    EXPECT_EQ(exposure->GetAccessMode(), RO);
    EXPECT_EQ(CodeOf([&] { CFloatPtr(exposure)->SetValue(500); }), ORVANE_ERR_GENICAM_ACCESS);
    Set("ExposureAuto", "Off");
    EXPECT_EQ(exposure->GetAccessMode(), RW);
    // Exposure by trigger width: no exposure time, no automatic exposure.
    Set("ExposureMode", "TriggerWidth");
    EXPECT_EQ(exposure->GetAccessMode(), NA);
    EXPECT_EQ(Node("ExposureAuto")->GetAccessMode(), NA);
    Set("ExposureMode", "Timed");

    // The frame rate only when enabled.
    INode* rate = Node("AcquisitionFrameRate");
    EXPECT_EQ(rate->GetAccessMode(), RW);
    Bool("AcquisitionFrameRateEnable")->SetValue(false);
    EXPECT_EQ(rate->GetAccessMode(), NA);
    EXPECT_EQ(CodeOf([&] { CFloatPtr(rate)->GetValue(); }), ORVANE_ERR_GENICAM_ACCESS);
    Bool("AcquisitionFrameRateEnable")->SetValue(true);
    EXPECT_EQ(rate->GetAccessMode(), RW);

    // The frame count only in MultiFrame.
    INode* count = Node("AcquisitionFrameCount");
    Set("AcquisitionMode", "Continuous");
    EXPECT_EQ(count->GetAccessMode(), NA);
    Set("AcquisitionMode", "MultiFrame");
    EXPECT_EQ(count->GetAccessMode(), RW);
    EXPECT_EQ(CIntegerPtr(count)->GetValue(), static_cast<int64_t>(vcamtest::InitialUInt("AcquisitionFrameCount")));

    // Transport layer parameters locked: the payload cannot change.
    CIntegerPtr locked = Int("TLParamsLocked");
    const int64_t width = Int("Width")->GetValue();
    locked->SetValue(1);
    for (const char* name : {"Width", "Height", "PixelFormat", "OffsetX", "AcquisitionMode", "ChunkModeActive"})
        EXPECT_EQ(Node(name)->GetAccessMode(), RO) << name;
    EXPECT_EQ(CodeOf([&] { Int("Width")->SetValue(320); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(CodeOf([&] { Set("PixelFormat", "Mono16"); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(Int("Width")->GetValue(), width);
    EXPECT_EQ(Node("UserSetLoad")->GetAccessMode(), RO); // a locked command cannot run
    EXPECT_EQ(CodeOf([&] { CCommandPtr(Node("UserSetLoad"))->Execute(); }), ORVANE_ERR_GENICAM_ACCESS);
    locked->SetValue(0);
    EXPECT_EQ(Node("Width")->GetAccessMode(), RW);

    // Not implemented for some selector values.
    Set("TriggerSelector", "FrameStart");
    EXPECT_EQ(Node("TriggerOverlap")->GetAccessMode(), RW);
    Set("TriggerSelector", "AcquisitionStart");
    EXPECT_EQ(Node("TriggerOverlap")->GetAccessMode(), NI);
    // Lines 0 and 1 have a fixed direction; the source is for outputs.
    Set("LineSelector", "Line0");
    EXPECT_EQ(Node("LineMode")->GetAccessMode(), RO);
    EXPECT_EQ(Node("LineSource")->GetAccessMode(), NA);
    Set("LineSelector", "Line2");
    EXPECT_EQ(Node("LineMode")->GetAccessMode(), RW);
    Set("LineMode", "Output");
    EXPECT_EQ(Node("LineSource")->GetAccessMode(), RW);
    // The factory user set cannot be overwritten.
    Set("UserSetSelector", "Default");
    EXPECT_EQ(Node("UserSetSave")->GetAccessMode(), NA);
    EXPECT_EQ(CodeOf([&] { CCommandPtr(Node("UserSetSave"))->Execute(); }), ORVANE_ERR_GENICAM_ACCESS);
}

TEST_F(GenApiSemanticsTest, SelectorsChooseTheSlotTheSelectedFeaturesShow) {
    INode* selector = Node("TriggerSelector");
    EXPECT_TRUE(selector->IsSelector());
    value_vector selected;
    selector->GetSelectedFeatures(selected);
    std::vector<std::string> names;
    for (IValue* v : selected) names.push_back(v->GetNode()->GetName().str());
    for (const char* n : {"TriggerMode", "TriggerSource", "TriggerActivation", "TriggerSoftware"})
        EXPECT_NE(std::find(names.begin(), names.end(), n), names.end()) << n;
    value_vector selecting;
    Node("TriggerMode")->GetSelectingFeatures(selecting);
    ASSERT_EQ(selecting.size(), 1u);
    EXPECT_EQ(selecting[0]->GetNode()->GetName(), "TriggerSelector");

    CEnumerationPtr mode = Enum("TriggerMode");
    Set("TriggerSelector", "FrameStart");
    Set("TriggerMode", "On");
    Set("TriggerSelector", "AcquisitionStart");
    EXPECT_EQ(mode->ToString(), "Off");
    Set("TriggerSelector", "FrameStart");
    EXPECT_EQ(mode->ToString(), "On");
    // The slots are the fake camera's trigger registers: 0x300 + 0x20 n.
    uint8_t reg[4];
    camera->ReadPort(vcam::reg::TriggerMode.At(vcamtest::EntryValue("TriggerSelector", "FrameStart")), reg, 4);
    EXPECT_EQ(reg[3], 1);
    camera->ReadPort(vcam::reg::TriggerMode.At(vcamtest::EntryValue("TriggerSelector", "AcquisitionStart")), reg, 4);
    EXPECT_EQ(reg[3], 0);

    // Lines: per-line settings and initial values.
    CBooleanPtr inverter = Bool("LineInverter");
    Set("LineSelector", "Line2");
    inverter->SetValue(true);
    Set("LineSelector", "Line3");
    EXPECT_FALSE(inverter->GetValue());
    Set("LineSelector", "Line2");
    EXPECT_TRUE(inverter->GetValue());
    EXPECT_EQ(Enum("LineFormat")->ToString(), "TTL");
    Set("LineSelector", "Line0");
    EXPECT_EQ(Enum("LineFormat")->ToString(), "OptoCoupled");
    EXPECT_EQ(Enum("LineMode")->ToString(), "Input");

    // Gain has one selector value; black level three.
    EXPECT_TRUE(Node("GainSelector")->IsSelector());
    StringList_t gains;
    Enum("GainSelector")->GetSymbolics(gains);
    ASSERT_EQ(gains.size(), 1u);
    EXPECT_EQ(gains[0], "All");
    Float("Gain")->SetValue(6.0);
    EXPECT_DOUBLE_EQ(Float("Gain")->GetValue(), 6.0);
    CIntegerPtr black = Int("BlackLevelRaw");
    Set("BlackLevelSelector", "Digital");
    black->SetValue(7);
    Set("BlackLevelSelector", "Analog");
    black->SetValue(9);
    Set("BlackLevelSelector", "Digital");
    EXPECT_EQ(black->GetValue(), 7);
}

TEST_F(GenApiSemanticsTest, EnumerationEntriesInDocumentOrderWithDeviceValues) {
    // Every enumeration of the map lists the register map's entries, in order.
    NodeList_t nodes;
    map->GetNodes(nodes);
    int enumerations = 0;
    for (INode* node : nodes) {
        if (node->GetPrincipalInterfaceType() != intfIEnumeration) continue;
        const std::string name = node->GetName().str();
        std::vector<std::pair<std::string, int64_t>> expected;
        for (const auto& e : vcam::kEntries)
            if (name == e.feature) expected.emplace_back(e.entry, e.value);
        if (expected.empty()) continue;
        NodeList_t entries;
        CEnumerationPtr(node)->GetEntries(entries);
        ASSERT_EQ(entries.size(), expected.size()) << name;
        for (size_t i = 0; i < entries.size(); ++i) {
            CEnumEntryPtr entry(entries[i]);
            EXPECT_EQ(entry->GetSymbolic().str(), expected[i].first) << name;
            EXPECT_EQ(entry->GetValue(), expected[i].second) << name << "." << expected[i].first;
            EXPECT_EQ(entries[i]->GetName().str(), "EnumEntry_" + name + "_" + expected[i].first);
        }
        ++enumerations;
    }
    EXPECT_GE(enumerations, 100);
    // Values are the device's integers, not positions.
    CEnumerationPtr trigger = Enum("TriggerSelector");
    Set("TriggerSelector", "FrameStart");
    EXPECT_EQ(trigger->GetIntValue(), 0);
    NodeList_t entries;
    trigger->GetEntries(entries);
    EXPECT_EQ(CEnumEntryPtr(entries[1])->GetSymbolic(), "FrameStart");
    EXPECT_EQ(trigger->GetCurrentEntry()->GetSymbolic(), "FrameStart");
    Set("PixelFormat", "Mono16");
    EXPECT_EQ(Enum("PixelFormat")->GetIntValue(), 0x01100007);
    EXPECT_EQ(Enum("PixelFormat")->GetEntry(0x01080001)->GetSymbolic(), "Mono8");
    EXPECT_EQ(Enum("PixelFormat")->GetEntryByName("Mono8")->GetValue(), 0x01080001);
    EXPECT_EQ(map->GetNode("Mono8"), nullptr);
    EXPECT_NE(map->GetNode("EnumEntry_PixelFormat_Mono8"), nullptr);
}

TEST_F(GenApiSemanticsTest, RegistersRoundTripAndCommandsFinish) {
    CRegisterPtr buffer(Node("FileAccessBuffer"));
    EXPECT_EQ(buffer->GetAddress(), vcam::reg::FileAccessBuffer.address);
    EXPECT_EQ(buffer->GetLength(), vcam::reg::FileAccessBuffer.length);
    std::vector<uint8_t> out(512), in(512);
    for (size_t i = 0; i < out.size(); ++i) out[i] = static_cast<uint8_t>(i * 31 + 7);
    buffer->Set(out.data(), 512);
    buffer->Get(in.data(), 512);
    EXPECT_EQ(in, out);
    std::vector<uint8_t> port(512);
    camera->ReadPort(vcam::reg::FileAccessBuffer.address, port.data(), 512);
    EXPECT_EQ(port, out);
    EXPECT_EQ(CodeOf([&] { buffer->Set(out.data(), 511); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
    EXPECT_EQ(CodeOf([&] { buffer->Set(nullptr, 512); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
    // Command: done after it ran; its text is its completion.
    CCommandPtr latch(Node("TimestampLatch"));
    latch->Execute();
    EXPECT_TRUE(latch->IsDone());
    EXPECT_EQ(latch->ToString(), "1");
    latch->FromString("1");
    EXPECT_TRUE(latch->IsDone());
    EXPECT_GT(Int("TimestampLatchValue")->GetValue(), 0);
    EXPECT_EQ(CodeOf([&] { latch->FromString("maybe"); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
}

TEST_F(GenApiSemanticsTest, TextRoundTripsForEveryNodeKind) {
    // Named cases first.
    CIntegerPtr width = Int("Width");
    width->FromString("640");
    EXPECT_EQ(width->ToString(), "640");
    CIntegerPtr outputs = Int("UserOutputValueAll");
    outputs->FromString("0x5");
    EXPECT_EQ(outputs->GetValue(), 5);
    EXPECT_EQ(outputs->GetRepresentation(), HexNumber);
    const std::string hex = outputs->ToString().str();
    outputs->FromString(hex.c_str());
    EXPECT_EQ(outputs->GetValue(), 5);
    CFloatPtr exposure = Float("ExposureTime");
    exposure->FromString("1500");
    EXPECT_DOUBLE_EQ(exposure->GetValue(), 1500);
    exposure->FromString(exposure->ToString());
    EXPECT_DOUBLE_EQ(exposure->GetValue(), 1500);
    CStringPtr userId(Node("DeviceUserID"));
    userId->FromString("left camera");
    EXPECT_EQ(userId->ToString(), "left camera");
    CBooleanPtr inverter = Bool("LineInverter");
    for (const char* text : {"true", "0", "1", "false"}) {
        inverter->FromString(text);
        EXPECT_EQ(inverter->GetValue(), std::string(text) == "true" || std::string(text) == "1") << text;
    }
    EXPECT_EQ(inverter->ToString(), "false");
    CEnumerationPtr format = Enum("PixelFormat");
    format->FromString("Mono16");
    EXPECT_EQ(format->ToString(), "Mono16");
    CRegisterPtr buffer(Node("FileAccessBuffer"));
    std::string text = "0x";
    for (int i = 0; i < 512; ++i) text += i % 2 ? "a5" : "0f";
    buffer->FromString(text.c_str());
    EXPECT_EQ(buffer->ToString(), text.c_str());

    // Every writable feature takes its own text back unchanged.
    int roundTrips = 0;
    for (INode* node : Walk()) {
        const EInterfaceType kind = node->GetPrincipalInterfaceType();
        if (kind == intfICommand || !Readable(node) || !Writable(node)) continue;
        auto* value = dynamic_cast<IValue*>(node);
        const std::string before = value->ToString().str();
        EXPECT_EQ(CodeOf([&] { value->FromString(before.c_str()); }), 0)
            << node->GetName() << " '" << before << "': " << MessageOf([&] { value->FromString(before.c_str()); });
        EXPECT_EQ(value->ToString().str(), before) << node->GetName();
        ++roundTrips;
    }
    EXPECT_GE(roundTrips, 150);
}

TEST_F(GenApiSemanticsTest, ValuesAreCachedAsTheDescriptionAllows) {
    // Width's limits depend on OffsetX and OffsetX's on Width: its value is
    // still cached (limits are read anew on every use).
    CIntegerPtr width = Int("Width");
    EXPECT_EQ(width->GetNode()->GetCachingMode(), WriteThrough);
    width->GetValue();
    EXPECT_TRUE(width->IsValueCacheValid());
    Int("OffsetX")->SetValue(8);
    EXPECT_FALSE(width->IsValueCacheValid()); // a dependency changed
    EXPECT_EQ(width->GetMax(), 2040);
    // Status values are never cached.
    EXPECT_EQ(Node("Timestamp")->GetCachingMode(), NoCache);
    CIntegerPtr timestamp = Int("Timestamp");
    const int64_t t = timestamp->GetValue();
    EXPECT_FALSE(timestamp->IsValueCacheValid());
    EXPECT_GT(timestamp->GetValue(), t);
}

TEST_F(GenApiSemanticsTest, CallbacksFireOnceForDependentsOutsideTheLock) {
    Set("PixelFormat", "Mono8");
    Int("Height")->SetValue(100);
    Int("OffsetX")->SetValue(0);
    CIntegerPtr payload = Int("PayloadSize");
    std::atomic<int> payloadCalls{0};
    std::atomic<bool> unlocked{false};
    int64_t seen = 0;
    auto* cb = new FunctionNodeCallback(payload->GetNode(), [&](INode* n) {
        ++payloadCalls;
        seen = CIntegerPtr(n)->GetValue();
        unlocked = std::async(std::launch::async, [&] {
                       if (!map->TryLock()) return false;
                       map->Unlock();
                       return true;
                   }).get();
    });
    const CallbackHandleType h = payload->GetNode()->RegisterCallback(cb);
    Counter linePitch(Node("LinePitch"));
    Counter offsetX(Node("OffsetX")); // its maximum follows Width
    Counter height(Node("Height"));   // unrelated to Width
    Int("Width")->SetValue(320);
    EXPECT_EQ(payloadCalls.load(), 1);
    EXPECT_EQ(seen, 32000);
    EXPECT_TRUE(unlocked.load());
    EXPECT_EQ(linePitch.calls.load(), 1);
    EXPECT_EQ(offsetX.calls.load(), 1);
    EXPECT_EQ(height.calls.load(), 0);
    // A refused write notifies nobody.
    EXPECT_EQ(CodeOf([&] { Int("Width")->SetValue(100000); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(payloadCalls.load(), 1);
    // The pixel format changes the payload too.
    Set("PixelFormat", "Mono16");
    EXPECT_EQ(payloadCalls.load(), 2);
    EXPECT_EQ(seen, 64000);
    payload->GetNode()->DeregisterCallback(h);
    cb->Destroy();
}

} // namespace
