// The host end of a GigE Vision device's message channel: a UDP socket on
// the host address that reaches the device, the device's message channel
// registers (MCDA, MCTT, MCRC, MCP) programmed to point at it, and one
// receiver thread that acknowledges and delivers the device's EVENT and
// EVENTDATA messages.
//
// Threads and ownership:
// - The GvcpMessageChannel object owns its socket and its receiver thread.
//   Start creates both; Stop (or the destructor) ends the thread, joins it
//   and closes the socket. Start, Stop, Abandon, IsRunning, HostAddress,
//   HostPort and GetStatistics may be called from any thread; one mutex
//   serialises Start and Stop, Abandon takes only a short-held mutex of its
//   own, the others read atomics and never block.
// - The register writer runs only on the thread calling Start or Stop,
//   never on the receiver thread. It is expected to go through the
//   connection that holds the device's control privilege (for Aravis: the
//   controlling ArvDevice's arv_device_write_register), since a device
//   accepts register writes only from its controlling application.
// - The sink runs on the receiver thread, one event at a time, after the
//   message has been acknowledged. It must not call Stop on its own channel
//   (that raises ORVANE_ERR_INVALID_STATE) nor destroy it. An exception it
//   throws is caught and counted in Statistics::sinkErrors.
//
// Every message asking for an acknowledgement gets one, retransmissions
// included; a message whose req_id is among the last 64 received is a
// retransmission and is not delivered again. Datagrams that are no valid
// EVENT or EVENTDATA are counted as malformed and dropped without an answer;
// datagrams from another address than the device's are counted as foreign
// and dropped.
#ifndef ORVANE_TRANSPORT_GIGE_GVCP_MESSAGE_CHANNEL_H
#define ORVANE_TRANSPORT_GIGE_GVCP_MESSAGE_CHANNEL_H

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "transport/gige/GvSocket.h"
#include "transport/gige/GvcpProtocol.h"

namespace Orvane {
namespace internal {

// One event the device reported.
struct GvEventMessage {
    uint16_t eventId = 0;
    uint16_t streamChannel = 0; // 0xFFFF: no stream channel
    uint64_t blockId = 0;       // 16 bits unless the device sends extended ids
    uint64_t timestamp = 0;     // device timestamp ticks
    bool hasData = false;       // EVENTDATA (true) or EVENT (false)
    std::vector<uint8_t> data;  // the EVENTDATA's data bytes
    uint16_t reqId = 0;         // the message's req_id
};

class GvcpMessageChannel {
public:
    using RegisterWriter = std::function<void(uint32_t address, uint32_t value)>;
    using EventSink = std::function<void(const GvEventMessage& event)>;

    struct Options {
        uint32_t hostAddress = 0;     // address to receive on; 0: the local address that routes to the device
        uint16_t hostPort = 0;        // 0: a free port
        uint32_t timeoutMs = 200;     // MCTT: how long the device waits for an acknowledgement
        uint32_t retryCount = 3;      // MCRC: how often it sends a message again
        bool acceptAnySource = false; // true: also take datagrams that do not come from the device's address
    };

    struct Statistics {
        uint64_t datagrams = 0;    // received and handled (the other counters include their outcome)
        uint64_t events = 0;       // handed to the sink (counted before the call)
        uint64_t acknowledged = 0; // acknowledgements sent
        uint64_t duplicates = 0;   // retransmissions not delivered again
        uint64_t malformed = 0;    // dropped: no valid EVENT or EVENTDATA
        uint64_t foreign = 0;      // dropped: not from the device's address
        uint64_t sinkErrors = 0;   // of those, calls that threw
    };

    GvcpMessageChannel();
    // Stops the channel as Stop(true) does, ignoring errors.
    ~GvcpMessageChannel();
    GvcpMessageChannel(const GvcpMessageChannel&) = delete;
    GvcpMessageChannel& operator=(const GvcpMessageChannel&) = delete;

    // Opens the socket, programs the device through `writer` (MCDA, MCTT and
    // MCRC, then MCP, which opens the channel) and starts the receiver
    // thread. A failing write closes everything again and raises (the
    // writer's own exception, or ORVANE_ERR_IO for any other).
    // ORVANE_ERR_INVALID_ARGUMENT: address 0, or an empty writer or sink;
    // ORVANE_ERR_INVALID_STATE: the channel is running.
    void Start(uint32_t deviceAddress, RegisterWriter writer, EventSink sink, const Options& options);
    void Start(uint32_t deviceAddress, RegisterWriter writer, EventSink sink) {
        Start(deviceAddress, std::move(writer), std::move(sink), Options());
    }

    // Ends the receiver thread and closes the socket. With closeOnDevice,
    // first writes MCP = 0 so that the device stops sending; a failing write
    // is ignored (the device may be gone). Does nothing when not running.
    void Stop(bool closeOnDevice = true);

    // The device is gone: tells the receiver thread to end (without waiting
    // for it) and makes the next Stop skip the device write, as Stop(false).
    // Stop (or the destructor) still joins the thread and closes the socket.
    // Returns at once; safe from any thread, the sink's included (for a
    // device loss reported on a thread that must not wait). No effect when
    // not running; the next Start forgets it.
    void Abandon();

    bool IsRunning() const;
    uint32_t HostAddress() const; // valid while running
    uint16_t HostPort() const;    // valid while running
    Statistics GetStatistics() const;

private:
    void Receive();
    void Handle(const uint8_t* datagram, size_t size, uint32_t sourceAddress, uint16_t sourcePort);
    bool SeenBefore(uint16_t reqId);
    void Deliver(const GvEventMessage& message);
    void Wake();       // tells the receiver thread to end
    void WakeLocked(); // the same, m_wakeMutex held

    std::mutex m_mutex; // serialises Start and Stop; never taken by the receiver thread
    std::atomic<bool> m_running{false};
    std::atomic<std::thread::id> m_receiverId{};
    std::atomic<uint32_t> m_hostAddress{0};
    std::atomic<uint16_t> m_hostPort{0};
    UdpSocket m_socket;
    std::mutex m_wakeMutex; // guards m_wakeFd and m_abandoned against Abandon; held briefly, never while joining
    int m_wakeFd = -1;      // eventfd that tells the receiver thread to end
    bool m_abandoned = false;
    std::thread m_thread;
    RegisterWriter m_writer;
    EventSink m_sink;
    uint32_t m_deviceAddress = 0;
    bool m_acceptAnySource = false;

    // Receiver thread only.
    std::vector<gvcp::EventItem> m_items;
    std::array<uint16_t, 64> m_recent{};
    size_t m_recentCount = 0;
    size_t m_recentNext = 0;

    std::atomic<uint64_t> m_datagrams{0};
    std::atomic<uint64_t> m_events{0};
    std::atomic<uint64_t> m_acknowledged{0};
    std::atomic<uint64_t> m_duplicates{0};
    std::atomic<uint64_t> m_malformed{0};
    std::atomic<uint64_t> m_foreign{0};
    std::atomic<uint64_t> m_sinkErrors{0};
};

} // namespace internal
} // namespace Orvane

#endif
