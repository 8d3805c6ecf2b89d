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
// Unplugging (VirtualCameraCount lowered below the camera's number): the
// transport calls Unplug, which stops the camera's frames and reports the
// loss (DeviceConnection::ControlLost): every later feature or port access
// raises ORVANE_ERR_DEVICE_LOST, as for a GigE Vision camera that stopped
// answering.
//
// Action commands (VirtualActions.h): MatchActions tells which of the
// camera's actions a command addresses, FireActions performs them.
//
// Threads: as DeviceConnection. CreateStreamSource, OpenEventChannel, Unplug,
// MatchActions, FireActions and ReportLateAction may run on any thread with no
// SDK lock held (m_engineMutex guards the engine's creation, m_channelOpen the
// one open channel; the node map's lock is taken where registers are read).
#ifndef ORVANE_VIRTUAL_VIRTUAL_DEVICE_CONNECTION_H
#define ORVANE_VIRTUAL_VIRTUAL_DEVICE_CONNECTION_H

#include <arv.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "transport/DeviceConnection.h"

namespace Orvane {
namespace internal {

class VirtualCameraRuntime;
class VirtualStreamEngine;

class VirtualDeviceConnection : public DeviceConnection {
public:
    // Actions of the camera: ActionSelector 0 and 1 (signals Action0, Action1).
    static constexpr uint32_t kActions = 2;

    // Takes over `device` (a fake device made by OpenVirtualDevice), adds the
    // runtime and powers the camera up. Raises when that fails.
    VirtualDeviceConnection(ArvDevice* device, const DeviceInfo& info);
    ~VirtualDeviceConnection() override;

    // The fake camera behind the device (its memory, fill pattern, trigger).
    ArvFakeCamera* FakeCamera() const { return m_fake; }
    // The camera's runtime (its clock, events); never null.
    VirtualCameraRuntime& Runtime() const { return *m_runtime; }

    std::shared_ptr<StreamSource> CreateStreamSource() override;
    // Reads reach the register memory and the description above it
    // (0x10000 and up); writes only the register memory.
    uint64_t LastAddress(bool write) const override;
    // Raises ORVANE_ERR_RESOURCE_IN_USE while a channel is open.
    std::unique_ptr<DeviceEventChannel> OpenEventChannel(DeviceEventSink& sink) override;

    // The camera is unplugged: no more frames, and the loss is reported with
    // `reason` (loss listeners run on this thread). Once only.
    void Unplug(const std::string& reason);

    // The camera's actions (ActionSelector values) that an action command
    // with these keys addresses: bit n set when ActionDeviceKey equals
    // deviceKey, ActionGroupKey[n] equals groupKey and ActionGroupMask[n]
    // shares a bit with groupMask. 0 for none, and for a lost camera.
    uint32_t MatchActions(uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask);
    // Performs the actions of `actions` (MatchActions's bits): fires the
    // signal Action<n> (a frame when a trigger's source is Action<n> and the
    // camera streams). Nothing for a lost camera.
    void FireActions(uint32_t actions);
    // A scheduled action came after its time: the ActionLate event (when its
    // notification is on).
    void ReportLateAction();

private:
    class EventChannel;

    ArvFakeCamera* m_fake;  // owned by the device
    uint64_t m_xmlSize = 0; // bytes of the description the device serves
    std::shared_ptr<VirtualCameraRuntime> m_runtime;
    std::mutex m_engineMutex;
    std::shared_ptr<VirtualStreamEngine> m_engine; // attached by the first stream source
    std::shared_ptr<std::atomic<bool>> m_channelOpen = std::make_shared<std::atomic<bool>>(false);
};

} // namespace internal
} // namespace Orvane

#endif
