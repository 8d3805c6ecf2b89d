// System functions of the OrvaneC module.
#include "Orvane/System.h"
#include "OrvaneCActionCommand.h"
#include "OrvaneCEvents.h"

using namespace Orvane;

namespace {
System* AsSystem(void* handle) { return static_cast<System*>(asRecord(handle)->target); }
} // namespace

orvError orvSystemGetInstance(orvSystem* system) {
    return OrvaneCFrame([&] {
        CheckNullParam(system);
        orvObject* record = BuildRecord(ORV_HANDLE_SYSTEM, [](orvObject* r) {
            // Deliberately never freed: it keeps one reference to the system
            // for the rest of the process, so the raw pointer in the handle
            // stays valid.
            SystemPtr* keep = new SystemPtr();
            Abandon(keep);
            *keep = System::GetInstance();
            r->target = keep->get();
        });
        *system = record;
        return ORV_OK;
    });
}

orvError orvSystemReleaseInstance(orvSystem system) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        System* sdk = AsSystem(system);
        sdk->ReleaseInstance();
        delete sdk;
        // The cached node map handle (and the node handles under it) outlive
        // the system handle: they are not freed here.
        for (auto& child : asRecord(system)->children) Abandon(child.second);
        destroyRecord(asRecord(system));
        return ORV_OK;
    });
}

orvError orvSystemGetInterfaces(orvSystem system, orvInterfaceList list) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        CheckNullHandle(list);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        checkObjectType(ORV_HANDLE_INTERFACE_LIST, list);
        InterfaceList* l = static_cast<InterfaceList*>(asRecord(list)->target);
        if (l->GetSize() != 0) l->Clear();
        *l = AsSystem(system)->GetInterfaces(true);
        return ORV_OK;
    });
}

namespace {
orvError GetCameras(orvSystem system, bool updateInterfaces, bool updateCameras, orvCameraList list) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        CheckNullHandle(list);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        checkObjectType(ORV_HANDLE_CAMERA_LIST, list);
        CameraList* l = static_cast<CameraList*>(asRecord(list)->target);
        if (l->GetSize() != 0) l->Clear();
        *l = AsSystem(system)->GetCameras(updateInterfaces, updateCameras);
        return ORV_OK;
    });
}
} // namespace

orvError orvSystemGetCameras(orvSystem system, orvCameraList list) { return GetCameras(system, true, true, list); }

orvError orvSystemGetCamerasEx(orvSystem system, bool8_t updateInterfaces, bool8_t updateCameras, orvCameraList list) {
    return GetCameras(system, updateInterfaces != 0, updateCameras != 0, list);
}

orvError orvSystemSetLoggingLevel(orvSystem system, orvLogLevel level) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        AsSystem(system)->SetLoggingEventPriorityLevel(static_cast<LogLevel>(level));
        return ORV_OK;
    });
}

orvError orvSystemGetLoggingLevel(orvSystem system, orvLogLevel* level) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        CheckNullParam(level);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        *level = AsSystem(system)->GetLoggingEventPriorityLevel();
        return ORV_OK;
    });
}

orvError orvSystemIsInUse(orvSystem system, bool8_t* isInUse) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        const bool inUse = AsSystem(system)->IsInUse();
        *isInUse = inUse ? 1 : 0;
        return ORV_OK;
    });
}

orvError orvSystemUpdateCameras(orvSystem system, bool8_t* changed) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        const bool result = AsSystem(system)->UpdateCameras(true);
        *changed = result ? 1 : 0;
        return ORV_OK;
    });
}

orvError orvSystemUpdateCamerasEx(orvSystem system, bool8_t updateInterfaces, bool8_t* changed) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        CheckNullParam(changed);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        const bool result = AsSystem(system)->UpdateCameras(updateInterfaces != 0);
        *changed = result ? 1 : 0;
        return ORV_OK;
    });
}

orvError orvSystemGetLibraryVersion(orvSystem system, orvLibraryVersion* version) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        const LibraryVersion v = AsSystem(system)->GetLibraryVersion();
        version->major = v.major;
        version->minor = v.minor;
        version->type = v.type;
        version->build = v.build;
        return ORV_OK;
    });
}

orvError orvSystemGetTLNodeMap(orvSystem system, orvNodeMapHandle* nodeMap) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        CheckNullParam(nodeMap);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        System* sdk = AsSystem(system);
        *nodeMap =
            CachedNodeMap(asRecord(system), "TLNodeMap", [&]() -> GenApi::INodeMap& { return sdk->GetTLNodeMap(); });
        return ORV_OK;
    });
}

orvError orvSystemRegisterLogEventHandler(orvSystem system, orvLogEventHandler handler) {
    return HandlerCall<OrvaneCInternal::LogEventHandler>(
        system, ORV_HANDLE_SYSTEM, handler,
        [&](Orvane::LoggingEventHandler& h) { AsSystem(system)->RegisterLoggingEventHandler(h); });
}

orvError orvSystemUnregisterLogEventHandler(orvSystem system, orvLogEventHandler handler) {
    return HandlerCall<OrvaneCInternal::LogEventHandler>(
        system, ORV_HANDLE_SYSTEM, handler,
        [&](Orvane::LoggingEventHandler& h) { AsSystem(system)->UnregisterLoggingEventHandler(h); });
}

orvError orvSystemUnregisterAllLogEventHandlers(orvSystem system) {
    return OrvaneCFrame([&] {
        CheckNullHandle(system);
        checkObjectType(ORV_HANDLE_SYSTEM, system);
        AsSystem(system)->UnregisterAllLoggingEventHandlers();
        return ORV_OK;
    });
}

namespace {

// Arrival, removal and interface event handlers go to the SDK as its common
// handler base; the system does not rediscover before registering them.
template <class Adapter>
orvError RegisterMonitorHandler(orvSystem system, void* handler) {
    return HandlerCall<Adapter>(system, ORV_HANDLE_SYSTEM, handler,
                                [&](EventHandler& h) { AsSystem(system)->RegisterEventHandler(h, false); });
}

template <class Adapter>
orvError UnregisterMonitorHandler(orvSystem system, void* handler) {
    return HandlerCall<Adapter>(system, ORV_HANDLE_SYSTEM, handler,
                                [&](EventHandler& h) { AsSystem(system)->UnregisterEventHandler(h); });
}

} // namespace

orvError orvSystemRegisterDeviceArrivalEventHandler(orvSystem system, orvDeviceArrivalEventHandler handler) {
    return RegisterMonitorHandler<OrvaneCInternal::ArrivalEventHandler>(system, handler);
}

orvError orvSystemRegisterDeviceRemovalEventHandler(orvSystem system, orvDeviceRemovalEventHandler handler) {
    return RegisterMonitorHandler<OrvaneCInternal::RemovalEventHandler>(system, handler);
}

orvError orvSystemRegisterInterfaceEventHandler(orvSystem system, orvInterfaceEventHandler handler) {
    return RegisterMonitorHandler<OrvaneCInternal::InterfaceEventHandler>(system, handler);
}

orvError orvSystemUnregisterDeviceArrivalEventHandler(orvSystem system, orvDeviceArrivalEventHandler handler) {
    return UnregisterMonitorHandler<OrvaneCInternal::ArrivalEventHandler>(system, handler);
}

orvError orvSystemUnregisterDeviceRemovalEventHandler(orvSystem system, orvDeviceRemovalEventHandler handler) {
    return UnregisterMonitorHandler<OrvaneCInternal::RemovalEventHandler>(system, handler);
}

orvError orvSystemUnregisterInterfaceEventHandler(orvSystem system, orvInterfaceEventHandler handler) {
    return UnregisterMonitorHandler<OrvaneCInternal::InterfaceEventHandler>(system, handler);
}

// C++ linkage: exported under its type-encoded name.
orvError orvSystemSendActionCommand(orvSystem system, unsigned int deviceKey, unsigned int groupKey,
                                    unsigned int groupMask, unsigned long long actionTime, bool requestAcknowledgement,
                                    unsigned int* resultSize, orvActionCommandResult* results) {
    return SendActionCommand(system, ORV_HANDLE_SYSTEM, resultSize, results,
                             [&](unsigned int* count, ActionCommandResult* scratch) {
                                 AsSystem(system)->SendActionCommand(deviceKey, groupKey, groupMask, actionTime,
                                                                     requestAcknowledgement, count, scratch);
                             });
}
