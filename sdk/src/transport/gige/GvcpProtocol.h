// GVCP (GigE Vision Control Protocol) messages the SDK handles on its own
// sockets: the device's EVENT and EVENTDATA messages on the message channel
// with their acknowledgements, and ACTION_CMD with ACTION_ACK. Every field is
// big-endian on the wire. Parsers check every length against the datagram
// they are given and never read outside it; builders produce whole datagrams.
#ifndef ORVANE_TRANSPORT_GIGE_GVCP_PROTOCOL_H
#define ORVANE_TRANSPORT_GIGE_GVCP_PROTOCOL_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvane {
namespace internal {
namespace gvcp {

constexpr uint16_t kPort = 3956;      // the device's GVCP port
constexpr uint8_t kCommandKey = 0x42; // first byte of every command
constexpr size_t kHeaderSize = 8;

// Command flags (second byte of a command header).
constexpr uint8_t kFlagAckRequired = 0x01;
constexpr uint8_t kFlagExtendedId = 0x10;      // EVENT, EVENTDATA: 64-bit block ids
constexpr uint8_t kFlagScheduledAction = 0x80; // ACTION_CMD: carries an action time

// Commands and their acknowledgements.
constexpr uint16_t kEventCmd = 0x00C0;
constexpr uint16_t kEventAck = 0x00C1;
constexpr uint16_t kEventDataCmd = 0x00C2;
constexpr uint16_t kEventDataAck = 0x00C3;
constexpr uint16_t kActionCmd = 0x0100;
constexpr uint16_t kActionAck = 0x0101;

// GVCP status codes of acknowledgements.
constexpr uint16_t kStatusSuccess = 0x0000;
constexpr uint16_t kStatusNotImplemented = 0x8001;
constexpr uint16_t kStatusInvalidParameter = 0x8002;
constexpr uint16_t kStatusInvalidAddress = 0x8003;
constexpr uint16_t kStatusWriteProtect = 0x8004;
constexpr uint16_t kStatusBadAlignment = 0x8005;
constexpr uint16_t kStatusAccessDenied = 0x8006;
constexpr uint16_t kStatusBusy = 0x8007;
constexpr uint16_t kStatusNoRefTime = 0x8013;
constexpr uint16_t kStatusOverflow = 0x8015;
constexpr uint16_t kStatusActionLate = 0x8016;
constexpr uint16_t kStatusError = 0x8FFF;

// Bootstrap registers of the message channel and of action commands.
constexpr uint32_t kRegNumberOfMessageChannels = 0x0900;
constexpr uint32_t kRegNumberOfActionSignals = 0x0908;
constexpr uint32_t kRegActionDeviceKey = 0x090C;
constexpr uint32_t kRegCapability = 0x0934;
constexpr uint32_t kRegGvcpConfiguration = 0x0954;
constexpr uint32_t kRegMessageChannelPort = 0x0B00;       // MCP: host port (bits 0-15); 0 closes the channel
constexpr uint32_t kRegMessageChannelAddress = 0x0B10;    // MCDA: host IPv4 address
constexpr uint32_t kRegMessageChannelTimeout = 0x0B14;    // MCTT: acknowledgement timeout, ms
constexpr uint32_t kRegMessageChannelRetryCount = 0x0B18; // MCRC: retransmissions
constexpr uint32_t kRegMessageChannelSourcePort = 0x0B1C; // MCSP: the device's source port
constexpr uint32_t ActionGroupKeyRegister(uint32_t signal) { return 0x9800 + 0x10 * signal; }
constexpr uint32_t ActionGroupMaskRegister(uint32_t signal) { return 0x9804 + 0x10 * signal; }

// Capability register bits.
constexpr uint32_t kCapabilityEvent = 0x00000008;
constexpr uint32_t kCapabilityEventData = 0x00000010;
constexpr uint32_t kCapabilityAction = 0x00000040;
constexpr uint32_t kCapabilityScheduledAction = 0x00020000;
constexpr uint32_t kCapabilityUnconditionalAction = 0x00100000;

// Sizes of one event item: event id, stream channel, block id, timestamp.
constexpr size_t kEventItemSize = 16;
constexpr size_t kExtendedEventItemSize = 24;

enum class ParseResult {
    Ok,
    Truncated,    // shorter than a header, or than the length its header states
    NotACommand,  // first byte is not the command key
    NotAnAck,     // an acknowledgement was expected, the datagram is a command
    WrongCommand, // a valid header of another command
    BadLength,    // the length does not fit the command (item size, missing action time)
};

// Text for logs and test messages: "ok", "truncated", ...
const char* ToString(ParseResult result);

struct CommandHeader {
    uint8_t flags = 0;
    uint16_t command = 0;
    uint16_t length = 0; // payload bytes after the header
    uint16_t reqId = 0;
};

struct AckHeader {
    uint16_t status = 0;
    uint16_t acknowledge = 0; // the command's code + 1
    uint16_t length = 0;
    uint16_t ackId = 0; // the req_id of the acknowledged command
};

// One event of an EVENT or EVENTDATA message. `data` points into the parsed
// datagram (EVENTDATA only) and lives as long as that buffer.
struct EventItem {
    uint16_t eventId = 0;
    uint16_t streamChannel = 0;
    uint64_t blockId = 0; // 16 bits unless the message has extended ids
    uint64_t timestamp = 0;
    const uint8_t* data = nullptr;
    size_t dataSize = 0;
};

// Parses the 8-byte header of a command. Checks the key and that the
// datagram holds `length` payload bytes (trailing bytes are ignored).
ParseResult ParseCommandHeader(const uint8_t* datagram, size_t size, CommandHeader& header);

// Parses the 8-byte header of an acknowledgement, and checks that the
// datagram holds its payload.
ParseResult ParseAckHeader(const uint8_t* datagram, size_t size, AckHeader& header);

// EVENT: one or more event items. `items` is cleared first; the parser
// reuses its capacity. An EVENT without items is BadLength.
ParseResult ParseEvent(const uint8_t* datagram, size_t size, CommandHeader& header, std::vector<EventItem>& items);

// EVENTDATA: one event item followed by its data. With extended ids the
// item's event_size field (item plus data) must lie within the message.
ParseResult ParseEventData(const uint8_t* datagram, size_t size, CommandHeader& header, EventItem& item);

// The acknowledgement of an EVENT (kEventAck) or EVENTDATA (kEventDataAck).
std::array<uint8_t, kHeaderSize> BuildAck(uint16_t status, uint16_t acknowledge, uint16_t ackId);

// EVENT with `count` items; with extended ids, 64-bit block ids.
std::vector<uint8_t> BuildEvent(uint16_t reqId, bool ackRequired, bool extendedId, const EventItem* items,
                                size_t count);

// EVENTDATA with one item and item.dataSize bytes of item.data.
std::vector<uint8_t> BuildEventData(uint16_t reqId, bool ackRequired, bool extendedId, const EventItem& item);

struct ActionCommand {
    uint32_t deviceKey = 0;
    uint32_t groupKey = 0;
    uint32_t groupMask = 0;
    bool scheduled = false; // carries actionTime, in device timestamp ticks
    uint64_t actionTime = 0;
    bool ackRequired = true;
    uint16_t reqId = 0;
};

// ACTION_CMD: 12 payload bytes, 20 with an action time.
std::vector<uint8_t> BuildActionCommand(const ActionCommand& command);
ParseResult ParseActionCommand(const uint8_t* datagram, size_t size, ActionCommand& command);

// ACTION_ACK: an acknowledgement header with kActionAck and no payload.
std::array<uint8_t, kHeaderSize> BuildActionAck(uint16_t status, uint16_t ackId);
ParseResult ParseActionAck(const uint8_t* datagram, size_t size, AckHeader& header);

// Big-endian access within a buffer the caller has bounds-checked.
inline uint16_t ReadU16(const uint8_t* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
inline uint32_t ReadU32(const uint8_t* p) {
    return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
           (static_cast<uint32_t>(p[2]) << 8) | p[3];
}
inline uint64_t ReadU64(const uint8_t* p) { return (static_cast<uint64_t>(ReadU32(p)) << 32) | ReadU32(p + 4); }
inline void WriteU16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v >> 8);
    p[1] = static_cast<uint8_t>(v);
}
inline void WriteU32(uint8_t* p, uint32_t v) {
    WriteU16(p, static_cast<uint16_t>(v >> 16));
    WriteU16(p + 2, static_cast<uint16_t>(v));
}
inline void WriteU64(uint8_t* p, uint64_t v) {
    WriteU32(p, static_cast<uint32_t>(v >> 32));
    WriteU32(p + 4, static_cast<uint32_t>(v));
}

} // namespace gvcp
} // namespace internal
} // namespace Orvane

#endif
