// The device-event channel of an opened GigE Vision device (what
// DeviceConnection::OpenEventChannel returns for it): a GvcpMessageChannel
// whose registers (MCDA, MCTT, MCRC, MCP) are written through the
// connection's controlling ArvDevice, turning each EVENT or EVENTDATA the
// device sends into a DeviceEvent for the sink.
//
// Each event becomes one DeviceEvent: its event id; its timestamp in ns
// (device ticks converted with the device's timestamp tick frequency, read
// when the channel opens; ticks as they are when the frequency is unknown);
// the stream channel when the message names one (0xFFFF names none); the
// block id when it is not 0; and, for EVENTDATA, the data bytes after the
// event's header as the device sent them (EVENT carries none: size 0).
//
// Threads and ownership:
// - The channel shares ownership of its connection: the device stays open
//   while the channel is, so close the channel before or when the camera is
//   deinitialised. The sink must outlive the channel.
// - The sink runs on the message channel's receiver thread (the event
//   channel thread of DeviceEvents.h), one event at a time, after the device
//   got its acknowledgement, with no SDK lock held. An exception it throws
//   is counted (Statistics().sinkErrors) and dropped.
// - Register writes hold the node map's lock, like every ArvDevice access;
//   they run on the thread that opens the channel (constructor) or closes it
//   (destructor), never on the receiver thread. Destroy the channel from any
//   thread but the receiver thread, without holding the node map's lock (a
//   sink waiting for that lock would never return).
// - Device loss: a loss listener on the connection (Aravis's heartbeat
//   thread) tells the receiver thread to end without waiting for it and
//   without device writes (GvcpMessageChannel::Abandon); the destructor then
//   only joins the thread and closes the socket. Closing a channel whose
//   device is still there writes MCP = 0, so that the device stops sending.
#ifndef ORVANE_TRANSPORT_GIGE_GIGE_VISION_EVENT_CHANNEL_H
#define ORVANE_TRANSPORT_GIGE_GIGE_VISION_EVENT_CHANNEL_H

#include <atomic>
#include <cstdint>
#include <memory>

#include "transport/DeviceConnection.h"
#include "transport/DeviceEvents.h"
#include "transport/gige/GvcpMessageChannel.h"

namespace Orvane {
namespace internal {

class GigEVisionEventChannel : public DeviceEventChannel {
public:
    struct Setup {
        uint32_t deviceAddress = 0; // the device's IPv4 address (host byte order)
        uint32_t hostAddress = 0;   // the host address its control channel uses; 0: the route's
        uint64_t tickFrequency = 0; // device timestamp ticks per second; 0: unknown
        // Set while the channel is open, cleared by its destructor (the
        // connection's "one channel at a time" flag; lives in the connection).
        std::atomic<bool>* openFlag = nullptr;
    };

    // Programs the device's message channel and starts receiving. Raises
    // ORVANE_ERR_DEVICE_LOST when the device is (found) lost,
    // ORVANE_ERR_ACCESS_DENIED when the device refuses the writes,
    // ORVANE_ERR_IO for other failures (socket, device write); nothing stays
    // open then.
    GigEVisionEventChannel(std::shared_ptr<DeviceConnection> connection, DeviceEventSink& sink, const Setup& setup);
    // Stops the channel: MCP = 0 unless the device is lost, then the receiver
    // thread ends. When it returns the sink is no longer called.
    ~GigEVisionEventChannel() override;
    GigEVisionEventChannel(const GigEVisionEventChannel&) = delete;
    GigEVisionEventChannel& operator=(const GigEVisionEventChannel&) = delete;

    DeviceEventChannelStatistics Statistics() const override;
    // The host end of the channel (for diagnostics and tests).
    uint32_t HostAddress() const { return m_channel.HostAddress(); }
    uint16_t HostPort() const { return m_channel.HostPort(); }

    // Device timestamp ticks at `tickFrequency` per second in ns (ticks as
    // they are for 0 or 1 GHz; saturates at the largest value).
    static uint64_t TicksToNanoseconds(uint64_t ticks, uint64_t tickFrequency);

private:
    void WriteRegister(uint32_t address, uint32_t value);
    void Deliver(const GvEventMessage& message);

    std::shared_ptr<DeviceConnection> m_connection;
    DeviceEventSink& m_sink;
    const Setup m_setup;
    uint64_t m_lossListener = 0;
    GvcpMessageChannel m_channel; // declared last: stopped before the members it uses go
};

} // namespace internal
} // namespace Orvane

#endif
