// Node callbacks through the C library, on a virtual camera's device node
// map and on a camera's stream node map: writing Width calls the callbacks of
// Width and PayloadSize once each, with a temporary handle naming the node;
// a callback may read nodes through the library; two registrations are
// independent; a deregistered callback stays silent; InvalidateNode and Poll
// notify.
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

#include "CapiFixture.h"
#include "OrvaneUtilsC.h"

namespace {

// What the callbacks saw. C callbacks get no user data: they share these.
struct Seen {
    std::atomic<int> calls{0};
    orvNodeHandle registered = nullptr; // the handle the callback was registered on
    std::atomic<int> sameNode{0};       // calls whose handle named the registered node
    std::atomic<int> tag{0};            // the tag of the last temporary handle
    std::atomic<bool> temporary{false}; // the handle differed from the registered one
    std::atomic<int64_t> value{-1};     // the node's value, read in the callback
};
Seen g_width, g_payload, g_height, g_second, g_result;

void Record(Seen& s, orvNodeHandle node) {
    ++s.calls;
    s.tag = static_cast<orvObject*>(node)->tag;
    s.temporary = node != s.registered;
    bool8_t equal = 0;
    if (orvNodeIsEqual(node, s.registered, &equal) == ORVANE_ERR_SUCCESS && equal == 1) ++s.sameNode;
    int64_t v = -1;
    if (orvIntegerGetValue(node, &v) == ORVANE_ERR_SUCCESS) s.value = v;
}
void OnWidth(orvNodeHandle node) { Record(g_width, node); }
void OnPayload(orvNodeHandle node) { Record(g_payload, node); }
void OnHeight(orvNodeHandle node) { Record(g_height, node); }
void OnSecond(orvNodeHandle node) { Record(g_second, node); }
void OnResult(orvNodeHandle node) { Record(g_result, node); }

void Reset(Seen& s, orvNodeHandle registered) {
    s.calls = 0;
    s.registered = registered;
    s.sameNode = 0;
    s.tag = 0;
    s.temporary = false;
    s.value = -1;
}

class NodeCallbackTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        CapiTest::SetUp();
        ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraListGet(cameras, 0, &camera), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraGetNodeMap(camera, &map), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvNodeFromString(Node("PixelFormat"), "Mono8"), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvIntegerSetValue(Node("OffsetX"), 0), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvIntegerSetValue(Node("Width"), 640), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvIntegerSetValue(Node("Height"), 100), ORVANE_ERR_SUCCESS);
        width = Node("Width");
        payload = Node("PayloadSize");
        height = Node("Height");
        Reset(g_width, width);
        Reset(g_payload, payload);
        Reset(g_height, height);
        Reset(g_second, payload);
    }
    void TearDown() override {
        EXPECT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvCameraRelease(camera), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
        CapiTest::TearDown();
    }
    orvNodeHandle Node(const char* name, orvNodeMapHandle in = nullptr) {
        orvNodeHandle node = nullptr;
        EXPECT_EQ(orvNodeMapGetNode(in ? in : map, name, &node), ORVANE_ERR_SUCCESS);
        EXPECT_NE(node, nullptr) << name;
        return node;
    }

    orvCameraList cameras = nullptr;
    orvCamera camera = nullptr;
    orvNodeMapHandle map = nullptr;
    orvNodeHandle width = nullptr, payload = nullptr, height = nullptr;
};

TEST_F(NodeCallbackTest, WritingWidthCallsWidthAndPayloadSizeOnceEach) {
    orvNodeCallbackHandle w = nullptr, p = nullptr, h = nullptr;
    ASSERT_EQ(orvNodeRegisterCallback(width, OnWidth, &w), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeRegisterCallback(payload, OnPayload, &p), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeRegisterCallback(height, OnHeight, &h), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(static_cast<orvObject*>(w)->tag, ORV_HANDLE_CALLBACK);
    ASSERT_EQ(orvIntegerSetValue(width, 320), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_width.calls.load(), 1);
    EXPECT_EQ(g_payload.calls.load(), 1);
    EXPECT_EQ(g_height.calls.load(), 0);
    // The callback read its node through the library, after the write.
    EXPECT_EQ(g_width.value.load(), 320);
    EXPECT_EQ(g_payload.value.load(), 32000);
    // A temporary handle of the node's kind, naming the registered node.
    EXPECT_TRUE(g_payload.temporary.load());
    EXPECT_EQ(g_payload.tag.load(), ORV_HANDLE_INTEGER_NODE);
    EXPECT_EQ(g_payload.sameNode.load(), 1);
    EXPECT_EQ(g_width.sameNode.load(), 1);
    // A refused write calls nobody.
    EXPECT_EQ(orvIntegerSetValue(width, 321), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(g_width.calls.load(), 1);
    EXPECT_EQ(g_payload.calls.load(), 1);
    EXPECT_EQ(orvNodeDeregisterCallback(width, w), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvNodeDeregisterCallback(payload, p), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvNodeDeregisterCallback(height, h), ORVANE_ERR_SUCCESS);
}

TEST_F(NodeCallbackTest, TwoRegistrationsAreIndependentAndADeregisteredOneIsSilent) {
    orvNodeCallbackHandle first = nullptr, second = nullptr;
    ASSERT_EQ(orvNodeRegisterCallback(payload, OnPayload, &first), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeRegisterCallback(payload, OnSecond, &second), ORVANE_ERR_SUCCESS);
    EXPECT_NE(first, second);
    ASSERT_EQ(orvIntegerSetValue(width, 320), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_payload.calls.load(), 1);
    EXPECT_EQ(g_second.calls.load(), 1);
    ASSERT_EQ(orvNodeDeregisterCallback(payload, first), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvIntegerSetValue(width, 336), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_payload.calls.load(), 1);
    EXPECT_EQ(g_second.calls.load(), 2);
    ASSERT_EQ(orvNodeDeregisterCallback(payload, second), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvIntegerSetValue(width, 344), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_payload.calls.load(), 1);
    EXPECT_EQ(g_second.calls.load(), 2);

    // The same function registered twice: two handles, each counting.
    ASSERT_EQ(orvNodeRegisterCallback(payload, OnPayload, &first), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeRegisterCallback(payload, OnPayload, &second), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvIntegerSetValue(width, 352), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_payload.calls.load(), 3);
    ASSERT_EQ(orvNodeDeregisterCallback(payload, second), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvIntegerSetValue(width, 360), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_payload.calls.load(), 4);
    ASSERT_EQ(orvNodeDeregisterCallback(payload, first), ORVANE_ERR_SUCCESS);
}

TEST_F(NodeCallbackTest, RefusedArgumentsAndDeregistrationOnTheWrongNode) {
    orvNodeCallbackHandle cb = nullptr;
    EXPECT_EQ(orvNodeRegisterCallback(nullptr, OnWidth, &cb), ORVANE_ERR_INVALID_HANDLE);
    // The function is checked before the out-pointer.
    EXPECT_EQ(orvNodeRegisterCallback(width, nullptr, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(log.Contains(
        Trace("OrvaneGenApiC", 371, "orvNodeRegisterCallback", "orvNodeCallbackFunction parameter is NULL", -1009)));
    EXPECT_EQ(orvNodeRegisterCallback(width, OnWidth, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvNodeRegisterCallback(cameras, OnWidth, &cb), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(cb, nullptr);
    ASSERT_EQ(orvNodeRegisterCallback(width, OnWidth, &cb), ORVANE_ERR_SUCCESS);
    // Another node does not know the registration: nothing is freed.
    EXPECT_EQ(orvNodeDeregisterCallback(height, cb), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
    ASSERT_EQ(orvIntegerSetValue(width, 320), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_width.calls.load(), 1);
    EXPECT_EQ(orvNodeDeregisterCallback(width, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvNodeDeregisterCallback(width, width), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvNodeDeregisterCallback(width, cb), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvIntegerSetValue(width, 328), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_width.calls.load(), 1);
}

TEST_F(NodeCallbackTest, InvalidateNodeAndPollNotify) {
    orvNodeCallbackHandle w = nullptr, p = nullptr, h = nullptr;
    ASSERT_EQ(orvNodeRegisterCallback(width, OnWidth, &w), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeRegisterCallback(payload, OnPayload, &p), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeRegisterCallback(height, OnHeight, &h), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeInvalidateNode(width), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_width.calls.load(), 1);
    EXPECT_EQ(g_payload.calls.load(), 1);
    EXPECT_EQ(g_height.calls.load(), 0);
    // Nothing the virtual camera polls depends on these: polling leaves them alone.
    ASSERT_EQ(orvNodeMapPoll(map, 5000), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_width.calls.load(), 1);
    EXPECT_EQ(g_payload.calls.load(), 1);
    EXPECT_EQ(orvNodeDeregisterCallback(width, w), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvNodeDeregisterCallback(payload, p), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvNodeDeregisterCallback(height, h), ORVANE_ERR_SUCCESS);
}

TEST_F(NodeCallbackTest, TheStreamNodeMapNotifiesDependents) {
    orvNodeMapHandle stream = nullptr;
    ASSERT_EQ(orvCameraGetTLStreamNodeMap(camera, &stream), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeFromString(Node("StreamBufferCountMode", stream), "Manual"), ORVANE_ERR_SUCCESS);
    orvNodeHandle manual = Node("StreamBufferCountManual", stream);
    orvNodeHandle result = Node("StreamBufferCountResult", stream);
    Reset(g_result, result);
    orvNodeCallbackHandle cb = nullptr;
    ASSERT_EQ(orvNodeRegisterCallback(result, OnResult, &cb), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvIntegerSetValue(manual, 7), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_result.calls.load(), 1);
    EXPECT_EQ(g_result.value.load(), 7);
    EXPECT_EQ(g_result.sameNode.load(), 1);
    EXPECT_EQ(orvNodeDeregisterCallback(result, cb), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvIntegerSetValue(manual, 8), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_result.calls.load(), 1);
}

// Two threads write while the callbacks read nodes through the library.
TEST_F(NodeCallbackTest, WritesFromTwoThreadsCallEachCallbackOncePerWrite) {
    orvNodeCallbackHandle p = nullptr;
    ASSERT_EQ(orvNodeRegisterCallback(payload, OnPayload, &p), ORVANE_ERR_SUCCESS);
    std::atomic<int> failures{0};
    std::thread a([&] {
        for (int i = 0; i < 50; ++i)
            if (orvIntegerSetValue(width, 320 + 8 * (i % 8)) != ORVANE_ERR_SUCCESS) ++failures;
    });
    std::thread b([&] {
        for (int i = 0; i < 50; ++i)
            if (orvIntegerSetValue(height, 50 + 2 * (i % 10)) != ORVANE_ERR_SUCCESS) ++failures;
    });
    a.join();
    b.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(g_payload.calls.load(), 100);
    EXPECT_EQ(orvNodeDeregisterCallback(payload, p), ORVANE_ERR_SUCCESS);
}

} // namespace
