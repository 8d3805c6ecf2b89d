// SystemCore: the process-wide state behind every Orvane::System object: the
// enabled transports, their interfaces, and the system's TL node map.
//
// Lifetime: created by the first System::GetInstance, shut down when the last
// reference is released; a later GetInstance creates a fresh one (reading the
// environment again).
//
// Arrival and removal events: the system's DeviceMonitor (DeviceMonitor.h)
// hears every change of every interface's camera list; its threads run while
// handlers are registered, and stop at shutdown.
//
// Locking: m_mutex guards the transport selection and the interface list;
// each interface has its own lock for its cameras. m_mutex is never held
// while an interface discovers or the monitor stops.
#ifndef ORVANE_SYSTEM_SYSTEM_CORE_H
#define ORVANE_SYSTEM_SYSTEM_CORE_H

#include <memory>
#include <mutex>
#include <vector>

#include "Orvane/ActionCommand.h"
#include "Orvane/EventHandler.h"
#include "Orvane/InterfaceList.h"
#include "genapi/NativeNodeMap.h"
#include "system/DeviceMonitor.h"
#include "system/InterfaceCore.h"
#include "transport/ActionCommand.h"
#include "transport/TransportKind.h"

namespace Orvane {
namespace internal {

class SystemCore {
public:
    SystemCore();
    ~SystemCore();

    // Reference counting by System objects.
    static std::shared_ptr<SystemCore> Acquire();
    static void Release(const std::shared_ptr<SystemCore>& core);

    InterfaceList Interfaces(bool update);
    CameraList Cameras(bool updateInterfaces, bool updateCameras);
    CameraChanges UpdateCameras(bool updateInterfaces);
    bool InUse();

    GenApi::INodeMap& TLNodeMap() { return m_nodeMap; }

    // Arrival and removal handlers on the system (System::RegisterEventHandler).
    void RegisterEventHandler(EventHandler& handler, bool update);
    void UnregisterEventHandler(EventHandler& handler);
    // Sends an action command on every enabled interface (System::SendActionCommand).
    void SendActionCommand(const ActionCommand& command, unsigned int* resultCount, ActionCommandResult* results);

    // Transport selection (also through the TL node map).
    bool TransportEnabled(TransportKind kind) const;
    void EnableTransport(TransportKind kind, bool enable);
    int VirtualCameraCount() const { return m_virtualCount; }
    // Plugs or unplugs virtual cameras: the virtual interface rediscovers at
    // once (an open camera above the count is lost from then on).
    void SetVirtualCameraCount(int count);

private:
    void BuildNodeMap();
    void Shutdown();
    // Interfaces of the enabled transports, created on first use.
    std::vector<InterfacePtr> EnabledInterfaces();
    std::vector<std::shared_ptr<InterfaceCore>> EnabledInterfaceCores();

    // One built-in transport: whether discovery covers it, and its interface.
    struct TransportSlot {
        TransportKind kind;
        bool enabled;
        InterfacePtr interface; // created on first use
    };
    // The slot's interface, made on first use (m_mutex held).
    const InterfacePtr& InterfaceOfLocked(TransportSlot& slot);
    // The slot of a kind (m_mutex held); null for a kind that is not built in.
    TransportSlot* Slot(TransportKind kind);
    const TransportSlot* Slot(TransportKind kind) const;

    mutable std::mutex m_mutex;
    int m_references = 0;
    std::vector<TransportSlot> m_transports; // in the order of BuiltInTransports
    int m_virtualCount = 1;
    std::vector<InterfacePtr> m_lastInterfaces; // as of the last interface update
    int64_t m_interfaceSelector = 0;
    GenApi::impl::NativeNodeMap m_nodeMap;
    std::shared_ptr<DeviceMonitor> m_monitor; // shared with the interfaces
};

} // namespace internal
} // namespace Orvane

#endif
