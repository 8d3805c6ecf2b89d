// Interface functions of the OrvaneC module.
#include "Orvane/Interface.h"
#include "OrvaneCActionCommand.h"
#include "OrvaneCEvents.h"

using namespace Orvane;

namespace {
// The SDK interface, through the smart pointer's raw-pointer conversion.
Interface* AsInterface(void* handle) { return *static_cast<InterfacePtr*>(asRecord(handle)->target); }

orvError GetCameras(orvInterface interfaceHandle, bool updateCameras, orvCameraList list) {
    return OrvaneCFrame([&] {
        CheckNullHandle(interfaceHandle);
        CheckNullHandle(list);
        checkObjectType(ORV_HANDLE_INTERFACE, interfaceHandle);
        checkObjectType(ORV_HANDLE_CAMERA_LIST, list);
        CameraList* l = static_cast<CameraList*>(asRecord(list)->target);
        if (l->GetSize() != 0) l->Clear();
        *l = AsInterface(interfaceHandle)->GetCameras(updateCameras);
        return ORV_OK;
    });
}
} // namespace

orvError orvInterfaceUpdateCameras(orvInterface interfaceHandle, bool8_t* changed) {
    return OrvaneCFrame([&] {
        CheckNullHandle(interfaceHandle);
        CheckNullParam(changed);
        checkObjectType(ORV_HANDLE_INTERFACE, interfaceHandle);
        const bool result = AsInterface(interfaceHandle)->UpdateCameras();
        *changed = result ? 1 : 0;
        return ORV_OK;
    });
}

orvError orvInterfaceGetCameras(orvInterface interfaceHandle, orvCameraList list) {
    return GetCameras(interfaceHandle, true, list);
}

orvError orvInterfaceGetCamerasEx(orvInterface interfaceHandle, bool8_t updateCameras, orvCameraList list) {
    return GetCameras(interfaceHandle, updateCameras != 0, list);
}

orvError orvInterfaceGetTLNodeMap(orvInterface interfaceHandle, orvNodeMapHandle* nodeMap) {
    return OrvaneCFrame([&] {
        CheckNullHandle(interfaceHandle);
        CheckNullParam(nodeMap);
        checkObjectType(ORV_HANDLE_INTERFACE, interfaceHandle);
        Interface* sdk = AsInterface(interfaceHandle);
        *nodeMap = CachedNodeMap(asRecord(interfaceHandle), "TLNodeMap",
                                 [&]() -> GenApi::INodeMap& { return sdk->GetTLNodeMap(); });
        return ORV_OK;
    });
}

orvError orvInterfaceIsInUse(orvInterface interfaceHandle, bool8_t* isInUse) {
    return OrvaneCFrame([&] {
        CheckNullHandle(interfaceHandle);
        CheckNullParam(isInUse);
        checkObjectType(ORV_HANDLE_INTERFACE, interfaceHandle);
        const bool inUse = AsInterface(interfaceHandle)->IsInUse();
        *isInUse = inUse ? 1 : 0;
        return ORV_OK;
    });
}

orvError orvInterfaceRelease(orvInterface interfaceHandle) {
    return OrvaneCFrame([&] {
        CheckNullHandle(interfaceHandle);
        checkObjectType(ORV_HANDLE_INTERFACE, interfaceHandle);
        orvObject* record = asRecord(interfaceHandle);
        if (record->target) delete static_cast<InterfacePtr*>(record->target);
        emptyPackageRecursively(record);
        return ORV_OK;
    });
}

namespace {

// Arrival, removal and interface event handlers go to the SDK as its common
// handler base.
template <class Adapter>
orvError RegisterMonitorHandler(orvInterface interfaceHandle, void* handler) {
    return HandlerCall<Adapter>(interfaceHandle, ORV_HANDLE_INTERFACE, handler,
                                [&](EventHandler& h) { AsInterface(interfaceHandle)->RegisterEventHandler(h); });
}

template <class Adapter>
orvError UnregisterMonitorHandler(orvInterface interfaceHandle, void* handler) {
    return HandlerCall<Adapter>(interfaceHandle, ORV_HANDLE_INTERFACE, handler,
                                [&](EventHandler& h) { AsInterface(interfaceHandle)->UnregisterEventHandler(h); });
}

} // namespace

orvError orvInterfaceRegisterDeviceArrivalEventHandler(orvInterface interfaceHandle,
                                                       orvDeviceArrivalEventHandler handler) {
    return RegisterMonitorHandler<OrvaneCInternal::ArrivalEventHandler>(interfaceHandle, handler);
}

orvError orvInterfaceRegisterDeviceRemovalEventHandler(orvInterface interfaceHandle,
                                                       orvDeviceRemovalEventHandler handler) {
    return RegisterMonitorHandler<OrvaneCInternal::RemovalEventHandler>(interfaceHandle, handler);
}

orvError orvInterfaceRegisterInterfaceEventHandler(orvInterface interfaceHandle, orvInterfaceEventHandler handler) {
    return RegisterMonitorHandler<OrvaneCInternal::InterfaceEventHandler>(interfaceHandle, handler);
}

orvError orvInterfaceUnregisterDeviceArrivalEventHandler(orvInterface interfaceHandle,
                                                         orvDeviceArrivalEventHandler handler) {
    return UnregisterMonitorHandler<OrvaneCInternal::ArrivalEventHandler>(interfaceHandle, handler);
}

orvError orvInterfaceUnregisterDeviceRemovalEventHandler(orvInterface interfaceHandle,
                                                         orvDeviceRemovalEventHandler handler) {
    return UnregisterMonitorHandler<OrvaneCInternal::RemovalEventHandler>(interfaceHandle, handler);
}

orvError orvInterfaceUnregisterInterfaceEventHandler(orvInterface interfaceHandle, orvInterfaceEventHandler handler) {
    return UnregisterMonitorHandler<OrvaneCInternal::InterfaceEventHandler>(interfaceHandle, handler);
}

// C++ linkage: exported under its type-encoded name.
orvError orvInterfaceSendActionCommand(orvInterface interfaceHandle, unsigned int deviceKey, unsigned int groupKey,
                                       unsigned int groupMask, unsigned long long actionTime,
                                       bool requestAcknowledgement, unsigned int* resultSize,
                                       orvActionCommandResult* results) {
    return SendActionCommand(interfaceHandle, ORV_HANDLE_INTERFACE, resultSize, results,
                             [&](unsigned int* count, ActionCommandResult* scratch) {
                                 AsInterface(interfaceHandle)
                                     ->SendActionCommand(deviceKey, groupKey, groupMask, actionTime,
                                                         requestAcknowledgement, count, scratch);
                             });
}
