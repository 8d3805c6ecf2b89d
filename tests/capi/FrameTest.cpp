// The call frame, the checks at every entry point, the last-error record and
// its getters, and text output into caller buffers.
#include <cstring>

#include "CapiFixture.h"
#include "Orvane/Exception.h"

namespace {

using FrameTest = CapiTest;

TEST_F(FrameTest, SuccessLeavesTheRecordClear) {
    bool8_t inUse = 7;
    ASSERT_EQ(orvSystemIsInUse(system, &inUse), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(LastCode(), ORVANE_ERR_SUCCESS);
    size_t length = 99;
    EXPECT_EQ(orvErrorGetLastMessage(nullptr, &length), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(length, 1u);
    char one[1] = {'x'};
    length = 1;
    EXPECT_EQ(orvErrorGetLastFullMessage(one, &length), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(one[0], '\0');
    EXPECT_EQ(length, 1u);
    EXPECT_EQ(LastLine(), 0);
}

TEST_F(FrameTest, NullParameterFillsEveryField) {
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastCode(), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Parameter is NULL");
    EXPECT_EQ(LastText(orvErrorGetLastFunctionName), "CheckNullParam");
    EXPECT_EQ(LastText(orvErrorGetLastFileName), "./OrvaneUtilsC");
    EXPECT_EQ(LastLine(), 129);
    EXPECT_EQ(LastText(orvErrorGetLastFullMessage),
              "Orvane Exception [CheckNullParam, ./OrvaneUtilsC:129] Parameter is NULL (error -1009)");
    // Build date and time are the SDK's, as every exception it builds carries.
    const Orvane::Exception reference(1, "f", "g", "m", 0);
    EXPECT_EQ(LastText(orvErrorGetLastBuildDate), reference.GetBuildDate());
    EXPECT_EQ(LastText(orvErrorGetLastBuildTime), reference.GetBuildTime());
    EXPECT_FALSE(LastText(orvErrorGetLastBuildDate).empty());
    EXPECT_TRUE(
        log.Contains("Orv Trace: ./OrvaneUtilsC, line 129, CheckNullParam: Message = Parameter is NULL Code = -1009"));
}

TEST_F(FrameTest, NullHandleComesBeforeNullOutPointer) {
    EXPECT_EQ(orvSystemGetTLNodeMap(nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Handle is NULL");
    EXPECT_EQ(LastText(orvErrorGetLastFunctionName), "CheckNullHandle");
    EXPECT_EQ(LastLine(), 121);
    EXPECT_TRUE(log.Contains(Trace("./OrvaneUtilsC", 121, "CheckNullHandle", "Handle is NULL", -1006)));
}

TEST_F(FrameTest, NullOutPointerComesBeforeTheTypeCheck) {
    orvInterfaceList list = nullptr;
    ASSERT_EQ(orvInterfaceListCreateEmpty(&list), ORVANE_ERR_SUCCESS);
    // A list handle where the system is expected, and a null out-pointer.
    EXPECT_EQ(orvSystemGetTLNodeMap(list, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvInterfaceListDestroy(list), ORVANE_ERR_SUCCESS);
}

TEST_F(FrameTest, WrongHandleNamesBothKinds) {
    bool8_t inUse = 0;
    EXPECT_EQ(orvInterfaceIsInUse(system, &inUse), ORVANE_ERR_INVALID_HANDLE);
    const std::string message = WrongHandle("Interface handle", "System handle");
    EXPECT_EQ(LastText(orvErrorGetLastMessage), message);
    EXPECT_EQ(LastText(orvErrorGetLastFunctionName), "checkObjectType");
    EXPECT_EQ(LastText(orvErrorGetLastFileName), "./OrvaneUtilsC");
    EXPECT_EQ(LastLine(), 343);
    EXPECT_TRUE(log.Contains(Trace("./OrvaneUtilsC", 343, "checkObjectType", message, -1006)));
}

TEST_F(FrameTest, GetterWithNullPointerReplacesTheStoredError) {
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvErrorGetLast(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastCode(), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastText(orvErrorGetLastFunctionName), "CheckNullParam");
    // A getter too small for the text replaces the record with its own failure.
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    char small[5];
    std::memset(small, 'z', sizeof small);
    size_t length = sizeof small;
    EXPECT_EQ(orvErrorGetLastMessage(small, &length), ORVANE_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(std::string(small, 5), "zzzzz");
    EXPECT_EQ(LastCode(), ORVANE_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Buffer is too Small");
    EXPECT_EQ(LastText(orvErrorGetLastFunctionName), "SetString");
    EXPECT_EQ(LastLine(), 153);
    EXPECT_TRUE(log.Contains(Trace("./OrvaneUtilsC", 153, "SetString", "Buffer is too Small", -1013)));
    length = 0;
    EXPECT_EQ(orvErrorGetLastMessage(small, nullptr), ORVANE_ERR_INVALID_PARAMETER);
}

TEST_F(FrameTest, NodeFailuresStayInTheirOwnModule) {
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    size_t count = 0;
    EXPECT_EQ(orvNodeMapGetNumNodes(nullptr, &count), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastCode(), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastText(orvErrorGetLastFunctionName), "CheckNullParam");
    // Even after an OrvaneC success, a node failure leaves the record clear.
    orvNodeMapHandle map = nullptr;
    ASSERT_EQ(orvSystemGetTLNodeMap(system, &map), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvNodeMapGetNumNodes(map, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastCode(), ORVANE_ERR_SUCCESS);
    // The node failure is in the log all the same.
    EXPECT_TRUE(log.Contains(Trace("./OrvaneUtilsC", 129, "CheckNullParam", "Parameter is NULL", -1009)));
}

TEST_F(FrameTest, LineNumberIsWrittenAsSixtyFourBits) {
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    int64_t line = -1; // every bit set
    EXPECT_EQ(orvErrorGetLastLineNumber(&line), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(line, 129);
}

TEST_F(FrameTest, SetStringRules) {
    orvNodeMapHandle map = nullptr;
    ASSERT_EQ(orvSystemGetTLNodeMap(system, &map), ORVANE_ERR_SUCCESS);
    orvNodeHandle tlid = nullptr;
    ASSERT_EQ(orvNodeMapGetNode(map, "TLID", &tlid), ORVANE_ERR_SUCCESS);
    // "Orvane": six bytes, seven with the terminator.
    size_t length = 0;
    EXPECT_EQ(orvStringGetValue(tlid, nullptr, &length), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(length, 7u);
    char buffer[10];
    std::memset(buffer, 'z', sizeof buffer);
    length = 6;
    EXPECT_EQ(orvStringGetValue(tlid, buffer, &length), ORVANE_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 6u);
    EXPECT_EQ(std::string(buffer, 10), "zzzzzzzzzz");
    length = 7;
    EXPECT_EQ(orvStringGetValue(tlid, buffer, &length), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::string(buffer, 10), std::string("Orvane\0zzz", 10));
    std::memset(buffer, 'z', sizeof buffer);
    length = 10;
    EXPECT_EQ(orvStringGetValue(tlid, buffer, &length), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::string(buffer, 10), std::string("Orvane\0\0\0\0", 10));
    EXPECT_EQ(length, 7u);
    EXPECT_EQ(orvStringGetValue(tlid, buffer, nullptr), ORVANE_ERR_INVALID_PARAMETER);
}

} // namespace
