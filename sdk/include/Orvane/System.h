// Orvane::System: the root of the SDK. It enumerates interfaces and cameras,
// holds the logging level and handler registrations, and serves the system's
// transport-layer node map.
//
// Which transports are enumerated: the environment variable ORVANE_TRANSPORTS
// (a comma-separated list of "virtual", "gige", "usb3", or "all"; default
// "virtual") sets the start value of the TL node map's booleans
// EnumerateVirtualInterfaces, EnumerateGEVInterfaces and
// EnumerateUSBInterfaces, which may be changed at run time. ORVANE_VIRTUAL_CAMERAS
// (default 1, 0 hides them) sets how many virtual cameras exist (VirtualCameraCount).
//
// Plugging and unplugging virtual cameras: writing VirtualCameraCount plugs
// the cameras up to the new count and unplugs those above it, at once (the
// virtual interface rediscovers before the write returns, so arrival and
// removal handlers hear of it). An unplugged camera that is open is lost, as a
// GigE Vision camera that stops answering is: IsValid turns false, its
// features are NA, and every feature, port or acquisition call on it raises
// ORVANE_ERR_DEVICE_LOST ("<Feature>: camera <DeviceID> was lost (unplugged:
// VirtualCameraCount is N)"); GetNextImage ends with ORVANE_ERR_DEVICE_LOST.
// DeInit still works; the camera object does not open again (Init raises
// ORVANE_ERR_NOT_AVAILABLE): plugged again, the camera is a new object of the
// camera lists, reported as an arrival. Tests plug and unplug this way.
#ifndef ORVANE_SYSTEM_H
#define ORVANE_SYSTEM_H

#include <cstdint>
#include <memory>

#include "Orvane/ActionCommand.h"
#include "Orvane/BasePtr.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/Interfaces.h"
#include "Orvane/InterfaceList.h"
#include "Orvane/Logging.h"

namespace Orvane {

namespace internal {
class SystemCore;
}

struct LibraryVersion {
    int32_t major;
    int32_t minor;
    int32_t type; // 0 release, 1 beta, 2 development build
    int32_t build;
};

class System;
typedef BasePtr<System> SystemPtr;

class ORVANE_API System {
public:
    // A new reference to the process-wide system. Every SystemPtr obtained here
    // holds one reference until ReleaseInstance or its last copy goes away; the
    // cameras and interfaces are torn down when the last reference is released.
    static SystemPtr GetInstance();
    // Drops this object's reference (once; later calls do nothing). Every
    // other call on this object then raises ORVANE_ERR_NOT_AVAILABLE.
    void ReleaseInstance();
    virtual ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    // The interfaces of the enabled transports, rediscovered first when
    // updateInterface is true.
    InterfaceList GetInterfaces(bool updateInterface = true);
    // All cameras of all enabled interfaces.
    CameraList GetCameras(bool updateInterfaces = true, bool updateCameras = true);
    // Rediscovers cameras; true when the set of cameras changed since the last
    // discovery.
    bool UpdateCameras(bool updateInterfaces = true);
    // True while a camera is initialised or a camera or interface is held
    // outside the SDK's own lists.
    bool IsInUse();
    LibraryVersion GetLibraryVersion();
    GenApi::INodeMap& GetTLNodeMap() const;

    // Logging handlers run on the thread that logs (see Logging.h).
    void RegisterLoggingEventHandler(LoggingEventHandler& handler);
    void UnregisterLoggingEventHandler(LoggingEventHandler& handler);
    void UnregisterAllLoggingEventHandlers();
    void SetLoggingEventPriorityLevel(LogLevel level);
    LogLevel GetLoggingEventPriorityLevel();

    // Arrival and removal ------------------------------------------------------
    // Registers a DeviceArrivalEventHandler, DeviceRemovalEventHandler or
    // InterfaceEventHandler for the cameras of every enabled interface (see
    // DeviceArrivalEventHandler.h for the thread it runs on). With update
    // true, discovery runs first so that cameras present now are not reported
    // as arrivals; with update false, the cameras of each interface's last
    // discovery are known, and an interface never discovered yet reports all
    // its cameras as arrivals at the device monitor's first discovery. The
    // handler hears the changes made after it was registered. Raises
    // ORVANE_ERR_INVALID_ARGUMENT for a handler of another kind,
    // ORVANE_ERR_RESOURCE_IN_USE when it is registered on the system already
    // (the same handler may be registered on an interface as well: it then
    // hears that interface's changes twice).
    void RegisterEventHandler(EventHandler& handler, bool update = true);
    // Waits until the handler is not running on another thread (a handler may
    // unregister itself from its callback). The last unregistration stops the
    // device monitor's threads before it returns (waiting for a GigE Vision
    // discovery under way, about a second). Raises ORVANE_ERR_NOT_AVAILABLE
    // when it is not registered on the system.
    void UnregisterEventHandler(EventHandler& handler);

    // Action commands ----------------------------------------------------------
    // Sends an action command on every enabled interface (ActionCommand.h),
    // one after the other, passing over interfaces whose transport has no
    // action commands (USB3 Vision).
    // actionTime: device time in ns at which to act, 0 for at once.
    // requestAcknowledgement: collect the cameras' acknowledgements, on each
    // interface for as long as its ActionAcknowledgementTimeout says (TL node
    // map, default 200 ms; virtual cameras answer at once). resultCount: in,
    // the capacity of results (may be 0, results may then be null); out, the
    // number of acknowledgements received (possibly more than the capacity;
    // only the first `capacity` are written, the rest of results is left
    // alone). Null resultCount: nothing is reported. Raises
    // ORVANE_ERR_INVALID_ARGUMENT for a capacity without results,
    // ORVANE_ERR_NOT_IMPLEMENTED when no enabled interface sends action
    // commands, ORVANE_ERR_NOT_AVAILABLE when no interface is enabled, and an
    // interface's failure (after the command went out on the others).
    void SendActionCommand(unsigned int deviceKey, unsigned int groupKey, unsigned int groupMask,
                           unsigned long long actionTime = ActionTimeImmediate, bool requestAcknowledgement = true,
                           unsigned int* resultCount = nullptr, ActionCommandResult* results = nullptr);

private:
    explicit System(std::shared_ptr<internal::SystemCore> core);
    internal::SystemCore& Core() const;

    std::shared_ptr<internal::SystemCore> m_core; // null after ReleaseInstance
};

} // namespace Orvane

#endif
