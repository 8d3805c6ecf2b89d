// VirtualCameraXmlPath: the generated XML as an anonymous in-memory file.
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/Raise.h"
#include "virtual/VirtualCameraXml.h"

namespace Orvane {
namespace internal {

namespace {

std::string MakeXmlFile() {
    size_t size = 0;
    const char* xml = VirtualCameraXml(&size);
    // The descriptor stays open for the life of the process and /proc/self/fd/N
    // names it; MFD_CLOEXEC keeps it out of child processes.
    const int fd = memfd_create("OrvaneVirtualCamera.xml", MFD_CLOEXEC);
    if (fd < 0)
        ORV_RAISE(ORVANE_ERR_IO, std::string("Cannot create the virtual camera's XML file: ") + std::strerror(errno));
    size_t done = 0;
    while (done < size) {
        const ssize_t n = write(fd, xml + done, size - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            const int err = errno;
            close(fd);
            ORV_RAISE(ORVANE_ERR_IO, std::string("Cannot write the virtual camera's XML file: ") + std::strerror(err));
        }
        done += static_cast<size_t>(n);
    }
    return "/proc/self/fd/" + std::to_string(fd);
}

} // namespace

const std::string& VirtualCameraXmlPath() {
    static const std::string path = MakeXmlFile();
    return path;
}

} // namespace internal
} // namespace Orvane
