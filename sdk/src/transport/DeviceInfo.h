// What discovery knows of a device, copied out of the transport's own data.
#ifndef ORVANE_TRANSPORT_DEVICE_INFO_H
#define ORVANE_TRANSPORT_DEVICE_INFO_H

#include <string>

namespace Orvane {
namespace internal {

struct DeviceInfo {
    std::string transport; // "Virtual", "GigEVision", "USB3Vision"
    std::string deviceId;  // the id the transport opens the device by
    std::string uniqueId;  // stable identity: "<transport>:<serial, MAC or address>"
    std::string serialNumber;
    std::string vendorName;
    std::string modelName;
    std::string manufacturerInfo;
    std::string deviceVersion;
    std::string userId;
    std::string address;    // IPv4 text, USB bus path, or "local"
    std::string physicalId; // MAC address for GigE Vision, USB GUID/path for USB3 Vision
    std::string protocol;   // "GigEVision", "USB3Vision", "Virtual"
    int index = 0;          // virtual cameras: 0-based instance number

    bool SameDevice(const DeviceInfo& other) const { return uniqueId == other.uniqueId; }
};

} // namespace internal
} // namespace Orvane

#endif
