// An action command (one message that makes every addressed device act at
// once, or at a scheduled time) and the acknowledgements it collects.
// Transport::SendActionCommand sends it: GigE Vision as an ACTION_CMD packet
// on the transport's own socket (Aravis has none), the virtual transport to
// its open cameras (VirtualActions.h).
//
// A device acts when its device key equals deviceKey, its group key equals
// groupKey and its group mask shares a bit with groupMask (for each of its
// action selectors).
#ifndef ORVANE_TRANSPORT_ACTION_COMMAND_H
#define ORVANE_TRANSPORT_ACTION_COMMAND_H

#include <cstdint>
#include <string>

namespace Orvane {
namespace internal {

struct ActionCommand {
    uint32_t deviceKey = 0;
    uint32_t groupKey = 0;
    uint32_t groupMask = 0;
    // False: each device acts when the command arrives. True: at actionTime.
    bool scheduled = false;
    uint64_t actionTime = 0; // device time (the devices' timestamp clock, ns) of a scheduled action
    // Whether each device is asked to acknowledge; without it nothing is
    // waited for and no result comes back.
    bool acknowledge = false;
    // How long to wait for acknowledgements, in milliseconds.
    uint32_t timeoutMs = 0;
    // Empty: every device of the transport (GigE Vision: a broadcast on each
    // network interface). Otherwise the address of the one device to send it
    // to (GigE Vision: its IPv4 address, "a.b.c.d"); transports without
    // addresses ignore it.
    std::string unicastAddress;
};

// One acknowledging device.
struct ActionResult {
    // The device's address text: dotted IPv4 for GigE Vision; virtual
    // cameras answer as "0.0.0.N", N their instance number (1-based).
    std::string address;
    // The device's answer: 0 for success, else a GigE Vision status code (the
    // status field of a GigE Vision device's acknowledgement; the virtual
    // cameras answer with the same codes, below).
    uint32_t status = 0;
};

// GigE Vision acknowledgement status codes that every transport's devices
// may answer with.
constexpr uint32_t kActionStatusSuccess = 0x0000;
// The device's queue of scheduled actions was full: the action was dropped.
constexpr uint32_t kActionStatusOverflow = 0x8015;
// A scheduled action arrived after its time: the device acted at once.
constexpr uint32_t kActionStatusLate = 0x8016;

} // namespace internal
} // namespace Orvane

#endif
