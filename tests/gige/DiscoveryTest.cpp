// GigE Vision discovery through the C library, against fake cameras on
// loopback addresses of a private network namespace.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>

#include "../tools/FakeGigECamera.h"
#include "OrvaneC.h"

namespace {

class DiscoveryTest : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual,gige", 1);
        first.reset(new FakeGigECamera("127.0.0.1", "GVA1001"));
        ASSERT_EQ(orvSystemGetInstance(&system), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvInterfaceListCreateEmpty(&interfaces), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetInterfaces(system, interfaces), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        if (gige) orvInterfaceRelease(gige);
        orvInterfaceListDestroy(interfaces);
        orvSystemReleaseInstance(system);
        first.reset();
        second.reset();
    }

    std::string Text(orvNodeMapHandle map, const char* name) {
        orvNodeHandle node = nullptr;
        char text[256];
        size_t length = sizeof text;
        if (orvNodeMapGetNode(map, name, &node) != ORVANE_ERR_SUCCESS || !node) return "<none>";
        if (orvNodeToString(node, text, &length) != ORVANE_ERR_SUCCESS) return "<error>";
        return text;
    }

    orvInterface Interface(const std::string& id) {
        size_t n = 0;
        EXPECT_EQ(orvInterfaceListGetSize(interfaces, &n), ORVANE_ERR_SUCCESS);
        for (size_t i = 0; i < n; ++i) {
            orvInterface iface = nullptr;
            orvNodeMapHandle map = nullptr;
            EXPECT_EQ(orvInterfaceListGet(interfaces, i, &iface), ORVANE_ERR_SUCCESS);
            EXPECT_EQ(orvInterfaceGetTLNodeMap(iface, &map), ORVANE_ERR_SUCCESS);
            if (Text(map, "InterfaceID") == id) return iface;
            orvInterfaceRelease(iface);
        }
        return nullptr;
    }

    // Serial number -> IP address of every device the interface lists.
    std::set<std::string> Devices(orvInterface iface) {
        orvNodeMapHandle map = nullptr;
        orvNodeHandle count = nullptr, selector = nullptr;
        int64_t n = 0;
        std::set<std::string> devices;
        EXPECT_EQ(orvInterfaceGetTLNodeMap(iface, &map), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvNodeMapGetNode(map, "DeviceCount", &count), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvNodeMapGetNode(map, "DeviceSelector", &selector), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvIntegerGetValue(count, &n), ORVANE_ERR_SUCCESS);
        for (int64_t i = 0; i < n; ++i) {
            EXPECT_EQ(orvIntegerSetValue(selector, i), ORVANE_ERR_SUCCESS);
            devices.insert(Text(map, "DeviceSerialNumber") + "@" + Text(map, "GevDeviceIPAddress") + " " +
                           Text(map, "DeviceModelName"));
        }
        return devices;
    }

    std::unique_ptr<FakeGigECamera> first, second;
    orvSystem system = nullptr;
    orvInterfaceList interfaces = nullptr;
    orvInterface gige = nullptr;
};

TEST_F(DiscoveryTest, FakeCameraIsListedUnderGigEVision) {
    size_t n = 0;
    EXPECT_EQ(orvInterfaceListGetSize(interfaces, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 2u);
    gige = Interface("GigEVision");
    ASSERT_NE(gige, nullptr);
    bool8_t changed = 0;
    ASSERT_EQ(orvInterfaceUpdateCameras(gige, &changed), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(Devices(gige), (std::set<std::string>{"GVA1001@127.0.0.1 Fake"}));
    // The camera list of the whole system has it too, beside the virtual camera.
    orvCameraList cameras = nullptr;
    ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvSystemGetCamerasEx(system, 0, 0, cameras), ORVANE_ERR_SUCCESS);
    orvCamera camera = nullptr;
    ASSERT_EQ(orvCameraListGetBySerial(cameras, "GVA1001", &camera), ORVANE_ERR_SUCCESS);
    char id[128];
    size_t length = sizeof id;
    ASSERT_EQ(orvCameraGetUniqueID(camera, id, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(id, "GigEVision:127.0.0.1");
    orvCameraRelease(camera);
    orvCameraListDestroy(cameras);
}

TEST_F(DiscoveryTest, ArrivalAndRemovalChangeTheList) {
    gige = Interface("GigEVision");
    ASSERT_NE(gige, nullptr);
    bool8_t changed = 0;
    ASSERT_EQ(orvInterfaceUpdateCameras(gige, &changed), ORVANE_ERR_SUCCESS);
    second.reset(new FakeGigECamera("127.0.0.2", "GVB2002"));
    ASSERT_EQ(orvInterfaceUpdateCameras(gige, &changed), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(Devices(gige), (std::set<std::string>{"GVA1001@127.0.0.1 Fake", "GVB2002@127.0.0.2 Fake"}));
    ASSERT_EQ(orvInterfaceUpdateCameras(gige, &changed), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(changed, 0);
    first->Stop();
    ASSERT_EQ(orvInterfaceUpdateCameras(gige, &changed), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(Devices(gige), (std::set<std::string>{"GVB2002@127.0.0.2 Fake"}));
}

} // namespace
