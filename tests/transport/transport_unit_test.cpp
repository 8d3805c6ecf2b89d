// Transport kinds, their texts and the list of built-in transports; what
// each transport says of itself before it discovers anything.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "SdkError.h"
#include "transport/Transports.h"

using namespace Orvane::internal;

namespace {

using orvtest::CodeOf;
using orvtest::MessageOf;

using Entries = std::vector<std::pair<std::string, int64_t>>;

TEST(TransportKinds, InterfaceIdsAreTheTransportNames) {
    EXPECT_STREQ(InterfaceIdText(TransportKind::Virtual), "Virtual");
    EXPECT_STREQ(InterfaceIdText(TransportKind::GigEVision), "GigEVision");
    EXPECT_STREQ(InterfaceIdText(TransportKind::USB3Vision), "USB3Vision");
}

TEST(TransportKinds, TypesAreNumberedAsTheNodeMapsShowThem) {
    EXPECT_EQ(TLTypeOf(TransportKind::GigEVision), TLType::GigEVision);
    EXPECT_EQ(TLTypeOf(TransportKind::USB3Vision), TLType::USB3Vision);
    EXPECT_EQ(TLTypeOf(TransportKind::Virtual), TLType::Custom);
    EXPECT_STREQ(TLTypeText(TLType::GigEVision), "GigEVision");
    EXPECT_STREQ(TLTypeText(TLType::USB3Vision), "USB3Vision");
    EXPECT_STREQ(TLTypeText(TLType::Custom), "Custom");
    EXPECT_STREQ(TLTypeText(TLType::Mixed), "Mixed");
    EXPECT_EQ(TLTypeEntries(TLType::Custom), (Entries{{"GigEVision", 0}, {"USB3Vision", 1}, {"Custom", 2}}));
    EXPECT_EQ(TLTypeEntries(TLType::Mixed),
              (Entries{{"GigEVision", 0}, {"USB3Vision", 1}, {"Custom", 2}, {"Mixed", 3}}));
}

TEST(TransportList, BuiltInTransportsInInterfaceOrder) {
    const std::vector<BuiltInTransport>& list = BuiltInTransports();
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[0].kind, TransportKind::Virtual);
    EXPECT_STREQ(list[0].keyword, "virtual");
    EXPECT_TRUE(list[0].enabledByDefault);
    EXPECT_EQ(list[1].kind, TransportKind::GigEVision);
    EXPECT_STREQ(list[1].keyword, "gige");
    EXPECT_FALSE(list[1].enabledByDefault);
    EXPECT_EQ(list[2].kind, TransportKind::USB3Vision);
    EXPECT_STREQ(list[2].keyword, "usb3");
    EXPECT_FALSE(list[2].enabledByDefault);
}

TEST(TransportList, ParsesTheTransportsVariable) {
    using Kinds = std::vector<TransportKind>;
    EXPECT_EQ(ParseTransportList("virtual"), (Kinds{TransportKind::Virtual}));
    EXPECT_EQ(ParseTransportList("usb3,gige"), (Kinds{TransportKind::USB3Vision, TransportKind::GigEVision}));
    EXPECT_EQ(ParseTransportList("all"),
              (Kinds{TransportKind::Virtual, TransportKind::GigEVision, TransportKind::USB3Vision}));
    EXPECT_EQ(ParseTransportList("gige,all"),
              (Kinds{TransportKind::GigEVision, TransportKind::Virtual, TransportKind::USB3Vision}));
    EXPECT_EQ(ParseTransportList("virtual,virtual"), (Kinds{TransportKind::Virtual}));
    EXPECT_EQ(ParseTransportList("Virtual,GIGE,usb,firewire, virtual"), Kinds{});
    EXPECT_EQ(ParseTransportList(""), Kinds{});
    EXPECT_EQ(ParseTransportList(",,usb3,"), (Kinds{TransportKind::USB3Vision}));
}

TEST(TransportList, EachKindMakesItsTransport) {
    TransportOptions options;
    options.virtualCameraCount = [] { return 2; };
    for (const BuiltInTransport& t : BuiltInTransports()) {
        std::shared_ptr<Transport> transport = MakeTransport(t.kind, options);
        ASSERT_TRUE(transport);
        EXPECT_EQ(transport->Kind(), t.kind);
        EXPECT_EQ(transport->Id(), InterfaceIdText(t.kind));
    }
    EXPECT_EQ(MakeTransport(TransportKind::Virtual, options)->DisplayName(), "Orvane virtual cameras");
    EXPECT_EQ(MakeTransport(TransportKind::GigEVision, options)->DisplayName(), "GigE Vision");
    EXPECT_EQ(MakeTransport(TransportKind::USB3Vision, options)->DisplayName(), "USB3 Vision");
}

TEST(TransportFeaturesOfKinds, EachTransportNamesItsFeatureGroups) {
    using Xml = TransportFeatures::XmlLocation;
    const TransportFeatures v = MakeVirtualTransport([] { return 0; })->Features();
    EXPECT_FALSE(v.networkFeatures);
    EXPECT_FALSE(v.usbFeatures);
    EXPECT_EQ(v.xmlLocation, Xml::Host);
    EXPECT_TRUE(v.alwaysAccessible);
    const TransportFeatures g = MakeGigEVisionTransport()->Features();
    EXPECT_TRUE(g.networkFeatures);
    EXPECT_FALSE(g.usbFeatures);
    EXPECT_EQ(g.xmlLocation, Xml::DeviceUrl);
    EXPECT_FALSE(g.alwaysAccessible);
    const TransportFeatures u = MakeUSB3VisionTransport()->Features();
    EXPECT_FALSE(u.networkFeatures);
    EXPECT_TRUE(u.usbFeatures);
    EXPECT_EQ(u.xmlLocation, Xml::None);
    EXPECT_FALSE(u.alwaysAccessible);
}

TEST(VirtualTransport, DiscoversTheConfiguredNumberOfCameras) {
    int count = 3;
    std::shared_ptr<Transport> transport = MakeVirtualTransport([&count] { return count; });
    std::vector<DeviceInfo> found = transport->Discover();
    ASSERT_EQ(found.size(), 3u);
    for (size_t i = 0; i < found.size(); ++i) {
        const std::string serial = "VC000" + std::to_string(i + 1);
        EXPECT_EQ(found[i].kind, TransportKind::Virtual);
        EXPECT_EQ(found[i].serialNumber, serial);
        EXPECT_EQ(found[i].uniqueId, "Virtual:" + serial);
        EXPECT_EQ(found[i].deviceId, "Orvane-VirtualCamera-" + serial);
        EXPECT_EQ(found[i].protocol, "Virtual");
        EXPECT_EQ(found[i].address, "local");
        EXPECT_EQ(found[i].index, static_cast<int>(i));
    }
    count = 0;
    EXPECT_TRUE(transport->Discover().empty());
    count = -4;
    EXPECT_TRUE(transport->Discover().empty());
}

// GigE Vision sends them (tests/gige, in a private network namespace: a
// broadcast here would leave the machine); virtual cameras answer them
// (tests/events).
TEST(ActionCommands, TransportsWithoutThemRaiseNotImplemented) {
    ActionCommand command;
    command.deviceKey = 0x12345678;
    command.groupKey = 1;
    command.groupMask = 0xFFFFFFFF;
    command.acknowledge = true;
    command.timeoutMs = 100;
    std::vector<ActionResult> results;
    for (const auto& transport : {MakeUSB3VisionTransport()}) {
        EXPECT_EQ(CodeOf([&] { transport->SendActionCommand(command, results); }), ORVANE_ERR_NOT_IMPLEMENTED);
        EXPECT_EQ(MessageOf([&] { transport->SendActionCommand(command, results); }),
                  "action commands are not implemented for the " + transport->DisplayName() + " transport");
        EXPECT_TRUE(results.empty());
    }
}

// Virtual cameras act only while open: with none open, nobody answers.
TEST(ActionCommands, VirtualCamerasThatAreNotOpenStaySilent) {
    ActionCommand command;
    command.acknowledge = true;
    command.groupMask = 0xFFFFFFFF;
    std::vector<ActionResult> results;
    auto transport = MakeVirtualTransport([] { return 2; });
    ASSERT_EQ(transport->Discover().size(), 2u);
    transport->SendActionCommand(command, results);
    EXPECT_TRUE(results.empty());
}

} // namespace
