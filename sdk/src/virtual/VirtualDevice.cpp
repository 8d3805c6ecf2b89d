#include "virtual/VirtualDevice.h"

#include <mutex>
#include <string>

#include "core/Raise.h"
#include "virtual/VirtualCameraSetup.h"
#include "virtual/VirtualCameraXml.h"

namespace Orvane {
namespace internal {

namespace {

std::once_flag g_xmlOnce;

// Aravis reads the fake cameras' XML from a file whose name is global state
// (arv_set_fake_camera_genicam_filename, not thread-safe): it is set once,
// before the first virtual camera is created, to the in-memory file holding
// Orvane's own description.
void InstallDescription() { arv_set_fake_camera_genicam_filename(VirtualCameraXmlPath().c_str()); }

} // namespace

ArvDevice* OpenVirtualDevice(const DeviceInfo& info) {
    std::call_once(g_xmlOnce, InstallDescription);
    GError* error = nullptr;
    ArvDevice* device = arv_fake_device_new(info.serialNumber.c_str(), &error);
    if (!device) {
        const std::string message = error && error->message ? error->message : "unknown error";
        if (error) g_error_free(error);
        ORV_RAISE(ORVANE_ERR_IO, "virtual camera " + info.serialNumber + " could not be created: " + message);
    }
    if (error) g_error_free(error);
    try {
        InitializeVirtualCamera(device, info.index);
    } catch (...) {
        g_object_unref(device);
        throw;
    }
    return device;
}

} // namespace internal
} // namespace Orvane
