// Preparing a freshly created virtual camera (an Aravis fake device running the
// generated XML) before its node map is used.
#ifndef ORVANE_VIRTUAL_CAMERA_SETUP_H
#define ORVANE_VIRTUAL_CAMERA_SETUP_H

typedef struct _ArvDevice ArvDevice;

namespace Orvane {
namespace internal {

// Writes the initial register values (vcam::kInitialBlocks) and the values of
// virtual camera `index` (0-based): its serial number "VC0001", "VC0002", ...
// (the fake's serial register, normally already set by arv_fake_device_new) and
// its MAC address 02:4F:56:00:00:<index + 1>. Call it once, right after the
// device is created and before anything reads or writes its features.
// Raises ORVANE_ERR_IO when the device refuses a write.
void InitializeVirtualCamera(ArvDevice* device, int index);

} // namespace internal
} // namespace Orvane

#endif
