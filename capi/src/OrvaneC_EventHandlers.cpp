// Event handler handles of the OrvaneC module: Create makes the adapter that
// calls the C function and the record that owns it; Destroy frees both.
#include <initializer_list>
#include <memory>

#include "OrvaneCEvents.h"

using namespace OrvaneCInternal;

namespace {

// A function pointer argument of a Create function: whether it was given, and
// the line and message of its failure when it was not.
struct FunctionArgument {
    bool given;
    int line;
    const char* message;
};

// Out-pointer null, then each function pointer in argument order, then the
// adapter (made from args) and the record that owns it.
template <class Adapter, class... Args>
orvError CreateHandler(void** out, const char* function, std::initializer_list<FunctionArgument> functions,
                       Args... args) {
    return OrvaneCFrame([&] {
        CheckNullParam(out);
        for (const FunctionArgument& f : functions)
            if (!f.given) RaiseError(f.line, "OrvaneC", function, f.message, ORVANE_ERR_INVALID_PARAMETER);
        std::unique_ptr<Adapter> adapter(new Adapter(args...));
        orvObject* record = newRecord(Adapter::kTag);
        record->target = adapter.release();
        *out = record;
        return ORV_OK;
    });
}

// Handle null, its type unless checkType is false, then the adapter and the record.
template <class Adapter>
orvError DestroyHandler(void* handler, bool checkType) {
    return OrvaneCFrame([&] {
        CheckNullHandle(handler);
        if (checkType) checkObjectType(Adapter::kTag, handler);
        orvObject* record = asRecord(handler);
        if (record->target) delete static_cast<Adapter*>(record->target);
        destroyRecord(record);
        return ORV_OK;
    });
}

} // namespace

orvError orvDeviceEventHandlerCreate(orvDeviceEventHandler* handler, orvDeviceEventFunction function, void* userData) {
    return CreateHandler<DeviceEventHandler>(handler, "orvDeviceEventHandlerCreate",
                                             {{function != nullptr, 3108, "orvDeviceEventFunction parameter is NULL"}},
                                             userData, function);
}

orvError orvDeviceEventHandlerDestroy(orvDeviceEventHandler handler) {
    return DestroyHandler<DeviceEventHandler>(handler, true);
}

orvError orvImageEventHandlerCreate(orvImageEventHandler* handler, orvImageEventFunction function, void* userData) {
    return CreateHandler<ImageEventHandler>(handler, "orvImageEventHandlerCreate",
                                            {{function != nullptr, 3151, "orvImageEventFunction parameter is NULL"}},
                                            userData, function);
}

orvError orvImageEventHandlerDestroy(orvImageEventHandler handler) {
    return DestroyHandler<ImageEventHandler>(handler, true);
}

orvError orvImageListEventHandlerCreate(orvImageListEventHandler* handler, orvImageListEventFunction function,
                                        void* userData) {
    // The message names the image event function, as it always has.
    return CreateHandler<ImageListEventHandler>(
        handler, "orvImageListEventHandlerCreate",
        {{function != nullptr, 3194, "orvImageEventFunction parameter is NULL"}}, userData, function);
}

orvError orvImageListEventHandlerDestroy(orvImageListEventHandler handler) {
    return DestroyHandler<ImageListEventHandler>(handler, true);
}

orvError orvDeviceArrivalEventHandlerCreate(orvDeviceArrivalEventHandler* handler, orvArrivalEventFunction function,
                                            void* userData) {
    return CreateHandler<ArrivalEventHandler>(
        handler, "orvDeviceArrivalEventHandlerCreate",
        {{function != nullptr, 3237, "orvArrivalEventFunction parameter is NULL"}}, userData, function);
}

orvError orvDeviceArrivalEventHandlerDestroy(orvDeviceArrivalEventHandler handler) {
    return DestroyHandler<ArrivalEventHandler>(handler, true);
}

orvError orvDeviceRemovalEventHandlerCreate(orvDeviceRemovalEventHandler* handler, orvRemovalEventFunction function,
                                            void* userData) {
    return CreateHandler<RemovalEventHandler>(
        handler, "orvDeviceRemovalEventHandlerCreate",
        {{function != nullptr, 3263, "orvRemovalEventFunction parameter is NULL"}}, userData, function);
}

orvError orvDeviceRemovalEventHandlerDestroy(orvDeviceRemovalEventHandler handler) {
    return DestroyHandler<RemovalEventHandler>(handler, true);
}

orvError orvInterfaceEventHandlerCreate(orvInterfaceEventHandler* handler, orvArrivalEventFunction arrival,
                                        orvRemovalEventFunction removal, void* userData) {
    return CreateHandler<InterfaceEventHandler>(
        handler, "orvInterfaceEventHandlerCreate",
        {{arrival != nullptr, 3329, "orvArrivalEventFunction parameter is NULL"},
         {removal != nullptr, 3334, "orvRemovalEventFunction parameter is NULL"}},
        userData, arrival, removal);
}

// No type check: any handle's adapter is deleted as an interface event handler.
orvError orvInterfaceEventHandlerDestroy(orvInterfaceEventHandler handler) {
    return DestroyHandler<InterfaceEventHandler>(handler, false);
}

orvError orvLogEventHandlerCreate(orvLogEventHandler* handler, orvLogEventFunction function, void* userData) {
    return CreateHandler<LogEventHandler>(handler, "orvLogEventHandlerCreate",
                                          {{function != nullptr, 3375, "orvLogEventFunction parameter is NULL"}},
                                          userData, function);
}

// No type check: any handle's adapter is deleted as a log event handler.
orvError orvLogEventHandlerDestroy(orvLogEventHandler handler) {
    return DestroyHandler<LogEventHandler>(handler, false);
}
