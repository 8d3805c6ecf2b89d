// CameraAccess: access to one camera's device: opening and closing it
// (Init/DeInit, through its transport), its three node maps, port access and
// the stream state the acquisition shares. Owned by the camera's
// DiscoveredCamera, created on first use, alive as long as the camera object.
//
// Node maps: the device node map exists between Init and DeInit (a new object
// after each Init); the transport-layer device and stream node maps exist for
// the camera's whole life and serve before Init.
//
// Locking: m_mutex guards the connection pointer and serialises Init and
// DeInit; it is never held while a node map's lock is taken (DeInit may stop
// an acquisition that writes features). Other operations take a reference to
// the connection under m_mutex and work on it after releasing m_mutex, so a
// concurrent DeInit closes the device only when they are done. Node map
// operations take their map's own lock only. The device node map dies with
// the connection: do not use it after DeInit.
//
// Acquisition: the acquisition code registers an AcquisitionHooks object;
// IsStreaming asks it and DeInit stops a running stream through it first.
//
// Events: the camera's event handlers and its device event thread
// (CameraEvents) live as long as the camera. Init starts the event thread
// when device event handlers are registered; DeInit stops it before the
// device closes, and refuses to run on it (ORVANE_ERR_INVALID_STATE: the
// thread would wait for itself).
#ifndef ORVANE_CAMERA_CAMERA_ACCESS_H
#define ORVANE_CAMERA_CAMERA_ACCESS_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "Orvane/GenApi/Interfaces.h"
#include "camera/StreamSettings.h"
#include "core/Raise.h"
#include "genapi/NativeNodeMap.h"
#include "transport/DeviceConnection.h"

namespace Orvane {
namespace internal {

class CameraEvents;
class DiscoveredCamera;

// Implemented by the acquisition code of a camera. Called without the
// camera's control mutex; Stop must not call Init or DeInit. The hooks object
// must outlive its registration (SetAcquisitionHooks(nullptr) before it dies).
class AcquisitionHooks {
public:
    virtual ~AcquisitionHooks() = default;
    virtual bool IsStreaming() const = 0;
    // Ends a running acquisition (DeInit calls it before closing the device).
    virtual void Stop() = 0;
    // Whether the calling thread is the acquisition's delivery thread
    // (DeInit refuses to run there).
    virtual bool OnDeliveryThread() const { return false; }
};

class CameraAccess {
public:
    explicit CameraAccess(DiscoveredCamera& camera);
    ~CameraAccess();

    void Init();
    void DeInit();
    bool IsInitialized() const { return m_initialized.load(); }
    // False once discovery no longer finds the device or control is lost.
    bool IsValid() const;
    bool IsStreaming() const;

    GenApi::INodeMap& NodeMap();
    GenApi::INodeMap& TLDeviceNodeMap() { return m_tlDevice; }
    GenApi::INodeMap& TLStreamNodeMap(uint64_t streamIndex);
    GenApi::EAccessMode AccessMode() const;
    // Raise ORVANE_ERR_DEVICE_LOST once the device is lost, and
    // ORVANE_ERR_OUT_OF_RANGE for bytes outside the device's address space
    // (DeviceConnection::PortRangeError), before reaching the device.
    void ReadPort(uint64_t address, void* buffer, uint64_t length);
    void WritePort(uint64_t address, const void* buffer, uint64_t length);
    std::string GuiXml() const;
    unsigned DiscoverMaxPacketSize();

    // For the acquisition code ------------------------------------------------
    // The open connection, or null before Init. Holding the reference keeps
    // the device open past a DeInit until it is dropped.
    std::shared_ptr<DeviceConnection> Connection() const;
    StreamState& Stream() { return m_stream; }
    // Registers (or, with null, removes) the acquisition's hooks.
    void SetAcquisitionHooks(AcquisitionHooks* hooks);
    // The camera's acquisition object: made by `make` on first use and kept
    // for the camera's life (destroyed with the camera, after DeInit).
    AcquisitionHooks& Acquisition(const std::function<std::unique_ptr<AcquisitionHooks>(CameraAccess&)>& make);
    DiscoveredCamera& Camera() const { return m_camera; }
    // The camera's event handlers (shared with the running acquisition).
    const std::shared_ptr<CameraEvents>& Events() const { return m_events; }

private:
    void BuildTLDeviceNodeMap();
    void BuildTLStreamNodeMap();
    // The open connection, or ORVANE_ERR_CAMERA_NOT_INITIALIZED.
    std::shared_ptr<DeviceConnection> RequireConnection(const SourcePosition& at) const;
    // The same, and ORVANE_ERR_DEVICE_LOST once the device is lost.
    std::shared_ptr<DeviceConnection> RequireLiveConnection(const SourcePosition& at) const;

    DiscoveredCamera& m_camera;
    mutable std::mutex m_mutex;
    std::shared_ptr<DeviceConnection> m_connection;
    std::atomic<bool> m_initialized{false};
    AcquisitionHooks* m_hooks = nullptr;
    StreamState m_stream;
    GenApi::impl::NativeNodeMap m_tlDevice;
    GenApi::impl::NativeNodeMap m_tlStream;
    std::shared_ptr<CameraEvents> m_events;
    // Declared last: destroyed first, while everything it uses still lives.
    std::mutex m_acquisitionMutex; // serialises the creation of m_acquisition
    std::unique_ptr<AcquisitionHooks> m_acquisition;
};

} // namespace internal
} // namespace Orvane

#endif
