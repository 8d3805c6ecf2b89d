// VirtualDeviceConnection: an opened virtual camera. Its device is an Aravis
// fake device running the SDK's description; the connection adds the
// camera's runtime (VirtualCameraRuntime: commands, consistency rules, clocks,
// events) as its last behaviour when it opens, and the camera's stream engine
// (VirtualStreamEngine: gating, patterns, chunks) when its first acquisition
// begins. Its stream sources are the fake device's stream, filled by that
// engine. Its event channel is the runtime's event source: the channel
// installs itself as the source's sink, so the events the runtime and the
// engine raise reach the channel's DeviceEventSink on the raising thread
// (DeviceEvents.h); one channel at a time.
//
// Threads: as DeviceConnection. CreateStreamSource and OpenEventChannel may
// run on any thread (m_engineMutex guards the engine's creation, m_channelOpen
// the one open channel).
#ifndef ORVANE_VIRTUAL_VIRTUAL_DEVICE_CONNECTION_H
#define ORVANE_VIRTUAL_VIRTUAL_DEVICE_CONNECTION_H

#include <arv.h>

#include <atomic>
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
    // Raises ORVANE_ERR_RESOURCE_IN_USE while a channel is open.
    std::unique_ptr<DeviceEventChannel> OpenEventChannel(DeviceEventSink& sink) override;

private:
    class EventChannel;

    ArvFakeCamera* m_fake; // owned by the device
    std::shared_ptr<VirtualCameraRuntime> m_runtime;
    std::mutex m_engineMutex;
    std::shared_ptr<VirtualStreamEngine> m_engine; // attached by the first stream source
    std::shared_ptr<std::atomic<bool>> m_channelOpen = std::make_shared<std::atomic<bool>>(false);
};

} // namespace internal
} // namespace Orvane

#endif
