// DeviceConnection: one opened device (between Init and DeInit), made by its
// transport's Open: the Aravis device, its GenApi node map, the behaviours
// behind its registers, and what the transport tells about the connection.
// It makes the device's stream sources (one per acquisition) and its event
// channel, and reports the device's loss. Transports derive from it for what
// they know more (the GigE Vision connection's network facts, the virtual
// camera's runtime and stream engine); the defaults here are those of a
// transport that knows nothing more.
//
// Ownership: shared (std::shared_ptr) by the camera's CameraAccess from Init
// to DeInit, by the operations working on it at that moment and by the
// stream source of a running acquisition; the device closes when the last
// owner lets go.
//
// Threads: Aravis emits "control-lost" on its heartbeat thread; the
// connection records it in an atomic flag and runs the loss listeners there
// (see AddLossListener). Everything else runs on the caller's thread. Direct
// use of the ArvDevice or its ArvGc (features, stream creation) holds the
// node map's lock (ArvNodeMap); the transport facts below take it themselves.
//
// Behaviours (DeviceBehaviour.h): the connection is the node map's device
// observer and passes every write the node map makes, and every
// Camera::WritePort, to its behaviours, in order, with the node map's lock
// held. A virtual camera's connection adds its VirtualCameraRuntime (the
// control-side commands and consistency rules) as a last behaviour, and its
// stream engine once it streams. The behaviour list is guarded by the node
// map's lock.
#ifndef ORVANE_TRANSPORT_DEVICE_CONNECTION_H
#define ORVANE_TRANSPORT_DEVICE_CONNECTION_H

#include <arv.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "genapi/ArvNodeMap.h"
#include "transport/DeviceBehaviour.h"
#include "transport/DeviceEventMap.h"
#include "transport/DeviceEvents.h"
#include "transport/DeviceInfo.h"

namespace Orvane {
namespace internal {

class StreamSource;

class DeviceConnection : public std::enable_shared_from_this<DeviceConnection> {
public:
    // Takes over the reference on `device` (released when the connection
    // ends, or here when building the node map fails, which raises). Made by
    // the transports' Open.
    DeviceConnection(ArvDevice* device, const DeviceInfo& info);
    virtual ~DeviceConnection();
    DeviceConnection(const DeviceConnection&) = delete;
    DeviceConnection& operator=(const DeviceConnection&) = delete;

    // Discovery data of the device when it was opened.
    const DeviceInfo& Info() const { return m_info; }
    ArvDevice* Device() const { return m_device; }
    GenApi::impl::ArvNodeMap& NodeMap() { return *m_nodeMap; }

    // False in GigE Vision monitor mode (another host controls the device):
    // reads work, writes are refused by the device.
    bool IsController() const { return m_controller; }

    // Streams ---------------------------------------------------------------
    // The source of one acquisition's frames (stream 0), made when the
    // acquisition begins. Default: the device's Aravis stream.
    virtual std::shared_ptr<StreamSource> CreateStreamSource();

    // Transport facts for the transport-layer node maps ---------------------
    // Defaults: the transport has none of them.
    struct IpConfiguration {
        int64_t address = 0, subnetMask = 0, gateway = 0; // IPv4 addresses as integers (a.b.c.d = a << 24 | ...)
    };
    // The device's current IP configuration; false when unknown.
    virtual bool CurrentIpConfiguration(IpConfiguration& out);
    // The device's version of its transport protocol; false when unknown.
    virtual bool ProtocolVersion(uint32_t& major, uint32_t& minor);
    // The URL of the device's GenICam description as the device states it
    // (e.g. "Local:...", "File:..."); empty when unknown.
    virtual std::string XmlUrl();
    // Bytes of each stream packet; 0 for transports without packets.
    virtual int64_t PacketSize();
    // Finds and sets the largest stream packet size the path to the device
    // carries; returns it. 0 for transports without packets. Raises
    // ORVANE_ERR_IO when the device refuses.
    virtual unsigned DiscoverMaxPacketSize();

    // Port accesses ---------------------------------------------------------
    // The last byte address a port access may reach: reads (`write` false)
    // and writes may differ (a virtual camera's description is readable
    // above its register memory, not writable). Default: the whole 64-bit
    // space (USB3 Vision). GigE Vision: 32-bit addresses.
    virtual uint64_t LastAddress(bool write) const;
    // Whether `length` bytes at `address` lie inside the device's address
    // space (LastAddress), computed without overflow; "" when they do,
    // otherwise why not, for error messages: "reading 64 bytes at 0x... is
    // outside the device's address space (0x0 to 0x...)". A zero length is
    // always inside. Lengths above 0xFFFFFFFF never are: Aravis carries at
    // most that much in one access.
    std::string PortRangeError(uint64_t address, uint64_t length, bool write) const;

    // Device loss -----------------------------------------------------------
    // True once the connection detected that the device is lost (GigE
    // Vision: a control request got no answer in its whole timeout, or
    // Aravis's heartbeat got none for its whole retry time and emitted
    // "control-lost"; a virtual camera: unplugged). Lock-free, any
    // thread. From then on every feature access through the node map and
    // every port access raises ORVANE_ERR_DEVICE_LOST at once, without
    // reaching the device (see LostMessage), and reading a feature's access
    // mode gives NA. An access that reaches a device that died but is not yet
    // known lost fails within its own timeout (ORVANE_ERR_GENICAM_TIMEOUT).
    bool ControlLost() const;
    // Why the device is lost, for error messages: "camera <id> was lost
    // (<reason>)"; empty before the loss. Any thread.
    std::string LostMessage() const;
    // Called once when the loss is detected, on the thread that detects it
    // (GigE Vision: Aravis's heartbeat thread, with no SDK lock held, or the
    // thread whose request found the device silent, which may hold the node
    // map's lock: gige/GvDeviceGuard.h). A
    // listener must return quickly, must not close or destroy the connection
    // (no DeInit there) and must not wait for another thread that adds or
    // removes listeners; it may add or remove listeners itself. A listener
    // added after the loss is not called.
    using LossListener = std::function<void()>;
    // Registers a listener; the id removes it.
    uint64_t AddLossListener(LossListener listener);
    // When this returns the listener is not running (unless on this thread)
    // and will not be called.
    void RemoveLossListener(uint64_t id);
    // Whether the device still answers, for a caller that saw nothing of it
    // for a while (a stream that stopped delivering): false once it is lost.
    // GigE Vision asks the device (one control request, at most one a
    // second; a request without answer declares the loss, which takes the
    // request's timeout, 2.5 s). Default: ControlLost() only. Any thread.
    virtual bool CheckAnswering();

    // For a transport's watch over the requests Aravis sends to its devices
    // (gige/GvDeviceGuard.h), by the Aravis device; devices without an open
    // connection are never lost. Any thread; ReportUnanswered runs the loss
    // listeners on the calling thread (as ReportLoss), maybe with the node
    // map's lock held.
    static bool IsLostDevice(ArvDevice* device);
    static void ReportUnanswered(ArvDevice* device, const std::string& reason);

    // Device events ---------------------------------------------------------
    // Opens the device's event channel, delivering every event to `sink`
    // until the returned channel is destroyed (DeviceEvents.h); the sink must
    // outlive the channel. Default: ORVANE_ERR_NOT_IMPLEMENTED.
    // GigE Vision (gige/GigEVisionEventChannel.h): the channel shares
    // ownership of the connection (close it at DeInit, or the device stays
    // open); ORVANE_ERR_ACCESS_DENIED in monitor mode,
    // ORVANE_ERR_NOT_SUPPORTED for a device without a message channel,
    // ORVANE_ERR_RESOURCE_IN_USE while another channel of the device is open,
    // ORVANE_ERR_DEVICE_LOST once the device is lost.
    virtual std::unique_ptr<DeviceEventChannel> OpenEventChannel(DeviceEventSink& sink);
    // The events the device's XML describes (event ID -> name, data nodes),
    // read on first use and kept for the connection's life. Any thread.
    const DeviceEventMap& EventMap();

    // Behaviours ------------------------------------------------------------
    // Adds a behaviour; the connection shares ownership until RemoveBehaviour
    // or its end. Behaviours run in the order they were added, except that
    // those added with `last` run after all the others (the virtual camera
    // runtime is one: it completes the command registers no other behaviour
    // claimed, so the others see a command's register still set). Takes the
    // node map's lock.
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

protected:
    void SetController(bool controller) { m_controller = controller; }
    // For transports that detect a loss themselves (a virtual camera
    // unplugged): marks the device lost with `reason` (words for error
    // messages, e.g. "unplugged") and runs the loss listeners on this thread,
    // once; later reports do nothing. Call it with no SDK lock held (the
    // listeners may take locks of their own).
    void ReportLoss(const std::string& reason);

private:
    class Observer;
    // The loss flag and listeners, shared with the "control-lost" handler
    // while it runs.
    struct LossState {
        std::atomic<bool> lost{false};
        std::recursive_mutex mutex; // guards listeners and nextId; held while listeners run
        std::map<uint64_t, LossListener> listeners;
        uint64_t nextId = 1;
        std::string reason; // written once, under `mutex`, before `lost` becomes true; read after
        void Report(const std::string& why);
    };
    // The handler finds the loss state of its device in a registry guarded
    // by a mutex of ours (filled before the handler is connected, emptied
    // after it is disconnected), not through the signal's user data: GLib's
    // own signal lock is invisible to ThreadSanitizer, and the heartbeat
    // thread that emits the signal exists before the connection does.
    static void OnControlLost(ArvDevice* device, gpointer unused);
    static void RegisterLossState(ArvDevice* device, const std::shared_ptr<LossState>& state);
    static void UnregisterLossState(ArvDevice* device);
    static std::shared_ptr<LossState> FindLossState(ArvDevice* device);

    ArvDevice* m_device; // owned reference
    const DeviceInfo m_info;
    std::unique_ptr<GenApi::impl::ArvNodeMap> m_nodeMap;
    bool m_controller = true;
    std::shared_ptr<LossState> m_loss;
    gulong m_controlLostHandler = 0;
    // Guarded by the node map's lock.
    std::unique_ptr<Observer> m_observer;
    std::vector<std::shared_ptr<DeviceBehaviour>> m_behaviours; // in running order
    size_t m_firstLast = 0;                                     // index of the first "last" behaviour
    std::vector<uint64_t> m_claimed;                            // claimed command registers
    std::once_flag m_eventMapOnce;
    std::unique_ptr<DeviceEventMap> m_eventMap; // set once by EventMap
};

} // namespace internal
} // namespace Orvane

#endif
