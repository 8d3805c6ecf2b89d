// Event handlers of the OrvaneC module: the adapter classes that turn the
// SDK's handler classes into C callbacks, the records behind the data handles
// that log and device-event callbacks receive, and the call shape of the
// functions that register handlers.
//
// Owner and threads: an adapter belongs to the handler handle whose target it
// is (made by the Create function, deleted by the Destroy function). The SDK
// calls its operation on one of the SDK's threads (the header of each SDK
// handler class says which); the adapter takes no lock: it reads only its own
// pointers, which never change after construction, and builds the temporary
// handles of the call on the dispatching thread's stack.
#ifndef ORVANE_C_EVENTS_H
#define ORVANE_C_EVENTS_H

#include <cstdint>

#include "Orvane/DeviceArrivalEventHandler.h"
#include "Orvane/DeviceEventHandler.h"
#include "Orvane/ImageEventHandler.h"
#include "Orvane/ImageListEventHandler.h"
#include "Orvane/Logging.h"
#include "OrvaneCModule.h"

// The record behind a log callback's orvLogEventData handle: the log record's
// fields, copied when the event is dispatched.
struct _orvLogEventContext {
    Orvane::GenICam::gcstring categoryName;
    int64_t priority = 0;
    Orvane::GenICam::gcstring priorityName;
    Orvane::GenICam::gcstring timestamp;
    Orvane::GenICam::gcstring ndc;
    Orvane::GenICam::gcstring threadName;
    Orvane::GenICam::gcstring logMessage;
};

// The record behind a device-event callback's orvDeviceEventData handle. The
// name stays empty: the callback receives the event name as its own argument.
struct _orvDeviceEventContext {
    uint64_t eventId = 0;
    const uint8_t* payloadData = nullptr;
    size_t payloadSize = 0;
    Orvane::GenICam::gcstring eventName;
};

namespace OrvaneCInternal {

// A handle for the duration of one callback, on the dispatching thread's
// stack. Handles that the callback obtains through it (a camera's node maps)
// outlive it, as cached handles do: they stay allocated.
class CallbackHandle {
public:
    CallbackHandle(orvHandleType tag, void* target) : m_record(tag) { m_record.target = target; }
    ~CallbackHandle() {
        for (auto& child : m_record.children) Abandon(child.second);
    }
    CallbackHandle(const CallbackHandle&) = delete;
    CallbackHandle& operator=(const CallbackHandle&) = delete;
    orvObject* get() { return &m_record; }

private:
    orvObject m_record;
};

// Device events: the data handle carries the event id and payload size; the
// event name comes as the callback's second argument.
class DeviceEventHandler : public Orvane::DeviceEventHandler {
public:
    static constexpr orvHandleType kTag = ORV_HANDLE_DEVICE_EVENT;
    DeviceEventHandler(void* data, orvDeviceEventFunction fn) : userData(data), function(fn) {}
    ~DeviceEventHandler() override {}

    void OnDeviceEvent(Orvane::GenICam::gcstring eventName) override {
        _orvDeviceEventContext context;
        CallbackHandle data(ORV_HANDLE_DEVICE_EVENT_DATA, &context);
        context.eventId = GetDeviceEventID();
        context.payloadData = GetEventPayloadData();
        context.payloadSize = GetEventPayloadDataSize();
        if (function) function(data.get(), eventName.c_str(), userData);
    }

    void* const userData;
    const orvDeviceEventFunction function;
};

class ImageEventHandler : public Orvane::ImageEventHandler {
public:
    static constexpr orvHandleType kTag = ORV_HANDLE_IMAGE_EVENT;
    ImageEventHandler(void* data, orvImageEventFunction fn) : userData(data), function(fn) {}
    ~ImageEventHandler() override {}

    void OnImageEvent(Orvane::ImagePtr image) override {
        if (!function) return;
        CallbackHandle handle(ORV_HANDLE_IMAGE, &image);
        function(handle.get(), userData);
    }

    void* const userData;
    const orvImageEventFunction function;
};

class ImageListEventHandler : public Orvane::ImageListEventHandler {
public:
    static constexpr orvHandleType kTag = ORV_HANDLE_IMAGE_LIST_EVENT;
    ImageListEventHandler(void* data, orvImageListEventFunction fn) : userData(data), function(fn) {}
    ~ImageListEventHandler() override {}

    void OnImageListEvent(Orvane::ImageList imageList) override {
        if (!function) return;
        CallbackHandle handle(ORV_HANDLE_IMAGE_LIST, &imageList);
        function(handle.get(), userData);
    }

    void* const userData;
    const orvImageListEventFunction function;
};

// Calls `function` with a temporary camera handle for `camera`.
inline void DispatchCamera(void (*function)(orvCamera, void*), Orvane::CameraPtr& camera, void* userData) {
    if (!function) return;
    CallbackHandle handle(ORV_HANDLE_CAMERA, &camera);
    function(handle.get(), userData);
}

class ArrivalEventHandler : public Orvane::DeviceArrivalEventHandler {
public:
    static constexpr orvHandleType kTag = ORV_HANDLE_ARRIVAL_EVENT;
    ArrivalEventHandler(void* data, orvArrivalEventFunction fn) : userData(data), function(fn) {}
    ~ArrivalEventHandler() override {}

    void OnDeviceArrival(Orvane::CameraPtr camera) override { DispatchCamera(function, camera, userData); }

    void* const userData;
    const orvArrivalEventFunction function;
};

class RemovalEventHandler : public Orvane::DeviceRemovalEventHandler {
public:
    static constexpr orvHandleType kTag = ORV_HANDLE_REMOVAL_EVENT;
    RemovalEventHandler(void* data, orvRemovalEventFunction fn) : userData(data), function(fn) {}
    ~RemovalEventHandler() override {}

    void OnDeviceRemoval(Orvane::CameraPtr camera) override { DispatchCamera(function, camera, userData); }

    void* const userData;
    const orvRemovalEventFunction function;
};

// Arrivals and removals through one registration.
class InterfaceEventHandler : public Orvane::InterfaceEventHandler {
public:
    static constexpr orvHandleType kTag = ORV_HANDLE_INTERFACE_EVENT;
    InterfaceEventHandler(void* data, orvArrivalEventFunction onArrival, orvRemovalEventFunction onRemoval)
        : userData(data), arrival(onArrival), removal(onRemoval) {}
    ~InterfaceEventHandler() override {}

    void OnDeviceArrival(Orvane::CameraPtr camera) override { DispatchCamera(arrival, camera, userData); }
    void OnDeviceRemoval(Orvane::CameraPtr camera) override { DispatchCamera(removal, camera, userData); }

    void* const userData;
    const orvArrivalEventFunction arrival;
    const orvRemovalEventFunction removal;
};

// Log records: the data handle carries a copy of the record's fields.
class LogEventHandler : public Orvane::LoggingEventHandler {
public:
    static constexpr orvHandleType kTag = ORV_HANDLE_LOGGING_EVENT;
    LogEventHandler(void* data, orvLogEventFunction fn) : userData(data), function(fn) {}
    ~LogEventHandler() override {}

    void OnLogEvent(Orvane::LoggingEventDataPtr record) override {
        if (!function) return;
        _orvLogEventContext context;
        CallbackHandle data(ORV_HANDLE_LOGGING_EVENT_DATA, &context);
        context.categoryName = record->GetCategoryName();
        context.priority = record->GetPriority();
        context.priorityName = record->GetPriorityName();
        context.timestamp = record->GetTimestamp();
        context.ndc = record->GetNDC();
        context.threadName = record->GetThreadName();
        context.logMessage = record->GetLogMessage();
        function(data.get(), userData);
    }

    void* const userData;
    const orvLogEventFunction function;
};

} // namespace OrvaneCInternal

namespace {

// The registration call shape: owner null, handler null, owner type, handler
// type, then work(owner handle, adapter).
template <class Adapter, class Work>
inline orvError HandlerCall(void* owner, orvHandleType ownerTag, void* handler, Work&& work) {
    return OrvaneCFrame([&] {
        CheckNullHandle(owner);
        CheckNullHandle(handler);
        checkObjectType(ownerTag, owner);
        checkObjectType(Adapter::kTag, handler);
        work(*static_cast<Adapter*>(asRecord(handler)->target));
        return ORV_OK;
    });
}

} // namespace

#endif
