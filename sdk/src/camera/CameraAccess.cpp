#include "camera/CameraAccess.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "camera/CameraEvents.h"
#include "camera/DiscoveredCamera.h"
#include "core/Raise.h"
#include "logging/Log.h"

namespace Orvane {
namespace internal {

using namespace GenApi;
using GenApi::impl::NodeMapBase;

namespace {

[[noreturn]] void RaisePortError(const DeviceConnection& connection, const std::string& camera,
                                 const SourcePosition& at, const char* what, uint64_t address, GError* error) {
    const int code = error && error->domain == ARV_DEVICE_ERROR && error->code == ARV_DEVICE_ERROR_TIMEOUT
                         ? ORVANE_ERR_TIMEOUT
                         : ORVANE_ERR_IO;
    std::string message = error && error->message ? error->message : "the device refused the access";
    if (error) g_error_free(error);
    char where[32];
    std::snprintf(where, sizeof where, "0x%llx", static_cast<unsigned long long>(address));
    // A device found lost while the access waited (maybe by this access):
    // the loss is the error.
    if (connection.ControlLost())
        Raise(at, ORVANE_ERR_DEVICE_LOST,
              connection.LostMessage() + "; " + what + " at " + where + " failed: " + message);
    Raise(at, code, "camera " + camera + ": " + what + " at " + where + " failed: " + message);
}

} // namespace

CameraAccess::CameraAccess(DiscoveredCamera& camera)
    : m_camera(camera), m_tlDevice("TLDevice"), m_tlStream("TLStream"),
      m_events(std::make_shared<CameraEvents>(*this)) {
    BuildTLDeviceNodeMap();
    BuildTLStreamNodeMap();
}

CameraAccess::~CameraAccess() {
    try {
        DeInit();
    } catch (...) {
        // Closing never throws past the camera's destruction.
    }
}

void CameraAccess::Init() {
    std::string opened;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_connection) return;
        const DeviceInfo info = m_camera.Info();
        if (!m_camera.IsPresent())
            ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE,
                      "camera " + info.deviceId + " is no longer present (rediscover the cameras)");
        m_connection = m_camera.Through().Open(info);
        m_initialized.store(true);
        // Runs on the thread that detects the loss (GigE Vision: Aravis's
        // heartbeat thread); the connection outlives its listeners.
        DeviceConnection* connection = m_connection.get();
        m_connection->AddLossListener(
            [connection] { ORV_LOG(kLogCategoryCamera, LOG_LEVEL_ERROR, connection->LostMessage()); });
        opened = "camera " + info.deviceId + " opened (" + info.modelName + ", serial " + info.serialNumber + ", " +
                 info.protocol + " at " + info.address + ")";
    }
    // Without m_mutex: log handlers may call back into the camera.
    ORV_LOG(kLogCategoryCamera, LOG_LEVEL_INFO, opened);
    // Without m_mutex (the event thread reads the node map). A transport
    // without device events does not fail Init: the failure is logged.
    m_events->Update(false);
}

void CameraAccess::DeInit() {
    if (m_events->OnEventThread())
        ORV_RAISE(ORVANE_ERR_INVALID_STATE, "camera " + m_camera.Info().deviceId +
                                                ": DeInit cannot run on the camera's device event thread (in a "
                                                "DeviceEventHandler): the thread ends with the camera's connection");
    AcquisitionHooks* hooks = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_connection) return;
        hooks = m_hooks;
    }
    if (hooks && hooks->OnDeliveryThread())
        ORV_RAISE(ORVANE_ERR_INVALID_STATE, "camera " + m_camera.Info().deviceId +
                                                ": DeInit cannot run on the camera's delivery thread (in an image "
                                                "event handler): it waits for that thread");
    // Without m_mutex: stopping may write features through the node map.
    if (hooks && hooks->IsStreaming()) hooks->Stop();
    std::shared_ptr<DeviceConnection> closing;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_initialized.store(false);
        closing.swap(m_connection);
    }
    if (closing) ORV_LOG(kLogCategoryCamera, LOG_LEVEL_INFO, "camera " + closing->Info().deviceId + " closed");
    // The event thread stops and lets the connection go.
    m_events->Update(false);
    // The device closes here unless another operation still holds the connection.
}

std::shared_ptr<DeviceConnection> CameraAccess::Connection() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_connection;
}

bool CameraAccess::IsValid() const {
    if (!m_camera.IsPresent()) return false;
    const std::shared_ptr<DeviceConnection> connection = Connection();
    return !(connection && connection->ControlLost());
}

bool CameraAccess::IsStreaming() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_hooks && m_hooks->IsStreaming();
}

void CameraAccess::SetAcquisitionHooks(AcquisitionHooks* hooks) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_hooks = hooks;
}

AcquisitionHooks& CameraAccess::Acquisition(
    const std::function<std::unique_ptr<AcquisitionHooks>(CameraAccess&)>& make) {
    std::lock_guard<std::mutex> lock(m_acquisitionMutex);
    if (!m_acquisition) m_acquisition = make(*this);
    return *m_acquisition;
}

std::shared_ptr<DeviceConnection> CameraAccess::RequireConnection(const SourcePosition& at) const {
    std::shared_ptr<DeviceConnection> connection = Connection();
    if (!connection)
        Raise(at, ORVANE_ERR_CAMERA_NOT_INITIALIZED,
              "camera " + m_camera.Info().deviceId + " is not initialized (call Init first)");
    return connection;
}

std::shared_ptr<DeviceConnection> CameraAccess::RequireLiveConnection(const SourcePosition& at) const {
    std::shared_ptr<DeviceConnection> connection = RequireConnection(at);
    if (connection->ControlLost()) Raise(at, ORVANE_ERR_DEVICE_LOST, connection->LostMessage());
    return connection;
}

INodeMap& CameraAccess::NodeMap() { return RequireConnection(ORV_HERE)->NodeMap(); }

INodeMap& CameraAccess::TLStreamNodeMap(uint64_t streamIndex) {
    if (streamIndex != 0)
        ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE, "camera " + m_camera.Info().deviceId + " has one stream (index 0); stream " +
                                               std::to_string(streamIndex) + " does not exist");
    return m_tlStream;
}

EAccessMode CameraAccess::AccessMode() const {
    if (!m_camera.IsPresent()) return NA;
    const std::shared_ptr<DeviceConnection> connection = Connection();
    if (!connection) return RW; // what Init would get; transports tell nothing more before opening
    if (connection->ControlLost()) return NA;
    return connection->IsController() ? RW : RO;
}

void CameraAccess::ReadPort(uint64_t address, void* buffer, uint64_t length) {
    const std::shared_ptr<DeviceConnection> held = RequireLiveConnection(ORV_HERE);
    DeviceConnection& connection = *held;
    if (length == 0) return;
    if (!buffer) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "ReadPort: the buffer is null");
    if (length > std::numeric_limits<guint32>::max())
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  "ReadPort: " + std::to_string(length) + " bytes is more than one access can carry");
    const std::string outside = connection.PortRangeError(address, length, false);
    if (!outside.empty()) ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE, "camera " + m_camera.Info().deviceId + ": " + outside);
    NodeMapBase::MapLock mapLock(connection.NodeMap());
    connection.NotifyRead(); // values computed on demand (clocks, status) are refreshed first
    GError* error = nullptr;
    if (!arv_device_read_memory(connection.Device(), address, static_cast<guint32>(length), buffer, &error)) {
        const std::string what = "reading " + std::to_string(length) + " bytes";
        RaisePortError(connection, m_camera.Info().deviceId, ORV_HERE, what.c_str(), address, error);
    }
    if (error) g_error_free(error);
}

void CameraAccess::WritePort(uint64_t address, const void* buffer, uint64_t length) {
    const std::shared_ptr<DeviceConnection> held = RequireLiveConnection(ORV_HERE);
    DeviceConnection& connection = *held;
    if (length == 0) return;
    if (!buffer) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "WritePort: the buffer is null");
    if (length > std::numeric_limits<guint32>::max())
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  "WritePort: " + std::to_string(length) + " bytes is more than one access can carry");
    const std::string outside = connection.PortRangeError(address, length, true);
    if (!outside.empty()) ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE, "camera " + m_camera.Info().deviceId + ": " + outside);
    if (!connection.IsController())
        ORV_RAISE(ORVANE_ERR_ACCESS_DENIED,
                  "camera " + m_camera.Info().deviceId +
                      " is open in monitor mode (another host controls it): writes are refused");
    NodeMapBase::MapLock mapLock(connection.NodeMap());
    GError* error = nullptr;
    const bool ok = arv_device_write_memory(connection.Device(), address, static_cast<guint32>(length),
                                            const_cast<void*>(buffer), &error);
    // Whatever the write reached, no cached feature value can be trusted.
    connection.NodeMap().InvalidateNodes();
    if (!ok) {
        const std::string what = "writing " + std::to_string(length) + " bytes";
        RaisePortError(connection, m_camera.Info().deviceId, ORV_HERE, what.c_str(), address, error);
    }
    if (error) g_error_free(error);
    // The device reacts to the write as to a feature's (a command, a rule).
    connection.NotifyWrite(address, length);
}

std::string CameraAccess::GuiXml() const {
    const std::shared_ptr<DeviceConnection> held = RequireConnection(ORV_HERE);
    DeviceConnection& connection = *held;
    NodeMapBase::MapLock mapLock(connection.NodeMap());
    size_t size = 0;
    const char* xml = arv_device_get_genicam_xml(connection.Device(), &size);
    return xml ? std::string(xml, size) : std::string();
}

unsigned CameraAccess::DiscoverMaxPacketSize() { return RequireConnection(ORV_HERE)->DiscoverMaxPacketSize(); }

} // namespace internal
} // namespace Orvane
