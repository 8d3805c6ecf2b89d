// Event registration of CameraBase (System's and Interface's are with their
// classes). Not delivered yet: every call raises ORVANE_ERR_NOT_IMPLEMENTED, so that
// programs built against the event API fail clearly instead of waiting for
// events that never come.
#include "Orvane/Camera.h"
#include "Orvane/DeviceEventHandler.h"
#include "Orvane/ImageEventHandler.h"
#include "core/Raise.h"

namespace Orvane {

namespace {

[[noreturn]] void NotYet(const char* function) {
    Raise(__LINE__, __FILE__, function, ORVANE_ERR_NOT_IMPLEMENTED,
          std::string(function) + " is not available in this build");
}

} // namespace

void CameraBase::RegisterEventHandler(EventHandler&) { NotYet("RegisterEventHandler"); }
void CameraBase::RegisterEventHandler(DeviceEventHandler&, const GenICam::gcstring&) { NotYet("RegisterEventHandler"); }
void CameraBase::RegisterEventHandler(ImageEventHandler&, uint64_t) { NotYet("RegisterEventHandler"); }
void CameraBase::UnregisterEventHandler(EventHandler&) { NotYet("UnregisterEventHandler"); }

} // namespace Orvane
