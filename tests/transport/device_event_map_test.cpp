// Event id -> event name and data nodes, read from device XML: the
// simulator's own XML and small descriptions covering each naming rule.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "transport/DeviceEventMap.h"

using Orvane::internal::DeviceEventInfo;
using Orvane::internal::DeviceEventMap;
using Names = std::vector<std::string>;

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

DeviceEventMap MapOf(const std::string& body) {
    const std::string xml =
        "<?xml version=\"1.0\"?>\n<RegisterDescription ModelName=\"T\" VendorName=\"T\" "
        "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n" +
        body + "\n<Port Name=\"Device\"/>\n</RegisterDescription>\n";
    return DeviceEventMap(xml.data(), xml.size());
}

} // namespace

TEST(DeviceEventMap, SimulatorDescription) {
    const std::string xml = ReadFile(ORVANE_SOURCE_DIR "/tests/tools/gvsim/sim.xml");
    ASSERT_FALSE(xml.empty());
    const DeviceEventMap map(xml.data(), xml.size());
    ASSERT_EQ(map.Events().size(), 3u);

    const DeviceEventInfo* end = map.Find(0x9001);
    ASSERT_NE(end, nullptr);
    EXPECT_EQ(end->name, "ExposureEnd");
    EXPECT_EQ(end->port, "EventExposureEndPort");
    EXPECT_EQ(end->idFeature, "EventExposureEnd");
    EXPECT_EQ(end->registers, (Names{"EventExposureEndTimestampReg", "EventExposureEndFrameIDReg"}));
    EXPECT_EQ(end->nodes, (Names{"EventExposureEndTimestamp", "EventExposureEndTimestampReg", "EventExposureEndFrameID",
                                 "EventExposureEndFrameIDReg"}));

    const DeviceEventInfo* start = map.FindByName("ExposureStart");
    ASSERT_NE(start, nullptr);
    EXPECT_EQ(start->id, 0x9000u);
    EXPECT_EQ(start->registers, (Names{"EventExposureStartTimestamp", "EventExposureStartFrameID"}));
    EXPECT_EQ(start->nodes, start->registers);

    const DeviceEventInfo* test = map.Find(0x4FFF);
    ASSERT_NE(test, nullptr);
    EXPECT_EQ(test->name, "Test");
    EXPECT_EQ(test->nodes, (Names{"EventTestTimestamp"}));

    EXPECT_EQ(map.Find(0x9002), nullptr);
    EXPECT_EQ(map.FindByName("FrameStart"), nullptr);
    EXPECT_EQ(map.Events()[0].name, "ExposureStart"); // XML order
    EXPECT_EQ(map.Events()[2].name, "Test");
}

TEST(DeviceEventMap, NamesFromThePortWithoutAnIdFeature) {
    const DeviceEventMap map = MapOf(R"(
<Port Name="EventLine0RisingEdgePort"><EventID>0x9100</EventID></Port>
<Port Name="OverrunData"><EventID>9101</EventID></Port>
<Port Name="EventPort"><EventID>9102</EventID></Port>
<Port Name="Port"><EventID>9103</EventID></Port>
<Integer Name="EventOther"><Value>0x9999</Value></Integer>
<Integer Name="NotEventNamed"><Value>0x9104</Value></Integer>
<Port Name="Custom"><EventID>9104</EventID></Port>)");
    ASSERT_EQ(map.Events().size(), 5u);
    EXPECT_EQ(map.Find(0x9100)->name, "Line0RisingEdge");
    EXPECT_EQ(map.Find(0x9100)->idFeature, "");
    EXPECT_EQ(map.Find(0x9101)->name, "Overrun");
    EXPECT_EQ(map.Find(0x9102)->name, "Port");
    EXPECT_EQ(map.Find(0x9103)->name, "Port");
    EXPECT_EQ(map.Find(0x9104)->name, "Custom");    // the integer's name does not start with Event
    EXPECT_EQ(map.FindByName("Port")->id, 0x9102u); // the first of two equal names
    EXPECT_TRUE(map.Find(0x9100)->registers.empty());
}

TEST(DeviceEventMap, IdFeatureWithDecimalValue) {
    const DeviceEventMap map = MapOf(R"(
<Integer Name="EventFrameTrigger"><Value>36880</Value></Integer>
<Port Name="FrameTriggerPort"><EventID>9010</EventID></Port>)");
    ASSERT_NE(map.Find(0x9010), nullptr);
    EXPECT_EQ(map.Find(0x9010)->name, "FrameTrigger");
    EXPECT_EQ(map.Find(0x9010)->idFeature, "EventFrameTrigger");
}

TEST(DeviceEventMap, DependentsThroughGroupsSwissKnivesAndStructs) {
    const DeviceEventMap map = MapOf(R"(
<Group Comment="event data">
  <IntReg Name="RawCounter"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>EventCounterPort</pPort><Endianess>BigEndian</Endianess></IntReg>
  <StructReg Comment="flags"><Address>4</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>EventCounterPort</pPort><Endianess>BigEndian</Endianess>
    <StructEntry Name="FlagA"><Bit>0</Bit></StructEntry>
    <StructEntry Name="FlagB"><Bit>1</Bit></StructEntry>
  </StructReg>
</Group>
<IntSwissKnife Name="DoubleCounter"><pVariable Name="C">RawCounter</pVariable><Formula>C*2</Formula></IntSwissKnife>
<Integer Name="Shown"><pValue>DoubleCounter</pValue></Integer>
<Integer Name="Unrelated"><pValue>Other</pValue></Integer>
<IntReg Name="Other"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort></IntReg>
<Boolean Name="FlagShown"><pValue>FlagB</pValue></Boolean>
<Integer Name="EventCounter"><Value>0x9200</Value></Integer>
<Port Name="EventCounterPort"><EventID>9200</EventID></Port>)");
    const DeviceEventInfo* e = map.Find(0x9200);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->name, "Counter");
    EXPECT_EQ(e->registers, (Names{"RawCounter", "FlagA", "FlagB"}));
    EXPECT_EQ(e->nodes, (Names{"RawCounter", "FlagA", "FlagB", "DoubleCounter", "Shown", "FlagShown"}));
}

TEST(DeviceEventMap, UnusableInput) {
    EXPECT_TRUE(DeviceEventMap(nullptr, 10).Empty());
    EXPECT_TRUE(DeviceEventMap("", 0).Empty());
    const std::string notXml = "this is no XML at all";
    EXPECT_TRUE(DeviceEventMap(notXml.data(), notXml.size()).Empty());
    const std::string cut = "<RegisterDescription><Port Name=\"EventAPort\"><EventID>9001</Even";
    EXPECT_TRUE(DeviceEventMap(cut.data(), cut.size()).Empty());

    const DeviceEventMap map = MapOf(R"(
<Port Name="EventBadPort"><EventID>zz</EventID></Port>
<Port Name="EventEmptyPort"><EventID></EventID></Port>
<Port Name="EventNegativePort"><EventID>-5</EventID></Port>
<Port Name="EventGoodPort"><EventID> 0x0001 </EventID></Port>
<Port Name="EventTwinPort"><EventID>1</EventID></Port>)");
    ASSERT_EQ(map.Events().size(), 2u);
    EXPECT_EQ(map.Find(1)->name, "Good"); // the first port with the id
    EXPECT_EQ(map.Events()[1].name, "Twin");
}
