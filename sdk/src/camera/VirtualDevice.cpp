#include "camera/VirtualDevice.h"

#include <sys/mman.h>
#include <unistd.h>

#include <mutex>
#include <string>

#include "core/Raise.h"
#include "Orvane/Logging.h"

namespace Orvane {
namespace internal {

namespace {

std::once_flag g_xmlOnce;

// The GenICam description the SDK embeds for its virtual cameras; empty while
// it embeds none (Aravis's stock fake camera XML serves then).
struct Description {
    const char* xml = nullptr;
    size_t size = 0;
};
Description EmbeddedDescription() { return {}; }

// Aravis reads the fake cameras' XML from a file whose name is global state
// (arv_set_fake_camera_genicam_filename, not thread-safe): it is set at most
// once, under g_xmlOnce, before the first fake device is created. The text is
// put in an anonymous memory file that stays open for the process's life and
// is named through /proc/self/fd.
void InstallDescription() {
    const Description d = EmbeddedDescription();
    if (!d.xml || d.size == 0) return;
    const int fd = memfd_create("orvane-virtual-camera.xml", MFD_CLOEXEC);
    if (fd < 0) {
        LoggerWrapper::LoggingWarning("cannot create the virtual camera description file; Aravis's stock one serves",
                                      "VirtualDevice");
        return;
    }
    size_t written = 0;
    while (written < d.size) {
        const ssize_t n = write(fd, d.xml + written, d.size - written);
        if (n <= 0) {
            close(fd);
            LoggerWrapper::LoggingWarning("cannot write the virtual camera description; Aravis's stock one serves",
                                          "VirtualDevice");
            return;
        }
        written += static_cast<size_t>(n);
    }
    const std::string path = "/proc/self/fd/" + std::to_string(fd);
    arv_set_fake_camera_genicam_filename(path.c_str());
}

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
