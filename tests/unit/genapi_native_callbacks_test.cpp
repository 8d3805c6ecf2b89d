// Node callbacks on native node maps: which nodes a write, InvalidateNode and
// Poll notify, once each, and registrations that stay independent.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Orvane/Exception.h"
#include "Orvane/GenApi/GenApi.h"
#include "genapi/NativeNodeMap.h"

using namespace Orvane;
using namespace Orvane::GenApi;
using namespace Orvane::GenApi::impl;

namespace {

// Counts the calls of one registration, until it is deregistered.
class Recorder {
public:
    explicit Recorder(INode* node) : m_node(node) {
        m_callback = new FunctionNodeCallback(node, [this](INode*) { ++calls; });
        m_handle = node->RegisterCallback(m_callback);
    }
    ~Recorder() { Deregister(); }
    void Deregister() {
        if (!m_callback) return;
        m_node->DeregisterCallback(m_handle);
        m_callback->Destroy();
        m_callback = nullptr;
    }
    int calls = 0;

private:
    INode* m_node;
    FunctionNodeCallback* m_callback;
    CallbackHandleType m_handle;
};

// Two polled sensors (every 100 and 250 time units), a value computed from
// the first, a selector choosing which sensor Reading shows, and an unpolled
// setting.
class PolledMap : public ::testing::Test {
protected:
    void SetUp() override {
        NodeInfo a = MakeInfo("SensorA", "");
        a.pollingTime = 100;
        map.AddInteger(a, {[this] { return sensorA; }});
        NodeInfo b = MakeInfo("SensorB", "");
        b.pollingTime = 250;
        map.AddInteger(b, {[this] { return sensorB; }});
        map.AddInteger(MakeInfo("Doubled", ""), {[this] { return 2 * sensorA; }});
        map.AddEnumeration(
            MakeInfo("SensorSelector", ""),
            {[this] { return selectorValue; }, [this](int64_t v) { selectorValue = v; }, {{"A", 0}, {"B", 1}}});
        map.AddInteger(MakeInfo("Reading", ""), {[this] { return selectorValue == 0 ? sensorA : sensorB; }});
        map.AddInteger(MakeInfo("Setting", ""),
                       {[this] { return settingValue; }, [this](int64_t v) { settingValue = v; }});
        map.Depends("Doubled", "SensorA");
        map.Selects("SensorSelector", "Reading");
        map.Finish();
    }
    INode* Node(const char* name) { return map.GetNode(name); }

    NativeNodeMap map{"Polled"};
    int64_t sensorA = 1, sensorB = 10, selectorValue = 0, settingValue = 0;
};

TEST_F(PolledMap, PollNotifiesOnlyPolledNodesWhoseValueChanged) {
    Recorder a(Node("SensorA")), b(Node("SensorB")), doubled(Node("Doubled")), setting(Node("Setting"));
    map.Poll(99);
    EXPECT_EQ(a.calls, 0);
    // A's first poll: nothing was seen before, so it counts as a change; what
    // depends on A hears of it too.
    map.Poll(1);
    EXPECT_EQ(a.calls, 1);
    EXPECT_EQ(doubled.calls, 1);
    EXPECT_EQ(b.calls, 0);
    // A due again, unchanged: silent. B's first poll.
    map.Poll(150);
    EXPECT_EQ(a.calls, 1);
    EXPECT_EQ(b.calls, 1);
    sensorA = 2;
    map.Poll(50);
    EXPECT_EQ(a.calls, 1); // not due yet
    map.Poll(50);
    EXPECT_EQ(a.calls, 2);
    EXPECT_EQ(doubled.calls, 2);
    EXPECT_EQ(b.calls, 1);
    sensorB = 11;
    map.Poll(100); // A due and unchanged, B not due
    EXPECT_EQ(a.calls, 2);
    EXPECT_EQ(b.calls, 1);
    map.Poll(50);
    EXPECT_EQ(b.calls, 2);
    EXPECT_EQ(a.calls, 2);
    EXPECT_EQ(doubled.calls, 2);
    EXPECT_EQ(setting.calls, 0);
}

TEST_F(PolledMap, WritesNotifyTheNodeAndWhatItSelectsOnceEach) {
    Recorder selector(Node("SensorSelector")), reading(Node("Reading")), doubled(Node("Doubled")),
        setting(Node("Setting"));
    CEnumerationPtr(Node("SensorSelector"))->FromString("B");
    EXPECT_EQ(selector.calls, 1);
    EXPECT_EQ(reading.calls, 1);
    EXPECT_EQ(doubled.calls, 0);
    EXPECT_EQ(setting.calls, 0);
    CIntegerPtr(Node("Setting"))->SetValue(5);
    EXPECT_EQ(setting.calls, 1);
    EXPECT_EQ(reading.calls, 1);
    // Several changes under one hold of the lock: each node once, at the end.
    map.Lock();
    CEnumerationPtr(Node("SensorSelector"))->FromString("A");
    CEnumerationPtr(Node("SensorSelector"))->FromString("B");
    EXPECT_EQ(reading.calls, 1);
    map.Unlock();
    EXPECT_EQ(reading.calls, 2);
    EXPECT_EQ(selector.calls, 2);
}

TEST_F(PolledMap, InvalidateNodeNotifiesTheNodeAndItsDependents) {
    Recorder a(Node("SensorA")), b(Node("SensorB")), doubled(Node("Doubled"));
    Node("SensorA")->InvalidateNode();
    EXPECT_EQ(a.calls, 1);
    EXPECT_EQ(doubled.calls, 1);
    EXPECT_EQ(b.calls, 0);
    Node("Doubled")->InvalidateNode();
    EXPECT_EQ(a.calls, 1);
    EXPECT_EQ(doubled.calls, 2);
}

TEST_F(PolledMap, RegistrationsAreIndependentAndSilentOnceDeregistered) {
    INode* node = Node("Setting");
    Recorder first(node), second(node);
    CIntegerPtr(node)->SetValue(1);
    EXPECT_EQ(first.calls, 1);
    EXPECT_EQ(second.calls, 1);
    first.Deregister();
    CIntegerPtr(node)->SetValue(2);
    EXPECT_EQ(first.calls, 1);
    EXPECT_EQ(second.calls, 2);
    second.Deregister();
    CIntegerPtr(node)->SetValue(3);
    EXPECT_EQ(second.calls, 2);
    // A handle is good for one deregistration.
    auto* cb = new FunctionNodeCallback(node, [](INode*) {});
    const CallbackHandleType h = node->RegisterCallback(cb);
    EXPECT_TRUE(node->DeregisterCallback(h));
    try {
        node->DeregisterCallback(h);
        ADD_FAILURE() << "a second deregistration succeeded";
    } catch (const Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
    }
    cb->Destroy();
}

} // namespace
