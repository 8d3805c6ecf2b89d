// VirtualDeviceConnection: an opened virtual camera. Its device is an Aravis
// fake device running the SDK's description; the connection adds the
// camera's runtime (VirtualCameraRuntime: commands, consistency rules, clocks,
// events) as its last behaviour when it opens, and the camera's stream engine
// (VirtualStreamEngine: gating, patterns, chunks) when its first acquisition
// begins. Its stream sources are the fake device's stream, filled by that
// engine.
//
// Threads: as DeviceConnection. CreateStreamSource may run on any thread
// (m_engineMutex guards the engine's creation).
#ifndef ORVANE_VIRTUAL_VIRTUAL_DEVICE_CONNECTION_H
#define ORVANE_VIRTUAL_VIRTUAL_DEVICE_CONNECTION_H

#include <arv.h>

#include <memory>
#include <mutex>

#include "transport/DeviceConnection.h"

namespace Orvane {
namespace internal {

class VirtualCameraRuntime;
class VirtualStreamEngine;

class VirtualDeviceConnection : public DeviceConnection {
public:
    // Takes over `device` (a fake device made by OpenVirtualDevice), adds the
    // runtime and powers the camera up. Raises when that fails.
    VirtualDeviceConnection(ArvDevice* device, const DeviceInfo& info);
    ~VirtualDeviceConnection() override;

    // The fake camera behind the device (its memory, fill pattern, trigger).
    ArvFakeCamera* FakeCamera() const { return m_fake; }
    // The camera's runtime (its clock, events); never null.
    VirtualCameraRuntime& Runtime() const { return *m_runtime; }

    std::shared_ptr<StreamSource> CreateStreamSource() override;

private:
    ArvFakeCamera* m_fake; // owned by the device
    std::shared_ptr<VirtualCameraRuntime> m_runtime;
    std::mutex m_engineMutex;
    std::shared_ptr<VirtualStreamEngine> m_engine; // attached by the first stream source
};

} // namespace internal
} // namespace Orvane

#endif
