// Action commands: one message that makes every camera whose action keys
// match perform an action (Action0: a frame when TriggerSource is Action0), at
// once or at a scheduled device time. Sent by System::SendActionCommand (every
// interface) and Interface::SendActionCommand (one interface).
//
// A camera performs the action when its ActionDeviceKey equals the command's
// device key and, for some action (ActionSelector), its ActionGroupKey equals
// the group key and its ActionGroupMask shares a bit with the group mask.
// GigE Vision cameras receive an ACTION_CMD datagram (broadcast on each
// network interface); virtual cameras are told directly, and only open ones
// act: an immediate command fires Action<n> (ActionSelector n) at once; a
// scheduled one waits in the camera's queue (ActionQueueSize, 16) until the
// camera's clock (its Timestamp) reaches the action time, or, when that time
// has passed already, acts at once, raises the ActionLate event and answers
// with the late status. Cameras that do not act do not answer.
#ifndef ORVANE_ACTION_COMMAND_H
#define ORVANE_ACTION_COMMAND_H

#include <cstdint>

namespace Orvane {

// What one camera answered to an action command. 8 bytes, the layout the C
// library copies byte for byte.
struct ActionCommandResult {
    // IPv4 address of the answering device (host byte order: 127.0.0.1 is
    // 0x7F000001); virtual cameras answer as 0.0.0.N, N their instance number.
    uint32_t DeviceAddress;
    // GigE Vision status code of the acknowledgement as the device sent it:
    // 0 success, otherwise the standard's error status, for example 0x8016 (a
    // scheduled action whose time had passed: done at once) or 0x8015 (the
    // device's queue of scheduled actions was full: dropped).
    uint32_t Status;
};

// Action time 0 means "perform at once".
const unsigned long long ActionTimeImmediate = 0;

} // namespace Orvane

#endif
