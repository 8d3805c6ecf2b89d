// ACTION_CMD to GigE Vision devices: broadcast on the host's IPv4
// interfaces or unicast to one device, then the ACTION_ACKs collected until
// a timeout. Everything runs on the calling thread; calls may run
// concurrently (each has its own sockets; req_ids come from one atomic
// counter).
#ifndef ORVANE_TRANSPORT_GIGE_GVCP_ACTION_SENDER_H
#define ORVANE_TRANSPORT_GIGE_GVCP_ACTION_SENDER_H

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {
namespace internal {

struct GvActionRequest {
    uint32_t deviceKey = 0;
    uint32_t groupKey = 0;
    uint32_t groupMask = 0;
    bool scheduled = false;  // false: the devices act at once
    uint64_t actionTime = 0; // when scheduled: device timestamp ticks
    bool ackRequired = true; // false: send and return without waiting
};

// Where one copy of the command goes: sent from `localAddress` (an address
// of the host) to `destination`, port 3956.
struct GvActionTarget {
    uint32_t localAddress = 0;
    uint32_t destination = 0;
};

struct GvActionAck {
    uint32_t address = 0;      // the acknowledging device
    std::string deviceAddress; // the same as text, "a.b.c.d"
    uint16_t status = 0;       // GVCP status of the ACTION_ACK (0: success)
};

struct GvActionResults {
    std::vector<GvActionAck> acks; // one per device, in address order
    uint32_t sent = 0;             // targets the command was sent to
    uint32_t ignoredReplies = 0;   // datagrams that were no ACTION_ACK of this command, or a device's second one
};

class GvcpActionSender {
public:
    // One target per broadcast address of every interface that is up: the
    // broadcast address of each of its subnets, or 255.255.255.255 when it
    // has none (loopback), sent from the interface's first address in that
    // subnet. Addresses of one interface sharing a broadcast address give one
    // target, so that a device gets one copy.
    static std::vector<GvActionTarget> BroadcastTargets();

    // The device's own address, sent from the local address that routes to it.
    static GvActionTarget UnicastTarget(uint32_t device);

    // Sends the command once to each target and, when an acknowledgement is
    // wanted, collects ACTION_ACKs for `timeoutMs` milliseconds. A target
    // whose socket cannot be bound, or that the system refuses to send to, is
    // skipped (not counted in `sent`). ORVANE_ERR_IO: no target's socket
    // could be bound.
    static GvActionResults Send(const GvActionRequest& request, const std::vector<GvActionTarget>& targets,
                                uint32_t timeoutMs);
};

} // namespace internal
} // namespace Orvane

#endif
