// The GenICam description of the built-in virtual cameras. The XML and the
// register map (virtual/VirtualCameraRegisters.h) are generated at build time
// from data/virtual-camera/ by data/virtual-camera/gen_virtual_camera.py.
#ifndef ORVANE_VIRTUAL_CAMERA_XML_H
#define ORVANE_VIRTUAL_CAMERA_XML_H

#include <cstddef>
#include <string>

namespace Orvane {
namespace internal {

// The XML text, NUL-terminated; *size (when size is not null) receives its
// length in bytes without the NUL. The text lives as long as the library.
const char* VirtualCameraXml(size_t* size);

// Path of a file holding the XML, to give to arv_set_fake_camera_genicam_filename
// (the fake camera reads its XML from a file each time one is created). The file
// is an anonymous in-memory file (memfd) made on the first call and kept for the
// life of the process, so nothing is left on disk. Thread-safe. Raises
// ORVANE_ERR_IO when the file cannot be made.
const std::string& VirtualCameraXmlPath();

} // namespace internal
} // namespace Orvane

#endif
