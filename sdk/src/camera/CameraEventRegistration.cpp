// CameraBase's event handler registration (Orvane/Camera.h), kept by the
// camera's CameraEvents.
#include "Orvane/Camera.h"
#include "Orvane/DeviceEventHandler.h"
#include "Orvane/ImageEventHandler.h"
#include "camera/CameraAccess.h"
#include "camera/CameraEvents.h"
#include "camera/DiscoveredCamera.h"

namespace Orvane {

void CameraBase::RegisterEventHandler(EventHandler& handler) { m_core->Access().Events()->Register(handler); }

void CameraBase::RegisterEventHandler(DeviceEventHandler& handler, const GenICam::gcstring& eventName) {
    m_core->Access().Events()->Register(handler, std::string(eventName.c_str()));
}

void CameraBase::RegisterEventHandler(ImageEventHandler& handler, uint64_t streamIndex) {
    m_core->Access().Events()->Register(handler, streamIndex);
}

void CameraBase::UnregisterEventHandler(EventHandler& handler) { m_core->Access().Events()->Unregister(handler); }

} // namespace Orvane
