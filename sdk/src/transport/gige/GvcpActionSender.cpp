#include "transport/gige/GvcpActionSender.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <map>
#include <string>
#include <utility>

#include "core/Raise.h"
#include "transport/gige/GvSocket.h"
#include "transport/gige/GvcpProtocol.h"

namespace Orvane {
namespace internal {

namespace {

std::atomic<uint16_t> g_nextReqId{1};

uint16_t TakeReqId() {
    uint16_t id = g_nextReqId.fetch_add(1);
    while (id == 0) id = g_nextReqId.fetch_add(1); // 0 is no valid req_id
    return id;
}

} // namespace

std::vector<GvActionTarget> GvcpActionSender::BroadcastTargets() {
    std::vector<GvActionTarget> targets;
    std::vector<std::pair<std::string, uint32_t>> seen; // interface, destination
    for (const Ipv4Interface& i : ListIpv4Interfaces()) {
        GvActionTarget t;
        t.localAddress = i.address;
        t.destination = i.broadcast ? i.broadcast : 0xFFFFFFFFu;
        // Several addresses of one interface in one subnet: one copy is enough.
        const std::pair<std::string, uint32_t> key(i.name, t.destination);
        if (std::find(seen.begin(), seen.end(), key) != seen.end()) continue;
        seen.push_back(key);
        targets.push_back(t);
    }
    return targets;
}

GvActionTarget GvcpActionSender::UnicastTarget(uint32_t device) {
    GvActionTarget t;
    t.localAddress = LocalAddressFor(device);
    t.destination = device;
    return t;
}

GvActionResults GvcpActionSender::Send(const GvActionRequest& request, const std::vector<GvActionTarget>& targets,
                                       uint32_t timeoutMs) {
    gvcp::ActionCommand command;
    command.deviceKey = request.deviceKey;
    command.groupKey = request.groupKey;
    command.groupMask = request.groupMask;
    command.scheduled = request.scheduled;
    command.actionTime = request.actionTime;
    command.ackRequired = request.ackRequired;
    command.reqId = TakeReqId();
    const std::vector<uint8_t> datagram = gvcp::BuildActionCommand(command);

    GvActionResults results;
    std::vector<UdpSocket> sockets;
    sockets.reserve(targets.size());
    size_t bound = 0;
    std::string lastError;
    for (const GvActionTarget& t : targets) {
        try {
            UdpSocket s;
            s.Bind(t.localAddress, 0);
            s.SetBroadcast(true);
            ++bound;
            if (!s.SendTo(datagram.data(), datagram.size(), t.destination, gvcp::kPort)) continue;
            ++results.sent;
            sockets.push_back(std::move(s));
        } catch (const Exception& e) {
            // An address can vanish between listing and binding: skip it.
            lastError = e.GetErrorMessage();
        }
    }
    if (!targets.empty() && bound == 0) ORV_RAISE(ORVANE_ERR_IO, lastError);
    if (!request.ackRequired || sockets.empty()) return results;

    std::map<uint32_t, uint16_t> acks; // address -> status, first acknowledgement per device
    std::vector<pollfd> fds(sockets.size());
    for (size_t i = 0; i < sockets.size(); ++i) {
        fds[i].fd = sockets[i].Fd();
        fds[i].events = POLLIN;
    }
    uint8_t buffer[1500];
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
        if (left <= 0) break;
        for (pollfd& p : fds) p.revents = 0;
        const int n = poll(fds.data(), fds.size(), static_cast<int>(left));
        if (n < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (n == 0) break;
        for (pollfd& p : fds) {
            if (!(p.revents & (POLLIN | POLLERR))) continue;
            for (;;) {
                sockaddr_in source;
                socklen_t length = sizeof source;
                const ssize_t size = recvfrom(p.fd, buffer, sizeof buffer, MSG_DONTWAIT | MSG_TRUNC,
                                              reinterpret_cast<sockaddr*>(&source), &length);
                if (size < 0) break;
                gvcp::AckHeader ack;
                const size_t received = std::min(static_cast<size_t>(size), sizeof buffer);
                if (static_cast<size_t>(size) > sizeof buffer ||
                    gvcp::ParseActionAck(buffer, received, ack) != gvcp::ParseResult::Ok ||
                    ack.ackId != command.reqId) {
                    ++results.ignoredReplies;
                    continue;
                }
                const uint32_t address = ntohl(source.sin_addr.s_addr);
                if (!acks.emplace(address, ack.status).second) ++results.ignoredReplies;
            }
        }
    }
    for (const auto& a : acks) {
        GvActionAck ack;
        ack.address = a.first;
        ack.deviceAddress = FormatIPv4(a.first);
        ack.status = a.second;
        results.acks.push_back(ack);
    }
    return results;
}

} // namespace internal
} // namespace Orvane
