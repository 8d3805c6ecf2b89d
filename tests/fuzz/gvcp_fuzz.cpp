// Fuzz target: arbitrary bytes as a GVCP datagram, given to every parser of
// the message channel and of action commands. Besides the sanitizers, it
// checks that event data stays inside the datagram and that an action
// command parsed, built again and parsed again is unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "FuzzSupport.h"
#include "transport/gige/GvcpProtocol.h"

namespace gvcp = Orvane::internal::gvcp;

namespace {

void CheckInside(const gvcp::EventItem& item, const uint8_t* data, size_t size) {
    if (item.dataSize == 0) return;
    if (item.data < data || item.dataSize > size ||
        item.data - data > static_cast<std::ptrdiff_t>(size - item.dataSize))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > orvfuzz::kMaxInput) return 0;
    // A copy of exactly the input's size: reads past it are reported.
    const std::vector<uint8_t> bytes(data, data + size);
    const uint8_t* d = bytes.data();

    gvcp::CommandHeader command;
    (void)gvcp::ToString(gvcp::ParseCommandHeader(d, size, command));
    gvcp::AckHeader ack;
    (void)gvcp::ToString(gvcp::ParseAckHeader(d, size, ack));

    static std::vector<gvcp::EventItem> items;
    if (gvcp::ParseEvent(d, size, command, items) == gvcp::ParseResult::Ok) {
        if (items.empty()) std::abort();
        for (const gvcp::EventItem& item : items) CheckInside(item, d, size);
    }
    gvcp::EventItem item;
    if (gvcp::ParseEventData(d, size, command, item) == gvcp::ParseResult::Ok) CheckInside(item, d, size);

    gvcp::ActionCommand action;
    if (gvcp::ParseActionCommand(d, size, action) == gvcp::ParseResult::Ok) {
        const std::vector<uint8_t> again = gvcp::BuildActionCommand(action);
        gvcp::ActionCommand reparsed;
        if (gvcp::ParseActionCommand(again.data(), again.size(), reparsed) != gvcp::ParseResult::Ok) std::abort();
        if (reparsed.deviceKey != action.deviceKey || reparsed.groupKey != action.groupKey ||
            reparsed.groupMask != action.groupMask || reparsed.scheduled != action.scheduled ||
            reparsed.actionTime != action.actionTime || reparsed.ackRequired != action.ackRequired ||
            reparsed.reqId != action.reqId)
            std::abort();
    }
    (void)gvcp::ParseActionAck(d, size, ack);
    return 0;
}
