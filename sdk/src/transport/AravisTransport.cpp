// GigE Vision and USB3 Vision discovery through Aravis's interface objects.
// Aravis's strings are valid only until its next update, so they are copied.
#include <arv.h>

#include <string>

#include "transport/Transport.h"

namespace Orvane {
namespace internal {

namespace {

std::string Copy(const char* s) { return s ? s : ""; }

class AravisTransport : public Transport {
public:
    AravisTransport(std::string id, std::string displayName, ArvInterface* (*instance)())
        : m_id(std::move(id)), m_displayName(std::move(displayName)), m_instance(instance) {}

    std::string Id() const override { return m_id; }
    std::string DisplayName() const override { return m_displayName; }

    std::vector<DeviceInfo> Discover() override {
        ArvInterface* iface = m_instance();
        arv_interface_update_device_list(iface);
        const unsigned n = arv_interface_get_n_devices(iface);
        std::vector<DeviceInfo> devices;
        devices.reserve(n);
        for (unsigned i = 0; i < n; ++i) {
            DeviceInfo d;
            d.transport = m_id;
            d.deviceId = Copy(arv_interface_get_device_id(iface, i));
            d.physicalId = Copy(arv_interface_get_device_physical_id(iface, i));
            d.address = Copy(arv_interface_get_device_address(iface, i));
            d.vendorName = Copy(arv_interface_get_device_vendor(iface, i));
            d.manufacturerInfo = Copy(arv_interface_get_device_manufacturer_info(iface, i));
            d.modelName = Copy(arv_interface_get_device_model(iface, i));
            d.serialNumber = Copy(arv_interface_get_device_serial_nbr(iface, i));
            d.protocol = Copy(arv_interface_get_device_protocol(iface, i));
            d.index = static_cast<int>(i);
            d.uniqueId = m_id + ":" + UniqueKey(d);
            devices.push_back(std::move(d));
        }
        return devices;
    }

private:
    // GigE Vision: the MAC address, unless it is all zeros (as Aravis's fake
    // cameras report), then the IP address. USB3 Vision: the serial number.
    std::string UniqueKey(const DeviceInfo& d) const {
        if (m_id == "GigEVision") {
            const bool zeroMac = d.physicalId.empty() || d.physicalId.find_first_not_of("0:") == std::string::npos;
            return zeroMac ? d.address : d.physicalId;
        }
        return d.serialNumber.empty() ? d.physicalId : d.serialNumber;
    }

    std::string m_id;
    std::string m_displayName;
    ArvInterface* (*m_instance)();
};

} // namespace

std::unique_ptr<Transport> MakeGigEVisionTransport() {
    return std::make_unique<AravisTransport>("GigEVision", "GigE Vision", &arv_gv_interface_get_instance);
}

std::unique_ptr<Transport> MakeUSB3VisionTransport() {
    return std::make_unique<AravisTransport>("USB3Vision", "USB3 Vision", &arv_uv_interface_get_instance);
}

} // namespace internal
} // namespace Orvane
