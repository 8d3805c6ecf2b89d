#include "Orvane/Camera.h"

#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"

namespace Orvane {

CameraBase::CameraBase(std::shared_ptr<internal::DiscoveredCamera> core) : m_core(std::move(core)) {}
CameraBase::~CameraBase() = default;

GenICam::gcstring CameraBase::GetDeviceID() const { return m_core->Info().deviceId; }
GenICam::gcstring CameraBase::GetUniqueID() const { return m_core->Info().uniqueId; }
GenICam::gcstring CameraBase::GetSerialNumber() const { return m_core->Info().serialNumber; }
GenICam::gcstring CameraBase::GetVendorName() const { return m_core->Info().vendorName; }
GenICam::gcstring CameraBase::GetModelName() const { return m_core->Info().modelName; }
GenICam::gcstring CameraBase::GetTransport() const { return internal::InterfaceIdText(m_core->Info().kind); }
GenICam::gcstring CameraBase::GetAddress() const { return m_core->Info().address; }

void CameraBase::Init() { m_core->Access().Init(); }
void CameraBase::DeInit() { m_core->Access().DeInit(); }
bool CameraBase::IsInitialized() const { return m_core->IsInitialized(); }
bool CameraBase::IsValid() const { return m_core->Access().IsValid(); }
bool CameraBase::IsStreaming() const { return m_core->Access().IsStreaming(); }
GenApi::INodeMap& CameraBase::GetNodeMap() const { return m_core->Access().NodeMap(); }
GenApi::INodeMap& CameraBase::GetTLDeviceNodeMap() const { return m_core->Access().TLDeviceNodeMap(); }
GenApi::INodeMap& CameraBase::GetTLStreamNodeMap(uint64_t streamIndex) const {
    return m_core->Access().TLStreamNodeMap(streamIndex);
}
GenApi::EAccessMode CameraBase::GetAccessMode() const { return m_core->Access().AccessMode(); }
void CameraBase::ReadPort(uint64_t address, void* buffer, uint64_t length) const {
    m_core->Access().ReadPort(address, buffer, length);
}
void CameraBase::WritePort(uint64_t address, const void* buffer, uint64_t length) {
    m_core->Access().WritePort(address, buffer, length);
}
GenICam::gcstring CameraBase::GetGuiXml() const { return m_core->Access().GuiXml(); }
unsigned int CameraBase::DiscoverMaxPacketSize() { return m_core->Access().DiscoverMaxPacketSize(); }

} // namespace Orvane
