#include "transport/gige/GvcpProtocol.h"

#include "core/Raise.h"

namespace Orvane {
namespace internal {
namespace gvcp {

namespace {

// Event item layout (16 bytes): reserved(2) event_id(2) stream_channel(2)
// block_id(2) timestamp(8). With extended ids (24 bytes): event_size(2)
// event_id(2) stream_channel(2) reserved(2) block_id(8) timestamp(8), where
// event_size counts the item and its data.
void ReadItem(const uint8_t* p, bool extended, EventItem& item) {
    item.eventId = ReadU16(p + 2);
    item.streamChannel = ReadU16(p + 4);
    if (extended) {
        item.blockId = ReadU64(p + 8);
        item.timestamp = ReadU64(p + 16);
    } else {
        item.blockId = ReadU16(p + 6);
        item.timestamp = ReadU64(p + 8);
    }
    item.data = nullptr;
    item.dataSize = 0;
}

void WriteItem(uint8_t* p, bool extended, const EventItem& item, size_t dataSize) {
    if (extended) {
        WriteU16(p, static_cast<uint16_t>(kExtendedEventItemSize + dataSize));
        WriteU16(p + 2, item.eventId);
        WriteU16(p + 4, item.streamChannel);
        WriteU16(p + 6, 0);
        WriteU64(p + 8, item.blockId);
        WriteU64(p + 16, item.timestamp);
    } else {
        WriteU16(p, 0);
        WriteU16(p + 2, item.eventId);
        WriteU16(p + 4, item.streamChannel);
        WriteU16(p + 6, static_cast<uint16_t>(item.blockId));
        WriteU64(p + 8, item.timestamp);
    }
}

std::vector<uint8_t> Command(uint8_t flags, uint16_t command, uint16_t reqId, size_t payload) {
    if (payload > 0xFFFF) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "A GVCP message carries at most 65535 bytes");
    std::vector<uint8_t> out(kHeaderSize + payload);
    out[0] = kCommandKey;
    out[1] = flags;
    WriteU16(&out[2], command);
    WriteU16(&out[4], static_cast<uint16_t>(payload));
    WriteU16(&out[6], reqId);
    return out;
}

} // namespace

const char* ToString(ParseResult result) {
    switch (result) {
    case ParseResult::Ok: return "ok";
    case ParseResult::Truncated: return "truncated";
    case ParseResult::NotACommand: return "not a command";
    case ParseResult::NotAnAck: return "not an acknowledgement";
    case ParseResult::WrongCommand: return "wrong command";
    case ParseResult::BadLength: return "bad length";
    }
    return "unknown";
}

ParseResult ParseCommandHeader(const uint8_t* datagram, size_t size, CommandHeader& header) {
    if (!datagram || size < kHeaderSize) return ParseResult::Truncated;
    if (datagram[0] != kCommandKey) return ParseResult::NotACommand;
    header.flags = datagram[1];
    header.command = ReadU16(datagram + 2);
    header.length = ReadU16(datagram + 4);
    header.reqId = ReadU16(datagram + 6);
    if (size - kHeaderSize < header.length) return ParseResult::Truncated;
    return ParseResult::Ok;
}

ParseResult ParseAckHeader(const uint8_t* datagram, size_t size, AckHeader& header) {
    if (!datagram || size < kHeaderSize) return ParseResult::Truncated;
    if (datagram[0] == kCommandKey) return ParseResult::NotAnAck;
    header.status = ReadU16(datagram);
    header.acknowledge = ReadU16(datagram + 2);
    header.length = ReadU16(datagram + 4);
    header.ackId = ReadU16(datagram + 6);
    if (size - kHeaderSize < header.length) return ParseResult::Truncated;
    return ParseResult::Ok;
}

ParseResult ParseEvent(const uint8_t* datagram, size_t size, CommandHeader& header, std::vector<EventItem>& items) {
    items.clear();
    const ParseResult r = ParseCommandHeader(datagram, size, header);
    if (r != ParseResult::Ok) return r;
    if (header.command != kEventCmd) return ParseResult::WrongCommand;
    const bool extended = (header.flags & kFlagExtendedId) != 0;
    const size_t itemSize = extended ? kExtendedEventItemSize : kEventItemSize;
    if (header.length == 0 || header.length % itemSize != 0) return ParseResult::BadLength;
    const uint8_t* p = datagram + kHeaderSize;
    for (size_t offset = 0; offset < header.length; offset += itemSize) {
        EventItem item;
        ReadItem(p + offset, extended, item);
        items.push_back(item);
    }
    return ParseResult::Ok;
}

ParseResult ParseEventData(const uint8_t* datagram, size_t size, CommandHeader& header, EventItem& item) {
    const ParseResult r = ParseCommandHeader(datagram, size, header);
    if (r != ParseResult::Ok) return r;
    if (header.command != kEventDataCmd) return ParseResult::WrongCommand;
    const bool extended = (header.flags & kFlagExtendedId) != 0;
    const size_t itemSize = extended ? kExtendedEventItemSize : kEventItemSize;
    if (header.length < itemSize) return ParseResult::BadLength;
    const uint8_t* p = datagram + kHeaderSize;
    size_t end = header.length;
    if (extended) {
        // event_size 0: a device that leaves it unset; the data runs to the end.
        const size_t eventSize = ReadU16(p);
        if (eventSize != 0) {
            if (eventSize < itemSize || eventSize > header.length) return ParseResult::BadLength;
            end = eventSize;
        }
    }
    ReadItem(p, extended, item);
    item.data = p + itemSize;
    item.dataSize = end - itemSize;
    return ParseResult::Ok;
}

std::array<uint8_t, kHeaderSize> BuildAck(uint16_t status, uint16_t acknowledge, uint16_t ackId) {
    std::array<uint8_t, kHeaderSize> out{};
    WriteU16(&out[0], status);
    WriteU16(&out[2], acknowledge);
    WriteU16(&out[4], 0);
    WriteU16(&out[6], ackId);
    return out;
}

std::vector<uint8_t> BuildEvent(uint16_t reqId, bool ackRequired, bool extendedId, const EventItem* items,
                                size_t count) {
    const size_t itemSize = extendedId ? kExtendedEventItemSize : kEventItemSize;
    const uint8_t flags =
        static_cast<uint8_t>((ackRequired ? kFlagAckRequired : 0) | (extendedId ? kFlagExtendedId : 0));
    std::vector<uint8_t> out = Command(flags, kEventCmd, reqId, itemSize * count);
    for (size_t i = 0; i < count; ++i) WriteItem(&out[kHeaderSize + i * itemSize], extendedId, items[i], 0);
    return out;
}

std::vector<uint8_t> BuildEventData(uint16_t reqId, bool ackRequired, bool extendedId, const EventItem& item) {
    const size_t itemSize = extendedId ? kExtendedEventItemSize : kEventItemSize;
    const uint8_t flags =
        static_cast<uint8_t>((ackRequired ? kFlagAckRequired : 0) | (extendedId ? kFlagExtendedId : 0));
    const size_t dataSize = item.data ? item.dataSize : 0;
    std::vector<uint8_t> out = Command(flags, kEventDataCmd, reqId, itemSize + dataSize);
    WriteItem(&out[kHeaderSize], extendedId, item, dataSize);
    for (size_t i = 0; i < dataSize; ++i) out[kHeaderSize + itemSize + i] = item.data[i];
    return out;
}

std::vector<uint8_t> BuildActionCommand(const ActionCommand& command) {
    const uint8_t flags = static_cast<uint8_t>((command.ackRequired ? kFlagAckRequired : 0) |
                                               (command.scheduled ? kFlagScheduledAction : 0));
    std::vector<uint8_t> out = Command(flags, kActionCmd, command.reqId, command.scheduled ? 20 : 12);
    WriteU32(&out[8], command.deviceKey);
    WriteU32(&out[12], command.groupKey);
    WriteU32(&out[16], command.groupMask);
    if (command.scheduled) WriteU64(&out[20], command.actionTime);
    return out;
}

ParseResult ParseActionCommand(const uint8_t* datagram, size_t size, ActionCommand& command) {
    CommandHeader header;
    const ParseResult r = ParseCommandHeader(datagram, size, header);
    if (r != ParseResult::Ok) return r;
    if (header.command != kActionCmd) return ParseResult::WrongCommand;
    const bool scheduled = (header.flags & kFlagScheduledAction) != 0;
    if (header.length < (scheduled ? 20 : 12)) return ParseResult::BadLength;
    const uint8_t* p = datagram + kHeaderSize;
    command.deviceKey = ReadU32(p);
    command.groupKey = ReadU32(p + 4);
    command.groupMask = ReadU32(p + 8);
    command.scheduled = scheduled;
    command.actionTime = scheduled ? ReadU64(p + 12) : 0;
    command.ackRequired = (header.flags & kFlagAckRequired) != 0;
    command.reqId = header.reqId;
    return ParseResult::Ok;
}

std::array<uint8_t, kHeaderSize> BuildActionAck(uint16_t status, uint16_t ackId) {
    return BuildAck(status, kActionAck, ackId);
}

ParseResult ParseActionAck(const uint8_t* datagram, size_t size, AckHeader& header) {
    const ParseResult r = ParseAckHeader(datagram, size, header);
    if (r != ParseResult::Ok) return r;
    if (header.acknowledge != kActionAck) return ParseResult::WrongCommand;
    return ParseResult::Ok;
}

} // namespace gvcp
} // namespace internal
} // namespace Orvane
