// CameraBase's acquisition calls (Orvane/Camera.h), served by the camera's
// Acquisition object.
#include "Orvane/Camera.h"

#include "acquisition/Acquisition.h"
#include "system/CameraCore.h"

namespace Orvane {

void CameraBase::BeginAcquisition() { internal::Acquisition::Of(m_core->Control()).Begin(); }

void CameraBase::EndAcquisition() { internal::Acquisition::Of(m_core->Control()).End(); }

ImagePtr CameraBase::GetNextImage(uint64_t grabTimeout, uint64_t streamIndex) {
    return internal::Acquisition::Of(m_core->Control()).Next(grabTimeout, streamIndex);
}

ImageList CameraBase::GetNextImageSync(uint64_t grabTimeout) {
    return internal::Acquisition::Of(m_core->Control()).NextSync(grabTimeout);
}

} // namespace Orvane
