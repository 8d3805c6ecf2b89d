// The GigE Vision device simulator as a real GVCP peer: Aravis discovers,
// opens and controls it, its XML parses in ArvGc, and it answers raw GVCP
// commands with the right acknowledgements and status codes. Every case runs
// in its own private network namespace.
#include <arv.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <map>
#include <string>
#include <thread>

#include "../tools/GvSim.h"
#include "RawGvcp.h"

namespace {

ArvDevice* Open(const std::string& address) {
    GError* error = nullptr;
    ArvDevice* device = arv_open_device(address.c_str(), &error);
    if (error) {
        ADD_FAILURE() << error->message;
        g_clear_error(&error);
    }
    return device;
}

std::string Text(ArvDevice* device, const char* feature) {
    GError* error = nullptr;
    ArvGcNode* node = arv_device_get_feature(device, feature);
    if (!node) return "<none>";
    const char* v = arv_gc_feature_node_get_value_as_string(ARV_GC_FEATURE_NODE(node), &error);
    if (error) {
        std::string m = std::string("<error ") + error->message + ">";
        g_clear_error(&error);
        return m;
    }
    return v ? v : "<null>";
}

void Execute(ArvDevice* device, const char* feature) {
    GError* error = nullptr;
    ArvGcNode* node = arv_device_get_feature(device, feature);
    ASSERT_TRUE(ARV_IS_GC_COMMAND(node)) << feature;
    arv_gc_command_execute(ARV_GC_COMMAND(node), &error);
    if (error) {
        ADD_FAILURE() << feature << ": " << error->message;
        g_clear_error(&error);
    }
}

void SetText(ArvDevice* device, const char* feature, const char* value) {
    GError* error = nullptr;
    ArvGcNode* node = arv_device_get_feature(device, feature);
    ASSERT_NE(node, nullptr) << feature;
    arv_gc_feature_node_set_value_from_string(ARV_GC_FEATURE_NODE(node), value, &error);
    if (error) {
        ADD_FAILURE() << feature << ": " << error->message;
        g_clear_error(&error);
    }
}

} // namespace

TEST(GvSim, DiscoveryFindsTheSimulator) {
    GvSim sim("127.0.0.2", "SIMA7");
    arv_update_device_list();
    bool found = false;
    for (unsigned i = 0; i < arv_get_n_devices(); ++i) {
        if (std::string(arv_get_device_serial_nbr(i)) != "SIMA7") continue;
        found = true;
        EXPECT_STREQ(arv_get_device_address(i), "127.0.0.2");
        EXPECT_STREQ(arv_get_device_vendor(i), "Orvane");
        EXPECT_STREQ(arv_get_device_model(i), "GvSim");
        EXPECT_STREQ(arv_get_device_physical_id(i), "02:00:7f:00:00:02");
        EXPECT_STREQ(arv_get_device_id(i), "Orvane-GvSim-SIMA7");
        EXPECT_STREQ(arv_get_device_protocol(i), "GigEVision");
    }
    EXPECT_TRUE(found);
}

TEST(GvSim, AravisReadsEveryFeature) {
    GvSim sim("127.0.0.2", "SIMB1");
    ArvDevice* device = Open("127.0.0.2");
    ASSERT_NE(device, nullptr);
    const std::map<std::string, std::string> expected = {
        {"DeviceVendorName", "Orvane"},
        {"DeviceModelName", "GvSim"},
        {"DeviceVersion", "gvsim 1.0"},
        {"DeviceManufacturerInfo", "Orvane GigE Vision device simulator"},
        {"DeviceSerialNumber", "SIMB1"},
        {"DeviceID", "SIMB1"},
        {"DeviceUserID", ""},
        {"SensorWidth", "1024"},
        {"SensorHeight", "768"},
        {"Width", "640"},
        {"Height", "480"},
        {"PixelFormat", "Mono8"},
        {"PayloadSize", "307200"},
        {"AcquisitionMode", "Continuous"},
        {"EventSelector", "ExposureStart"},
        {"EventNotification", "Off"},
        {"EventExposureStart", "36864"},
        {"EventExposureEnd", "36865"},
        {"EventTest", "20479"},
        {"ActionSelector", "0"},
        {"ActionGroupKey", "0"},
        {"ActionGroupMask", "0"},
        {"ActionQueueSize", "4"},
        {"TLParamsLocked", "0"},
        {"GevTimestampTickFrequency", "1000000000"},
        {"GevHeartbeatTimeout", "3000"},
    };
    for (const auto& e : expected) EXPECT_EQ(Text(device, e.first.c_str()), e.second) << e.first;
    g_object_unref(device);
}

TEST(GvSim, AravisWritesReachTheDevice) {
    GvSim sim("127.0.0.2", "SIMB2");
    ArvDevice* device = Open("127.0.0.2");
    ASSERT_NE(device, nullptr);
    EXPECT_NE(GvSim::Field(sim.Command("status"), "controller"), "none");

    SetText(device, "Width", "800");
    SetText(device, "PixelFormat", "Mono16");
    EXPECT_EQ(Text(device, "Width"), "800");
    EXPECT_EQ(Text(device, "PayloadSize"), "768000");
    SetText(device, "DeviceUserID", "left");
    EXPECT_EQ(Text(device, "DeviceUserID"), "left");

    // Event notification is indexed by the event selector.
    SetText(device, "EventSelector", "ExposureEnd");
    SetText(device, "EventNotification", "On");
    EXPECT_EQ(Text(device, "EventNotification"), "On");
    SetText(device, "EventSelector", "Test");
    EXPECT_EQ(Text(device, "EventNotification"), "Off");
    const std::string status = sim.Command("status");
    EXPECT_EQ(GvSim::Field(status, "notify_ExposureEnd"), "1");
    EXPECT_EQ(GvSim::Field(status, "notify_ExposureStart"), "0");
    EXPECT_EQ(GvSim::Field(status, "notify_Test"), "0");

    // Action signal 1 through the selector; the device key is write-only.
    SetText(device, "ActionSelector", "1");
    SetText(device, "ActionGroupKey", "0x2A");
    SetText(device, "ActionGroupMask", "0x3");
    SetText(device, "ActionDeviceKey", "0x1234");
    const std::string keys = sim.Command("status");
    EXPECT_EQ(GvSim::Field(keys, "group_key1"), "0x0000002a");
    EXPECT_EQ(GvSim::Field(keys, "group_mask1"), "0x00000003");
    EXPECT_EQ(GvSim::Field(keys, "group_key0"), "0x00000000");
    EXPECT_EQ(GvSim::Field(keys, "device_key"), "0x00001234");

    // The latched timestamp is the device clock (ns since the simulator started).
    Execute(device, "TimestampLatch");
    const long long latched = std::stoll(Text(device, "TimestampLatchValue"));
    EXPECT_GT(latched, 0);
    EXPECT_LT(latched, 600LL * 1000 * 1000 * 1000);

    const std::string writes = sim.Command("writes");
    EXPECT_NE(writes.find("mem 0x00020000 00000320"), std::string::npos) << writes;
    EXPECT_NE(writes.find("0x0000090c 0x00001234"), std::string::npos) << writes;
    g_object_unref(device);
    EXPECT_EQ(GvSim::Field(sim.Command("status"), "controller"), "none"); // Aravis leaves control when closing
}

TEST(GvSim, StatusCodesOfRegisterAndMemoryCommands) {
    GvSim sim("127.0.0.2", "SIMC1");
    RawGvcp gvcp("127.0.0.2");

    RawGvcp::Reply r = gvcp.Transact(0x0080, {0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0x09, 0x34});
    ASSERT_TRUE(r.answered);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.acknowledge, 0x0081);
    ASSERT_EQ(r.payload.size(), 12u);
    EXPECT_EQ(r.Word(0), 0x00020000u); // version 2.0
    EXPECT_EQ(r.Word(1), 0x80000001u); // big-endian transmitter, UTF-8
    EXPECT_EQ(r.Word(2), 0xD056005Bu); // names, link speed, status codes, actions, events, WRITEMEM, concatenation

    EXPECT_EQ(gvcp.ReadRegister(0x12345678).status, 0x8003); // no such register
    EXPECT_EQ(gvcp.ReadRegister(0x0002).status, 0x8005);     // not word-aligned
    EXPECT_EQ(gvcp.ReadRegister(0x090C).status, 0x8006);     // write-only action device key
    EXPECT_EQ(gvcp.ReadRegister(0x0900).Word(), 1u);         // one message channel
    EXPECT_EQ(gvcp.ReadRegister(0x0B1C).Word(), sim.MessageSourcePort());

    r = gvcp.ReadMemory(0x48, 32);
    ASSERT_TRUE(r.answered);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.acknowledge, 0x0085);
    ASSERT_EQ(r.payload.size(), 36u);
    EXPECT_EQ(r.Word(0), 0x48u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&r.payload[4])), "Orvane");
    EXPECT_EQ(gvcp.ReadMemory(0x200, 600).status, 0x8002); // more than one message holds
    r = gvcp.ReadMemory(0x200, 64);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&r.payload[4])).compare(0, 20, "Local:sim.xml;10000;"), 0);

    EXPECT_EQ(gvcp.WriteRegister(0x20000, 5).status, 0x8006); // no control privilege
    gvcp.TakeControl();
    EXPECT_EQ(gvcp.WriteRegister(0x0000, 1).status, 0x8004);   // read-only bootstrap register
    EXPECT_EQ(gvcp.WriteRegister(0x10000, 1).status, 0x8004);  // the XML
    EXPECT_EQ(gvcp.WriteRegister(0x500000, 1).status, 0x8003); // nothing there
    EXPECT_EQ(gvcp.WriteRegister(0x20002, 1).status, 0x8005);
    r = gvcp.WriteRegister(0x20000, 5);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.acknowledge, 0x0083);
    EXPECT_EQ(r.Word(0), 1u); // index: one register written
    EXPECT_EQ(gvcp.ReadRegister(0x20000).Word(), 5u);

    r = gvcp.Transact(0x4444, {});
    EXPECT_EQ(r.status, 0x8001);
    EXPECT_EQ(r.acknowledge, 0x4445);
}

TEST(GvSim, OneControllerAtATime) {
    GvSim sim("127.0.0.2", "SIMD1");
    ArvDevice* device = Open("127.0.0.2");
    ASSERT_NE(device, nullptr);
    RawGvcp other("127.0.0.2");
    EXPECT_EQ(other.WriteRegister(0x0A00, 2).status, 0x8006);
    EXPECT_EQ(other.WriteRegister(0x20000, 64).status, 0x8006);
    EXPECT_EQ(Text(device, "Width"), "640");
    EXPECT_EQ(other.ReadRegister(0x0A00).Word(), 2u); // monitors may read
    g_object_unref(device);
    other.TakeControl();
}

TEST(GvSim, HeartbeatExpiryReleasesControlAndTheMessageChannel) {
    GvSim sim("127.0.0.2", "SIME1", {"--heartbeat-timeout", "500"});
    RawGvcp first("127.0.0.2");
    first.TakeControl();
    ASSERT_EQ(first.WriteRegister(0x0B10, 0x7F000001).status, 0);
    ASSERT_EQ(first.WriteRegister(0x0B00, 40000).status, 0);
    EXPECT_EQ(GvSim::Field(sim.Command("status"), "channel"), "127.0.0.1:40000");

    std::this_thread::sleep_for(std::chrono::milliseconds(1200)); // no heartbeat
    const std::string status = sim.Command("status");
    EXPECT_EQ(GvSim::Field(status, "controller"), "none");
    EXPECT_EQ(GvSim::Field(status, "ccp"), "0");
    EXPECT_EQ(GvSim::Field(status, "channel"), "closed");
    RawGvcp second("127.0.0.2");
    second.TakeControl();
    EXPECT_EQ(first.WriteRegister(0x20000, 64).status, 0x8006);
}

TEST(GvSim, KilledSimulatorFailsReadsAndLosesControl) {
    GvSim sim("127.0.0.2", "SIMF1");
    std::atomic<int> lost{0}; // before Aravis's heartbeat thread starts
    ArvDevice* device = Open("127.0.0.2");
    ASSERT_NE(device, nullptr);
    g_signal_connect(device, "control-lost",
                     G_CALLBACK(+[](ArvDevice*, gpointer data) { static_cast<std::atomic<int>*>(data)->fetch_add(1); }),
                     &lost);
    sim.Stop(SIGKILL);
    const auto killed = std::chrono::steady_clock::now();

    GError* error = nullptr;
    guint32 value = 0;
    EXPECT_FALSE(arv_device_read_register(device, 0x0000, &value, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, ARV_DEVICE_ERROR_TIMEOUT);
    g_clear_error(&error);

    while (lost.load() == 0 && std::chrono::steady_clock::now() - killed < std::chrono::seconds(10))
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(lost.load(), 1);
    g_object_unref(device);
}
