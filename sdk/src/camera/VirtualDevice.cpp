#include "camera/VirtualDevice.h"

#include <mutex>
#include <string>

#include "core/Raise.h"

namespace Orvane {
namespace internal {

namespace {

std::once_flag g_xmlOnce;

// Aravis reads the fake cameras' XML from a file whose name is global state
// (arv_set_fake_camera_genicam_filename, not thread-safe): it is set at most
// once, under g_xmlOnce, before the first fake device is created. Until the
// SDK embeds a description of its own, Aravis's stock fake camera XML serves.
void InstallDescription() {}

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
    return device;
}

} // namespace internal
} // namespace Orvane
