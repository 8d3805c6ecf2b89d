// CameraBase's acquisition calls (Orvane/Camera.h), served by the camera's
// Acquisition object.
#include "Orvane/Camera.h"

#include "acquisition/Acquisition.h"
#include "camera/DiscoveredCamera.h"

namespace Orvane {

void CameraBase::BeginAcquisition() { internal::Acquisition::Of(m_core->Access()).Begin(); }

void CameraBase::EndAcquisition() { internal::Acquisition::Of(m_core->Access()).End(); }

ImagePtr CameraBase::GetNextImage(uint64_t grabTimeout, uint64_t streamIndex) {
    return internal::Acquisition::Of(m_core->Access()).Next(grabTimeout, streamIndex);
}

ImageList CameraBase::GetNextImageSync(uint64_t grabTimeout) {
    return internal::Acquisition::Of(m_core->Access()).NextSync(grabTimeout);
}

} // namespace Orvane
