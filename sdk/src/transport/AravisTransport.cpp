#include "transport/AravisTransport.h"

#include "core/Raise.h"

namespace Orvane {
namespace internal {

namespace {

std::string Copy(const char* s) { return s ? s : ""; }

} // namespace

std::vector<DeviceInfo> AravisTransport::Discover() {
    ArvInterface* iface = Interface();
    arv_interface_update_device_list(iface);
    const unsigned n = arv_interface_get_n_devices(iface);
    std::vector<DeviceInfo> devices;
    devices.reserve(n);
    for (unsigned i = 0; i < n; ++i) {
        DeviceInfo d;
        d.kind = Kind();
        d.deviceId = Copy(arv_interface_get_device_id(iface, i));
        d.physicalId = Copy(arv_interface_get_device_physical_id(iface, i));
        d.address = Copy(arv_interface_get_device_address(iface, i));
        d.vendorName = Copy(arv_interface_get_device_vendor(iface, i));
        d.manufacturerInfo = Copy(arv_interface_get_device_manufacturer_info(iface, i));
        d.modelName = Copy(arv_interface_get_device_model(iface, i));
        d.serialNumber = Copy(arv_interface_get_device_serial_nbr(iface, i));
        d.protocol = Copy(arv_interface_get_device_protocol(iface, i));
        d.index = static_cast<int>(i);
        d.uniqueId = Id() + ":" + UniqueKey(d);
        devices.push_back(std::move(d));
    }
    return devices;
}

void AravisTransport::RaiseOpenError(const SourcePosition& at, const DeviceInfo& info, GError* error) {
    std::string what = error && error->message ? error->message : "no answer";
    int code = ORVANE_ERR_NOT_AVAILABLE;
    std::string summary = "does not answer";
    if (error && error->domain == ARV_DEVICE_ERROR) {
        switch (error->code) {
        case ARV_DEVICE_ERROR_NOT_CONTROLLER:
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR:
            code = ORVANE_ERR_RESOURCE_IN_USE;
            summary = "is busy (held by another program)";
            break;
        case ARV_DEVICE_ERROR_GENICAM_NOT_FOUND:
            code = ORVANE_ERR_GENICAM_PROPERTY;
            summary = "has no readable GenICam description";
            break;
        default: break;
        }
    }
    if (error) g_error_free(error);
    std::string where = info.address.empty() ? "" : " at " + info.address;
    Raise(at, code, "camera " + info.deviceId + where + " " + summary + ": " + what);
}

} // namespace internal
} // namespace Orvane
