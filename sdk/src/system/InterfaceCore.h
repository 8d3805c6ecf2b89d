// InterfaceCore: the state behind one Orvane::Interface: its transport, the
// cameras found by the last discovery, its transport-layer node map and its
// action command settings.
//
// Camera list: a discovery adds the devices it finds (new camera objects for
// devices not listed) and drops those it no longer finds, except a camera
// open through the SDK whose connection is not lost (one missed discovery
// answer does not take an open camera away; its loss does). Forget drops a
// camera whose device was lost. Every change is posted to the system's
// device monitor (arrival and removal events), under m_mutex, so the events
// come in the order of the changes.
//
// Locking: m_mutex guards the camera list, the selector and the action
// settings. The transport discovers before it is taken; concurrent updates of
// one interface then apply their results one after the other, in the order
// the discoveries started (a result older than the one applied is dropped,
// so a slow discovery never undoes a newer change). Under m_mutex
// the interface takes a camera's CameraAccess lock (its connection) and the
// monitor's lock, never the reverse.
#ifndef ORVANE_SYSTEM_INTERFACE_CORE_H
#define ORVANE_SYSTEM_INTERFACE_CORE_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "Orvane/ActionCommand.h"
#include "Orvane/CameraList.h"
#include "genapi/NativeNodeMap.h"
#include "transport/Transport.h"

namespace Orvane {
namespace internal {

struct CameraChanges {
    std::vector<CameraPtr> arrived;
    std::vector<CameraPtr> removed;
    bool Any() const { return !arrived.empty() || !removed.empty(); }
};

class DeviceMonitor;
class DiscoveredCamera;

class InterfaceCore : public std::enable_shared_from_this<InterfaceCore> {
public:
    explicit InterfaceCore(std::shared_ptr<Transport> transport);
    ~InterfaceCore();

    // The system's device monitor, which hears every change of the camera
    // list (set once by the system, before the interface is handed out).
    void SetMonitor(std::shared_ptr<DeviceMonitor> monitor) { m_monitor = std::move(monitor); }
    const std::shared_ptr<DeviceMonitor>& Monitor() const { return m_monitor; }

    std::string Id() const { return m_transport->Id(); }
    std::string DisplayName() const { return m_transport->DisplayName(); }
    TransportKind Kind() const { return m_transport->Kind(); }

    // Rediscovers; returns the cameras that arrived and those that left.
    CameraChanges Update();
    // The cameras of the last discovery (discovering first if never done).
    CameraList Cameras();
    // True when a camera of this interface is initialised or held outside the
    // SDK's own lists.
    bool InUse();
    // Drops the cameras (system shutdown).
    void Clear();

    // Arrival and removal --------------------------------------------------------
    // Drops a camera whose device was lost (not present any more); posts its
    // removal unless it was dropped already.
    void Forget(const DiscoveredCamera* camera);
    // The cameras of the list that are open (initialised) now.
    std::vector<std::shared_ptr<DiscoveredCamera>> OpenCameras();
    unsigned RediscoveryIntervalMs() const { return m_transport->RediscoveryIntervalMs(); }

    // Action commands --------------------------------------------------------------
    // Sends the command through the transport, waiting for acknowledgements
    // (when asked) as long as ActionAcknowledgementTimeout says; appends them
    // to `results`. Raises ORVANE_ERR_NOT_IMPLEMENTED for a transport
    // without action commands.
    void SendActionCommand(ActionCommand command, std::vector<ActionResult>& results);
    // Sends the command the node map's GevAction* features describe
    // (ActionCommand feature); returns the number of acknowledgements.
    size_t SendConfiguredActionCommand();

    GenApi::INodeMap& TLNodeMap() { return m_nodeMap; }

private:
    void BuildNodeMap();
    void BuildActionNodes();
    DeviceInfo SelectedDevice();

    std::shared_ptr<Transport> m_transport; // shared with the cameras it found
    std::shared_ptr<DeviceMonitor> m_monitor;
    std::mutex m_mutex;
    std::atomic<uint64_t> m_discoveriesStarted{0};
    uint64_t m_discoveryApplied = 0; // the start number of the discovery the list shows, m_mutex
    bool m_discovered = false;
    std::vector<CameraPtr> m_cameras;
    int64_t m_deviceSelector = 0;
    // Action command settings (GevAction* features), m_mutex.
    struct ActionSettings {
        int64_t deviceKey = 0, groupKey = 0, groupMask = 0;
        int64_t time = 0; // 0: at once
        bool acknowledge = true;
        int64_t timeoutMs = 200;
        std::vector<ActionResult> acknowledgements; // of the last ActionCommand
        int64_t selector = 0;                       // ActionAcknowledgementSelector
    } m_action;
    GenApi::impl::NativeNodeMap m_nodeMap;
};

} // namespace internal
} // namespace Orvane

#endif
