// Node callbacks through the public SDK, on a virtual camera's device node
// map and on transport-layer node maps: a write notifies the written node and
// every node depending on it (selected features included) once each, after
// the write and outside the lock; registrations are independent and silent
// once deregistered; InvalidateNode notifies.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <string>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

// One registration: counts its calls and runs `also` in each, until
// deregistered.
class Recorder {
public:
    explicit Recorder(INode* node, std::function<void(INode*)> also = {}) : m_node(node), m_also(std::move(also)) {
        m_callback = new FunctionNodeCallback(node, [this](INode* n) {
            ++calls;
            if (m_also) m_also(n);
        });
        m_handle = node->RegisterCallback(m_callback);
    }
    ~Recorder() { Deregister(); }
    void Deregister() {
        if (!m_callback) return;
        m_node->DeregisterCallback(m_handle);
        m_callback->Destroy();
        m_callback = nullptr;
    }
    std::atomic<int> calls{0};

private:
    INode* m_node;
    std::function<void(INode*)> m_also;
    FunctionNodeCallback* m_callback;
    CallbackHandleType m_handle;
};

class NodeCallbacks : public ::testing::Test {
protected:
    void SetUp() override {
        system = System::GetInstance();
        CameraList cameras = system->GetCameras();
        camera = cameras.GetBySerial("VC0001");
        ASSERT_TRUE(camera);
        camera->Init();
        map = &camera->GetNodeMap();
        CEnumerationPtr(Node("PixelFormat"))->FromString("Mono8");
        CIntegerPtr(Node("OffsetX"))->SetValue(0);
        CIntegerPtr(Node("Width"))->SetValue(640);
        CIntegerPtr(Node("Height"))->SetValue(100);
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
    // Whether another thread can take the map's lock right now.
    bool LockFree(INodeMap& m) {
        return std::async(std::launch::async,
                          [&] {
                              if (!m.TryLock()) return false;
                              m.Unlock();
                              return true;
                          })
            .get();
    }

    SystemPtr system;
    CameraPtr camera;
    INodeMap* map = nullptr;
};

TEST_F(NodeCallbacks, WritingWidthNotifiesWidthAndPayloadSizeOnceEachAfterTheWriteOutsideTheLock) {
    int64_t payloadSeen = 0, widthSeen = 0;
    std::atomic<bool> unlocked{false};
    Recorder width(Node("Width"), [&](INode* n) { widthSeen = CIntegerPtr(n)->GetValue(); });
    Recorder payload(Node("PayloadSize"), [&](INode* n) {
        payloadSeen = CIntegerPtr(n)->GetValue();
        unlocked = LockFree(*map);
    });
    Recorder height(Node("Height"));
    CIntegerPtr(Node("Width"))->SetValue(320);
    EXPECT_EQ(width.calls.load(), 1);
    EXPECT_EQ(payload.calls.load(), 1);
    EXPECT_EQ(height.calls.load(), 0);
    EXPECT_EQ(widthSeen, 320);
    EXPECT_EQ(payloadSeen, 32000); // read in the callback: the write is done
    EXPECT_TRUE(unlocked.load());
    // A refused write notifies nobody.
    EXPECT_EQ(orvtest::CodeOf([&] { CIntegerPtr(Node("Width"))->SetValue(321); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(width.calls.load(), 1);
    EXPECT_EQ(payload.calls.load(), 1);
}

TEST_F(NodeCallbacks, TwoRegistrationsAreIndependentAndSilentOnceDeregistered) {
    Recorder first(Node("PayloadSize")), second(Node("PayloadSize"));
    CIntegerPtr(Node("Width"))->SetValue(320);
    EXPECT_EQ(first.calls.load(), 1);
    EXPECT_EQ(second.calls.load(), 1);
    first.Deregister();
    CIntegerPtr(Node("Width"))->SetValue(336);
    EXPECT_EQ(first.calls.load(), 1);
    EXPECT_EQ(second.calls.load(), 2);
    second.Deregister();
    CIntegerPtr(Node("Width"))->SetValue(344);
    EXPECT_EQ(first.calls.load(), 1);
    EXPECT_EQ(second.calls.load(), 2);
}

TEST_F(NodeCallbacks, ASelectorNotifiesTheFeaturesItSelects) {
    INode* selector = Node("LineSelector");
    ASSERT_TRUE(selector->IsSelector());
    value_vector selected;
    selector->GetSelectedFeatures(selected);
    bool selectsLineMode = false;
    for (IValue* v : selected) selectsLineMode = selectsLineMode || v->GetNode()->GetName() == "LineMode";
    ASSERT_TRUE(selectsLineMode);
    Recorder lineMode(Node("LineMode")), width(Node("Width"));
    CEnumerationPtr(selector)->FromString("Line2");
    EXPECT_EQ(lineMode.calls.load(), 1);
    EXPECT_EQ(width.calls.load(), 0);
}

TEST_F(NodeCallbacks, InvalidateNodeNotifiesTheNodeAndWhatDependsOnIt) {
    Recorder width(Node("Width")), payload(Node("PayloadSize")), height(Node("Height"));
    Node("Width")->InvalidateNode();
    EXPECT_EQ(width.calls.load(), 1);
    EXPECT_EQ(payload.calls.load(), 1);
    EXPECT_EQ(height.calls.load(), 0);
    Node("PayloadSize")->InvalidateNode();
    EXPECT_EQ(width.calls.load(), 1);
    EXPECT_EQ(payload.calls.load(), 2);
}

TEST_F(NodeCallbacks, TransportLayerMapsNotifyTheirDependents) {
    INodeMap& stream = camera->GetTLStreamNodeMap();
    CEnumerationPtr(stream.GetNode("StreamBufferCountMode"))->FromString("Manual");
    int64_t resultSeen = 0;
    std::atomic<bool> unlocked{false};
    Recorder manual(stream.GetNode("StreamBufferCountManual"));
    Recorder result(stream.GetNode("StreamBufferCountResult"), [&](INode* n) {
        resultSeen = CIntegerPtr(n)->GetValue();
        unlocked = LockFree(stream);
    });
    Recorder handling(stream.GetNode("StreamBufferHandlingMode"));
    CIntegerPtr(stream.GetNode("StreamBufferCountManual"))->SetValue(7);
    EXPECT_EQ(manual.calls.load(), 1);
    EXPECT_EQ(result.calls.load(), 1);
    EXPECT_EQ(handling.calls.load(), 0);
    EXPECT_EQ(resultSeen, 7);
    EXPECT_TRUE(unlocked.load());

    // The system's map: a selector and the values it selects.
    INodeMap& tl = system->GetTLNodeMap();
    CCommandPtr(tl.GetNode("InterfaceUpdateList"))->Execute();
    std::string idSeen;
    Recorder id(tl.GetNode("InterfaceID"), [&](INode* n) { idSeen = CStringPtr(n)->GetValue().c_str(); });
    Recorder count(tl.GetNode("VirtualCameraCount"));
    CIntegerPtr(tl.GetNode("InterfaceSelector"))->SetValue(0);
    EXPECT_EQ(id.calls.load(), 1);
    EXPECT_EQ(count.calls.load(), 0);
    EXPECT_FALSE(idSeen.empty());
}

} // namespace
