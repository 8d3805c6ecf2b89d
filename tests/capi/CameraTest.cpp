// Cameras through the C library: life cycle, the three node maps and their
// caching, port access, identity, state queries, and node operations on a
// real device node map (the virtual camera's).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "CapiFixture.h"
#include "OrvaneUtilsC.h"

namespace {

class CameraTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        CapiTest::SetUp();
        ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraListGet(cameras, 0, &camera), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        if (camera) {
            EXPECT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
            EXPECT_EQ(orvCameraRelease(camera), ORVANE_ERR_SUCCESS);
        }
        EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
        CapiTest::TearDown();
    }
    orvNodeMapHandle DeviceMap() {
        orvNodeMapHandle map = nullptr;
        EXPECT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvCameraGetNodeMap(camera, &map), ORVANE_ERR_SUCCESS);
        return map;
    }
    orvNodeHandle Node(orvNodeMapHandle map, const char* name) {
        orvNodeHandle node = nullptr;
        EXPECT_EQ(orvNodeMapGetNode(map, name, &node), ORVANE_ERR_SUCCESS);
        EXPECT_NE(node, nullptr) << name;
        return node;
    }
    size_t Children() { return static_cast<orvObject*>(camera)->children.size(); }

    orvCameraList cameras = nullptr;
    orvCamera camera = nullptr;
};

TEST_F(CameraTest, LifeCycle) {
    bool8_t b = 7;
    EXPECT_EQ(orvCameraIsInitialized(camera, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
    EXPECT_EQ(orvCameraIsValid(camera, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraIsInitialized(camera, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(orvCameraIsStreaming(camera, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
    int32_t access = -1;
    EXPECT_EQ(orvCameraGetAccessMode(camera, &access), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(access, ORV_ACCESS_MODE_RW);
    EXPECT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraIsInitialized(camera, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
}

TEST_F(CameraTest, NullOutPointersAndTheStreamingQuirk) {
    EXPECT_EQ(orvCameraIsStreaming(camera, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Handle is NULL");
    EXPECT_EQ(orvCameraIsValid(camera, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvCameraIsInitialized(camera, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvCameraGetNodeMap(camera, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvCameraGetAccessMode(nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    bool8_t b = 0;
    EXPECT_EQ(orvCameraIsValid(cameras, &b), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera handle", "Camera list handle"));
    char text[8];
    size_t length = sizeof text;
    EXPECT_EQ(orvCameraGetDeviceID(camera, nullptr, &length), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvCameraGetDeviceID(camera, text, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvCameraGetDeviceID(camera, text, &length), ORVANE_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, sizeof text);
}

TEST_F(CameraTest, NodeMapNeedsInit) {
    orvNodeMapHandle map = reinterpret_cast<orvNodeMapHandle>(0x1);
    EXPECT_EQ(orvCameraGetNodeMap(camera, &map), ORVANE_ERR_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(map, reinterpret_cast<orvNodeMapHandle>(0x1));
    EXPECT_EQ(Children(), 0u);
}

TEST_F(CameraTest, NodeMapHandlesAreCachedAndDeInitDropsTheDeviceOne) {
    orvNodeMapHandle device = DeviceMap(), again = nullptr, tlDevice = nullptr, tlDeviceAgain = nullptr,
                     stream = nullptr;
    EXPECT_EQ(orvCameraGetNodeMap(camera, &again), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(device, again);
    EXPECT_EQ(orvCameraGetTLDeviceNodeMap(camera, &tlDevice), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraGetTLStreamNodeMap(camera, &stream), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Children(), 3u);
    Node(device, "Width");
    EXPECT_EQ(static_cast<orvObject*>(device)->children.size(), 1u);
    EXPECT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
    // The device node map handle (and the node handle under it) are gone.
    EXPECT_EQ(Children(), 2u);
    EXPECT_EQ(static_cast<orvObject*>(camera)->children.count("NodeMap"), 0u);
    EXPECT_EQ(orvCameraGetTLDeviceNodeMap(camera, &tlDeviceAgain), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(tlDevice, tlDeviceAgain);
    EXPECT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraGetNodeMap(camera, &again), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(static_cast<orvObject*>(again)->children.size(), 0u);
    EXPECT_EQ(Children(), 3u);
}

TEST_F(CameraTest, TransportLayerMapsServeBeforeInit) {
    orvNodeMapHandle tl = nullptr;
    ASSERT_EQ(orvCameraGetTLDeviceNodeMap(camera, &tl), ORVANE_ERR_SUCCESS);
    char text[64];
    size_t length = sizeof text;
    EXPECT_EQ(orvStringGetValue(Node(tl, "DeviceSerialNumber"), text, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(text, "VC0001");
    length = sizeof text;
    EXPECT_EQ(orvNodeToString(Node(tl, "DeviceType"), text, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(text, "Custom");
}

TEST_F(CameraTest, Identity) {
    char text[256];
    size_t length = sizeof text;
    EXPECT_EQ(orvCameraGetDeviceID(camera, text, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(text, "Orvane-VirtualCamera-VC0001");
    length = sizeof text;
    EXPECT_EQ(orvCameraGetUniqueID(camera, text, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(text, "Virtual:VC0001");
    // The GUI XML needs Init; then it is the device's whole description.
    length = sizeof text;
    EXPECT_EQ(orvCameraGetGuiXml(camera, text, &length), ORVANE_ERR_CAMERA_NOT_INITIALIZED);
    ASSERT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
    std::string xml(1 << 22, '\0');
    length = xml.size();
    ASSERT_EQ(orvCameraGetGuiXml(camera, &xml[0], &length), ORVANE_ERR_SUCCESS);
    xml.resize(length - 1);
    EXPECT_NE(xml.find("<RegisterDescription"), std::string::npos);
    EXPECT_NE(xml.find("Name=\"Width\""), std::string::npos);
}

TEST_F(CameraTest, PortAccessReachesTheWidthRegister) {
    orvNodeMapHandle map = DeviceMap();
    orvNodeHandle width = Node(map, "Width");
    // Width lives in the fake camera's fixed Width register, 0x100.
    uint8_t bytes[4] = {0, 0, 0, 0};
    ASSERT_EQ(orvCameraReadPort(camera, 0x100, bytes, 4), ORVANE_ERR_SUCCESS);
    int64_t value = 0;
    ASSERT_EQ(orvIntegerGetValue(width, &value), ORVANE_ERR_SUCCESS);
    const uint32_t big = (uint32_t(bytes[0]) << 24) | (uint32_t(bytes[1]) << 16) | (uint32_t(bytes[2]) << 8) | bytes[3];
    const uint32_t little =
        (uint32_t(bytes[3]) << 24) | (uint32_t(bytes[2]) << 16) | (uint32_t(bytes[1]) << 8) | bytes[0];
    EXPECT_TRUE(value == big || value == little) << value;
    // A write through the port is seen by the node map at once.
    int64_t inc = 0;
    ASSERT_EQ(orvIntegerGetInc(width, &inc), ORVANE_ERR_SUCCESS);
    const uint32_t next = static_cast<uint32_t>(value - inc);
    uint8_t out[4];
    for (int i = 0; i < 4; ++i) out[i] = value == big ? uint8_t(next >> (24 - 8 * i)) : uint8_t(next >> (8 * i));
    ASSERT_EQ(orvCameraWritePort(camera, 0x100, out, 4), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvIntegerGetValue(width, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, static_cast<int64_t>(next));
    // A null buffer reaches the SDK, which refuses it.
    EXPECT_NE(orvCameraReadPort(camera, 0x100, nullptr, 4), ORVANE_ERR_SUCCESS);
}

TEST_F(CameraTest, PortAccessOutsideTheAddressSpaceFailsWithoutTouchingMemory) {
    ASSERT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
    char id[128];
    size_t idLength = sizeof id;
    ASSERT_EQ(orvCameraGetDeviceID(camera, id, &idLength), ORVANE_ERR_SUCCESS);
    std::string xml(1 << 22, '\0');
    size_t xmlLength = xml.size(); // with the terminating zero
    ASSERT_EQ(orvCameraGetGuiXml(camera, &xml[0], &xmlLength), ORVANE_ERR_SUCCESS);
    // Reads reach 64 KiB of registers and the description above them.
    char last[24];
    std::snprintf(last, sizeof last, "0x%llx", static_cast<unsigned long long>(0x10000 + xmlLength - 2));
    // The caller's 64 bytes sit between guard bytes that must stay untouched.
    std::vector<uint8_t> guarded(64 + 2 * 4096, 0xA5);
    uint8_t* buffer = guarded.data() + 4096;
    EXPECT_EQ(orvCameraReadPort(camera, 0xFFFFFFFFFFFFFFF0ull, buffer, 64), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage),
              std::string("camera ") + id + ": reading 64 bytes at 0xfffffffffffffff0 is outside the device's " +
                  "address space (0x0 to " + last + ")");
    EXPECT_EQ(orvCameraWritePort(camera, 0xFFFFFFFFFFFFFFF0ull, buffer, 64), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage),
              std::string("camera ") + id + ": writing 64 bytes at 0xfffffffffffffff0 is outside the device's " +
                  "writable address space (0x0 to 0xffff)");
    EXPECT_EQ(orvCameraReadPort(camera, 0xFFFFFFF0ull, buffer, 64), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(orvCameraWritePort(camera, 0xFFF0, buffer, 64), ORVANE_ERR_OUT_OF_RANGE);
    for (size_t i = 0; i < guarded.size(); ++i) ASSERT_EQ(guarded[i], 0xA5) << i;
    // The camera still works: its registers are intact.
    uint8_t bytes[4] = {0, 0, 0, 0};
    EXPECT_EQ(orvCameraReadPort(camera, 0x100, bytes, 4), ORVANE_ERR_SUCCESS);
    EXPECT_NE(bytes[0] | bytes[1] | bytes[2] | bytes[3], 0);
    // The camera check comes first.
    EXPECT_EQ(orvCameraReadPort(nullptr, 0xFFFFFFFFFFFFFFF0ull, buffer, 64), ORVANE_ERR_INVALID_HANDLE);
}

TEST_F(CameraTest, NodeKindsOnTheDeviceMap) {
    orvNodeMapHandle map = DeviceMap();
    int32_t type = -5;
    EXPECT_EQ(orvNodeGetType(Node(map, "Width"), &type), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(type, NodeTypeInteger);
    EXPECT_EQ(orvNodeGetType(Node(map, "AcquisitionStart"), &type), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(type, NodeTypeCommand);
    EXPECT_EQ(orvNodeGetType(Node(map, "PixelFormat"), &type), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(type, NodeTypeEnumeration);
    EXPECT_EQ(orvNodeGetType(Node(map, "DeviceVendorName"), &type), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(type, NodeTypeString);
    EXPECT_EQ(static_cast<orvObject*>(Node(map, "Width"))->tag, ORV_HANDLE_INTEGER_NODE);
    EXPECT_EQ(static_cast<orvObject*>(Node(map, "PixelFormat"))->tag, ORV_HANDLE_ENUMERATION_NODE);
}

TEST_F(CameraTest, PortNodesCannotBeHandles) {
    orvNodeMapHandle map = DeviceMap();
    orvNodeHandle port = reinterpret_cast<orvNodeHandle>(0x1);
    EXPECT_EQ(orvNodeMapGetNode(map, "Device", &port), ORVANE_ERR_ERROR);
    EXPECT_EQ(port, reinterpret_cast<orvNodeHandle>(0x1));
    EXPECT_TRUE(log.Contains(Trace("./OrvaneUtilsC", 304, "assignNodeType",
                                   "Orvane Exception: internal node type assignment failure.", -1001)));
    EXPECT_EQ(static_cast<orvObject*>(map)->children.count("Device"), 0u);
}

TEST_F(CameraTest, ReleaseFreesEverythingCachedBelow) {
    orvNodeMapHandle map = DeviceMap();
    orvNodeMapHandle tl = nullptr;
    ASSERT_EQ(orvCameraGetTLDeviceNodeMap(camera, &tl), ORVANE_ERR_SUCCESS);
    Node(map, "Width");
    Node(map, "PixelFormat");
    Node(tl, "DeviceID");
    orvNodeHandle format = Node(map, "PixelFormat");
    orvNodeHandle entry = nullptr;
    ASSERT_EQ(orvEnumerationGetCurrentEntry(format, &entry), ORVANE_ERR_SUCCESS);
    // LeakSanitizer (in the sanitizer builds) checks that the release frees
    // the records of the maps, nodes and entries.
    EXPECT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraRelease(camera), ORVANE_ERR_SUCCESS);
    camera = nullptr;
}

} // namespace
