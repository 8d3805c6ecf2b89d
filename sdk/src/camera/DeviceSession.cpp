#include "camera/DeviceSession.h"

#include "camera/VirtualDevice.h"
#include "core/Raise.h"

namespace Orvane {
namespace internal {

namespace {

void OnControlLost(ArvDevice*, gpointer flag) { static_cast<std::atomic<bool>*>(flag)->store(true); }

void FreeFlag(gpointer flag, GClosure*) { delete static_cast<std::atomic<bool>*>(flag); }

[[noreturn]] void RaiseOpenError(const DeviceInfo& info, GError* error) {
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
    Raise(__LINE__, __FILE__, "Init", code, "camera " + info.deviceId + where + " " + summary + ": " + what);
}

} // namespace

std::unique_ptr<DeviceSession> DeviceSession::Open(const DeviceInfo& info) {
    ArvDevice* device = nullptr;
    if (info.transport == "Virtual") {
        device = OpenVirtualDevice(info);
    } else if (info.transport == "GigEVision") {
        // By IP address: opened by its discovered id, Aravis may bind the
        // stream to another host interface than the one the device answers on.
        GError* error = nullptr;
        device = arv_interface_open_device(arv_gv_interface_get_instance(), info.address.c_str(), &error);
        if (!device) RaiseOpenError(info, error);
        if (error) g_error_free(error);
    } else if (info.transport == "USB3Vision") {
        GError* error = nullptr;
        device = arv_interface_open_device(arv_uv_interface_get_instance(), info.deviceId.c_str(), &error);
        if (!device) {
            // libusb reports a claimed interface as an I/O failure: another
            // program holds the device.
            if (error && error->domain != ARV_DEVICE_ERROR) {
                const std::string what = error->message ? error->message : "";
                g_error_free(error);
                ORV_RAISE(ORVANE_ERR_RESOURCE_IN_USE, "camera " + info.deviceId + " cannot be opened (busy?): " + what);
            }
            RaiseOpenError(info, error);
        }
        if (error) g_error_free(error);
    } else {
        ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, "camera " + info.deviceId + ": unknown transport '" + info.transport + "'");
    }
    return std::unique_ptr<DeviceSession>(new DeviceSession(device, info.transport));
}

DeviceSession::DeviceSession(ArvDevice* device, std::string transport)
    : m_device(device), m_transport(std::move(transport)), m_controlLost(new std::atomic<bool>(false)) {
    m_controlLostHandler = g_signal_connect_data(m_device, "control-lost", G_CALLBACK(OnControlLost), m_controlLost,
                                                 FreeFlag, GConnectFlags(0));
    if (ArvGvDevice* gv = GvDevice()) m_controller = arv_gv_device_is_controller(gv);
    try {
        m_nodeMap = std::make_unique<GenApi::impl::ArvNodeMap>(m_device, "Device");
    } catch (...) {
        g_signal_handler_disconnect(m_device, m_controlLostHandler);
        g_object_unref(m_device);
        throw;
    }
}

DeviceSession::~DeviceSession() {
    m_nodeMap.reset();
    // Disconnecting frees the flag (FreeFlag). A GigE Vision device gives
    // control back when Aravis finalises it.
    g_signal_handler_disconnect(m_device, m_controlLostHandler);
    g_object_unref(m_device);
}

ArvFakeCamera* DeviceSession::FakeCamera() const {
    return ARV_IS_FAKE_DEVICE(m_device) ? arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(m_device)) : nullptr;
}

} // namespace internal
} // namespace Orvane
