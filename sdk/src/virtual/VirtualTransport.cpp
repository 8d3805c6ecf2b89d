// The Virtual transport: the SDK's built-in cameras. Discovery costs nothing:
// the cameras exist by configuration (VirtualCameraCount).
#include <cstdio>

#include "transport/Transports.h"
#include "virtual/VirtualCameraIdentity.h"
#include "virtual/VirtualDevice.h"
#include "virtual/VirtualDeviceConnection.h"

namespace Orvane {
namespace internal {

namespace {

class VirtualTransport : public Transport {
public:
    explicit VirtualTransport(std::function<int()> count) : m_count(std::move(count)) {}

    TransportKind Kind() const override { return TransportKind::Virtual; }
    std::string DisplayName() const override { return "Orvane virtual cameras"; }
    TransportFeatures Features() const override {
        TransportFeatures f;
        f.xmlLocation = TransportFeatures::XmlLocation::Host;
        f.alwaysAccessible = true;
        return f;
    }

    std::vector<DeviceInfo> Discover() override {
        std::vector<DeviceInfo> devices;
        const int n = m_count();
        devices.reserve(n > 0 ? static_cast<size_t>(n) : 0);
        for (int i = 0; i < n; ++i) devices.push_back(VirtualCameraInfo(i));
        return devices;
    }

    std::shared_ptr<DeviceConnection> Open(const DeviceInfo& info) const override {
        return std::make_shared<VirtualDeviceConnection>(OpenVirtualDevice(info), info);
    }

private:
    std::function<int()> m_count;
};

} // namespace

DeviceInfo VirtualCameraInfo(int index) {
    char serial[16];
    std::snprintf(serial, sizeof serial, "VC%04d", index + 1);
    DeviceInfo d;
    d.kind = TransportKind::Virtual;
    d.protocol = InterfaceIdText(d.kind);
    d.serialNumber = serial;
    d.deviceId = std::string("Orvane-VirtualCamera-") + serial;
    d.uniqueId = std::string(InterfaceIdText(d.kind)) + ":" + serial;
    d.vendorName = kVirtualVendorName;
    d.modelName = kVirtualModelName;
    d.manufacturerInfo = "Built-in camera of the Orvane SDK";
    d.deviceVersion = kVirtualDeviceVersion;
    d.address = "local";
    d.physicalId = "virtual-" + std::to_string(index);
    d.index = index;
    return d;
}

std::shared_ptr<Transport> MakeVirtualTransport(std::function<int()> cameraCount) {
    return std::make_shared<VirtualTransport>(std::move(cameraCount));
}

} // namespace internal
} // namespace Orvane
