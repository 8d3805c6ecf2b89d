// The C library's shared internals, exercised directly: the text of every
// handle kind, the type-check rules of both module copies, SetString's edge
// cases, and the frame's handling of standard exceptions.
#include <gtest/gtest.h>

#include <stdexcept>

#include "OrvaneInternalC.h"
#include "OrvaneUtilsC.h"

namespace {

TEST(Internals, HandleTexts) {
    const std::map<int, std::string> expected = {{1, "Nodemap handle"},
                                                 {2, "Node handle"},
                                                 {3, "String node handle"},
                                                 {4, "Integer node handle"},
                                                 {5, "Float node handle"},
                                                 {6, "Boolean node handle"},
                                                 {7, "Enumeration node handle"},
                                                 {8, "Enumeration entry node handle"},
                                                 {9, "Command node handle"},
                                                 {10, "Register node handle"},
                                                 {11, "Category node handle"},
                                                 {12, "Unavailable node"},
                                                 {13, "System handle"},
                                                 {14, "Interface list handle"},
                                                 {15, "Interface handle"},
                                                 {16, "Camera list handle"},
                                                 {17, "Camera handle"},
                                                 {18, "Unknown handle"},
                                                 {19, "Image handle"},
                                                 {20, "Image retrieved from camera"},
                                                 {21, "User-created image"},
                                                 {22, "Unknown handle"},
                                                 {23, "Image statistics handle"},
                                                 {24, "Device event handle"},
                                                 {25, "Image event handle"},
                                                 {26, "Unknown handle"},
                                                 {27, "Arrival event handle"},
                                                 {28, "Removal event handle"},
                                                 {29, "Interface event handle"},
                                                 {30, "Logging event handle"},
                                                 {31, "Callback handle"},
                                                 {32, "Logging event data handle"},
                                                 {33, "Device event data handle"},
                                                 {34, "AVI recorder handle"},
                                                 {0, "Unknown handle"},
                                                 {35, "Unknown handle"},
                                                 {-1, "Unknown handle"}};
    for (const auto& e : expected) EXPECT_EQ(handleToString(static_cast<orvHandleType>(e.first)), e.second) << e.first;
}

orvError Check(bool nodeRule, orvHandleType expected, orvHandleType received, ErrorRecord& record) {
    orvObject object(received);
    return CallFrame(record, [&] {
        checkObjectTypeWith(nodeRule, expected, &object);
        return ORVANE_ERR_SUCCESS;
    });
}

TEST(Internals, TypeCheckRules) {
    ErrorRecord r;
    // Images: the generic kind accepts both specific kinds.
    for (orvHandleType t : {ORV_HANDLE_IMAGE, ORV_HANDLE_IMAGE_FROM_CAMERA, ORV_HANDLE_IMAGE_USER_CREATED})
        EXPECT_EQ(Check(false, ORV_HANDLE_IMAGE, t, r), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Check(false, ORV_HANDLE_IMAGE, ORV_HANDLE_CAMERA, r), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(r.line, 333);
    EXPECT_EQ(r.message,
              "Orvane Exception: Incorrect handle exception thrown. Expected: Image handle; Received: Camera handle.");
    EXPECT_EQ(Check(false, ORV_HANDLE_IMAGE_FROM_CAMERA, ORV_HANDLE_IMAGE_USER_CREATED, r), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(r.line, 343);
    EXPECT_EQ(r.message,
              "Orvane Exception: Incorrect handle exception thrown. Expected: Image retrieved from camera; "
              "Received: User-created image.");
    // Nodes: only the node module's copy accepts every node kind as generic.
    for (int t = 2; t <= 12; ++t)
        EXPECT_EQ(Check(true, ORV_HANDLE_NODE, static_cast<orvHandleType>(t), r), ORVANE_ERR_SUCCESS) << t;
    EXPECT_EQ(Check(true, ORV_HANDLE_NODE, ORV_HANDLE_NODEMAP, r), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(r.line, 323);
    EXPECT_EQ(r.message,
              "Orvane Exception: Incorrect handle exception thrown. Expected: Node handle; Received: Nodemap handle.");
    EXPECT_EQ(Check(true, ORV_HANDLE_NODE, ORV_HANDLE_CALLBACK, r), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(Check(false, ORV_HANDLE_NODE, ORV_HANDLE_INTEGER_NODE, r), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(r.line, 343);
    EXPECT_EQ(Check(false, ORV_HANDLE_NODE, ORV_HANDLE_NODE, r), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Check(true, ORV_HANDLE_INTEGER_NODE, ORV_HANDLE_FLOAT_NODE, r), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(Check(false, ORV_HANDLE_CAMERA, ORV_HANDLE_IMAGE_LIST, r), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(
        r.message,
        "Orvane Exception: Incorrect handle exception thrown. Expected: Camera handle; Received: Unknown handle.");
}

orvError Set(const std::string& text, char* buffer, size_t* length, ErrorRecord& record) {
    return CallFrame(record, [&] {
        SetString(Orvane::GenICam::gcstring(text), buffer, length);
        return ORVANE_ERR_SUCCESS;
    });
}

TEST(Internals, SetStringEdgeCases) {
    ErrorRecord r;
    size_t length = 0;
    EXPECT_EQ(Set("", nullptr, &length, r), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(length, 1u);
    char one = 'x';
    length = 1;
    EXPECT_EQ(Set("", &one, &length, r), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(one, '\0');
    EXPECT_EQ(length, 1u);
    char buffer[10];
    std::memset(buffer, 'q', sizeof buffer);
    length = 3;
    EXPECT_EQ(Set("abc", buffer, &length, r), ORVANE_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(std::string(buffer, 10), "qqqqqqqqqq");
    EXPECT_EQ(r.message, "Buffer is too Small");
    EXPECT_EQ(r.line, 153);
    EXPECT_EQ(r.functionName, "SetString");
    length = 10;
    EXPECT_EQ(Set("abc", buffer, &length, r), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::string(buffer, 10), std::string("abc\0\0\0\0\0\0\0", 10));
    EXPECT_EQ(length, 4u);
    length = 4;
    std::memset(buffer, 'q', sizeof buffer);
    EXPECT_EQ(Set("abc", buffer, &length, r), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(std::string(buffer, 10), std::string("abc\0qqqqqq", 10));
    EXPECT_EQ(Set("abc", buffer, nullptr, r), ORVANE_ERR_INVALID_PARAMETER);
    // Bytes are bytes: an embedded NUL is copied and counted.
    length = 10;
    EXPECT_EQ(Set(std::string("a\0b", 3), buffer, &length, r), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(std::string(buffer, 4), std::string("a\0b\0", 4));
}

TEST(Internals, StandardExceptionsGiveCodeAndMessageOnly) {
    ErrorRecord r;
    r.functionName = "stale";
    const orvError code = CallFrame(r, []() -> orvError { throw std::out_of_range("vector index 7"); });
    EXPECT_EQ(code, ORVANE_ERR_ERROR);
    EXPECT_EQ(r.code, ORVANE_ERR_ERROR);
    EXPECT_EQ(r.message, "vector index 7");
    EXPECT_EQ(r.functionName, "");
    EXPECT_EQ(r.fileName, "");
    EXPECT_EQ(r.line, 0);
    // Other exception types are not caught.
    EXPECT_THROW(CallFrame(r, []() -> orvError { throw 42; }), int);
}

TEST(Internals, FullErrorText) {
    EXPECT_EQ(CreateFullErrString(121, "./OrvaneUtilsC", "CheckNullHandle", "Handle is NULL", -1006),
              "Orv Trace: ./OrvaneUtilsC, line 121, CheckNullHandle: Message = Handle is NULL Code = -1006");
}

} // namespace
