#include "transport/DeviceConnection.h"

#include <algorithm>

#include "Orvane/Logging.h"
#include "core/Raise.h"
#include "virtual/VirtualCameraRuntime.h"
#include "virtual/VirtualDevice.h"

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

std::unique_ptr<DeviceConnection> DeviceConnection::Open(const DeviceInfo& info) {
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
    return std::unique_ptr<DeviceConnection>(new DeviceConnection(device, info));
}

// The node map's device observer: passes its accesses to the behaviours.
class DeviceConnection::Observer : public GenApi::impl::ArvNodeMap::DeviceObserver {
public:
    explicit Observer(DeviceConnection& session) : m_session(session) {}
    void AfterWrite(uint64_t address, uint64_t length) override { m_session.NotifyWrite(address, length); }
    void BeforeRead() override { m_session.NotifyRead(); }

private:
    DeviceConnection& m_session;
};

DeviceConnection::DeviceConnection(ArvDevice* device, const DeviceInfo& info)
    : m_device(device), m_transport(info.transport), m_controlLost(new std::atomic<bool>(false)) {
    m_controlLostHandler = g_signal_connect_data(m_device, "control-lost", G_CALLBACK(OnControlLost), m_controlLost,
                                                 FreeFlag, GConnectFlags(0));
    if (ArvGvDevice* gv = GvDevice()) m_controller = arv_gv_device_is_controller(gv);
    try {
        m_nodeMap = std::make_unique<GenApi::impl::ArvNodeMap>(m_device, "Device");
        m_observer = std::make_unique<Observer>(*this);
        m_nodeMap->SetDeviceObserver(m_observer.get());
        if (m_transport == "Virtual") {
            m_runtime = std::make_shared<VirtualCameraRuntime>(*this, info.serialNumber);
            AddBehaviour(m_runtime, true);
            m_runtime->PowerUp();
        }
    } catch (...) {
        m_behaviours.clear();
        m_runtime.reset();
        m_nodeMap.reset();
        g_signal_handler_disconnect(m_device, m_controlLostHandler);
        g_object_unref(m_device);
        throw;
    }
}

DeviceConnection::~DeviceConnection() {
    m_nodeMap->SetDeviceObserver(nullptr);
    m_behaviours.clear();
    m_runtime.reset();
    m_nodeMap.reset();
    // Disconnecting frees the flag (FreeFlag). A GigE Vision device gives
    // control back when Aravis finalises it.
    g_signal_handler_disconnect(m_device, m_controlLostHandler);
    g_object_unref(m_device);
}

void DeviceConnection::AddBehaviour(std::shared_ptr<DeviceBehaviour> behaviour, bool last) {
    if (!behaviour) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "AddBehaviour: no behaviour");
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    if (last) {
        m_behaviours.push_back(std::move(behaviour));
    } else {
        m_behaviours.insert(m_behaviours.begin() + static_cast<std::ptrdiff_t>(m_firstLast), std::move(behaviour));
        ++m_firstLast;
    }
}

void DeviceConnection::RemoveBehaviour(const DeviceBehaviour* behaviour) {
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    for (size_t i = 0; i < m_behaviours.size(); ++i) {
        if (m_behaviours[i].get() != behaviour) continue;
        m_behaviours.erase(m_behaviours.begin() + static_cast<std::ptrdiff_t>(i));
        if (i < m_firstLast) --m_firstLast;
        return;
    }
}

namespace {

template <class Call>
void RunBehaviours(const std::vector<std::shared_ptr<DeviceBehaviour>>& list, Call&& call) {
    if (list.empty()) return;
    // A behaviour may add or remove behaviours: run over a copy.
    const std::vector<std::shared_ptr<DeviceBehaviour>> behaviours = list;
    for (const auto& b : behaviours) {
        try {
            call(*b);
        } catch (const std::exception& e) {
            LoggerWrapper::LoggingError((std::string("device behaviour failed: ") + e.what()).c_str(),
                                        "DeviceConnection");
        }
    }
}

} // namespace

void DeviceConnection::NotifyWrite(uint64_t address, uint64_t length) {
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    RunBehaviours(m_behaviours, [&](DeviceBehaviour& b) { b.OnWrite(address, length); });
}

void DeviceConnection::NotifyRead() {
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    RunBehaviours(m_behaviours, [&](DeviceBehaviour& b) { b.OnRead(); });
}

void DeviceConnection::ClaimCommandRegister(uint64_t address) {
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    if (!IsCommandRegisterClaimed(address)) m_claimed.push_back(address);
}

bool DeviceConnection::IsCommandRegisterClaimed(uint64_t address) const {
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    return std::find(m_claimed.begin(), m_claimed.end(), address) != m_claimed.end();
}

ArvFakeCamera* DeviceConnection::FakeCamera() const {
    return ARV_IS_FAKE_DEVICE(m_device) ? arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(m_device)) : nullptr;
}

} // namespace internal
} // namespace Orvane
