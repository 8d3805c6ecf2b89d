// Log and device event data of the OrvaneC module: reads of the records that
// log and device-event callbacks receive (copied at dispatch; no SDK call).
#include <initializer_list>

#include "OrvaneCEvents.h"

namespace {

// Data handle null, each pointer argument null in argument order, data type,
// then work(record).
template <class Context, class Work>
orvError EventDataCall(void* data, orvHandleType tag, std::initializer_list<const void*> pointers, Work&& work) {
    return OrvaneCFrame([&] {
        CheckNullHandle(data);
        for (const void* p : pointers) CheckNullParam(p);
        checkObjectType(tag, data);
        work(*static_cast<Context*>(asRecord(data)->target));
        return ORV_OK;
    });
}

// A text of a log record: the buffer is not checked (null asks for the length).
orvError LogText(orvLogEventData data, char* buffer, size_t* length,
                 Orvane::GenICam::gcstring _orvLogEventContext::*field) {
    return EventDataCall<_orvLogEventContext>(data, ORV_HANDLE_LOGGING_EVENT_DATA, {length},
                                              [&](_orvLogEventContext& c) { SetString(c.*field, buffer, length); });
}

} // namespace

orvError orvLogDataGetCategoryName(orvLogEventData data, char* buffer, size_t* length) {
    return LogText(data, buffer, length, &_orvLogEventContext::categoryName);
}

orvError orvLogDataGetPriority(orvLogEventData data, int64_t* priority) {
    return EventDataCall<_orvLogEventContext>(data, ORV_HANDLE_LOGGING_EVENT_DATA, {priority},
                                              [&](_orvLogEventContext& c) { *priority = c.priority; });
}

orvError orvLogDataGetPriorityName(orvLogEventData data, char* buffer, size_t* length) {
    return LogText(data, buffer, length, &_orvLogEventContext::priorityName);
}

orvError orvLogDataGetTimestamp(orvLogEventData data, char* buffer, size_t* length) {
    return LogText(data, buffer, length, &_orvLogEventContext::timestamp);
}

orvError orvLogDataGetNDC(orvLogEventData data, char* buffer, size_t* length) {
    return LogText(data, buffer, length, &_orvLogEventContext::ndc);
}

orvError orvLogDataGetThreadName(orvLogEventData data, char* buffer, size_t* length) {
    return LogText(data, buffer, length, &_orvLogEventContext::threadName);
}

orvError orvLogDataGetLogMessage(orvLogEventData data, char* buffer, size_t* length) {
    return LogText(data, buffer, length, &_orvLogEventContext::logMessage);
}

orvError orvDeviceEventGetId(orvDeviceEventData data, uint64_t* eventId) {
    return EventDataCall<_orvDeviceEventContext>(data, ORV_HANDLE_DEVICE_EVENT_DATA, {eventId},
                                                 [&](_orvDeviceEventContext& c) { *eventId = c.eventId; });
}

// Both pointers are checked, but only the size is delivered: *payload is left
// as the caller set it.
orvError orvDeviceEventGetPayloadData(orvDeviceEventData data, const uint8_t** payload, size_t* size) {
    return EventDataCall<_orvDeviceEventContext>(data, ORV_HANDLE_DEVICE_EVENT_DATA, {payload, size},
                                                 [&](_orvDeviceEventContext& c) { *size = c.payloadSize; });
}

orvError orvDeviceEventGetPayloadDataSize(orvDeviceEventData data, size_t* size) {
    return EventDataCall<_orvDeviceEventContext>(data, ORV_HANDLE_DEVICE_EVENT_DATA, {size},
                                                 [&](_orvDeviceEventContext& c) { *size = c.payloadSize; });
}

// The buffer is checked here (no length query); the name is always empty.
orvError orvDeviceEventGetName(orvDeviceEventData data, char* buffer, size_t* length) {
    return EventDataCall<_orvDeviceEventContext>(
        data, ORV_HANDLE_DEVICE_EVENT_DATA, {buffer, length},
        [&](_orvDeviceEventContext& c) { SetString(c.eventName, buffer, length); });
}
