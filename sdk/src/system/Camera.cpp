#include "Orvane/Camera.h"

#include "system/CameraCore.h"

namespace Orvane {

CameraBase::CameraBase(std::shared_ptr<internal::CameraCore> core) : m_core(std::move(core)) {}
CameraBase::~CameraBase() = default;

GenICam::gcstring CameraBase::GetDeviceID() const { return m_core->Info().deviceId; }
GenICam::gcstring CameraBase::GetUniqueID() const { return m_core->Info().uniqueId; }
GenICam::gcstring CameraBase::GetSerialNumber() const { return m_core->Info().serialNumber; }
GenICam::gcstring CameraBase::GetVendorName() const { return m_core->Info().vendorName; }
GenICam::gcstring CameraBase::GetModelName() const { return m_core->Info().modelName; }
GenICam::gcstring CameraBase::GetTransport() const { return m_core->Info().transport; }
GenICam::gcstring CameraBase::GetAddress() const { return m_core->Info().address; }

} // namespace Orvane
