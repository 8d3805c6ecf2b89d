#include "transport/gige/GvcpMessageChannel.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <exception>

#include "core/Raise.h"
#include "logging/ThreadName.h"
#include "transport/gige/GvcpProtocol.h"

namespace Orvane {
namespace internal {

namespace {

// Large enough for a jumbo frame; a longer datagram is malformed.
constexpr size_t kReceiveBufferSize = 9216;

} // namespace

GvcpMessageChannel::GvcpMessageChannel() = default;

GvcpMessageChannel::~GvcpMessageChannel() {
    try {
        Stop(true);
    } catch (...) {}
}

void GvcpMessageChannel::Start(uint32_t deviceAddress, RegisterWriter writer, EventSink sink, const Options& options) {
    if (deviceAddress == 0) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "The device address of a message channel is 0");
    if (!writer) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "A message channel needs a register writer");
    if (!sink) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "A message channel needs an event sink");
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_running.load()) ORV_RAISE(ORVANE_ERR_INVALID_STATE, "The message channel is already running");

    const uint32_t hostAddress = options.hostAddress ? options.hostAddress : LocalAddressFor(deviceAddress);
    UdpSocket socket;
    socket.Bind(hostAddress, options.hostPort);
    socket.SetReceiveBuffer(1 << 20);
    const uint16_t hostPort = socket.LocalPort();

    try {
        writer(gvcp::kRegMessageChannelAddress, hostAddress);
        writer(gvcp::kRegMessageChannelTimeout, options.timeoutMs);
        writer(gvcp::kRegMessageChannelRetryCount, options.retryCount);
        writer(gvcp::kRegMessageChannelPort, hostPort);
    } catch (const Exception&) {
        throw;
    } catch (const std::exception& e) {
        ORV_RAISE(ORVANE_ERR_IO, std::string("Cannot program the device's message channel: ") + e.what());
    }

    const int wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd < 0) {
        try {
            writer(gvcp::kRegMessageChannelPort, 0);
        } catch (...) {}
        ORV_RAISE(ORVANE_ERR_IO, "Cannot create the message channel's wake-up descriptor");
    }

    m_socket = std::move(socket);
    {
        std::lock_guard<std::mutex> wake(m_wakeMutex);
        m_wakeFd = wakeFd;
        m_abandoned = false;
    }
    m_writer = std::move(writer);
    m_sink = std::move(sink);
    m_deviceAddress = deviceAddress;
    m_hostAddress.store(hostAddress);
    m_hostPort.store(hostPort);
    m_acceptAnySource = options.acceptAnySource;
    m_recentCount = 0;
    m_recentNext = 0;
    m_thread = std::thread(&GvcpMessageChannel::Receive, this);
    m_receiverId.store(m_thread.get_id());
    m_running.store(true);
}

void GvcpMessageChannel::Stop(bool closeOnDevice) {
    if (m_running.load() && std::this_thread::get_id() == m_receiverId.load())
        ORV_RAISE(ORVANE_ERR_INVALID_STATE, "A message channel cannot be stopped from its own event sink");
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_running.load()) return;
    bool abandoned;
    {
        std::lock_guard<std::mutex> wake(m_wakeMutex);
        abandoned = m_abandoned;
    }
    if (closeOnDevice && !abandoned) {
        try {
            m_writer(gvcp::kRegMessageChannelPort, 0);
        } catch (...) {
            // The device may be gone: the channel closes on our side anyway.
        }
    }
    Wake();
    m_thread.join();
    {
        std::lock_guard<std::mutex> wake(m_wakeMutex);
        close(m_wakeFd);
        m_wakeFd = -1;
    }
    m_socket.Close();
    m_writer = nullptr;
    m_sink = nullptr;
    m_receiverId.store(std::thread::id());
    m_running.store(false);
}

void GvcpMessageChannel::Abandon() {
    std::lock_guard<std::mutex> wake(m_wakeMutex);
    if (m_wakeFd < 0) return;
    m_abandoned = true;
    WakeLocked();
}

void GvcpMessageChannel::Wake() {
    std::lock_guard<std::mutex> wake(m_wakeMutex);
    WakeLocked();
}

void GvcpMessageChannel::WakeLocked() {
    const uint64_t one = 1;
    if (write(m_wakeFd, &one, sizeof one) < 0) {
        // An eventfd write fails only when its counter would overflow: it is set already.
    }
}

bool GvcpMessageChannel::IsRunning() const { return m_running.load(); }

uint32_t GvcpMessageChannel::HostAddress() const { return m_hostAddress.load(); }

uint16_t GvcpMessageChannel::HostPort() const { return m_hostPort.load(); }

GvcpMessageChannel::Statistics GvcpMessageChannel::GetStatistics() const {
    Statistics s;
    s.datagrams = m_datagrams.load(std::memory_order_acquire);
    s.events = m_events.load(std::memory_order_relaxed);
    s.acknowledged = m_acknowledged.load(std::memory_order_relaxed);
    s.duplicates = m_duplicates.load(std::memory_order_relaxed);
    s.malformed = m_malformed.load(std::memory_order_relaxed);
    s.foreign = m_foreign.load(std::memory_order_relaxed);
    s.sinkErrors = m_sinkErrors.load(std::memory_order_relaxed);
    return s;
}

void GvcpMessageChannel::Receive() {
    SetThreadName("orv-gvcp-msg");
    std::vector<uint8_t> buffer(kReceiveBufferSize);
    pollfd fds[2];
    fds[0].fd = m_socket.Fd();
    fds[0].events = POLLIN;
    fds[1].fd = m_wakeFd;
    fds[1].events = POLLIN;
    for (;;) {
        fds[0].revents = 0;
        fds[1].revents = 0;
        const int n = poll(fds, 2, -1);
        if (n < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (fds[1].revents) return;
        if (!(fds[0].revents & (POLLIN | POLLERR))) continue;
        // Drain what is queued before polling again.
        for (;;) {
            sockaddr_in source;
            socklen_t length = sizeof source;
            const ssize_t size = recvfrom(m_socket.Fd(), buffer.data(), buffer.size(), MSG_DONTWAIT | MSG_TRUNC,
                                          reinterpret_cast<sockaddr*>(&source), &length);
            if (size < 0) {
                if (errno == EINTR) continue;
                break; // EAGAIN, or an error reported on the socket (ICMP): poll again
            }
            const uint32_t sourceAddress = ntohl(source.sin_addr.s_addr);
            if (!m_acceptAnySource && sourceAddress != m_deviceAddress) {
                m_foreign.fetch_add(1, std::memory_order_relaxed);
            } else if (static_cast<size_t>(size) > buffer.size()) { // MSG_TRUNC: longer than the buffer
                m_malformed.fetch_add(1, std::memory_order_relaxed);
            } else {
                Handle(buffer.data(), static_cast<size_t>(size), sourceAddress, ntohs(source.sin_port));
            }
            // Counted once handled, so that a reader seeing it also sees the datagram's outcome.
            m_datagrams.fetch_add(1, std::memory_order_release);
        }
    }
}

void GvcpMessageChannel::Handle(const uint8_t* datagram, size_t size, uint32_t sourceAddress, uint16_t sourcePort) {
    gvcp::CommandHeader header;
    gvcp::ParseResult result = gvcp::ParseCommandHeader(datagram, size, header);
    GvEventMessage message;
    gvcp::EventItem item;
    if (result == gvcp::ParseResult::Ok) {
        if (header.command == gvcp::kEventCmd)
            result = gvcp::ParseEvent(datagram, size, header, m_items);
        else if (header.command == gvcp::kEventDataCmd)
            result = gvcp::ParseEventData(datagram, size, header, item);
        else
            result = gvcp::ParseResult::WrongCommand;
    }
    if (result != gvcp::ParseResult::Ok) {
        m_malformed.fetch_add(1, std::memory_order_relaxed);
        return;
    }

    if (header.flags & gvcp::kFlagAckRequired) {
        const uint16_t acknowledge = header.command == gvcp::kEventCmd ? gvcp::kEventAck : gvcp::kEventDataAck;
        const auto ack = gvcp::BuildAck(gvcp::kStatusSuccess, acknowledge, header.reqId);
        if (m_socket.SendTo(ack.data(), ack.size(), sourceAddress, sourcePort))
            m_acknowledged.fetch_add(1, std::memory_order_relaxed);
    }
    if (SeenBefore(header.reqId)) {
        m_duplicates.fetch_add(1, std::memory_order_relaxed);
        return;
    }

    message.reqId = header.reqId;
    if (header.command == gvcp::kEventDataCmd) {
        message.eventId = item.eventId;
        message.streamChannel = item.streamChannel;
        message.blockId = item.blockId;
        message.timestamp = item.timestamp;
        message.hasData = true;
        message.data.assign(item.data, item.data + item.dataSize);
        Deliver(message);
        return;
    }
    for (const gvcp::EventItem& e : m_items) {
        message.eventId = e.eventId;
        message.streamChannel = e.streamChannel;
        message.blockId = e.blockId;
        message.timestamp = e.timestamp;
        Deliver(message);
    }
}

bool GvcpMessageChannel::SeenBefore(uint16_t reqId) {
    for (size_t i = 0; i < m_recentCount; ++i)
        if (m_recent[i] == reqId) return true;
    m_recent[m_recentNext] = reqId;
    m_recentNext = (m_recentNext + 1) % m_recent.size();
    if (m_recentCount < m_recent.size()) ++m_recentCount;
    return false;
}

void GvcpMessageChannel::Deliver(const GvEventMessage& message) {
    m_events.fetch_add(1, std::memory_order_relaxed); // counted before the sink sees it
    try {
        m_sink(message);
    } catch (...) {
        m_sinkErrors.fetch_add(1, std::memory_order_relaxed);
    }
}

} // namespace internal
} // namespace Orvane
