// What the generated register map says about the virtual camera, for tests
// that use the SDK through its public headers: register addresses
// (virtual/VirtualCameraRegisters.h, namespace vcam) and initial values.
#ifndef ORVANE_TESTS_VIRTUAL_CAMERA_FACTS_H
#define ORVANE_TESTS_VIRTUAL_CAMERA_FACTS_H

#include <cstdint>
#include <string>
#include <vector>

#include "virtual/VirtualCameraRegisters.h"

namespace vcam = Orvane::internal::vcam;

namespace vcamtest {

// The initial bytes of a feature's register slot: `slot` "" for a register
// without selectors, else the selector entries as the register map names them
// ("Line1", "Stream0/Stopped"). Fails the calling test when there is none.
std::vector<uint8_t> InitialBytes(const std::string& feature, const std::string& slot = "");
// The same, read as a big-endian unsigned integer, a double, a NUL-ended text.
uint64_t InitialUInt(const std::string& feature, const std::string& slot = "");
double InitialDouble(const std::string& feature, const std::string& slot = "");
std::string InitialString(const std::string& feature, const std::string& slot = "");
// The register value of an enumeration entry; -1 when there is none.
int64_t EntryValue(const std::string& feature, const std::string& entry);

} // namespace vcamtest

#endif
