// CameraControl: the control side of one camera (Init/DeInit, its three node
// maps, port access). Owned by the camera's CameraCore, created on first use,
// alive as long as the camera object.
//
// Node maps: the device node map exists between Init and DeInit (a new object
// after each Init); the transport-layer device and stream node maps exist for
// the camera's whole life and serve before Init.
//
// Locking: m_mutex guards the session and serialises Init, DeInit and the
// operations that reach the device outside a node map. Node map operations
// take their map's own lock only. Callers must not race DeInit with other
// calls on the same camera (the device node map dies in DeInit).
//
// Acquisition: the acquisition code registers an AcquisitionHooks object;
// IsStreaming asks it and DeInit stops a running stream through it first.
#ifndef ORVANE_CAMERA_CAMERA_CONTROL_H
#define ORVANE_CAMERA_CAMERA_CONTROL_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "Orvane/GenApi/Interfaces.h"
#include "camera/DeviceSession.h"
#include "camera/StreamSettings.h"
#include "genapi/NativeNodeMap.h"

namespace Orvane {
namespace internal {

class CameraCore;

// Implemented by the acquisition code of a camera. Called with the camera's
// control mutex held; Stop must not call back into Init or DeInit.
class AcquisitionHooks {
public:
    virtual ~AcquisitionHooks() = default;
    virtual bool IsStreaming() const = 0;
    // Ends a running acquisition (DeInit calls it before closing the device).
    virtual void Stop() = 0;
};

class CameraControl {
public:
    explicit CameraControl(CameraCore& core);
    ~CameraControl();

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
    void ReadPort(uint64_t address, void* buffer, uint64_t length);
    void WritePort(uint64_t address, const void* buffer, uint64_t length);
    std::string GuiXml() const;
    unsigned DiscoverMaxPacketSize();

    // For the acquisition code ------------------------------------------------
    // The open session, or null before Init. Valid until DeInit; take
    // Mutex() to keep it from closing meanwhile.
    DeviceSession* Session() const { return m_session.get(); }
    std::mutex& Mutex() const { return m_mutex; }
    StreamState& Stream() { return m_stream; }
    // Registers (or, with null, removes) the acquisition's hooks.
    void SetAcquisitionHooks(AcquisitionHooks* hooks);

private:
    void BuildTLDeviceNodeMap();
    void BuildTLStreamNodeMap();
    DeviceSession& RequireSession(const char* function) const;

    CameraCore& m_core;
    mutable std::mutex m_mutex;
    std::unique_ptr<DeviceSession> m_session;
    std::atomic<bool> m_initialized{false};
    AcquisitionHooks* m_hooks = nullptr;
    StreamState m_stream;
    GenApi::impl::NativeNodeMap m_tlDevice;
    GenApi::impl::NativeNodeMap m_tlStream;
};

} // namespace internal
} // namespace Orvane

#endif
