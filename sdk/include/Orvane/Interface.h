// Orvane::Interface: one transport-layer interface ("Virtual", "GigEVision",
// "USB3Vision") and the cameras reachable through it.
#ifndef ORVANE_INTERFACE_H
#define ORVANE_INTERFACE_H

#include <memory>

#include "Orvane/ActionCommand.h"
#include "Orvane/BasePtr.h"
#include "Orvane/CameraList.h"
#include "Orvane/EventHandler.h"
#include "Orvane/GenApi/Interfaces.h"

namespace Orvane {

namespace internal {
class InterfaceCore;
}

class ORVANE_API Interface {
public:
    explicit Interface(std::shared_ptr<internal::InterfaceCore> core);
    virtual ~Interface();
    Interface(const Interface&) = delete;
    Interface& operator=(const Interface&) = delete;

    // Rediscovers this interface's cameras; true when the set of cameras changed.
    bool UpdateCameras();
    // This interface's cameras, rediscovered first when updateCameras is true.
    CameraList GetCameras(bool updateCameras = true);
    // Transport-layer node map: InterfaceID, InterfaceType, DeviceCount,
    // DeviceSelector with the selected device's identity, ...
    GenApi::INodeMap& GetTLNodeMap() const;
    // True while a camera of this interface is initialised or held outside the
    // SDK's own lists.
    bool IsInUse();

    // Registers a DeviceArrivalEventHandler, DeviceRemovalEventHandler or
    // InterfaceEventHandler for this interface's cameras (see
    // DeviceArrivalEventHandler.h), as System::RegisterEventHandler with
    // update false: the cameras of the interface's last discovery are known.
    // Raises as System::RegisterEventHandler (ORVANE_ERR_RESOURCE_IN_USE when
    // registered on this interface already), and ORVANE_ERR_NOT_AVAILABLE
    // once the system that made the interface was released.
    void RegisterEventHandler(EventHandler& handler);
    // As System::UnregisterEventHandler, for a registration on this interface.
    void UnregisterEventHandler(EventHandler& handler);
    // Sends an action command on this interface only; the arguments are
    // System::SendActionCommand's. Raises ORVANE_ERR_NOT_IMPLEMENTED when the
    // interface's transport has no action commands. The TL node map offers the
    // same: GevActionDeviceKey, GevActionGroupKey, GevActionGroupMask,
    // GevActionTime, GevActionAckRequired, then ActionCommand; the
    // acknowledgements come back in ActionAcknowledgementCount and, by
    // ActionAcknowledgementSelector, ActionAcknowledgementDeviceAddress and
    // ActionAcknowledgementStatus.
    void SendActionCommand(unsigned int deviceKey, unsigned int groupKey, unsigned int groupMask,
                           unsigned long long actionTime = ActionTimeImmediate, bool requestAcknowledgement = true,
                           unsigned int* resultCount = nullptr, ActionCommandResult* results = nullptr);

    // "Virtual", "GigEVision" or "USB3Vision".
    GenICam::gcstring GetID() const;
    GenICam::gcstring GetDisplayName() const;

    internal::InterfaceCore& Core() const { return *m_core; }

private:
    std::shared_ptr<internal::InterfaceCore> m_core;
};

typedef BasePtr<Interface> InterfacePtr;

} // namespace Orvane

#endif
