// GVCP message builders and parsers (EVENT, EVENTDATA, their
// acknowledgements, ACTION_CMD, ACTION_ACK): exact bytes, and truncated,
// oversized and random input. Every parse reads a heap copy of exactly the
// datagram's size, so that AddressSanitizer catches any read beyond it.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "Orvane/Exception.h"
#include "SdkError.h"
#include "transport/gige/GvcpProtocol.h"

using namespace Orvane::internal::gvcp;
using Bytes = std::vector<uint8_t>;

namespace {

EventItem Item(uint16_t id, uint16_t channel, uint64_t block, uint64_t timestamp) {
    EventItem item;
    item.eventId = id;
    item.streamChannel = channel;
    item.blockId = block;
    item.timestamp = timestamp;
    return item;
}

Bytes Prefix(const Bytes& b, size_t n) { return Bytes(b.begin(), b.begin() + static_cast<std::ptrdiff_t>(n)); }

} // namespace

TEST(GvcpProtocol, EventDataBytes) {
    const uint8_t data[] = {0xDE, 0xAD, 0xBE};
    EventItem item = Item(0x9001, 0, 0x0102, 0x1122334455667788ull);
    item.data = data;
    item.dataSize = sizeof data;
    const Bytes expected = {0x42, 0x01, 0x00, 0xC2, 0x00, 0x13, 0x12, 0x34, 0x00, 0x00, 0x90, 0x01, 0x00, 0x00,
                            0x01, 0x02, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0xDE, 0xAD, 0xBE};
    EXPECT_EQ(BuildEventData(0x1234, true, false, item), expected);

    CommandHeader header;
    EventItem parsed;
    ASSERT_EQ(ParseEventData(expected.data(), expected.size(), header, parsed), ParseResult::Ok);
    EXPECT_EQ(header.flags, kFlagAckRequired);
    EXPECT_EQ(header.command, kEventDataCmd);
    EXPECT_EQ(header.length, 19);
    EXPECT_EQ(header.reqId, 0x1234);
    EXPECT_EQ(parsed.eventId, 0x9001);
    EXPECT_EQ(parsed.streamChannel, 0);
    EXPECT_EQ(parsed.blockId, 0x0102u);
    EXPECT_EQ(parsed.timestamp, 0x1122334455667788ull);
    ASSERT_EQ(parsed.dataSize, 3u);
    EXPECT_EQ(parsed.data, expected.data() + 24);
}

TEST(GvcpProtocol, ExtendedEventDataBytes) {
    const uint8_t data[] = {0x01, 0x02};
    EventItem item = Item(0x4FFF, 0xFFFF, 0x0102030405060708ull, 42);
    item.data = data;
    item.dataSize = sizeof data;
    const Bytes expected = {0x42, 0x10, 0x00, 0xC2, 0x00, 0x1A, 0x00, 0x07, 0x00, 0x1A, 0x4F, 0xFF,
                            0xFF, 0xFF, 0x00, 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08,
                            0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x2A, 0x01, 0x02};
    EXPECT_EQ(BuildEventData(7, false, true, item), expected);

    CommandHeader header;
    EventItem parsed;
    ASSERT_EQ(ParseEventData(expected.data(), expected.size(), header, parsed), ParseResult::Ok);
    EXPECT_EQ(parsed.eventId, 0x4FFF);
    EXPECT_EQ(parsed.streamChannel, 0xFFFF);
    EXPECT_EQ(parsed.blockId, 0x0102030405060708ull);
    EXPECT_EQ(parsed.timestamp, 42u);
    ASSERT_EQ(parsed.dataSize, 2u);
    EXPECT_EQ(parsed.data[0], 0x01);
    EXPECT_EQ(parsed.data[1], 0x02);
}

TEST(GvcpProtocol, ExtendedEventSizeLimitsTheData) {
    const uint8_t data[] = {1, 2, 3, 4, 5, 6, 7, 8};
    EventItem item = Item(1, 0, 1, 1);
    item.data = data;
    item.dataSize = sizeof data;
    Bytes b = BuildEventData(1, true, true, item);
    CommandHeader header;
    EventItem parsed;

    b[9] = 24 + 3; // event_size: the item and 3 data bytes
    ASSERT_EQ(ParseEventData(b.data(), b.size(), header, parsed), ParseResult::Ok);
    EXPECT_EQ(parsed.dataSize, 3u);

    b[9] = 0; // unset: the data runs to the end of the message
    ASSERT_EQ(ParseEventData(b.data(), b.size(), header, parsed), ParseResult::Ok);
    EXPECT_EQ(parsed.dataSize, 8u);

    b[9] = 23; // smaller than the item
    EXPECT_EQ(ParseEventData(b.data(), b.size(), header, parsed), ParseResult::BadLength);

    b[9] = 24 + 9; // beyond the message
    EXPECT_EQ(ParseEventData(b.data(), b.size(), header, parsed), ParseResult::BadLength);
}

TEST(GvcpProtocol, EventWithSeveralItems) {
    const EventItem items[] = {Item(0x9000, 0, 1, 100), Item(0x9001, 0, 2, 200), Item(0x8001, 0xFFFF, 0xFFFF, 300)};
    const Bytes b = BuildEvent(0x0A0B, true, false, items, 3);
    ASSERT_EQ(b.size(), 8u + 48u);
    EXPECT_EQ(Bytes(b.begin(), b.begin() + 8), (Bytes{0x42, 0x01, 0x00, 0xC0, 0x00, 0x30, 0x0A, 0x0B}));
    EXPECT_EQ(Bytes(b.begin() + 40, b.end()),
              (Bytes{0x00, 0x00, 0x80, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x2C}));

    CommandHeader header;
    std::vector<EventItem> parsed;
    ASSERT_EQ(ParseEvent(b.data(), b.size(), header, parsed), ParseResult::Ok);
    ASSERT_EQ(parsed.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(parsed[i].eventId, items[i].eventId);
        EXPECT_EQ(parsed[i].streamChannel, items[i].streamChannel);
        EXPECT_EQ(parsed[i].blockId, items[i].blockId);
        EXPECT_EQ(parsed[i].timestamp, items[i].timestamp);
        EXPECT_EQ(parsed[i].data, nullptr);
        EXPECT_EQ(parsed[i].dataSize, 0u);
    }

    const EventItem wide[] = {Item(5, 1, 0x1122334455667788ull, 9), Item(6, 2, 3, 10)};
    const Bytes e = BuildEvent(1, false, true, wide, 2);
    ASSERT_EQ(e.size(), 8u + 48u);
    EXPECT_EQ(e[8], 0x00);
    EXPECT_EQ(e[9], 24); // event_size of an item without data
    ASSERT_EQ(ParseEvent(e.data(), e.size(), header, parsed), ParseResult::Ok);
    ASSERT_EQ(parsed.size(), 2u);
    EXPECT_EQ(parsed[0].blockId, 0x1122334455667788ull);
    EXPECT_EQ(parsed[1].eventId, 6);
    EXPECT_EQ(parsed[1].streamChannel, 2);
}

TEST(GvcpProtocol, EveryTruncationIsRejected) {
    const uint8_t data[] = {1, 2, 3, 4};
    EventItem item = Item(0x9001, 0, 9, 9);
    item.data = data;
    item.dataSize = sizeof data;
    const Bytes full = BuildEventData(3, true, false, item);
    const EventItem items[] = {Item(1, 0, 1, 1), Item(2, 0, 2, 2)};
    const Bytes event = BuildEvent(3, true, false, items, 2);
    CommandHeader header;
    EventItem parsed;
    std::vector<EventItem> list;
    for (size_t n = 0; n < full.size(); ++n) {
        const Bytes p = Prefix(full, n);
        EXPECT_EQ(ParseEventData(p.data(), p.size(), header, parsed), ParseResult::Truncated) << n;
    }
    for (size_t n = 0; n < event.size(); ++n) {
        const Bytes p = Prefix(event, n);
        EXPECT_EQ(ParseEvent(p.data(), p.size(), header, list), ParseResult::Truncated) << n;
        EXPECT_TRUE(list.empty());
    }
    EXPECT_EQ(ParseEventData(nullptr, 100, header, parsed), ParseResult::Truncated);
}

TEST(GvcpProtocol, TrailingBytesBeyondTheLengthAreIgnored) {
    const uint8_t data[] = {7, 7};
    EventItem item = Item(0x9001, 0, 1, 1);
    item.data = data;
    item.dataSize = sizeof data;
    Bytes b = BuildEventData(1, true, false, item);
    b.insert(b.end(), 100, 0xEE);
    CommandHeader header;
    EventItem parsed;
    ASSERT_EQ(ParseEventData(b.data(), b.size(), header, parsed), ParseResult::Ok);
    EXPECT_EQ(parsed.dataSize, 2u);
}

TEST(GvcpProtocol, MalformedMessages) {
    CommandHeader header;
    EventItem parsed;
    std::vector<EventItem> list;

    // An acknowledgement, or anything else not starting with the key.
    const Bytes ack = {0x00, 0x00, 0x00, 0xC1, 0x00, 0x00, 0x00, 0x05};
    EXPECT_EQ(ParseEventData(ack.data(), ack.size(), header, parsed), ParseResult::NotACommand);
    EXPECT_EQ(ParseEvent(ack.data(), ack.size(), header, list), ParseResult::NotACommand);

    // Another command.
    const EventItem one = Item(1, 0, 1, 1);
    const Bytes event = BuildEvent(1, true, false, &one, 1);
    EXPECT_EQ(ParseEventData(event.data(), event.size(), header, parsed), ParseResult::WrongCommand);
    const Bytes data = BuildEventData(1, true, false, one);
    EXPECT_EQ(ParseEvent(data.data(), data.size(), header, list), ParseResult::WrongCommand);

    // EVENT: no item, or not a whole number of items.
    Bytes empty = {0x42, 0x01, 0x00, 0xC0, 0x00, 0x00, 0x00, 0x01};
    EXPECT_EQ(ParseEvent(empty.data(), empty.size(), header, list), ParseResult::BadLength);
    Bytes partial = event;
    partial[5] = 10;
    EXPECT_EQ(ParseEvent(partial.data(), partial.size(), header, list), ParseResult::BadLength);
    Bytes wide = event; // 16 bytes are no whole extended item
    wide[1] |= kFlagExtendedId;
    EXPECT_EQ(ParseEvent(wide.data(), wide.size(), header, list), ParseResult::BadLength);

    // EVENTDATA shorter than its item.
    Bytes shortData = data;
    shortData[5] = 8;
    EXPECT_EQ(ParseEventData(shortData.data(), shortData.size(), header, parsed), ParseResult::BadLength);
}

TEST(GvcpProtocol, OversizedLengthFieldIsTruncated) {
    Bytes b(2000, 0xAB);
    b[0] = 0x42;
    b[1] = 0x01;
    b[2] = 0x00;
    b[3] = 0xC2;
    b[4] = 0xFF;
    b[5] = 0xFF;
    CommandHeader header;
    EventItem parsed;
    EXPECT_EQ(ParseEventData(b.data(), b.size(), header, parsed), ParseResult::Truncated);

    // The largest length a header can state, with the whole payload present.
    Bytes big(8 + 0xFFFF, 0);
    big[0] = 0x42;
    big[3] = 0xC2;
    big[4] = 0xFF;
    big[5] = 0xFF;
    ASSERT_EQ(ParseEventData(big.data(), big.size(), header, parsed), ParseResult::Ok);
    EXPECT_EQ(parsed.dataSize, 0xFFFFu - 16u);

    // Builders refuse what a header cannot describe.
    std::vector<EventItem> many(4096, Item(1, 0, 1, 1));
    try {
        BuildEvent(1, true, false, many.data(), many.size());
        FAIL() << "no exception";
    } catch (const Orvane::Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_INVALID_ARGUMENT);
        EXPECT_STREQ(e.GetErrorMessage(), "A GVCP message carries at most 65535 bytes");
    }
}

TEST(GvcpProtocol, RandomDatagramsNeverReadOutside) {
    std::mt19937 random(20240611);
    CommandHeader header;
    EventItem item;
    std::vector<EventItem> list;
    ActionCommand action;
    AckHeader ack;
    size_t accepted = 0;
    for (int i = 0; i < 100000; ++i) {
        Bytes b(random() % 80);
        for (uint8_t& x : b) x = static_cast<uint8_t>(random());
        // Bias towards plausible headers so the parsers get past the key.
        if (b.size() >= 8 && random() % 2) {
            static const uint16_t commands[] = {kEventCmd, kEventDataCmd, kActionCmd, kActionAck};
            const uint16_t c = commands[random() % 4];
            b[0] = c == kActionAck ? 0x00 : kCommandKey;
            b[2] = static_cast<uint8_t>(c >> 8);
            b[3] = static_cast<uint8_t>(c);
            b[4] = 0;
            b[5] = static_cast<uint8_t>(random() % 80);
        }
        if (ParseEventData(b.data(), b.size(), header, item) == ParseResult::Ok) {
            ++accepted;
            ASSERT_GE(item.data, b.data() + 8 + 16);
            ASSERT_LE(item.data + item.dataSize, b.data() + b.size());
        }
        if (ParseEvent(b.data(), b.size(), header, list) == ParseResult::Ok) {
            ++accepted;
            ASSERT_LE(8 + list.size() * 16, b.size());
        }
        if (ParseActionCommand(b.data(), b.size(), action) == ParseResult::Ok) ++accepted;
        if (ParseActionAck(b.data(), b.size(), ack) == ParseResult::Ok) ++accepted;
    }
    EXPECT_GT(accepted, 1000u); // the bias reaches the parsers' inner checks
}

TEST(GvcpProtocol, AcknowledgementBytes) {
    const auto a = BuildAck(kStatusSuccess, kEventDataAck, 0xBEEF);
    EXPECT_EQ(Bytes(a.begin(), a.end()), (Bytes{0x00, 0x00, 0x00, 0xC3, 0x00, 0x00, 0xBE, 0xEF}));
    AckHeader header;
    ASSERT_EQ(ParseAckHeader(a.data(), a.size(), header), ParseResult::Ok);
    EXPECT_EQ(header.status, 0);
    EXPECT_EQ(header.acknowledge, kEventDataAck);
    EXPECT_EQ(header.length, 0);
    EXPECT_EQ(header.ackId, 0xBEEF);
}

TEST(GvcpProtocol, ActionCommandBytes) {
    ActionCommand c;
    c.deviceKey = 0x11223344;
    c.groupKey = 0x55667788;
    c.groupMask = 0x000000FF;
    c.reqId = 0x0102;
    const Bytes immediate = {0x42, 0x01, 0x01, 0x00, 0x00, 0x0C, 0x01, 0x02, 0x11, 0x22,
                             0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x00, 0x00, 0x00, 0xFF};
    EXPECT_EQ(BuildActionCommand(c), immediate);

    c.scheduled = true;
    c.actionTime = 0x0000000100000002ull;
    c.ackRequired = false;
    const Bytes scheduled = {0x42, 0x80, 0x01, 0x00, 0x00, 0x14, 0x01, 0x02, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66,
                             0x77, 0x88, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02};
    EXPECT_EQ(BuildActionCommand(c), scheduled);

    ActionCommand p;
    ASSERT_EQ(ParseActionCommand(scheduled.data(), scheduled.size(), p), ParseResult::Ok);
    EXPECT_EQ(p.deviceKey, 0x11223344u);
    EXPECT_EQ(p.groupKey, 0x55667788u);
    EXPECT_EQ(p.groupMask, 0xFFu);
    EXPECT_TRUE(p.scheduled);
    EXPECT_EQ(p.actionTime, 0x0000000100000002ull);
    EXPECT_FALSE(p.ackRequired);
    EXPECT_EQ(p.reqId, 0x0102);

    ASSERT_EQ(ParseActionCommand(immediate.data(), immediate.size(), p), ParseResult::Ok);
    EXPECT_FALSE(p.scheduled);
    EXPECT_EQ(p.actionTime, 0u);
    EXPECT_TRUE(p.ackRequired);

    Bytes noTime = immediate; // scheduled flag without the time
    noTime[1] |= kFlagScheduledAction;
    EXPECT_EQ(ParseActionCommand(noTime.data(), noTime.size(), p), ParseResult::BadLength);
    for (size_t n = 0; n < scheduled.size(); ++n) {
        const Bytes q = Prefix(scheduled, n);
        EXPECT_EQ(ParseActionCommand(q.data(), q.size(), p), ParseResult::Truncated) << n;
    }
}

TEST(GvcpProtocol, ActionAckBytes) {
    const auto late = BuildActionAck(kStatusActionLate, 0x0102);
    EXPECT_EQ(Bytes(late.begin(), late.end()), (Bytes{0x80, 0x16, 0x01, 0x01, 0x00, 0x00, 0x01, 0x02}));
    AckHeader h;
    ASSERT_EQ(ParseActionAck(late.data(), late.size(), h), ParseResult::Ok);
    EXPECT_EQ(h.status, kStatusActionLate);
    EXPECT_EQ(h.ackId, 0x0102);

    const auto eventAck = BuildAck(0, kEventAck, 0x0102);
    EXPECT_EQ(ParseActionAck(eventAck.data(), eventAck.size(), h), ParseResult::WrongCommand);
    ActionCommand c;
    const Bytes command = BuildActionCommand(c);
    EXPECT_EQ(ParseActionAck(command.data(), command.size(), h), ParseResult::NotAnAck);
    for (size_t n = 0; n < late.size(); ++n) {
        const Bytes q(late.begin(), late.begin() + static_cast<std::ptrdiff_t>(n));
        EXPECT_EQ(ParseActionAck(q.data(), q.size(), h), ParseResult::Truncated) << n;
    }
    Bytes withPayload(late.begin(), late.end()); // states 4 payload bytes it lacks
    withPayload[5] = 4;
    EXPECT_EQ(ParseActionAck(withPayload.data(), withPayload.size(), h), ParseResult::Truncated);
}

TEST(GvcpProtocol, ResultTexts) {
    EXPECT_STREQ(ToString(ParseResult::Ok), "ok");
    EXPECT_STREQ(ToString(ParseResult::Truncated), "truncated");
    EXPECT_STREQ(ToString(ParseResult::NotACommand), "not a command");
    EXPECT_STREQ(ToString(ParseResult::NotAnAck), "not an acknowledgement");
    EXPECT_STREQ(ToString(ParseResult::WrongCommand), "wrong command");
    EXPECT_STREQ(ToString(ParseResult::BadLength), "bad length");
}
