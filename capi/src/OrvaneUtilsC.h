// Shared internals of the C library: the handle record, the checks made at
// every entry point, the raising of explicit errors, text output into caller
// buffers, and the recursive release of a handle with its cached children.
//
// Everything here is in an unnamed namespace: every module (source file)
// carries its own copy. The copies behave alike except checkObjectType, of
// which the node module uses the variant with the generic node rule.
#ifndef ORVANE_UTILS_C_H
#define ORVANE_UTILS_C_H

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Orvane/Exception.h"
#include "Orvane/GenICam/gcstring.h"
#include "Orvane/Logging.h"
#include "OrvaneCDefs.h"

// Orders cache keys as gcstring's operator< does (bytewise), and lets a
// lookup by C text avoid building a string.
struct GcLess {
    using is_transparent = void;
    static std::string_view View(const Orvane::GenICam::gcstring& s) { return std::string_view(s.data(), s.size()); }
    static std::string_view View(const char* s) { return std::string_view(s); }
    static std::string_view View(std::string_view s) { return s; }
    template <class A, class B>
    bool operator()(const A& a, const B& b) const {
        return View(a) < View(b);
    }
};

// The record behind every handle: what it stands for, the SDK object, the
// handles it has handed out by name, and the mutex guarding that cache.
// Same size for every kind, never polymorphic.
struct orvObject {
    orvHandleType tag;
    void* target;
    std::map<Orvane::GenICam::gcstring, orvObject*, GcLess> children;
    boost::mutex guard;

    explicit orvObject(orvHandleType t) : tag(t), target(nullptr) {}
};

namespace {

// A new record: empty cache, fresh mutex, no SDK object yet.
inline orvObject* newRecord(orvHandleType tag) { return new orvObject(tag); }

// Memory the library deliberately never frees (the system reference every
// system handle keeps, half-built records on failure paths, cached handles a
// release leaves behind) is recorded here: it stays allocated for the life
// of the process, as intended, and is still accounted for.
inline void Abandon(void* memory) {
    static boost::mutex mutex;
    static std::vector<void*>* abandoned = new std::vector<void*>();
    boost::lock_guard<boost::mutex> lock(mutex);
    abandoned->push_back(memory);
}

// A new record of this kind whose SDK object build() provides. When build
// fails, the half-built record is not freed (it is abandoned) and the failure
// goes on to the caller's frame.
template <class Build>
inline orvObject* BuildRecord(orvHandleType tag, Build&& build) {
    orvObject* record = newRecord(tag);
    try {
        build(record);
    } catch (...) {
        Abandon(record);
        throw;
    }
    return record;
}

// A new heap smart pointer assigned from get(); abandoned when get() fails.
template <class Ptr, class Get>
inline Ptr* NewHeldPointer(Get&& get) {
    Ptr* held = new Ptr();
    try {
        *held = get();
    } catch (...) {
        Abandon(held);
        throw;
    }
    return held;
}

// Frees the record itself (its mutex and cache map, not the child records).
inline void destroyRecord(orvObject* record) { delete record; }

inline orvObject* asRecord(void* handle) { return static_cast<orvObject*>(handle); }

inline std::string handleToString(orvHandleType type) {
    switch (type) {
    case ORV_HANDLE_NODEMAP: return "Nodemap handle";
    case ORV_HANDLE_NODE: return "Node handle";
    case ORV_HANDLE_STRING_NODE: return "String node handle";
    case ORV_HANDLE_INTEGER_NODE: return "Integer node handle";
    case ORV_HANDLE_FLOAT_NODE: return "Float node handle";
    case ORV_HANDLE_BOOLEAN_NODE: return "Boolean node handle";
    case ORV_HANDLE_ENUMERATION_NODE: return "Enumeration node handle";
    case ORV_HANDLE_ENUM_ENTRY_NODE: return "Enumeration entry node handle";
    case ORV_HANDLE_COMMAND_NODE: return "Command node handle";
    case ORV_HANDLE_REGISTER_NODE: return "Register node handle";
    case ORV_HANDLE_CATEGORY_NODE: return "Category node handle";
    case ORV_HANDLE_UNAVAILABLE_NODE: return "Unavailable node";
    case ORV_HANDLE_SYSTEM: return "System handle";
    case ORV_HANDLE_INTERFACE_LIST: return "Interface list handle";
    case ORV_HANDLE_INTERFACE: return "Interface handle";
    case ORV_HANDLE_CAMERA_LIST: return "Camera list handle";
    case ORV_HANDLE_CAMERA: return "Camera handle";
    case ORV_HANDLE_IMAGE: return "Image handle";
    case ORV_HANDLE_IMAGE_FROM_CAMERA: return "Image retrieved from camera";
    case ORV_HANDLE_IMAGE_USER_CREATED: return "User-created image";
    case ORV_HANDLE_IMAGE_STATISTICS: return "Image statistics handle";
    case ORV_HANDLE_DEVICE_EVENT: return "Device event handle";
    case ORV_HANDLE_IMAGE_EVENT: return "Image event handle";
    case ORV_HANDLE_ARRIVAL_EVENT: return "Arrival event handle";
    case ORV_HANDLE_REMOVAL_EVENT: return "Removal event handle";
    case ORV_HANDLE_INTERFACE_EVENT: return "Interface event handle";
    case ORV_HANDLE_LOGGING_EVENT: return "Logging event handle";
    case ORV_HANDLE_CALLBACK: return "Callback handle";
    case ORV_HANDLE_LOGGING_EVENT_DATA: return "Logging event data handle";
    case ORV_HANDLE_DEVICE_EVENT_DATA: return "Device event data handle";
    case ORV_HANDLE_AVI_RECORDER: return "AVI recorder handle";
    default: return "Unknown handle"; // also image list, image processor, image list event
    }
}

// "Orv Trace: <file>, line <line>, <function>: Message = <message> Code = <code>"
inline std::string CreateFullErrString(int line, const std::string& file, const std::string& function,
                                       const std::string& message, orvError code) {
    return "Orv Trace: " + file + ", line " + std::to_string(line) + ", " + function + ": " + "Message = " + message +
           " Code = " + std::to_string(code);
}

inline void LogError(const std::string& text) { Orvane::LoggerWrapper::LoggingError(text.c_str(), ""); }

// Raises an explicit error of the library: the trace text goes to the SDK
// logger, then the SDK exception with the same values is thrown for the
// calling function's frame to catch.
[[noreturn]] inline void RaiseError(int line, const char* file, const char* function, const std::string& message,
                                    orvError code) {
    LogError(CreateFullErrString(line, file, function, message, code));
    throw Orvane::Exception(line, file, function, message.c_str(), code);
}

inline void CheckNullHandle(const void* handle) {
    if (!handle) RaiseError(121, "./OrvaneUtilsC", "CheckNullHandle", "Handle is NULL", ORVANE_ERR_INVALID_HANDLE);
}

inline void CheckNullParam(const void* param) {
    if (!param) RaiseError(129, "./OrvaneUtilsC", "CheckNullParam", "Parameter is NULL", ORVANE_ERR_INVALID_PARAMETER);
}

[[noreturn]] inline void WrongHandle(int line, const std::string& expected, orvHandleType received) {
    RaiseError(line, "./OrvaneUtilsC", "checkObjectType",
               "Orvane Exception: Incorrect handle exception thrown. Expected: " + expected +
                   "; Received: " + handleToString(received) + ".",
               ORVANE_ERR_INVALID_HANDLE);
}

// The type check. The handle was found non-null before. An expected
// ORV_HANDLE_IMAGE accepts both image kinds; with nodeRule, an expected
// ORV_HANDLE_NODE accepts every node tag (2 to 12).
inline void checkObjectTypeWith(bool nodeRule, orvHandleType expected, const void* handle) {
    const orvHandleType received = static_cast<const orvObject*>(handle)->tag;
    if (expected == ORV_HANDLE_IMAGE) {
        if (received != ORV_HANDLE_IMAGE && received != ORV_HANDLE_IMAGE_FROM_CAMERA &&
            received != ORV_HANDLE_IMAGE_USER_CREATED)
            WrongHandle(333, "Image handle", received);
        return;
    }
    if (nodeRule && expected == ORV_HANDLE_NODE) {
        if (received < ORV_HANDLE_NODE || received > ORV_HANDLE_UNAVAILABLE_NODE)
            WrongHandle(323, "Node handle", received);
        return;
    }
    if (received != expected) WrongHandle(343, handleToString(expected), received);
}

// Writes text into a caller buffer: a null buffer asks for the length (text
// length plus one); a buffer shorter than that fails and is left untouched;
// otherwise the whole buffer is zeroed before the text is copied.
inline void SetString(const Orvane::GenICam::gcstring& text, char* buffer, size_t* length) {
    CheckNullParam(length);
    const size_t need = text.size() + 1;
    if (!buffer) {
        *length = need;
        return;
    }
    if (need > *length)
        RaiseError(153, "./OrvaneUtilsC", "SetString", "Buffer is too Small", ORVANE_ERR_BUFFER_TOO_SMALL);
    std::memset(buffer, 0, *length);
    // The terminating NUL comes from the memset: need <= *length.
    std::memcpy(buffer, text.data(), text.size()); // NOLINT(bugprone-not-null-terminated-result)
    *length = need;
}

// Frees a record and, depth first in key order, every record cached below
// it. SDK objects are not touched.
inline void emptyPackageRecursively(orvObject* record) {
    record->guard.lock();
    for (auto& child : record->children) emptyPackageRecursively(child.second);
    record->guard.unlock();
    destroyRecord(record);
}

} // namespace

#endif
