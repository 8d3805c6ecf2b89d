// System, interface and camera lists, and interfaces, through the C library
// on virtual cameras.
#include <cstdlib>
#include <cstring>
#include <set>

#include "CapiFixture.h"
#include "OrvaneUtilsC.h"

namespace {

class SystemTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_VIRTUAL_CAMERAS", "3", 1);
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        CapiTest::SetUp();
    }
    void TearDown() override {
        CapiTest::TearDown();
        unsetenv("ORVANE_VIRTUAL_CAMERAS");
    }
};

TEST_F(SystemTest, EachGetInstanceIsANewHandleOfOneSystem) {
    orvSystem second = nullptr;
    ASSERT_EQ(orvSystemGetInstance(&second), ORVANE_ERR_SUCCESS);
    EXPECT_NE(second, system);
    EXPECT_EQ(static_cast<orvObject*>(second)->target == nullptr, false);
    orvLogLevel level = 0;
    EXPECT_EQ(orvSystemSetLoggingLevel(second, ORV_LOG_LEVEL_DEBUG), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvSystemGetLoggingLevel(system, &level), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(level, ORV_LOG_LEVEL_DEBUG);
    EXPECT_EQ(orvSystemSetLoggingLevel(second, ORV_LOG_LEVEL_ERROR), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvSystemReleaseInstance(second), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvSystemGetLoggingLevel(system, nullptr), ORVANE_ERR_INVALID_PARAMETER);
}

TEST_F(SystemTest, LibraryVersion) {
    orvLibraryVersion v = {-1, -1, -1, -1};
    EXPECT_EQ(orvSystemGetLibraryVersion(system, &v), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(v.major, 4);
    EXPECT_EQ(v.minor, 0);
    EXPECT_EQ(v.type, 0);
    EXPECT_EQ(v.build, 0);
}

TEST_F(SystemTest, TLNodeMapIsCachedPerSystemHandle) {
    orvNodeMapHandle a = nullptr, b = nullptr;
    ASSERT_EQ(orvSystemGetTLNodeMap(system, &a), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvSystemGetTLNodeMap(system, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(a, b);
    EXPECT_EQ(static_cast<orvObject*>(a)->tag, ORV_HANDLE_NODEMAP);
    EXPECT_EQ(static_cast<orvObject*>(system)->children.count("TLNodeMap"), 1u);
    // The system release does not free it: drop it here.
    delete static_cast<orvObject*>(a);
}

TEST_F(SystemTest, InterfacesAndCameras) {
    orvInterfaceList interfaces = nullptr;
    ASSERT_EQ(orvInterfaceListCreateEmpty(&interfaces), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvSystemGetInterfaces(system, interfaces), ORVANE_ERR_SUCCESS);
    size_t n = 0;
    EXPECT_EQ(orvInterfaceListGetSize(interfaces, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 1u);
    // Asking again replaces the contents rather than appending.
    ASSERT_EQ(orvSystemGetInterfaces(system, interfaces), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvInterfaceListGetSize(interfaces, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 1u);

    orvCameraList cameras = nullptr;
    ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraListGetSize(cameras, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 3u);
    ASSERT_EQ(orvSystemGetCamerasEx(system, 0, 0, cameras), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraListGetSize(cameras, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 3u);

    bool8_t changed = 9;
    EXPECT_EQ(orvSystemUpdateCameras(system, &changed), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(changed, 0);
    EXPECT_EQ(orvSystemUpdateCamerasEx(system, 2, &changed), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(changed, 0);
    EXPECT_EQ(orvSystemUpdateCamerasEx(system, 1, nullptr), ORVANE_ERR_INVALID_PARAMETER);

    EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvInterfaceListDestroy(interfaces), ORVANE_ERR_SUCCESS);
}

TEST_F(SystemTest, WrongListKindsAreRefused) {
    EXPECT_EQ(orvSystemGetInterfaces(system, system), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Interface list handle", "System handle"));
    orvInterfaceList interfaces = nullptr;
    ASSERT_EQ(orvInterfaceListCreateEmpty(&interfaces), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvSystemGetCameras(system, interfaces), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera list handle", "Interface list handle"));
    orvCameraList cameras = nullptr;
    ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraListAppend(cameras, interfaces), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera list handle", "Interface list handle"));
    EXPECT_EQ(orvCameraListAppend(cameras, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Handle is NULL");
    EXPECT_EQ(orvCameraListDestroy(interfaces), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvInterfaceListDestroy(interfaces), ORVANE_ERR_SUCCESS);
}

TEST_F(SystemTest, UpdateCamerasWithNullOutPointerFaults) {
    bool8_t b = 0;
    EXPECT_EQ(orvSystemUpdateCamerasEx(system, 1, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvSystemUpdateCamerasEx(system, 1, &b), ORVANE_ERR_SUCCESS);
    orvSystem s = system;
    EXPECT_DEATH(orvSystemUpdateCameras(s, nullptr), "");
    EXPECT_DEATH(orvSystemIsInUse(s, nullptr), "");
    EXPECT_DEATH(orvSystemGetLibraryVersion(s, nullptr), "");
}

class ListTest : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        if (cameras) {
            EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
        }
        SystemTest::TearDown();
    }
    size_t Size(orvCameraList list) {
        size_t n = 999;
        EXPECT_EQ(orvCameraListGetSize(list, &n), ORVANE_ERR_SUCCESS);
        return n;
    }
    // Camera texts check their buffer: no length query here.
    std::string Id(orvCamera camera) {
        char text[64];
        size_t length = sizeof text;
        if (orvCameraGetUniqueID(camera, text, &length) != ORVANE_ERR_SUCCESS) return "<error>";
        EXPECT_EQ(length, std::strlen(text) + 1);
        return text;
    }
    orvCameraList cameras = nullptr;
};

TEST_F(ListTest, ElementHandlesAreDistinctAndOutliveTheirList) {
    orvCamera a = nullptr, b = nullptr;
    ASSERT_EQ(orvCameraListGet(cameras, 1, &a), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraListGet(cameras, 1, &b), ORVANE_ERR_SUCCESS);
    EXPECT_NE(a, b);
    EXPECT_EQ(Id(a), "Virtual:VC0002");
    EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
    cameras = nullptr;
    EXPECT_EQ(Id(a), "Virtual:VC0002");
    EXPECT_EQ(orvCameraRelease(a), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Id(b), "Virtual:VC0002");
    EXPECT_EQ(orvCameraRelease(b), ORVANE_ERR_SUCCESS);
}

TEST_F(ListTest, BadIndexIsTheSdkError) {
    orvCamera c = reinterpret_cast<orvCamera>(0x1);
    EXPECT_EQ(orvCameraListGet(cameras, 3, &c), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(c, reinterpret_cast<orvCamera>(0x1));
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "CameraList: index 3 is out of range, the list has 3 entries");
    EXPECT_EQ(orvCameraListGet(cameras, size_t(1) << 32, &c), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(orvCameraListRemove(cameras, 7), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(orvCameraListGet(cameras, 0, nullptr), ORVANE_ERR_INVALID_PARAMETER);
}

TEST_F(ListTest, SizeClearRemoveAppend) {
    EXPECT_EQ(Size(cameras), 3u);
    EXPECT_EQ(orvCameraListRemove(cameras, 0), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Size(cameras), 2u);
    orvCamera first = nullptr;
    ASSERT_EQ(orvCameraListGet(cameras, 0, &first), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Id(first), "Virtual:VC0002");
    EXPECT_EQ(orvCameraRelease(first), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraListAppend(cameras, cameras), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Size(cameras), 4u);
    orvCameraList other = nullptr;
    ASSERT_EQ(orvCameraListCreateEmpty(&other), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraListAppend(other, cameras), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Size(other), 4u);
    EXPECT_EQ(Size(cameras), 4u);
    EXPECT_EQ(orvCameraListClear(cameras), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Size(cameras), 0u);
    EXPECT_EQ(Size(other), 4u);
    EXPECT_EQ(orvCameraListDestroy(other), ORVANE_ERR_SUCCESS);
}

TEST_F(ListTest, BySerial) {
    orvCamera c = nullptr;
    ASSERT_EQ(orvCameraListGetBySerial(cameras, "VC0003", &c), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Id(c), "Virtual:VC0003");
    EXPECT_EQ(orvCameraRelease(c), ORVANE_ERR_SUCCESS);
    // An unknown serial number gives a handle to no camera.
    ASSERT_EQ(orvCameraListGetBySerial(cameras, "XX9999", &c), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Id(c), "<error>");
    EXPECT_EQ(LastCode(), ORVANE_ERR_NOT_AVAILABLE);
    EXPECT_EQ(orvCameraRelease(c), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraListGetBySerial(cameras, nullptr, &c), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvCameraListRemoveBySerial(cameras, "XX9999"), ORVANE_ERR_INVALID_ID);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "CameraList: no camera has the serial number 'XX9999'");
    EXPECT_EQ(orvCameraListRemoveBySerial(cameras, "VC0002"), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Size(cameras), 2u);
    EXPECT_EQ(orvCameraListRemoveBySerial(cameras, nullptr), ORVANE_ERR_INVALID_PARAMETER);
}

TEST_F(ListTest, GetBySerialWithNullOutPointerFaults) {
    orvCameraList list = cameras;
    EXPECT_DEATH(orvCameraListGetBySerial(list, "VC0001", nullptr), "");
}

class InterfaceTest : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        ASSERT_EQ(orvInterfaceListCreateEmpty(&interfaces), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetInterfaces(system, interfaces), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvInterfaceListGet(interfaces, 0, &iface), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        if (iface) {
            EXPECT_EQ(orvInterfaceRelease(iface), ORVANE_ERR_SUCCESS);
        }
        EXPECT_EQ(orvInterfaceListDestroy(interfaces), ORVANE_ERR_SUCCESS);
        SystemTest::TearDown();
    }
    orvInterfaceList interfaces = nullptr;
    orvInterface iface = nullptr;
};

TEST_F(InterfaceTest, CamerasOfTheInterface) {
    orvCameraList cameras = nullptr;
    ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvInterfaceGetCameras(iface, cameras), ORVANE_ERR_SUCCESS);
    size_t n = 0;
    EXPECT_EQ(orvCameraListGetSize(cameras, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 3u);
    ASSERT_EQ(orvInterfaceGetCamerasEx(iface, 0, cameras), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraListGetSize(cameras, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 3u);
    bool8_t changed = 5;
    EXPECT_EQ(orvInterfaceUpdateCameras(iface, &changed), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(changed, 0);
    EXPECT_EQ(orvInterfaceUpdateCameras(iface, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Parameter is NULL");
    EXPECT_EQ(orvInterfaceGetCameras(iface, interfaces), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera list handle", "Interface list handle"));
    // The list's cameras make the interface in use.
    bool8_t inUse = 7;
    EXPECT_EQ(orvInterfaceIsInUse(iface, &inUse), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(inUse, 1);
    EXPECT_EQ(orvCameraListClear(cameras), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvInterfaceIsInUse(iface, &inUse), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(inUse, 0);
    EXPECT_EQ(orvInterfaceIsInUse(iface, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
}

TEST_F(InterfaceTest, TLNodeMapCachedPerInterfaceHandle) {
    orvNodeMapHandle a = nullptr, b = nullptr, c = nullptr;
    ASSERT_EQ(orvInterfaceGetTLNodeMap(iface, &a), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvInterfaceGetTLNodeMap(iface, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(a, b);
    orvNodeHandle id = nullptr;
    ASSERT_EQ(orvNodeMapGetNode(a, "InterfaceID", &id), ORVANE_ERR_SUCCESS);
    // A second handle of the same interface caches its own node map handle.
    orvInterface other = nullptr;
    ASSERT_EQ(orvInterfaceListGet(interfaces, 0, &other), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvInterfaceGetTLNodeMap(other, &c), ORVANE_ERR_SUCCESS);
    EXPECT_NE(c, a);
    EXPECT_EQ(static_cast<orvObject*>(c)->target, static_cast<orvObject*>(a)->target);
    // Release frees the interface record, its node map handle and the node
    // handles under it (LeakSanitizer checks nothing is left).
    EXPECT_EQ(orvInterfaceRelease(iface), ORVANE_ERR_SUCCESS);
    iface = nullptr;
    char text[32];
    size_t length = sizeof text;
    orvNodeHandle otherId = nullptr;
    ASSERT_EQ(orvNodeMapGetNode(c, "InterfaceID", &otherId), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvStringGetValue(otherId, text, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(text, "Virtual");
    EXPECT_EQ(orvInterfaceRelease(other), ORVANE_ERR_SUCCESS);
}

TEST_F(InterfaceTest, ReleaseWithoutNodeMap) {
    EXPECT_EQ(orvInterfaceRelease(iface), ORVANE_ERR_SUCCESS);
    iface = nullptr;
    EXPECT_EQ(orvInterfaceRelease(nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvInterfaceRelease(system), ORVANE_ERR_INVALID_HANDLE);
}

TEST_F(SystemTest, ReleasedSystemGivesAFreshOneToTheNextGetInstance) {
    EXPECT_EQ(orvSystemReleaseInstance(system), ORVANE_ERR_SUCCESS);
    system = nullptr;
    setenv("ORVANE_VIRTUAL_CAMERAS", "2", 1);
    ASSERT_EQ(orvSystemGetInstance(&system), ORVANE_ERR_SUCCESS);
    orvCameraList cameras = nullptr;
    ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
    // The last reference went away with the release, so this system was
    // created anew and read the environment again.
    ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
    size_t n = 0;
    EXPECT_EQ(orvCameraListGetSize(cameras, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 2u);
    EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
}

} // namespace
