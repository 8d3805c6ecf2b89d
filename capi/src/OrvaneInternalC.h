// The call frame of every exported function and the last-error record each
// module keeps.
//
// Owner and locking: each module owns one ErrorRecord (a static object) and
// its mutex. The mutex makes the clear on entry and each store atomic; the
// record is process-wide, not per thread. The getters read texts unlocked.
#ifndef ORVANE_INTERNAL_C_H
#define ORVANE_INTERNAL_C_H

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <exception>
#include <string>
#include <utility>

#include "Orvane/Exception.h"
#include "OrvaneCDefs.h"

struct ErrorRecord {
    orvError code = ORVANE_ERR_SUCCESS;
    int32_t line = 0;
    std::string message;
    std::string buildDate;
    std::string buildTime;
    std::string fileName;
    std::string fullMessage;
    std::string functionName;
    boost::mutex mutex;

    // Entry step: texts emptied (function name, full message, file name, build
    // time, build date, message), code and line zeroed.
    void Clear() {
        boost::lock_guard<boost::mutex> lock(mutex);
        functionName.clear();
        fullMessage.clear();
        fileName.clear();
        buildTime.clear();
        buildDate.clear();
        message.clear();
        code = ORVANE_ERR_SUCCESS;
        line = 0;
    }

    orvError Store(const Orvane::Exception& e) {
        boost::lock_guard<boost::mutex> lock(mutex);
        code = e.GetError();
        message = e.GetErrorMessage();
        buildDate = e.GetBuildDate();
        buildTime = e.GetBuildTime();
        fileName = e.GetFileName();
        fullMessage = e.GetFullErrorMessage();
        functionName = e.GetFunctionName();
        line = e.GetLineNumber();
        return code;
    }

    orvError Store(const std::exception& e) {
        boost::lock_guard<boost::mutex> lock(mutex);
        code = ORVANE_ERR_ERROR;
        message = e.what();
        return code;
    }
};

namespace {

// The frame of the error getters: no clearing on entry (they read what the
// record holds), the same catch steps.
template <class Body>
inline orvError CallFrameNoClear(ErrorRecord& record, Body&& body) {
    try {
        return body();
    } catch (const Orvane::Exception& e) {
        return record.Store(e);
    } catch (const std::exception& e) {
        return record.Store(e);
    }
}

// Runs body (returning an orvError) inside the frame: clear the record, run,
// and turn an Orvane::Exception or std::exception into the record and the
// returned code. Exceptions of other types are not caught.
template <class Body>
inline orvError CallFrame(ErrorRecord& record, Body&& body) {
    record.Clear();
    return CallFrameNoClear(record, std::forward<Body>(body));
}

} // namespace

#define ORV_OK ORVANE_ERR_SUCCESS

#include "Orvane/GenApi/GenApi.h"
#include "OrvaneUtilsC.h"

namespace {

// The tag of a node handle, from the node's principal interface type; 0 (no
// tag) for the types no node handle stands for (value, base, port). Each
// caller reports that case in its own way.
inline orvHandleType NodeHandleTag(Orvane::GenApi::EInterfaceType type) {
    using namespace Orvane::GenApi;
    switch (type) {
    case intfIInteger: return ORV_HANDLE_INTEGER_NODE;
    case intfIBoolean: return ORV_HANDLE_BOOLEAN_NODE;
    case intfICommand: return ORV_HANDLE_COMMAND_NODE;
    case intfIFloat: return ORV_HANDLE_FLOAT_NODE;
    case intfIString: return ORV_HANDLE_STRING_NODE;
    case intfIRegister: return ORV_HANDLE_REGISTER_NODE;
    case intfICategory: return ORV_HANDLE_CATEGORY_NODE;
    case intfIEnumeration: return ORV_HANDLE_ENUMERATION_NODE;
    case intfIEnumEntry: return ORV_HANDLE_ENUM_ENTRY_NODE;
    default: return static_cast<orvHandleType>(0);
    }
}

} // namespace

// The node callback behind an orvNodeCallbackHandle: it watches one SDK node
// and calls the C function with a temporary handle for that node. Runs on the
// thread that changed the node, after the node map's lock was released.
class OrvNodeCallbackInternal : public Orvane::GenApi::CNodeCallback {
public:
    OrvNodeCallbackInternal(Orvane::GenApi::INode* node, orvNodeCallbackFunction function)
        : CNodeCallback(node, Orvane::GenApi::cb_PostOutsideLock), m_function(function) {}
    ~OrvNodeCallbackInternal() override {}

    void operator()(Orvane::GenApi::ECallbackType) const override {
        orvObject temporary(NodeHandleTag(m_pNode->GetPrincipalInterfaceType()));
        if (temporary.tag == 0)
            throw Orvane::Exception(434, "./OrvaneInternalC", "operator()",
                                    "Orvane Exception: internal node type assignment failure.", ORVANE_ERR_ERROR);
        temporary.target = m_pNode;
        m_function(&temporary);
    }

    void Destroy() override {}

private:
    orvNodeCallbackFunction m_function;
};

// What a callback handle holds: the callback object and the SDK's token.
struct NodeCallbackRegistration {
    OrvNodeCallbackInternal* callback = nullptr;
    Orvane::GenApi::CallbackHandleType token = 0;
};

#endif
