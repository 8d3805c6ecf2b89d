// The virtual camera's control-side runtime: commands and IsDone, user sets
// and the camera's storage, clocks, resets, user outputs and line status,
// counters and timers, the file system, sequencer sets, automatic modes,
// overlays; every value the runtime changes is read fresh through the cache.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "transport/DeviceConnection.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualCameraRuntime.h"
#include "virtual/VirtualDeviceConnection.h"

using namespace Orvane;
using namespace Orvane::GenApi;
namespace vcam = Orvane::internal::vcam;

namespace {

using orvtest::CodeOf;

uint64_t InitialUInt(const std::string& feature, const std::string& slot = "") {
    for (const vcam::InitialValue& v : vcam::kInitialValues) {
        if (feature != v.feature || slot != v.slot) continue;
        for (const vcam::InitialBlock& b : vcam::kInitialBlocks) {
            if (v.address < b.address || v.address + v.length > b.address + b.length) continue;
            uint64_t value = 0;
            for (uint32_t i = 0; i < v.length; ++i)
                value = (value << 8) | vcam::kInitialBytes[b.offset + v.address - b.address + i];
            return value;
        }
    }
    ADD_FAILURE() << "no initial value for " << feature;
    return 0;
}

class RuntimeTest : public ::testing::Test {
protected:
    void SetUp() override {
        system = System::GetInstance();
        camera = system->GetCameras().GetBySerial("VC0001");
        ASSERT_TRUE(camera);
        camera->Init();
        // A clean camera: empty storage, power-up state.
        Command("FactoryReset");
        Command("DeviceReset");
    }
    void TearDown() override {
        if (camera) camera->DeInit();
        camera = nullptr;
        system->ReleaseInstance();
    }

    INodeMap& Map() { return camera->GetNodeMap(); }
    CIntegerPtr Int(const char* name) { return CIntegerPtr(Map().GetNode(name)); }
    CFloatPtr Float(const char* name) { return CFloatPtr(Map().GetNode(name)); }
    CBooleanPtr Bool(const char* name) { return CBooleanPtr(Map().GetNode(name)); }
    CEnumerationPtr Enum(const char* name) { return CEnumerationPtr(Map().GetNode(name)); }
    void Set(const char* name, const char* entry) { Enum(name)->FromString(entry); }
    void Command(const char* name) {
        CCommandPtr command(Map().GetNode(name));
        command->Execute();
        EXPECT_TRUE(command->IsDone()) << name;
    }
    internal::DeviceConnection& Connection() { return *camera->Core().Access().Connection(); }
    internal::VirtualCameraRuntime& Runtime() {
        return static_cast<internal::VirtualDeviceConnection&>(Connection()).Runtime();
    }

    // The cached value and the device's agree.
    void ExpectFresh(const char* name) {
        IValue* value = dynamic_cast<IValue*>(Map().GetNode(name));
        ASSERT_NE(value, nullptr) << name;
        EXPECT_EQ(value->ToString(), value->ToString(false, true)) << name;
    }

    SystemPtr system;
    CameraPtr camera;
};

TEST_F(RuntimeTest, EveryAvailableCommandCompletes) {
    // Make the conditional commands available.
    Set("TriggerSelector", "FrameStart");
    Set("TriggerMode", "On");
    Set("TriggerSource", "Software");
    Set("SequencerConfigurationMode", "On");
    Set("TransferControlMode", "UserControlled");
    Set("UserSetSelector", "UserSet1");
    NodeList_t nodes;
    Map().GetNodes(nodes);
    int executed = 0;
    for (INode* node : nodes) {
        if (node->GetPrincipalInterfaceType() != intfICommand) continue;
        const std::string name = node->GetName().str();
        if (name == "DeviceReset" || name == "FactoryReset") continue;
        const EAccessMode mode = node->GetAccessMode();
        if (mode != RW && mode != WO) continue;
        CCommandPtr command(node);
        command->Execute();
        EXPECT_TRUE(command->IsDone()) << name;
        EXPECT_EQ(command->ToString(), "1") << name;
        ++executed;
    }
    // Every command register of the description, one per command feature.
    std::vector<std::string> features;
    for (const vcam::CommandSlot& s : vcam::kCommandSlots) {
        std::string base(s.feature);
        base = base.substr(0, base.find('['));
        if (std::find(features.begin(), features.end(), base) == features.end()) features.push_back(base);
    }
    EXPECT_EQ(executed, static_cast<int>(features.size()) - 2);
    // A command written through the port completes too.
    const uint8_t one[4] = {0, 0, 0, 1};
    camera->WritePort(vcam::reg::TimestampLatch.address, one, 4);
    uint8_t after[4] = {9, 9, 9, 9};
    camera->ReadPort(vcam::reg::TimestampLatch.address, after, 4);
    EXPECT_EQ(std::memcmp(after, "\0\0\0\0", 4), 0);
    EXPECT_TRUE(CCommandPtr(Map().GetNode("TimestampLatch"))->IsDone());
}

TEST_F(RuntimeTest, UserSetsSaveAndLoadEveryCoveredFeature) {
    CCommandPtr save(Map().GetNode("UserSetSave"));
    Set("UserSetSelector", "Default");
    EXPECT_EQ(save->GetNode()->GetAccessMode(), NA); // the factory set is read-only
    Set("UserSetSelector", "UserSet0");
    Float("ExposureTime")->SetValue(2000);
    Float("Gain")->SetValue(3.5);
    Int("Width")->SetValue(640);
    Set("LineSelector", "Line2");
    Bool("LineInverter")->SetValue(true);
    Set("TriggerSelector", "AcquisitionStart");
    Set("TriggerMode", "On");
    Set("TriggerSelector", "FrameStart");
    Command("UserSetSave");
    // Change everything, then load the factory set: the initial values.
    Float("ExposureTime")->SetValue(5000);
    Int("Width")->SetValue(320);
    Bool("LineInverter")->SetValue(false);
    Set("UserSetSelector", "Default");
    Command("UserSetLoad");
    EXPECT_EQ(Int("Width")->GetValue(), static_cast<int64_t>(InitialUInt("Width")));
    EXPECT_DOUBLE_EQ(Float("ExposureTime")->GetValue(), static_cast<double>(InitialUInt("ExposureTime")));
    EXPECT_DOUBLE_EQ(Float("Gain")->GetValue(), 0.0);
    Set("LineSelector", "Line2");
    EXPECT_FALSE(Bool("LineInverter")->GetValue());
    // UserSet0 again: every saved value, selector slots included.
    std::atomic<int> widthCalls{0};
    auto* cb = new FunctionNodeCallback(Map().GetNode("Width"), [&](INode*) { ++widthCalls; });
    const CallbackHandleType h = Map().GetNode("Width")->RegisterCallback(cb);
    Set("UserSetSelector", "UserSet0");
    Command("UserSetLoad");
    EXPECT_EQ(widthCalls.load(), 1);
    Map().GetNode("Width")->DeregisterCallback(h);
    cb->Destroy();
    EXPECT_EQ(Int("Width")->GetValue(), 640);
    EXPECT_DOUBLE_EQ(Float("ExposureTime")->GetValue(), 2000);
    EXPECT_DOUBLE_EQ(Float("Gain")->GetValue(), 3.5);
    Set("TriggerSelector", "AcquisitionStart");
    EXPECT_EQ(Enum("TriggerMode")->ToString(), "On");
    Set("TriggerSelector", "FrameStart");
    EXPECT_EQ(Enum("TriggerMode")->ToString(), "Off");
    Set("LineSelector", "Line2");
    EXPECT_TRUE(Bool("LineInverter")->GetValue());
    for (const char* f : {"Width", "ExposureTime", "Gain", "LineInverter", "TriggerMode"}) ExpectFresh(f);
}

TEST_F(RuntimeTest, TheCameraStorageOutlivesTheSession) {
    Set("UserSetSelector", "UserSet1");
    Int("Width")->SetValue(800);
    Command("UserSetSave");
    Set("UserSetDefault", "UserSet1");
    CStringPtr(Map().GetNode("DeviceUserID"))->SetValue("bench-3");
    Int("DefectTableIndex")->SetValue(1);
    Int("DefectTableCoordinateX")->SetValue(55);
    Command("DefectTableSave");
    Int("DefectTableCoordinateX")->SetValue(66); // not saved
    camera->DeInit();
    camera->Init();
    // Power-up: the stored user ID, defect table and UserSetDefault's set.
    EXPECT_EQ(Enum("UserSetDefault")->ToString(), "UserSet1");
    EXPECT_EQ(Int("Width")->GetValue(), 800);
    EXPECT_EQ(CStringPtr(Map().GetNode("DeviceUserID"))->GetValue(), "bench-3");
    Int("DefectTableIndex")->SetValue(1);
    EXPECT_EQ(Int("DefectTableCoordinateX")->GetValue(), 55);
    Command("DefectTableFactoryRestore");
    EXPECT_EQ(Int("DefectTableCoordinateX")->GetValue(),
              static_cast<int64_t>(InitialUInt("DefectTableCoordinateX", "1")));
    // FactoryReset erases the storage; DeviceReset is a power cycle.
    Command("FactoryReset");
    EXPECT_EQ(Enum("UserSetDefault")->ToString(), "Default");
    EXPECT_EQ(CStringPtr(Map().GetNode("DeviceUserID"))->GetValue(), "");
    EXPECT_EQ(Int("Width")->GetValue(), 800); // the current settings stay
    Command("DeviceReset");
    EXPECT_EQ(Int("Width")->GetValue(), static_cast<int64_t>(InitialUInt("Width")));
}

TEST_F(RuntimeTest, ClockLatchAndReset) {
    CIntegerPtr timestamp = Int("Timestamp");
    const int64_t t1 = timestamp->GetValue();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    Command("TimestampLatch");
    const int64_t latched = Int("TimestampLatchValue")->GetValue();
    const int64_t t2 = timestamp->GetValue();
    EXPECT_GE(latched, t1 + 5000000);
    EXPECT_LE(latched, t2);
    EXPECT_GT(t2, latched);
    EXPECT_GE(Runtime().TimestampNs(), static_cast<uint64_t>(t2));
    Command("TimestampReset");
    EXPECT_LT(timestamp->GetValue(), t2);
    EXPECT_LT(timestamp->GetValue(), 1000000000); // restarted from zero less than a second ago
    // DeviceUptime counts from power-up and ignores TimestampReset.
    EXPECT_LT(Int("DeviceUptime")->GetValue(), 5);
}

TEST_F(RuntimeTest, DeviceResetRestoresThePowerUpState) {
    Int("Width")->SetValue(320);
    Int("UserOutputValueAll")->SetValue(5);
    Set("PixelFormat", "Mono16");
    Command("DeviceReset");
    EXPECT_EQ(Int("Width")->GetValue(), static_cast<int64_t>(InitialUInt("Width")));
    EXPECT_EQ(Int("UserOutputValueAll")->GetValue(), 0);
    EXPECT_EQ(Enum("PixelFormat")->GetIntValue(), static_cast<int64_t>(InitialUInt("PixelFormat")));
    for (const char* f : {"Width", "PixelFormat", "PayloadSize", "UserOutputValueAll"}) ExpectFresh(f);
}

TEST_F(RuntimeTest, UserOutputsStayConsistent) {
    CIntegerPtr all = Int("UserOutputValueAll");
    CBooleanPtr bit = Bool("UserOutputValue");
    std::atomic<int> bitCalls{0};
    auto* cb = new FunctionNodeCallback(bit->GetNode(), [&](INode*) { ++bitCalls; });
    const CallbackHandleType h = bit->GetNode()->RegisterCallback(cb);
    all->SetValue(0x5);
    EXPECT_GE(bitCalls.load(), 1);
    bit->GetNode()->DeregisterCallback(h);
    cb->Destroy();
    for (int i = 0; i < 4; ++i) {
        Enum("UserOutputSelector")->SetIntValue(i);
        EXPECT_EQ(bit->GetValue(), ((0x5 >> i) & 1) != 0) << i;
    }
    Set("UserOutputSelector", "UserOutput1");
    bit->SetValue(true);
    EXPECT_EQ(all->GetValue(), 0x7);
    // The mask limits what a write of all the bits changes.
    Int("UserOutputValueAllMask")->SetValue(0x3);
    all->SetValue(0x8);
    EXPECT_EQ(all->GetValue(), 0x4);
    Set("UserOutputSelector", "UserOutput2");
    EXPECT_TRUE(bit->GetValue());
    for (const char* f : {"UserOutputValueAll", "UserOutputValue"}) ExpectFresh(f);
}

TEST_F(RuntimeTest, LineStatusFollowsOutputsAndInverters) {
    Set("LineSelector", "Line1");
    ASSERT_EQ(Enum("LineMode")->ToString(), "Output");
    Set("LineSource", "UserOutput1");
    CBooleanPtr status = Bool("LineStatus");
    EXPECT_FALSE(status->GetValue());
    Set("UserOutputSelector", "UserOutput1");
    Bool("UserOutputValue")->SetValue(true);
    EXPECT_TRUE(status->GetValue());
    EXPECT_EQ(Int("LineStatusAll")->GetValue(), 0x2);
    Bool("LineInverter")->SetValue(true);
    EXPECT_FALSE(status->GetValue());
    // An input without a signal reads its inverter.
    Set("LineSelector", "Line0");
    Bool("LineInverter")->SetValue(true);
    EXPECT_TRUE(status->GetValue());
    EXPECT_EQ(Int("LineStatusAll")->GetValue(), 0x1);
    EXPECT_EQ(Runtime().LineStatusAll(), 0x1u);
    // Line2 as an output of UserOutput3.
    Set("LineSelector", "Line2");
    Set("LineMode", "Output");
    Set("LineSource", "UserOutput3");
    Int("UserOutputValueAll")->SetValue(0x8);
    // Line0: inverted input, Line1: inverted UserOutput1 (now 0), Line2: UserOutput3.
    EXPECT_EQ(Int("LineStatusAll")->GetValue(), 0x7);
}

TEST_F(RuntimeTest, TemperatureVariesSlowlyAndIsPolled) {
    CFloatPtr temperature = Float("DeviceTemperature");
    // The description polls the temperature's register every second.
    EXPECT_EQ(Map().GetNode("DeviceTemperatureReg")->GetPollingTime(), 1000);
    EXPECT_FALSE(temperature->GetNode()->IsCachable());
    Set("DeviceTemperatureSelector", "Sensor");
    const double first = temperature->GetValue();
    EXPECT_NEAR(first, 42.5, 0.5);
    std::atomic<int> calls{0};
    auto* cb = new FunctionNodeCallback(temperature->GetNode(), [&](INode*) { ++calls; });
    const CallbackHandleType h = temperature->GetNode()->RegisterCallback(cb);
    Map().Poll(500);
    EXPECT_EQ(calls.load(), 0);
    Map().Poll(600);
    EXPECT_EQ(calls.load(), 1);
    temperature->GetNode()->DeregisterCallback(h);
    cb->Destroy();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const double later = temperature->GetValue();
    EXPECT_NE(later, first);
    EXPECT_NEAR(later, first, 0.1);
    Set("DeviceTemperatureSelector", "Mainboard");
    EXPECT_NEAR(temperature->GetValue(), 38.0, 0.5);
}

TEST_F(RuntimeTest, CountersAndTimersRun) {
    Set("CounterSelector", "Counter1");
    Set("CounterEventSource", "MHzTick");
    Int("CounterDuration")->SetValue(4000000000);
    Command("CounterReset");
    EXPECT_EQ(Enum("CounterStatus")->ToString(), "CounterActive");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const int64_t counted = Int("CounterValue")->GetValue();
    EXPECT_GE(counted, 20000);
    Command("CounterReset");
    EXPECT_GE(Int("CounterValueAtReset")->GetValue(), counted);
    EXPECT_LT(Int("CounterValue")->GetValue(), counted);
    Int("CounterDuration")->SetValue(1000);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(Int("CounterValue")->GetValue(), 1000);
    EXPECT_EQ(Enum("CounterStatus")->ToString(), "CounterCompleted");
    // Counter0 counts frames: nothing without an acquisition.
    Set("CounterSelector", "Counter0");
    Command("CounterReset");
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_EQ(Int("CounterValue")->GetValue(), 0);

    Set("TimerSelector", "Timer1");
    Float("TimerDuration")->SetValue(30000);
    Command("TimerReset");
    EXPECT_EQ(Enum("TimerStatus")->ToString(), "TimerActive");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(Enum("TimerStatus")->ToString(), "TimerCompleted");
    EXPECT_DOUBLE_EQ(Float("TimerValue")->GetValue(), 30000);
}

TEST_F(RuntimeTest, FilesOpenReadWriteCloseDelete) {
    CRegisterPtr buffer(Map().GetNode("FileAccessBuffer"));
    CCommandPtr execute(Map().GetNode("FileOperationExecute"));
    auto op = [&](const char* operation, int64_t offset = 0, int64_t length = 0) {
        Set("FileOperationSelector", operation);
        Int("FileAccessOffset")->SetValue(offset);
        Int("FileAccessLength")->SetValue(length);
        execute->Execute();
        EXPECT_TRUE(execute->IsDone());
        return Enum("FileOperationStatus")->ToString().str();
    };
    Set("FileSelector", "UserFile1");
    EXPECT_EQ(Int("FileSize")->GetValue(), 0);
    EXPECT_EQ(op("Read", 0, 4), "Failure"); // not open
    Set("FileOpenMode", "Write");
    EXPECT_EQ(op("Open"), "Success");
    EXPECT_EQ(op("Open"), "Failure"); // already open
    std::vector<uint8_t> bytes(512, 0);
    std::memcpy(bytes.data(), "hello", 5);
    buffer->Set(bytes.data(), 512);
    EXPECT_EQ(op("Write", 0, 5), "Success");
    EXPECT_EQ(Int("FileOperationResult")->GetValue(), 5);
    EXPECT_EQ(op("Read", 0, 5), "Failure");      // opened for writing
    EXPECT_EQ(op("Write", 4094, 5), "Overflow"); // 4 KiB file
    EXPECT_EQ(Int("FileOperationResult")->GetValue(), 2);
    EXPECT_EQ(Int("FileSize")->GetValue(), 4096);
    EXPECT_EQ(op("Delete"), "Failure"); // still open
    EXPECT_EQ(op("Close"), "Success");
    Set("FileOpenMode", "Read");
    EXPECT_EQ(op("Open"), "Success");
    buffer->Set(std::vector<uint8_t>(512, 0).data(), 512);
    EXPECT_EQ(op("Read", 1, 4), "Success");
    EXPECT_EQ(Int("FileOperationResult")->GetValue(), 4);
    std::vector<uint8_t> read(512);
    buffer->Get(read.data(), 512);
    EXPECT_EQ(std::string(read.begin(), read.begin() + 4), "ello");
    EXPECT_EQ(op("Read", 4096, 4), "Success");
    EXPECT_EQ(Int("FileOperationResult")->GetValue(), 0);
    EXPECT_EQ(op("Close"), "Success");
    EXPECT_EQ(op("Close"), "Failure");
    EXPECT_EQ(op("Delete"), "Success");
    EXPECT_EQ(Int("FileSize")->GetValue(), 0);
}

TEST_F(RuntimeTest, UserSetFilesHoldTheSavedSets) {
    CRegisterPtr buffer(Map().GetNode("FileAccessBuffer"));
    CCommandPtr execute(Map().GetNode("FileOperationExecute"));
    auto op = [&](const char* operation, int64_t offset = 0, int64_t length = 0) {
        Set("FileOperationSelector", operation);
        Int("FileAccessOffset")->SetValue(offset);
        Int("FileAccessLength")->SetValue(length);
        execute->Execute();
        return Enum("FileOperationStatus")->ToString().str();
    };
    Set("FileSelector", "UserSet0");
    EXPECT_EQ(Int("FileSize")->GetValue(), 0);
    Int("Width")->SetValue(1024);
    Set("UserSetSelector", "UserSet0");
    Command("UserSetSave");
    const int64_t size = Int("FileSize")->GetValue();
    EXPECT_GT(size, 100);
    Set("FileOpenMode", "ReadWrite");
    EXPECT_EQ(op("Open"), "Success");
    EXPECT_EQ(op("Read", 0, 4), "Success");
    std::vector<uint8_t> read(512);
    buffer->Get(read.data(), 512);
    EXPECT_EQ(std::string(read.begin(), read.begin() + 4), "OVUS");
    // Damage the saved set through its file: loading it then changes nothing.
    std::vector<uint8_t> junk(512, 0xEE);
    buffer->Set(junk.data(), 512);
    EXPECT_EQ(op("Write", 0, 16), "Success");
    EXPECT_EQ(op("Close"), "Success");
    Int("Width")->SetValue(512);
    Command("UserSetLoad");
    EXPECT_EQ(Int("Width")->GetValue(), 512);
    // The power-up set's file is read-only and holds the factory set.
    Set("FileSelector", "UserSetDefault");
    Set("FileOpenMode", "Write");
    EXPECT_EQ(op("Open"), "Failure");
    Set("FileOpenMode", "Read");
    EXPECT_EQ(op("Open"), "Success");
    EXPECT_EQ(op("Read", 0, 4), "Success");
    buffer->Get(read.data(), 512);
    EXPECT_EQ(std::string(read.begin(), read.begin() + 4), "OVUS");
    EXPECT_EQ(op("Delete"), "Failure");
    EXPECT_EQ(op("Close"), "Success");
}

TEST_F(RuntimeTest, AutomaticOnceConvergesAndReturnsToOff) {
    Set("ExposureAuto", "Continuous");
    EXPECT_EQ(Float("ExposureTime")->GetNode()->GetAccessMode(), RO);
    Set("ExposureAuto", "Once");
    EXPECT_EQ(Enum("ExposureAuto")->ToString(), "Off");
    EXPECT_EQ(Float("ExposureTime")->GetNode()->GetAccessMode(), RW);
    Set("GainAuto", "Once");
    EXPECT_EQ(Enum("GainAuto")->ToString(), "Off");
    ExpectFresh("ExposureAuto");
}

TEST_F(RuntimeTest, LogicBlockTablesAndLutOverlayStayConsistent) {
    Set("LogicBlockSelector", "LogicBlock1");
    Set("LogicBlockLUTSelector", "Value");
    CIntegerPtr all = Int("LogicBlockLUTOutputValueAll");
    CBooleanPtr row = Bool("LogicBlockLUTOutputValue");
    all->SetValue(0x8001);
    for (int64_t r : {0, 1, 15}) {
        Int("LogicBlockLUTRowIndex")->SetValue(r);
        EXPECT_EQ(row->GetValue(), r != 1) << r;
    }
    Int("LogicBlockLUTRowIndex")->SetValue(1);
    row->SetValue(true);
    EXPECT_EQ(all->GetValue(), 0x8003);
    Set("LogicBlockSelector", "LogicBlock0");
    EXPECT_EQ(all->GetValue(), 0);

    // LUTValueAll is the memory of every LUTValue.
    CIntegerPtr lutValue = Int("LUTValue");
    ASSERT_TRUE(lutValue->GetNode()->IsCachable());
    Int("LUTIndex")->SetValue(3);
    lutValue->SetValue(100);
    CRegisterPtr lutAll(Map().GetNode("LUTValueAll"));
    std::vector<uint8_t> table(2048);
    lutAll->Get(table.data(), 2048);
    EXPECT_EQ((table[6] << 8) | table[7], 100);
    table[6] = 0x01;
    table[7] = 0x02;
    lutAll->Set(table.data(), 2048);
    EXPECT_EQ(lutValue->GetValue(), 0x0102);
}

TEST_F(RuntimeTest, SequencerSetsSaveAndLoad) {
    Set("SequencerConfigurationMode", "On");
    Int("SequencerSetSelector")->SetValue(2);
    EXPECT_EQ(Enum("SequencerSetValid")->ToString(), "No");
    Float("ExposureTime")->SetValue(1234);
    Command("SequencerSetSave");
    EXPECT_EQ(Enum("SequencerSetValid")->ToString(), "Yes");
    EXPECT_EQ(Enum("SequencerConfigurationValid")->ToString(), "No"); // the start set (0) is not saved
    Float("ExposureTime")->SetValue(5000);
    Command("SequencerSetLoad");
    EXPECT_DOUBLE_EQ(Float("ExposureTime")->GetValue(), 1234);
    EXPECT_EQ(Int("SequencerSetActive")->GetValue(), 2);
    Int("SequencerSetStart")->SetValue(2);
    Command("SequencerSetSave");
    EXPECT_EQ(Enum("SequencerConfigurationValid")->ToString(), "Yes");
}

TEST_F(RuntimeTest, RegisterChecksReportConsistency) {
    Command("DeviceRegistersCheck");
    EXPECT_TRUE(Bool("DeviceRegistersValid")->GetValue());
    // Only the port can make the registers inconsistent.
    const uint8_t tooWide[4] = {0, 0, 0x10, 0}; // Width 4096
    camera->WritePort(vcam::reg::Width.address, tooWide, 4);
    Command("DeviceRegistersCheck");
    EXPECT_FALSE(Bool("DeviceRegistersValid")->GetValue());
}

TEST_F(RuntimeTest, TestEventsReachTheEventSink) {
    std::vector<uint16_t> ids;
    std::vector<uint8_t> last;
    Runtime().SetEventSink([&](uint16_t id, const uint8_t* data, size_t size) {
        ids.push_back(id);
        last.assign(data, data + size);
    });
    Command("TestEventGenerate");
    ASSERT_EQ(ids.size(), 1u);
    EXPECT_EQ(ids[0], vcam::event::Test);
    ASSERT_EQ(last.size(), vcam::kEventDataSize);
    uint64_t timestamp = 0;
    for (int i = 0; i < 8; ++i) timestamp = (timestamp << 8) | last[i];
    EXPECT_GT(timestamp, 0u);
    EXPECT_LE(timestamp, Runtime().TimestampNs());
    // Other events go out only while their notification is On.
    Runtime().EmitEvent(vcam::event::ExposureEnd, 5);
    EXPECT_EQ(ids.size(), 1u);
    Set("EventSelector", "ExposureEnd");
    Set("EventNotification", "On");
    EXPECT_TRUE(Runtime().IsEventNotificationOn(vcam::event::ExposureEnd));
    Runtime().EmitEvent(vcam::event::ExposureEnd, 5);
    ASSERT_EQ(ids.size(), 2u);
    EXPECT_EQ(last[15], 5);
    Runtime().SetEventSink(nullptr);
}

// Events may be raised where the node map's lock must not be taken (the fake
// stream's thread): the notification state is a snapshot kept up to date by
// the writes and commands that change it.
TEST_F(RuntimeTest, EventsGoOutWithoutTheNodeMapLock) {
    std::atomic<int> events{0};
    Runtime().SetEventSink([&](uint16_t, const uint8_t*, size_t) { ++events; });
    Set("EventSelector", "ExposureEnd");
    Set("EventNotification", "On");
    {
        // Another thread holds the lock meanwhile: the emitter must not wait for it.
        GenApi::impl::NodeMapBase::MapLock lock(Connection().NodeMap());
        std::thread emitter([&] { Runtime().EmitEvent(vcam::event::ExposureEnd, 7); });
        emitter.join();
    }
    EXPECT_EQ(events.load(), 1);
    // DeviceReset brings the power-up state back: notification Off.
    Command("DeviceReset");
    EXPECT_FALSE(Runtime().IsEventNotificationOn(vcam::event::ExposureEnd));
    Runtime().EmitEvent(vcam::event::ExposureEnd, 8);
    EXPECT_EQ(events.load(), 1);
    // A port write reaches the snapshot too.
    const uint8_t on[4] = {0, 0, 0, 1};
    camera->WritePort(vcam::reg::EventNotification.At(vcam::value::EventSelector::FrameStart), on, 4);
    EXPECT_TRUE(Runtime().IsEventNotificationOn(vcam::event::FrameStart));
    Runtime().SetEventSink(nullptr);
}

// A behaviour that records the writes it sees, as the acquisition's would.
class RecordingBehaviour : public internal::DeviceBehaviour {
public:
    explicit RecordingBehaviour(internal::DeviceConnection& session) : m_session(session) {}
    void OnWrite(uint64_t address, uint64_t length) override {
        if (address != vcam::reg::AcquisitionStart.address || length != 4) return;
        uint8_t bytes[4];
        arv_device_read_memory(m_session.Device(), address, 4, bytes, nullptr);
        seen.push_back(bytes[3]);
    }
    std::vector<int> seen;

private:
    internal::DeviceConnection& m_session;
};

TEST_F(RuntimeTest, BehavioursSeeCommandsBeforeTheRuntimeCompletesThem) {
    auto behaviour = std::make_shared<RecordingBehaviour>(Connection());
    Connection().AddBehaviour(behaviour);
    CCommandPtr start(Map().GetNode("AcquisitionStart"));
    start->Execute();
    ASSERT_EQ(behaviour->seen.size(), 1u);
    EXPECT_EQ(behaviour->seen[0], 1); // the command value, still there
    EXPECT_TRUE(start->IsDone());     // nobody claimed it: the runtime completed it
    // A claimed command stays pending until its behaviour completes it.
    Connection().ClaimCommandRegister(vcam::reg::AcquisitionStart.address);
    start->Execute();
    EXPECT_FALSE(start->IsDone());
    EXPECT_EQ(start->ToString(), "0");
    const uint8_t zero[4] = {0, 0, 0, 0};
    camera->WritePort(vcam::reg::AcquisitionStart.address, zero, 4);
    EXPECT_TRUE(start->IsDone());
    Connection().RemoveBehaviour(behaviour.get());
    start->Execute();
    EXPECT_EQ(behaviour->seen.size(), 3u); // the two executions and the port write, not the last
}

} // namespace
