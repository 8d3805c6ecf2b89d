// The Aravis side of a virtual camera: an in-process fake device running the
// SDK's GenICam description.
#ifndef ORVANE_VIRTUAL_VIRTUAL_DEVICE_H
#define ORVANE_VIRTUAL_VIRTUAL_DEVICE_H

#include <arv.h>

#include "transport/DeviceInfo.h"

namespace Orvane {
namespace internal {

// Creates the fake device of virtual camera `info` (a new reference, never
// null; raises on failure). The first call installs the SDK's description as
// the fake cameras' XML, process-wide, before any fake device exists.
ArvDevice* OpenVirtualDevice(const DeviceInfo& info);

} // namespace internal
} // namespace Orvane

#endif
