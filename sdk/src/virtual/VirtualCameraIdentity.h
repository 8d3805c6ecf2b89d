// Identity of the built-in virtual cameras, shared by discovery and the
// cameras' own GenICam description. Serial numbers are "VC0001", "VC0002", ...
#ifndef ORVANE_VIRTUAL_CAMERA_IDENTITY_H
#define ORVANE_VIRTUAL_CAMERA_IDENTITY_H

#include "transport/DeviceInfo.h"

namespace Orvane {
namespace internal {

constexpr const char* kVirtualVendorName = "Orvane";
constexpr const char* kVirtualModelName = "Orvane Virtual Camera";
constexpr const char* kVirtualDeviceVersion = "1.0.0";

// Discovery data of virtual camera `index` (0-based).
DeviceInfo VirtualCameraInfo(int index);

} // namespace internal
} // namespace Orvane

#endif
