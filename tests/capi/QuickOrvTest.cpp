// QuickOrv on the virtual camera through the C library: the initialisers
// (checks, the records their failures land in, null fields exactly where a
// level lacks a feature, the same handles on every fill) and the enumeration
// constants (every constant of every enumeration the camera has selects the
// entry of its name although the device's integers differ, and each entry
// gives its constant back).
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CapiFixture.h"
#include "Orvane/GenApi/GenApi.h"
#include "OrvaneUtilsC.h"
#include "QuickOrvData.h"

namespace {

const char kNotInitialised[] = "Unable to initialized QuickOrv without first initializing camera.";
const char kEntryNotFound[] = "QuickOrv enumeration entry was not found.";
const char kValueNotFound[] = "QuickOrv enum value not found.";

template <class Structure>
orvNodeHandle Field(const Structure& s, size_t i) {
    return reinterpret_cast<const orvNodeHandle*>(&s)[i];
}

// A structure filled with a byte pattern, to see whether a call touched it.
template <class Structure>
Structure Poisoned() {
    Structure s;
    std::memset(&s, 0xA5, sizeof s);
    return s;
}

template <class Structure>
bool Untouched(const Structure& s) {
    const Structure p = Poisoned<Structure>();
    return std::memcmp(&s, &p, sizeof s) == 0;
}

orvHandleType Tag(orvNodeHandle node) { return static_cast<orvObject*>(node)->tag; }

class QuickOrvTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        setenv("ORVANE_VIRTUAL_CAMERAS", "2", 1);
        CapiTest::SetUp();
        ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraListGetBySerial(cameras, "VC0001", &camera), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        if (camera) {
            EXPECT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
            EXPECT_EQ(orvCameraRelease(camera), ORVANE_ERR_SUCCESS);
        }
        EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
        CapiTest::TearDown();
        unsetenv("ORVANE_VIRTUAL_CAMERAS");
    }
    orvNodeMapHandle DeviceMap() {
        orvNodeMapHandle map = nullptr;
        EXPECT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvCameraGetNodeMap(camera, &map), ORVANE_ERR_SUCCESS);
        return map;
    }
    // The names of every node of a node map, as the SDK lists them.
    static std::set<std::string> NodeNames(orvNodeMapHandle map) {
        Orvane::GenApi::node_vector nodes;
        static_cast<Orvane::GenApi::INodeMap*>(static_cast<orvObject*>(map)->target)->GetNodes(nodes);
        std::set<std::string> names;
        for (Orvane::GenApi::INode* node : nodes) names.insert(node->GetName().c_str());
        EXPECT_GT(names.size(), 10u);
        return names;
    }
    // Field i holds orvNodeMapGetNode's handle for name i; null exactly where
    // the node map has no such node. Returns the number of null fields.
    template <class Structure>
    static size_t ExpectFieldsOf(orvNodeMapHandle map, const Structure& s, const std::string& file) {
        const std::vector<std::string> names = QuickOrvDataLines(file);
        EXPECT_EQ(names.size() * sizeof(orvNodeHandle), sizeof(Structure)) << file;
        const std::set<std::string> present = NodeNames(map);
        size_t nulls = 0;
        for (size_t i = 0; i < names.size(); ++i) {
            orvNodeHandle node = reinterpret_cast<orvNodeHandle>(1);
            EXPECT_EQ(orvNodeMapGetNode(map, names[i].c_str(), &node), ORVANE_ERR_SUCCESS);
            EXPECT_EQ(Field(s, i), node) << file << " field " << i << " " << names[i];
            EXPECT_EQ(Field(s, i) == nullptr, present.count(names[i]) == 0)
                << file << " field " << i << " " << names[i];
            if (!Field(s, i)) ++nulls;
        }
        return nulls;
    }
    static std::string Symbolic(orvNodeHandle entry) {
        char text[128];
        size_t length = sizeof text;
        if (orvEnumerationEntryGetSymbolic(entry, text, &length) != ORVANE_ERR_SUCCESS) return "<error>";
        return text;
    }
    static std::string Current(orvNodeHandle enumeration) {
        orvNodeHandle entry = nullptr;
        if (orvEnumerationGetCurrentEntry(enumeration, &entry) != ORVANE_ERR_SUCCESS) return "<error>";
        return Symbolic(entry);
    }
    static bool SelfClearing(orvNodeHandle entry) {
        auto* node = static_cast<Orvane::GenApi::INode*>(static_cast<orvObject*>(entry)->target);
        return Orvane::GenApi::CEnumEntryPtr(node)->IsSelfClearing();
    }
    static orvNodeHandle Entry(orvNodeHandle enumeration, const char* name) {
        orvNodeHandle entry = nullptr;
        EXPECT_EQ(orvEnumerationGetEntryByName(enumeration, name, &entry), ORVANE_ERR_SUCCESS);
        return entry;
    }

    orvCameraList cameras = nullptr;
    orvCamera camera = nullptr;
};

// quickOrvInit ------------------------------------------------------------------

TEST_F(QuickOrvTest, CameraNotInitialised) {
    quickOrv q = Poisoned<quickOrv>();
    EXPECT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_NOT_INITIALIZED);
    EXPECT_TRUE(Untouched(q));
    EXPECT_TRUE(log.Contains(Trace("QuickOrvC", 38, "quickOrvInit", kNotInitialised, -1002)));
    // The failure is kept in the QuickOrvC record; the OrvaneC record shows
    // orvCameraIsInitialized's success.
    EXPECT_EQ(LastCode(), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "");
}

TEST_F(QuickOrvTest, NullOrWrongCameraHandle) {
    quickOrv q = Poisoned<quickOrv>();
    EXPECT_EQ(quickOrvInit(nullptr, &q), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_TRUE(Untouched(q));
    // orvCameraIsInitialized's failure, in the OrvaneC record.
    EXPECT_EQ(LastCode(), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Handle is NULL");
    EXPECT_EQ(LastText(orvErrorGetLastFunctionName), "CheckNullHandle");
    EXPECT_EQ(quickOrvInit(system, &q), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_TRUE(Untouched(q));
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera handle", "System handle"));
    EXPECT_EQ(LastLine(), 343);
}

TEST_F(QuickOrvTest, FillsEveryFieldFromTheDeviceNodeMap) {
    orvNodeMapHandle map = DeviceMap();
    quickOrv q = Poisoned<quickOrv>();
    ASSERT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    const size_t nulls = ExpectFieldsOf(map, q, "camera_fields.txt");
    // The virtual camera has most standard features; the rest are null.
    EXPECT_LT(nulls, 674u / 3);
    EXPECT_GT(nulls, 0u);
    for (orvNodeHandle absent : {q.Scan3dDistanceUnit, q.CxpLinkConfiguration, q.DeviceTapGeometry, q.EncoderSelector,
                                 q.ChunkInferenceResult, q.Test0001, q.V3_3Enable, q.AcquisitionLineRate})
        EXPECT_EQ(absent, nullptr);
    // Each handle carries the tag of its node's kind.
    EXPECT_EQ(Tag(q.PixelFormat), ORV_HANDLE_ENUMERATION_NODE);
    EXPECT_EQ(Tag(q.AcquisitionMode), ORV_HANDLE_ENUMERATION_NODE);
    EXPECT_EQ(Tag(q.Width), ORV_HANDLE_INTEGER_NODE);
    EXPECT_EQ(Tag(q.ExposureTime), ORV_HANDLE_FLOAT_NODE);
    EXPECT_EQ(Tag(q.Gain), ORV_HANDLE_FLOAT_NODE);
    EXPECT_EQ(Tag(q.ReverseX), ORV_HANDLE_BOOLEAN_NODE);
    EXPECT_EQ(Tag(q.TriggerSoftware), ORV_HANDLE_COMMAND_NODE);
    EXPECT_EQ(Tag(q.DeviceSerialNumber), ORV_HANDLE_STRING_NODE);
    char serial[32];
    size_t length = sizeof serial;
    EXPECT_EQ(orvStringGetValue(q.DeviceSerialNumber, serial, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(serial, "VC0001");
}

TEST_F(QuickOrvTest, SameHandlesOnEveryFill) {
    DeviceMap();
    quickOrv a = Poisoned<quickOrv>(), b = Poisoned<quickOrv>();
    ASSERT_EQ(quickOrvInit(camera, &a), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(quickOrvInit(camera, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
    ASSERT_EQ(quickOrvInit(camera, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
    // Two threads filling from one camera at once get the same handles too.
    quickOrv c = Poisoned<quickOrv>(), d = Poisoned<quickOrv>();
    orvError ec = -1, ed = -1;
    std::thread tc([&] { ec = quickOrvInit(camera, &c); });
    std::thread td([&] { ed = quickOrvInit(camera, &d); });
    tc.join();
    td.join();
    EXPECT_EQ(ec, ORVANE_ERR_SUCCESS);
    EXPECT_EQ(ed, ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::memcmp(&a, &c, sizeof a), 0);
    EXPECT_EQ(std::memcmp(&a, &d, sizeof a), 0);
}

// quickOrvInitEx ----------------------------------------------------------------

TEST_F(QuickOrvTest, ExWithNoStructureTouchesNothing) {
    EXPECT_EQ(quickOrvInitEx(camera, nullptr, nullptr, nullptr), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(static_cast<orvObject*>(camera)->children.size(), 0u); // no node map was asked for
    EXPECT_EQ(quickOrvInitEx(nullptr, nullptr, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastCode(), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Handle is NULL");
    EXPECT_EQ(LastText(orvErrorGetLastFileName), "./OrvaneUtilsC");
    EXPECT_EQ(LastLine(), 121);
}

TEST_F(QuickOrvTest, ExTransportLayerOnlyNeedsNoInit) {
    quickOrvTLDevice device = Poisoned<quickOrvTLDevice>();
    quickOrvTLStream stream = Poisoned<quickOrvTLStream>();
    ASSERT_EQ(quickOrvInitEx(camera, nullptr, &device, &stream), ORVANE_ERR_SUCCESS);
    EXPECT_NE(device.DeviceSerialNumber, nullptr);
    EXPECT_NE(stream.StreamBufferHandlingMode, nullptr);
    orvNodeMapHandle deviceMap = nullptr, streamMap = nullptr;
    ASSERT_EQ(orvCameraGetTLDeviceNodeMap(camera, &deviceMap), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraGetTLStreamNodeMap(camera, &streamMap), ORVANE_ERR_SUCCESS);
    ExpectFieldsOf(deviceMap, device, "tl_device_fields.txt");
    ExpectFieldsOf(streamMap, stream, "tl_stream_fields.txt");
}

TEST_F(QuickOrvTest, ExStopsAtTheCameraStructure) {
    quickOrv q = Poisoned<quickOrv>();
    quickOrvTLDevice device = Poisoned<quickOrvTLDevice>();
    quickOrvTLStream stream = Poisoned<quickOrvTLStream>();
    EXPECT_EQ(quickOrvInitEx(camera, &q, &device, &stream), ORVANE_ERR_NOT_INITIALIZED);
    EXPECT_TRUE(Untouched(q));
    EXPECT_TRUE(Untouched(device));
    EXPECT_TRUE(Untouched(stream));
    // quickOrvInit's failure is returned, not stored in the OrvaneC record.
    EXPECT_EQ(LastCode(), ORVANE_ERR_SUCCESS);
    EXPECT_TRUE(log.Contains(Trace("QuickOrvC", 38, "quickOrvInit", kNotInitialised, -1002)));
    // A system handle fails in orvCameraIsInitialized, which keeps the error.
    EXPECT_EQ(quickOrvInitEx(system, &q, &device, &stream), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera handle", "System handle"));
    EXPECT_TRUE(Untouched(device));
    // Without the camera structure the system handle reaches the device's node map function.
    EXPECT_EQ(quickOrvInitEx(system, nullptr, &device, &stream), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera handle", "System handle"));
    EXPECT_TRUE(Untouched(device));
    EXPECT_TRUE(Untouched(stream));
}

TEST_F(QuickOrvTest, ExFillsAllThreeAsTheSingleInitialisersDo) {
    DeviceMap();
    quickOrv q = Poisoned<quickOrv>(), q1 = Poisoned<quickOrv>();
    quickOrvTLDevice device = Poisoned<quickOrvTLDevice>(), device1 = Poisoned<quickOrvTLDevice>();
    quickOrvTLStream stream = Poisoned<quickOrvTLStream>(), stream1 = Poisoned<quickOrvTLStream>();
    ASSERT_EQ(quickOrvInitEx(camera, &q, &device, &stream), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(quickOrvInit(camera, &q1), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(quickOrvTLDeviceInit(camera, &device1), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(quickOrvTLStreamInit(camera, &stream1), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::memcmp(&q, &q1, sizeof q), 0);
    EXPECT_EQ(std::memcmp(&device, &device1, sizeof device), 0);
    EXPECT_EQ(std::memcmp(&stream, &stream1, sizeof stream), 0);
    // Names shared between levels are separate nodes of separate node maps.
    EXPECT_NE(q.DeviceSerialNumber, device.DeviceSerialNumber);
    EXPECT_NE(q.DeviceType, device.DeviceType);
    EXPECT_EQ(LastCode(), ORVANE_ERR_SUCCESS);
}

// Transport-layer initialisers ---------------------------------------------------

TEST_F(QuickOrvTest, SystemStructure) {
    orvNodeMapHandle map = nullptr;
    ASSERT_EQ(orvSystemGetTLNodeMap(system, &map), ORVANE_ERR_SUCCESS);
    quickOrvTLSystem s = Poisoned<quickOrvTLSystem>(), again = Poisoned<quickOrvTLSystem>();
    ASSERT_EQ(quickOrvTLSystemInit(system, &s), ORVANE_ERR_SUCCESS);
    ExpectFieldsOf(map, s, "tl_system_fields.txt");
    EXPECT_NE(s.TLVendorName, nullptr);
    EXPECT_NE(s.InterfaceSelector, nullptr);
    EXPECT_EQ(s.EnumerateGen2Cameras, nullptr);
    ASSERT_EQ(quickOrvTLSystemInit(system, &again), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::memcmp(&s, &again, sizeof s), 0);
    quickOrvTLSystem untouched = Poisoned<quickOrvTLSystem>();
    EXPECT_EQ(quickOrvTLSystemInit(nullptr, &untouched), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Handle is NULL");
    EXPECT_EQ(quickOrvTLSystemInit(camera, &untouched), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("System handle", "Camera handle"));
    EXPECT_TRUE(Untouched(untouched));
}

TEST_F(QuickOrvTest, InterfaceStructure) {
    orvInterfaceList interfaces = nullptr;
    orvInterface interface = nullptr;
    orvNodeMapHandle map = nullptr;
    ASSERT_EQ(orvInterfaceListCreateEmpty(&interfaces), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvSystemGetInterfaces(system, interfaces), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvInterfaceListGet(interfaces, 0, &interface), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvInterfaceGetTLNodeMap(interface, &map), ORVANE_ERR_SUCCESS);
    quickOrvTLInterface s = Poisoned<quickOrvTLInterface>(), again = Poisoned<quickOrvTLInterface>();
    ASSERT_EQ(quickOrvTLInterfaceInit(interface, &s), ORVANE_ERR_SUCCESS);
    ExpectFieldsOf(map, s, "tl_interface_fields.txt");
    EXPECT_NE(s.InterfaceID, nullptr);
    EXPECT_NE(s.DeviceSelector, nullptr);
    EXPECT_EQ(s.TavexFilterDriverStatus, nullptr);
    ASSERT_EQ(quickOrvTLInterfaceInit(interface, &again), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::memcmp(&s, &again, sizeof s), 0);
    // A camera handle fails in orvInterfaceGetTLNodeMap; nothing is written.
    quickOrvTLInterface untouched = Poisoned<quickOrvTLInterface>();
    EXPECT_EQ(quickOrvTLInterfaceInit(camera, &untouched), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Interface handle", "Camera handle"));
    EXPECT_EQ(LastText(orvErrorGetLastFunctionName), "checkObjectType");
    EXPECT_TRUE(Untouched(untouched));
    EXPECT_EQ(orvInterfaceRelease(interface), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvInterfaceListDestroy(interfaces), ORVANE_ERR_SUCCESS);
}

TEST_F(QuickOrvTest, DeviceAndStreamStructuresWithoutInit) {
    quickOrvTLDevice device = Poisoned<quickOrvTLDevice>(), device2 = Poisoned<quickOrvTLDevice>();
    quickOrvTLStream stream = Poisoned<quickOrvTLStream>(), stream2 = Poisoned<quickOrvTLStream>();
    ASSERT_EQ(quickOrvTLDeviceInit(camera, &device), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(quickOrvTLStreamInit(camera, &stream), ORVANE_ERR_SUCCESS);
    bool8_t initialised = 1;
    ASSERT_EQ(orvCameraIsInitialized(camera, &initialised), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(initialised, 0);
    orvNodeMapHandle deviceMap = nullptr, streamMap = nullptr;
    ASSERT_EQ(orvCameraGetTLDeviceNodeMap(camera, &deviceMap), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraGetTLStreamNodeMap(camera, &streamMap), ORVANE_ERR_SUCCESS);
    ExpectFieldsOf(deviceMap, device, "tl_device_fields.txt");
    ExpectFieldsOf(streamMap, stream, "tl_stream_fields.txt");
    EXPECT_NE(device.DeviceType, nullptr);
    EXPECT_EQ(device.GevDeviceIPAddress, nullptr); // a virtual camera has no IP address
    EXPECT_NE(stream.StreamLostFrameCount, nullptr);
    ASSERT_EQ(quickOrvTLDeviceInit(camera, &device2), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(quickOrvTLStreamInit(camera, &stream2), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::memcmp(&device, &device2, sizeof device), 0);
    EXPECT_EQ(std::memcmp(&stream, &stream2, sizeof stream), 0);
    quickOrvTLDevice d = Poisoned<quickOrvTLDevice>();
    quickOrvTLStream s = Poisoned<quickOrvTLStream>();
    EXPECT_EQ(quickOrvTLDeviceInit(nullptr, &d), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(quickOrvTLStreamInit(cameras, &s), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera handle", "Camera list handle"));
    EXPECT_TRUE(Untouched(d));
    EXPECT_TRUE(Untouched(s));
}

// Enumeration constants -------------------------------------------------------------

TEST_F(QuickOrvTest, SetSelectsTheEntryByNameNotByInteger) {
    DeviceMap();
    quickOrv q;
    ASSERT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvEnumerationSetEnumValue(q.AcquisitionMode, AcquisitionMode_SingleFrame), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Current(q.AcquisitionMode), "SingleFrame");
    ASSERT_EQ(orvEnumerationSetEnumValue(q.AcquisitionMode, AcquisitionMode_Continuous), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Current(q.AcquisitionMode), "Continuous");
    int64_t integer = 0;
    orvNodeHandle continuous = Entry(q.AcquisitionMode, "Continuous");
    ASSERT_EQ(orvEnumerationEntryGetIntValue(continuous, &integer), ORVANE_ERR_SUCCESS);
    EXPECT_NE(integer, AcquisitionMode_Continuous); // the device's own integer differs
    size_t value = 99;
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(continuous, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, size_t(AcquisitionMode_Continuous));
    // Only the low 32 bits count: 2^32 + 1 is SingleFrame.
    ASSERT_EQ(orvEnumerationSetEnumValue(q.AcquisitionMode, (size_t(1) << 32) + 1), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Current(q.AcquisitionMode), "SingleFrame");
    // Through the pixel format too.
    ASSERT_EQ(orvEnumerationSetEnumValue(q.PixelFormat, PixelFormat_BayerRG8), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Current(q.PixelFormat), "BayerRG8");
    orvNodeHandle current = nullptr;
    ASSERT_EQ(orvEnumerationGetCurrentEntry(q.PixelFormat, &current), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(current, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, size_t(PixelFormat_BayerRG8));
}

TEST_F(QuickOrvTest, SetRefusesConstantsOutsideTheTable) {
    DeviceMap();
    quickOrv q;
    ASSERT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvEnumerationSetEnumValue(q.AcquisitionMode, AcquisitionMode_MultiFrame), ORVANE_ERR_SUCCESS);
    log.Clear();
    EXPECT_EQ(orvEnumerationSetEnumValue(q.AcquisitionMode, 3), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Current(q.AcquisitionMode), "MultiFrame");
    EXPECT_TRUE(log.Contains(Trace("CameraC", 1528, "quickOrvEnumerationSetEnumValue", kEntryNotFound, -1009)));
    EXPECT_EQ(orvEnumerationSetEnumValue(q.AcquisitionMode, size_t(1) << 32 | 3), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvEnumerationSetEnumValue(q.AcquisitionMode, SIZE_MAX), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Current(q.AcquisitionMode), "MultiFrame");
    // An enumeration without constants refuses every value.
    orvNodeMapHandle map = nullptr;
    orvNodeHandle tlType = nullptr;
    ASSERT_EQ(orvSystemGetTLNodeMap(system, &map), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeMapGetNode(map, "TLType", &tlType), ORVANE_ERR_SUCCESS);
    for (size_t v = 0; v < 5; ++v) EXPECT_EQ(orvEnumerationSetEnumValue(tlType, v), ORVANE_ERR_INVALID_PARAMETER) << v;
    orvNodeHandle streamType = nullptr;
    ASSERT_EQ(orvCameraGetTLStreamNodeMap(camera, &map), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeMapGetNode(map, "StreamBufferHandlingMode", &streamType), ORVANE_ERR_SUCCESS);
    for (size_t v = 0; v < 5; ++v)
        EXPECT_EQ(orvEnumerationSetEnumValue(streamType, v), ORVANE_ERR_INVALID_PARAMETER) << v;
}

TEST_F(QuickOrvTest, GetGivesTheConstantOfAnEntry) {
    orvNodeMapHandle map = DeviceMap();
    quickOrv q;
    ASSERT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    size_t value = 99;
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(Entry(q.TriggerSource, "Line0"), &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, 1u);
    // The entry as a node of the node map is the same entry.
    orvNodeHandle byName = nullptr;
    ASSERT_EQ(orvNodeMapGetNode(map, "EnumEntry_TriggerSource_Line0", &byName), ORVANE_ERR_SUCCESS);
    ASSERT_NE(byName, nullptr);
    EXPECT_EQ(Tag(byName), ORV_HANDLE_ENUM_ENTRY_NODE);
    value = 99;
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(byName, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, 1u);
    value = 99;
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(Entry(q.EventNotification, "Off"), &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, size_t(EventNotification_Off));
}

TEST_F(QuickOrvTest, GetRefusesEntriesOutsideTheTable) {
    DeviceMap();
    quickOrv q;
    ASSERT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    // The camera's EventSelector has entries the table does not list.
    orvNodeHandle frameStart = Entry(q.EventSelector, "FrameStart");
    ASSERT_NE(frameStart, nullptr);
    size_t value = 99;
    log.Clear();
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(frameStart, &value), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(value, 99u);
    EXPECT_TRUE(log.Contains(Trace("CameraC", 3030, "quickOrvEnumerationEntryGetEnumValue", kValueNotFound, -1009)));
    // A transport-layer DeviceType entry whose name the table lacks.
    quickOrvTLDevice device;
    ASSERT_EQ(quickOrvTLDeviceInit(camera, &device), ORVANE_ERR_SUCCESS);
    orvNodeHandle current = nullptr;
    ASSERT_EQ(orvEnumerationGetCurrentEntry(device.DeviceType, &current), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Symbolic(current), "Custom");
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(current, &value), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(value, 99u);
}

TEST_F(QuickOrvTest, WrongHandlesAndNullArguments) {
    DeviceMap();
    quickOrv q;
    ASSERT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    orvNodeHandle line0 = Entry(q.TriggerSource, "Line0");
    size_t value = 99;
    log.Clear();
    EXPECT_EQ(orvEnumerationSetEnumValue(line0, 0), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_TRUE(log.Contains(
        Trace("CameraC", 3050, "orvEnumerationSetEnumValue",
              "Orvane Exception: Incorrect handle exception thrown. Expected: Enumeration Node Handle.", -1006)));
    EXPECT_EQ(orvEnumerationSetEnumValue(q.Width, 0), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(q.TriggerSource, &value), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_TRUE(log.Contains(
        Trace("CameraC", 3068, "orvEnumerationEntryGetEnumValue",
              "Orvane Exception: Incorrect handle exception thrown. Expected: Enumeration Entry Node Handle.", -1006)));
    EXPECT_EQ(value, 99u);
    EXPECT_EQ(orvEnumerationSetEnumValue(nullptr, 0), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(nullptr, &value), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    // The pointer is checked before the tag.
    log.Clear();
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(q.TriggerSource, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(log.Contains(Trace("./OrvaneUtilsC", 129, "CheckNullParam", "Parameter is NULL", -1009)));
    EXPECT_EQ(log.Messages().size(), 1u);
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(line0, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    // None of this reaches the OrvaneC record.
    EXPECT_EQ(LastCode(), ORVANE_ERR_SUCCESS);
}

TEST_F(QuickOrvTest, NodesWithoutTheirInterface) {
    DeviceMap();
    quickOrv q;
    ASSERT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    // Records tagged as enumeration and entry whose nodes are not: the
    // GenApi pointer failure, raised without a log line.
    orvObject enumeration(ORV_HANDLE_ENUMERATION_NODE), entry(ORV_HANDLE_ENUM_ENTRY_NODE);
    enumeration.target = static_cast<orvObject*>(q.Width)->target;
    entry.target = static_cast<orvObject*>(q.PixelFormat)->target;
    size_t value = 99;
    log.Clear();
    EXPECT_EQ(orvEnumerationSetEnumValue(&enumeration, 0), ORVANE_ERR_GENICAM_LOGICAL_ERROR);
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(&entry, &value), ORVANE_ERR_GENICAM_LOGICAL_ERROR);
    enumeration.target = nullptr;
    entry.target = nullptr;
    EXPECT_EQ(orvEnumerationSetEnumValue(&enumeration, 0), ORVANE_ERR_GENICAM_LOGICAL_ERROR);
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(&entry, &value), ORVANE_ERR_GENICAM_LOGICAL_ERROR);
    EXPECT_EQ(value, 99u);
    EXPECT_TRUE(log.Messages().empty());
}

TEST_F(QuickOrvTest, SetOnAnEntryTheDeviceLacksOrRefuses) {
    DeviceMap();
    quickOrv q;
    ASSERT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    // DeviceType lists Transmitter only; Receiver has a constant but no entry.
    orvNodeHandle receiver = reinterpret_cast<orvNodeHandle>(1);
    ASSERT_EQ(orvEnumerationGetEntryByName(q.DeviceType, "Receiver", &receiver), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(receiver, nullptr);
    EXPECT_EQ(orvEnumerationSetEnumValue(q.DeviceType, DeviceType_Receiver), ORVANE_ERR_GENICAM_LOGICAL_ERROR);
    EXPECT_EQ(Current(q.DeviceType), "Transmitter");
    // A read-only enumeration: the device refuses the write, with its own code.
    EXPECT_EQ(orvEnumerationSetEnumValue(q.DeviceType, DeviceType_Transmitter), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(Current(q.DeviceType), "Transmitter");
}

// Every enumeration feature of the table that the camera has, every constant:
// Set selects the entry of that name, and the entry gives the constant back.
TEST_F(QuickOrvTest, EveryConstantOfEveryEnumerationTheCameraHas) {
    DeviceMap();
    quickOrv q;
    ASSERT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    const std::vector<std::string> fields = QuickOrvDataLines("camera_fields.txt");
    size_t features = 0, entries = 0, written = 0, differing = 0, lacking = 0;
    for (const auto& feature : QuickOrvEnumerations()) {
        size_t index = 0;
        while (index < fields.size() && fields[index] != feature.first) ++index;
        ASSERT_LT(index, fields.size()) << feature.first;
        orvNodeHandle node = Field(q, index);
        if (!node) continue;
        ASSERT_EQ(Tag(node), ORV_HANDLE_ENUMERATION_NODE) << feature.first;
        ++features;
        for (size_t value = 0; value < feature.second.size(); ++value) {
            const std::string& name = feature.second[value];
            const std::string where = feature.first + "_" + name;
            orvNodeHandle entry = Entry(node, name.c_str());
            bool8_t writable = 0, available = 0;
            ASSERT_EQ(orvNodeIsWritable(node, &writable), ORVANE_ERR_SUCCESS);
            if (!entry) {
                ++lacking;
                if (writable) {
                    const std::string before = Current(node);
                    EXPECT_EQ(orvEnumerationSetEnumValue(node, value), ORVANE_ERR_GENICAM_LOGICAL_ERROR) << where;
                    EXPECT_EQ(Current(node), before) << where;
                }
                continue;
            }
            ++entries;
            size_t constant = 9999;
            EXPECT_EQ(orvEnumerationEntryGetEnumValue(entry, &constant), ORVANE_ERR_SUCCESS) << where;
            EXPECT_EQ(constant, value) << where;
            int64_t integer = -1;
            ASSERT_EQ(orvEnumerationEntryGetIntValue(entry, &integer), ORVANE_ERR_SUCCESS) << where;
            if (integer != static_cast<int64_t>(value)) ++differing;
            ASSERT_EQ(orvNodeIsAvailable(entry, &available), ORVANE_ERR_SUCCESS);
            if (!writable || !available) continue;
            const std::string before = Current(node);
            EXPECT_EQ(orvEnumerationSetEnumValue(node, value), ORVANE_ERR_SUCCESS) << where;
            // A self-clearing entry (the Once of an auto function) may be done
            // already, and the enumeration back at its previous entry.
            const std::string after = Current(node);
            if (SelfClearing(entry) || name == "Once")
                EXPECT_TRUE(after == name || after == before) << where << ": " << after;
            else
                EXPECT_EQ(after, name) << where;
            ++written;
        }
    }
    std::printf(
        "%zu features, %zu entries (%zu with another device integer, %zu written), %zu constants without an entry\n",
        features, entries, differing, written, lacking);
    // The camera's share of the table (its feature description decides the
    // exact numbers; these bounds keep the sweep meaningful).
    EXPECT_GE(features, 100u);
    EXPECT_GE(entries, 500u);
    EXPECT_GE(written, 300u);
    EXPECT_GE(differing, entries / 2);
    EXPECT_GT(lacking, 0u);
}

} // namespace
