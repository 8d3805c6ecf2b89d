// DeviceSession: one opened device (between Init and DeInit): the Aravis
// device, its GenApi node map and what the transport tells about the
// connection.
//
// Threads: Aravis emits "control-lost" on its heartbeat thread; the session
// records it in an atomic flag and does nothing else there. Everything else
// runs on the caller's thread. Direct use of the ArvDevice or its ArvGc
// (features, stream creation) holds the node map's lock (ArvNodeMap).
#ifndef ORVANE_CAMERA_DEVICE_SESSION_H
#define ORVANE_CAMERA_DEVICE_SESSION_H

#include <arv.h>

#include <atomic>
#include <memory>
#include <string>

#include "genapi/ArvNodeMap.h"
#include "system/DeviceInfo.h"

namespace Orvane {
namespace internal {

class DeviceSession {
public:
    // Opens the device described by discovery. Raises ORVANE_ERR_NOT_AVAILABLE
    // when the device does not answer, ORVANE_ERR_RESOURCE_IN_USE when another
    // program holds it, ORVANE_ERR_NOT_SUPPORTED for an unknown transport.
    static std::unique_ptr<DeviceSession> Open(const DeviceInfo& info);
    ~DeviceSession();
    DeviceSession(const DeviceSession&) = delete;
    DeviceSession& operator=(const DeviceSession&) = delete;

    ArvDevice* Device() const { return m_device; }
    // The GigE Vision device, or null for other transports.
    ArvGvDevice* GvDevice() const { return ARV_IS_GV_DEVICE(m_device) ? ARV_GV_DEVICE(m_device) : nullptr; }
    // The fake camera behind a virtual camera (its memory, fill pattern,
    // trigger), or null for real transports.
    ArvFakeCamera* FakeCamera() const;
    GenApi::impl::ArvNodeMap& NodeMap() { return *m_nodeMap; }

    // False in GigE Vision monitor mode (another host controls the device):
    // reads work, writes are refused by the device.
    bool IsController() const { return m_controller; }
    bool ControlLost() const { return m_controlLost->load(); }
    const std::string& Transport() const { return m_transport; }

private:
    DeviceSession(ArvDevice* device, std::string transport);

    ArvDevice* m_device;  // owned reference
    std::string m_transport;
    std::unique_ptr<GenApi::impl::ArvNodeMap> m_nodeMap;
    bool m_controller = true;
    std::atomic<bool>* m_controlLost;  // owned by the signal connection (freed when it is disconnected)
    gulong m_controlLostHandler = 0;
};

} // namespace internal
} // namespace Orvane

#endif
