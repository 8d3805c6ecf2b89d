// The USB3 Vision transport over Aravis: discovery on the USB buses, devices
// opened by their discovered id. Aravis's USB3 Vision streams complete their
// buffers without a completion callback: the acquisition pops them.
#include "core/Raise.h"
#include "transport/AravisStreamSource.h"
#include "transport/AravisTransport.h"
#include "transport/DeviceConnection.h"
#include "transport/Transports.h"

namespace Orvane {
namespace internal {

namespace {

class USB3VisionStreamSource : public AravisStreamSource {
public:
    using AravisStreamSource::AravisStreamSource;
    bool CompletesSilently() const override { return true; }
};

class USB3VisionConnection : public DeviceConnection {
public:
    using DeviceConnection::DeviceConnection;

    std::shared_ptr<StreamSource> CreateStreamSource() override {
        return std::make_shared<USB3VisionStreamSource>(shared_from_this());
    }
};

class USB3VisionTransport : public AravisTransport {
public:
    USB3VisionTransport() : AravisTransport(&arv_uv_interface_get_instance) {}

    TransportKind Kind() const override { return TransportKind::USB3Vision; }
    std::string DisplayName() const override { return "USB3 Vision"; }
    TransportFeatures Features() const override {
        TransportFeatures f;
        f.usbFeatures = true;
        return f;
    }

    std::shared_ptr<DeviceConnection> Open(const DeviceInfo& info) const override {
        GError* error = nullptr;
        ArvDevice* device = arv_interface_open_device(Interface(), info.deviceId.c_str(), &error);
        if (!device) {
            // libusb reports a claimed interface as an I/O failure: another
            // program holds the device.
            if (error && error->domain != ARV_DEVICE_ERROR) {
                const std::string what = error->message ? error->message : "";
                g_error_free(error);
                ORV_RAISE(ORVANE_ERR_RESOURCE_IN_USE, "camera " + info.deviceId + " cannot be opened (busy?): " + what);
            }
            RaiseOpenError(ORV_HERE, info, error);
        }
        if (error) g_error_free(error);
        return std::make_shared<USB3VisionConnection>(device, info);
    }

protected:
    // The serial number, or the physical id when the device has none.
    std::string UniqueKey(const DeviceInfo& d) const override {
        return d.serialNumber.empty() ? d.physicalId : d.serialNumber;
    }
};

} // namespace

std::shared_ptr<Transport> MakeUSB3VisionTransport() { return std::make_shared<USB3VisionTransport>(); }

} // namespace internal
} // namespace Orvane
