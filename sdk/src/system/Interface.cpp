#include "Orvane/Interface.h"

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

} // namespace Orvane
