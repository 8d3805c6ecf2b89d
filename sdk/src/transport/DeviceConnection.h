// DeviceConnection: one opened device (between Init and DeInit): the Aravis
// device, its GenApi node map and what the transport tells about the
// connection.
//
// Threads: Aravis emits "control-lost" on its heartbeat thread; the session
// records it in an atomic flag and does nothing else there. Everything else
// runs on the caller's thread. Direct use of the ArvDevice or its ArvGc
// (features, stream creation) holds the node map's lock (ArvNodeMap).
//
// Behaviours (DeviceBehaviour.h): the session is the node map's device
// observer and passes every write the node map makes, and every
// Camera::WritePort, to its behaviours, in order, with the node map's lock
// held. A virtual camera's session adds its VirtualCameraRuntime (the
// control-side commands and consistency rules) as a last behaviour; other code
// (the acquisition of virtual cameras) adds its own behaviours in its own
// files. The behaviour list is guarded by the node map's lock.
#ifndef ORVANE_TRANSPORT_DEVICE_CONNECTION_H
#define ORVANE_TRANSPORT_DEVICE_CONNECTION_H

#include <arv.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "genapi/ArvNodeMap.h"
#include "transport/DeviceBehaviour.h"
#include "transport/DeviceInfo.h"

namespace Orvane {
namespace internal {

class VirtualCameraRuntime;

class DeviceConnection {
public:
    // Opens the device described by discovery. Raises ORVANE_ERR_NOT_AVAILABLE
    // when the device does not answer, ORVANE_ERR_RESOURCE_IN_USE when another
    // program holds it, ORVANE_ERR_NOT_SUPPORTED for an unknown transport.
    static std::unique_ptr<DeviceConnection> Open(const DeviceInfo& info);
    ~DeviceConnection();
    DeviceConnection(const DeviceConnection&) = delete;
    DeviceConnection& operator=(const DeviceConnection&) = delete;

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

    // Behaviours --------------------------------------------------------------
    // Adds a behaviour; the session shares ownership until RemoveBehaviour or
    // its end. Behaviours run in the order they were added, except that those
    // added with `last` run after all the others (the virtual camera runtime
    // is one: it completes the command registers no other behaviour claimed,
    // so the others see a command's register still set). Takes the node map's
    // lock.
    void AddBehaviour(std::shared_ptr<DeviceBehaviour> behaviour, bool last = false);
    void RemoveBehaviour(const DeviceBehaviour* behaviour);
    // Runs every behaviour's OnWrite (OnRead) now: for code that wrote (is
    // about to read) device memory behind the node map and wants the device
    // to react as to a node map access. Camera::WritePort and ReadPort call
    // them. Take the node map's lock.
    void NotifyWrite(uint64_t address, uint64_t length);
    void NotifyRead();
    // Command registers whose command a behaviour completes itself (it writes
    // 0 when the action is done, maybe later): the virtual camera runtime then
    // leaves them alone instead of completing them at once. Claim before the
    // first execution (e.g. when adding the behaviour). Take the node map's lock.
    void ClaimCommandRegister(uint64_t address);
    bool IsCommandRegisterClaimed(uint64_t address) const;
    // The runtime of a virtual camera (its clock, events), null for other transports.
    VirtualCameraRuntime* VirtualRuntime() const { return m_runtime.get(); }

private:
    DeviceConnection(ArvDevice* device, const DeviceInfo& info);
    class Observer;

    ArvDevice* m_device; // owned reference
    std::string m_transport;
    std::unique_ptr<GenApi::impl::ArvNodeMap> m_nodeMap;
    bool m_controller = true;
    std::atomic<bool>* m_controlLost; // owned by the signal connection (freed when it is disconnected)
    gulong m_controlLostHandler = 0;
    // Guarded by the node map's lock.
    std::unique_ptr<Observer> m_observer;
    std::vector<std::shared_ptr<DeviceBehaviour>> m_behaviours; // in running order
    size_t m_firstLast = 0;                                     // index of the first "last" behaviour
    std::vector<uint64_t> m_claimed;                            // claimed command registers
    std::shared_ptr<VirtualCameraRuntime> m_runtime;
};

} // namespace internal
} // namespace Orvane

#endif
