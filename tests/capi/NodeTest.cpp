// Node maps and nodes through the C library, on the system's and an
// interface's transport-layer node maps: handle caching, kinds, access tests,
// text conversion, typed values, enumerations, categories and callbacks.
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "CapiFixture.h"
#include "OrvaneUtilsC.h"

namespace {

class NodeTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        setenv("ORVANE_VIRTUAL_CAMERAS", "2", 1);
        CapiTest::SetUp();
        ASSERT_EQ(orvSystemGetTLNodeMap(system, &map), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        CapiTest::TearDown();
        unsetenv("ORVANE_VIRTUAL_CAMERAS");
    }
    orvNodeHandle Node(const char* name) {
        orvNodeHandle node = nullptr;
        EXPECT_EQ(orvNodeMapGetNode(map, name, &node), ORVANE_ERR_SUCCESS);
        EXPECT_NE(node, nullptr) << name;
        return node;
    }
    size_t Cached(void* parent) { return static_cast<orvObject*>(parent)->children.size(); }
    std::string Text(orvNodeHandle node) {
        char text[256];
        size_t length = sizeof text;
        if (orvNodeToString(node, text, &length) != ORVANE_ERR_SUCCESS) return "<error>";
        return text;
    }
    orvNodeMapHandle map = nullptr;
};

TEST_F(NodeTest, UnknownNameGivesNullAndCachesNothing) {
    orvNodeHandle node = reinterpret_cast<orvNodeHandle>(0x1);
    EXPECT_EQ(orvNodeMapGetNode(map, "NoSuchFeature", &node), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(Cached(map), 0u);
}

TEST_F(NodeTest, OneHandlePerNameUntilReleased) {
    orvNodeHandle a = Node("TLVendorName");
    EXPECT_EQ(Node("TLVendorName"), a);
    EXPECT_EQ(Cached(map), 1u);
    EXPECT_EQ(orvNodeMapReleaseNode(map, a), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Cached(map), 0u);
    orvNodeHandle b = Node("TLVendorName");
    EXPECT_EQ(Cached(map), 1u);
    EXPECT_EQ(Text(b), "Orvane");
}

TEST_F(NodeTest, ByIndexAndByNameMeet) {
    size_t n = 0;
    ASSERT_EQ(orvNodeMapGetNumNodes(map, &n), ORVANE_ERR_SUCCESS);
    ASSERT_GT(n, 20u);
    orvNodeHandle byIndex = nullptr;
    size_t index = n;
    for (size_t i = 0; i < n && index == n; ++i) {
        ASSERT_EQ(orvNodeMapGetNodeByIndex(map, i, &byIndex), ORVANE_ERR_SUCCESS);
        char name[64];
        size_t length = sizeof name;
        ASSERT_EQ(orvNodeGetName(byIndex, name, &length), ORVANE_ERR_SUCCESS);
        if (std::strcmp(name, "TLModelName") == 0) index = i;
    }
    ASSERT_LT(index, n);
    EXPECT_EQ(Node("TLModelName"), byIndex);
    orvNodeHandle again = nullptr;
    EXPECT_EQ(orvNodeMapGetNodeByIndex(map, index, &again), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(again, byIndex);
    EXPECT_EQ(orvNodeMapGetNodeByIndex(map, n, &again), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
}

TEST_F(NodeTest, ReleasingAHandleNotInTheCacheFreesIt) {
    orvObject* stray = new orvObject(ORV_HANDLE_STRING_NODE);
    EXPECT_EQ(orvNodeMapReleaseNode(map, stray), ORVANE_ERR_SUCCESS); // LeakSanitizer: freed
    EXPECT_EQ(orvNodeMapReleaseNode(map, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvNodeMapReleaseNode(map, map), ORVANE_ERR_INVALID_HANDLE);
}

TEST_F(NodeTest, CheckOrder) {
    orvNodeHandle node = nullptr;
    // A null out-pointer is reported before a wrong handle kind.
    EXPECT_EQ(orvNodeMapGetNode(system, "TLID", nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvNodeMapGetNode(system, nullptr, &node), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvNodeMapGetNode(system, "TLID", &node), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_TRUE(log.Contains(
        Trace("./OrvaneUtilsC", 343, "checkObjectType", WrongHandle("Nodemap handle", "System handle"), -1006)));
    EXPECT_EQ(orvNodeMapGetNode(nullptr, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
}

TEST_F(NodeTest, GenericNodeAcceptsEveryNodeKind) {
    orvNodeHandle type = Node("TLType"), entry = nullptr;
    ASSERT_EQ(orvEnumerationGetEntryByIndex(type, 0, &entry), ORVANE_ERR_SUCCESS);
    char name[64];
    size_t length = sizeof name;
    EXPECT_EQ(orvNodeGetName(entry, name, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(name, "EnumEntry_TLType_GigEVision");
    // A node of no kind but the generic one is refused where a node is wanted.
    EXPECT_EQ(orvNodeGetName(map, name, &length), ORVANE_ERR_INVALID_HANDLE);
    std::string trace =
        Trace("./OrvaneUtilsC", 323, "checkObjectType", WrongHandle("Node handle", "Nodemap handle"), -1006);
    EXPECT_TRUE(log.Contains(trace));
}

TEST_F(NodeTest, UnavailableNodeHandles) {
    orvObject unavailable(ORV_HANDLE_UNAVAILABLE_NODE); // a handle without a node
    bool8_t b = 7;
    EXPECT_EQ(orvNodeIsAvailable(&unavailable, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
    b = 7;
    EXPECT_EQ(orvNodeIsReadable(&unavailable, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
    b = 7;
    EXPECT_EQ(orvNodeIsWritable(&unavailable, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
    b = 7;
    EXPECT_EQ(orvNodeIsImplemented(&unavailable, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
    char text[16];
    size_t length = sizeof text;
    EXPECT_EQ(orvNodeToString(&unavailable, text, &length), ORVANE_ERR_GENICAM_LOGICAL_ERROR);
    EXPECT_EQ(orvNodeFromString(&unavailable, "1"), ORVANE_ERR_GENICAM_LOGICAL_ERROR);
    EXPECT_EQ(orvNodeGetName(&unavailable, text, &length), ORVANE_ERR_GENICAM_LOGICAL_ERROR);
}

TEST_F(NodeTest, AccessTestsAndKinds) {
    bool8_t b = 0;
    orvNodeHandle count = Node("VirtualCameraCount"), vendor = Node("TLVendorName"),
                  update = Node("InterfaceUpdateList");
    EXPECT_EQ(orvNodeIsWritable(count, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(orvNodeIsWritable(vendor, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
    EXPECT_EQ(orvNodeIsReadable(update, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
    int32_t value = -1;
    EXPECT_EQ(orvNodeGetAccessMode(update, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, ORV_ACCESS_MODE_WO);
    EXPECT_EQ(orvNodeGetType(count, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, NodeTypeInteger);
    EXPECT_EQ(orvNodeGetType(update, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, NodeTypeCommand);
    EXPECT_EQ(orvNodeGetType(Node("TLType"), &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, NodeTypeEnumeration);
    EXPECT_EQ(orvNodeGetType(Node("Root"), &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, NodeTypeCategory);
    EXPECT_EQ(orvNodeGetNameSpace(vendor, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, ORV_NAMESPACE_STANDARD);
    EXPECT_EQ(orvNodeGetVisibility(vendor, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, ORV_VISIBILITY_BEGINNER);
    int64_t polling = 0;
    EXPECT_EQ(orvNodeGetPollingTime(vendor, &polling), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(polling, -1);
    // The two "GetImposed" functions impose.
    EXPECT_EQ(orvNodeGetImposedAccessMode(count, ORV_ACCESS_MODE_RO), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvNodeIsWritable(count, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
    EXPECT_EQ(orvIntegerSetValue(count, 1), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(orvNodeGetImposedAccessMode(count, ORV_ACCESS_MODE_RW), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvNodeGetImposedVisibility(count, ORV_VISIBILITY_GURU), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvNodeGetVisibility(count, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, ORV_VISIBILITY_GURU);
}

TEST_F(NodeTest, TextsOfANode) {
    orvNodeHandle node = Node("TLVendorName");
    char text[128];
    size_t length = sizeof text;
    EXPECT_EQ(orvNodeGetToolTip(node, text, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(text, "Vendor of the transport layer.");
    length = sizeof text;
    EXPECT_EQ(orvNodeGetDisplayName(node, text, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(text, "TLVendorName");
    length = 0;
    EXPECT_EQ(orvNodeGetDescription(node, nullptr, &length), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(length, std::strlen("Vendor of the transport layer.") + 1);
    EXPECT_EQ(orvNodeGetName(node, text, nullptr), ORVANE_ERR_INVALID_PARAMETER);
}

TEST_F(NodeTest, TypedValues) {
    orvNodeHandle count = Node("VirtualCameraCount");
    int64_t v = 99;
    EXPECT_EQ(orvIntegerGetValue(count, &v), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(v, 2);
    EXPECT_EQ(orvIntegerGetMin(count, &v), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(v, 0);
    EXPECT_EQ(orvIntegerGetMax(count, &v), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(v, 64);
    EXPECT_EQ(orvIntegerGetInc(count, &v), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(v, 1);
    int32_t representation = -1;
    EXPECT_EQ(orvIntegerGetRepresentation(count, &representation), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(representation, ORV_REPRESENTATION_PURE_NUMBER);
    // Verification on write leaves the value unchanged; without it the write goes through.
    EXPECT_EQ(orvIntegerSetValue(count, 65), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(orvIntegerGetValue(count, &v), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(v, 2);
    EXPECT_EQ(orvIntegerSetValueEx(count, 0, 65), ORVANE_ERR_SUCCESS);
    // Plain getters do not verify; the Ex getter with verify does.
    v = -7;
    EXPECT_EQ(orvIntegerGetValue(count, &v), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(v, 65);
    v = -7;
    EXPECT_EQ(orvIntegerGetValueEx(count, 1, &v), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(v, -7); // a failed getter leaves the variable alone
    EXPECT_EQ(orvIntegerSetValue(count, 2), ORVANE_ERR_SUCCESS);
    // Kinds do not convert into each other.
    EXPECT_EQ(orvFloatSetValue(count, 1.0), ORVANE_ERR_INVALID_HANDLE);
    double d = 0;
    EXPECT_EQ(orvFloatGetValue(count, &d), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvIntegerGetValue(count, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    // Booleans: any non-zero byte is true.
    orvNodeHandle enable = Node("EnumerateVirtualInterfaces");
    bool8_t b = 9;
    EXPECT_EQ(orvBooleanSetValue(enable, 0), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvBooleanGetValue(enable, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 0);
    EXPECT_EQ(orvBooleanSetValue(enable, 0x80), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvBooleanGetValue(enable, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 1);
    // Strings.
    orvNodeHandle vendor = Node("TLVendorName");
    int64_t maxLength = 0;
    EXPECT_EQ(orvStringGetMaxLength(vendor, &maxLength), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(maxLength, 256);
    EXPECT_EQ(orvStringSetValue(vendor, "x"), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(orvStringSetValue(vendor, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    size_t length = 0;
    EXPECT_EQ(orvStringGetValueEx(vendor, 1, nullptr, &length), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(length, 7u);
    // Commands: IsDone verifies availability.
    orvNodeHandle update = Node("InterfaceUpdateList");
    EXPECT_EQ(orvCommandExecute(update), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCommandIsDone(update, &b), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(orvNodeGetImposedAccessMode(update, ORV_ACCESS_MODE_NA), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCommandIsDone(update, &b), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(orvCommandExecute(update), ORVANE_ERR_GENICAM_ACCESS);
}

TEST_F(NodeTest, TextConversion) {
    orvNodeHandle count = Node("VirtualCameraCount");
    EXPECT_EQ(orvNodeFromString(count, "3"), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Text(count), "3");
    EXPECT_EQ(orvNodeFromString(count, "three"), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
    EXPECT_EQ(orvNodeFromString(count, "99"), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(orvNodeFromStringEx(count, 0, "99"), ORVANE_ERR_SUCCESS);
    char text[8];
    size_t length = sizeof text;
    EXPECT_EQ(orvNodeToStringEx(count, 1, text, &length), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(orvNodeFromString(count, "2"), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvNodeFromString(count, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Text(Node("TLType")), "Mixed");
    EXPECT_EQ(Text(Node("EnumerateGEVInterfaces")), "false");
    // A category has no value to set.
    EXPECT_EQ(orvNodeFromString(Node("Root"), "1"), ORVANE_ERR_GENICAM_ACCESS);
}

TEST_F(NodeTest, IsEqualComparesNodesNotHandles) {
    orvNodeHandle root = Node("Root"), info = nullptr, fromCategory = nullptr;
    ASSERT_EQ(orvCategoryGetFeatureByIndex(root, 0, &info), ORVANE_ERR_SUCCESS);         // SystemInformation
    ASSERT_EQ(orvCategoryGetFeatureByIndex(info, 0, &fromCategory), ORVANE_ERR_SUCCESS); // TLID
    orvNodeHandle fromMap = Node("TLID");
    EXPECT_NE(fromCategory, fromMap);
    bool8_t equal = 0;
    EXPECT_EQ(orvNodeIsEqual(fromCategory, fromMap, &equal), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(equal, 1);
    EXPECT_EQ(orvNodeIsEqual(fromMap, Node("TLVendorName"), &equal), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(equal, 0);
    EXPECT_EQ(orvNodeIsEqual(fromMap, nullptr, &equal), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvNodeIsEqual(fromMap, fromMap, nullptr), ORVANE_ERR_INVALID_PARAMETER);
}

TEST_F(NodeTest, EnumerationEntries) {
    orvNodeHandle type = Node("TLType");
    size_t n = 0;
    ASSERT_EQ(orvEnumerationGetNumEntries(type, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 4u);
    const char* expected[] = {"GigEVision", "USB3Vision", "Custom", "Mixed"};
    for (size_t i = 0; i < n; ++i) {
        orvNodeHandle entry = nullptr;
        ASSERT_EQ(orvEnumerationGetEntryByIndex(type, i, &entry), ORVANE_ERR_SUCCESS);
        char symbolic[32];
        size_t length = sizeof symbolic;
        EXPECT_EQ(orvEnumerationEntryGetSymbolic(entry, symbolic, &length), ORVANE_ERR_SUCCESS);
        EXPECT_STREQ(symbolic, expected[i]);
        int64_t value = -1;
        EXPECT_EQ(orvEnumerationEntryGetIntValue(entry, &value), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(value, static_cast<int64_t>(i));
    }
    orvNodeHandle byIndex = nullptr, byName = nullptr, current = nullptr, unknown = reinterpret_cast<orvNodeHandle>(1);
    ASSERT_EQ(orvEnumerationGetEntryByIndex(type, 3, &byIndex), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvEnumerationGetEntryByName(type, "EnumEntry_TLType_Mixed", &byName), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvEnumerationGetCurrentEntry(type, &current), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(byIndex, byName);
    EXPECT_EQ(byIndex, current);
    // By symbolic name: a handle of its own (cached under that name), same node.
    orvNodeHandle bySymbolic = nullptr;
    ASSERT_EQ(orvEnumerationGetEntryByName(type, "Mixed", &bySymbolic), ORVANE_ERR_SUCCESS);
    bool8_t equal = 0;
    EXPECT_EQ(orvNodeIsEqual(bySymbolic, byIndex, &equal), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(equal, 1);
    EXPECT_EQ(orvEnumerationGetEntryByName(type, "Nope", &unknown), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(unknown, nullptr);
    EXPECT_EQ(orvEnumerationGetEntryByIndex(type, 4, &unknown), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    // Releases: the enumeration takes entries only; a category any node.
    EXPECT_EQ(orvEnumerationReleaseNode(type, Node("TLID")), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvEnumerationReleaseNode(type, byIndex), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvEnumerationSetIntValue(type, 3), ORVANE_ERR_GENICAM_ACCESS); // read-only
    EXPECT_EQ(orvEnumerationSetIntValue(Node("TLID"), 3), ORVANE_ERR_INVALID_HANDLE);
}

TEST_F(NodeTest, Categories) {
    orvNodeHandle root = Node("Root");
    size_t n = 0;
    ASSERT_EQ(orvCategoryGetNumFeatures(root, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 3u);
    orvNodeHandle info = nullptr, tlid = nullptr;
    ASSERT_EQ(orvCategoryGetFeatureByIndex(root, 0, &info), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(static_cast<orvObject*>(info)->tag, ORV_HANDLE_CATEGORY_NODE);
    ASSERT_EQ(orvCategoryGetFeatureByIndex(info, 0, &tlid), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(static_cast<orvObject*>(tlid)->tag, ORV_HANDLE_STRING_NODE);
    EXPECT_EQ(orvCategoryGetFeatureByIndex(root, 3, &info), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(orvCategoryReleaseNode(tlid, info), ORVANE_ERR_INVALID_HANDLE); // not a category
    EXPECT_EQ(orvCategoryReleaseNode(info, tlid), ORVANE_ERR_SUCCESS);
}

std::atomic<int> g_calls{0};
std::atomic<bool> g_sameNode{false};
orvNodeHandle g_registered = nullptr;

void OnChange(orvNodeHandle node) {
    ++g_calls;
    bool8_t equal = 0;
    g_sameNode = node != g_registered && orvNodeIsEqual(node, g_registered, &equal) == ORVANE_ERR_SUCCESS && equal == 1;
}

void Other(orvNodeHandle) {}

TEST_F(NodeTest, Callbacks) {
    orvNodeHandle count = Node("VirtualCameraCount");
    orvNodeCallbackHandle a = nullptr, b = nullptr;
    EXPECT_EQ(orvNodeRegisterCallback(count, nullptr, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(log.Contains(
        Trace("OrvaneGenApiC", 371, "orvNodeRegisterCallback", "orvNodeCallbackFunction parameter is NULL", -1009)));
    EXPECT_EQ(orvNodeRegisterCallback(count, OnChange, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    g_registered = count;
    g_calls = 0;
    ASSERT_EQ(orvNodeRegisterCallback(count, OnChange, &a), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvNodeRegisterCallback(count, Other, &b), ORVANE_ERR_SUCCESS);
    EXPECT_NE(a, b);
    EXPECT_EQ(static_cast<orvObject*>(a)->tag, ORV_HANDLE_CALLBACK);
    EXPECT_EQ(orvIntegerSetValue(count, 3), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_calls, 1);
    EXPECT_TRUE(g_sameNode);
    EXPECT_EQ(orvNodeDeregisterCallback(count, a), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvIntegerSetValue(count, 2), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(g_calls, 1);
    EXPECT_EQ(orvNodeDeregisterCallback(count, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvNodeDeregisterCallback(count, count), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvNodeDeregisterCallback(count, b), ORVANE_ERR_SUCCESS);
}

} // namespace
