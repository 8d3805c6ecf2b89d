// What discovery knows of a device, copied out of the transport's own data.
#ifndef ORVANE_TRANSPORT_DEVICE_INFO_H
#define ORVANE_TRANSPORT_DEVICE_INFO_H

#include <string>

#include "transport/TransportKind.h"

namespace Orvane {
namespace internal {

struct DeviceInfo {
    TransportKind kind = TransportKind::Virtual; // the transport that found the device
    std::string deviceId;                        // the id the transport opens the device by
    std::string uniqueId;                        // stable identity: "<interface id>:<serial, MAC or address>"
    std::string serialNumber;
    std::string vendorName;
    std::string modelName;
    std::string manufacturerInfo;
    std::string deviceVersion;
    std::string userId;
    std::string address;    // IPv4 text, USB bus path, or "local"
    std::string physicalId; // MAC address for GigE Vision, USB GUID/path for USB3 Vision
    std::string protocol;   // the protocol the transport names: "GigEVision", "USB3Vision", "Virtual"
    int index = 0;          // virtual cameras: 0-based instance number

    bool SameDevice(const DeviceInfo& other) const { return uniqueId == other.uniqueId; }
};

} // namespace internal
} // namespace Orvane

#endif
