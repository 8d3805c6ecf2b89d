#include "Orvane/Interface.h"

#include "core/Raise.h"
#include "system/ActionCommands.h"
#include "system/DeviceMonitor.h"
#include "system/InterfaceCore.h"

namespace Orvane {

Interface::Interface(std::shared_ptr<internal::InterfaceCore> core) : m_core(std::move(core)) {}
Interface::~Interface() = default;

bool Interface::UpdateCameras() { return m_core->Update().Any(); }

CameraList Interface::GetCameras(bool updateCameras) {
    if (updateCameras) m_core->Update();
    return m_core->Cameras();
}

GenApi::INodeMap& Interface::GetTLNodeMap() const { return m_core->TLNodeMap(); }
bool Interface::IsInUse() { return m_core->InUse(); }
GenICam::gcstring Interface::GetID() const { return m_core->Id(); }
GenICam::gcstring Interface::GetDisplayName() const { return m_core->DisplayName(); }

namespace {

internal::DeviceMonitor& MonitorOf(const internal::InterfaceCore& core, const SourcePosition& at) {
    if (!core.Monitor())
        Raise(at, ORVANE_ERR_NOT_AVAILABLE,
              "interface " + core.Id() + " belongs to no system: it has no arrival and removal events");
    return *core.Monitor();
}

} // namespace

void Interface::RegisterEventHandler(EventHandler& handler) {
    MonitorOf(*m_core, ORV_HERE).Register(handler, m_core, ORV_HERE);
}

void Interface::UnregisterEventHandler(EventHandler& handler) {
    MonitorOf(*m_core, ORV_HERE).Unregister(handler, m_core.get(), ORV_HERE);
}

void Interface::SendActionCommand(unsigned int deviceKey, unsigned int groupKey, unsigned int groupMask,
                                  unsigned long long actionTime, bool requestAcknowledgement, unsigned int* resultCount,
                                  ActionCommandResult* results) {
    internal::SendActionCommands(
        {m_core}, false,
        internal::MakeActionCommand(deviceKey, groupKey, groupMask, actionTime, requestAcknowledgement), resultCount,
        results, ORV_HERE);
}

} // namespace Orvane
