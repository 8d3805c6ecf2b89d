// InitializeVirtualCamera: initial register values of a virtual camera.
#include "virtual/VirtualCameraSetup.h"

#include <arv.h>

#include <cstdio>
#include <string>

#include "core/Raise.h"
#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraRegisters.h"

namespace Orvane {
namespace internal {

namespace {

void Write(ArvDevice* device, uint32_t address, const uint8_t* bytes, uint32_t length) {
    GError* error = nullptr;
    if (!arv_device_write_memory(device, address, length, const_cast<uint8_t*>(bytes), &error)) {
        char where[64];
        std::snprintf(where, sizeof where, "%u bytes at 0x%x", length, address);
        std::string message = std::string("Cannot write the virtual camera's initial values (") + where + ")";
        if (error != nullptr) message += std::string(": ") + error->message;
        g_clear_error(&error);
        ORV_RAISE(ORVANE_ERR_IO, message);
    }
}

void WriteBigEndian(ArvDevice* device, const vcam::RegisterInfo& reg, uint64_t value) {
    uint8_t bytes[8] = {};
    StoreBigEndian(bytes, reg.length, value);
    Write(device, reg.address, bytes, reg.length);
}

} // namespace

void InitializeVirtualCamera(ArvDevice* device, int index) {
    if (device == nullptr) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "InitializeVirtualCamera: no device");
    if (index < 0 || index > 9998)
        ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE,
                  "InitializeVirtualCamera: camera index " + std::to_string(index) + " outside 0..9998");
    vcam::ForEachInitialBlock(
        [device](uint32_t address, const uint8_t* bytes, uint32_t length) { Write(device, address, bytes, length); });
    char serial[16] = {};
    std::snprintf(serial, sizeof serial, "VC%04d", index + 1);
    uint8_t field[sizeof serial] = {};
    static_assert(vcam::reg::DeviceSerialNumber.length == sizeof field, "serial register size");
    for (size_t i = 0; i < sizeof serial && serial[i] != 0; ++i) field[i] = static_cast<uint8_t>(serial[i]);
    Write(device, vcam::reg::DeviceSerialNumber.address, field, sizeof field);
    static_assert(vcam::reg::GevMACAddress.length <= 8, "MAC address register size");
    WriteBigEndian(device, vcam::reg::GevMACAddress, 0x024F56000000ULL + static_cast<uint64_t>(index + 1));
}

} // namespace internal
} // namespace Orvane
