// CXmlNodeMap: a node map from a GenICam XML file or text, over memory, and
// the errors for descriptions that are not well-formed.
#include <gtest/gtest.h>

#include <arv.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "Orvane/GenApi/GenApi.h"
#include "SdkError.h"
#include "genapi/ArvNodeMap.h"
#include "genapi/MemoryDevice.h"
#include "genapi/XmlValidation.h"

using namespace Orvane;
using namespace Orvane::GenApi;
using orvtest::Failure;

namespace {

const char* const kSmall = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Small" VendorName="Orvane" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ProductGuid="0" VersionGuid="0"
    xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root" NameSpace="Standard">
    <pFeature>Width</pFeature>
    <pFeature>Label</pFeature>
  </Category>
  <Integer Name="Width" NameSpace="Standard">
    <pValue>WidthReg</pValue>
    <Min>16</Min>
    <Max>4096</Max>
    <Inc>16</Inc>
  </Integer>
  <IntReg Name="WidthReg">
    <Address>0x2000</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <StringReg Name="Label">
    <Address>0x7FFFFFFFFFFFFFF0</Address>
    <Length>16</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
  </StringReg>
  <Port Name="Device" NameSpace="Standard"/>
</RegisterDescription>
)";

std::string TempFile(const std::string& name, const std::string& text) {
    const std::string path = ::testing::TempDir() + "orvane-xml-" + name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

TEST(XmlNodeMap, FromTextReadsAndWritesMemory) {
    auto xml = CXmlNodeMap::FromText(kSmall);
    INodeMap& map = xml->GetNodeMap();
    CIntegerPtr width = map.GetNode("Width");
    EXPECT_EQ(width->GetValue(), 0); // untouched memory reads zeros
    EXPECT_EQ(width->GetAccessMode(), RW);
    width->SetValue(640);
    uint8_t bytes[4] = {};
    xml->ReadMemory(0x2000, bytes, 4);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[1], 0);
    EXPECT_EQ(bytes[2], 0x02);
    EXPECT_EQ(bytes[3], 0x80);
    // A direct write invalidates the write-through cache.
    const uint8_t next[4] = {0, 0, 0x04, 0x00};
    xml->WriteMemory(0x2000, next, 4);
    EXPECT_EQ(width->GetValue(), 1024);
    EXPECT_EQ(Failure([&] { width->SetValue(650); }).first, ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(map.GetDeviceName(), "Device");
}

TEST(XmlNodeMap, MemoryAtTheTopOfTheAddressSpace) {
    auto xml = CXmlNodeMap::FromText(kSmall);
    CStringPtr label = xml->GetNodeMap().GetNode("Label");
    label->SetValue("top");
    EXPECT_EQ(label->GetValue(), "top");
    char last[16] = {};
    xml->ReadMemory(0x7FFFFFFFFFFFFFF0ull, last, 16);
    EXPECT_STREQ(last, "top");
    uint8_t byte = 7;
    xml->WriteMemory(UINT64_MAX, &byte, 1);
    byte = 0;
    xml->ReadMemory(UINT64_MAX, &byte, 1);
    EXPECT_EQ(byte, 7);
    uint8_t two[2] = {};
    const auto wrap = Failure([&] { xml->ReadMemory(UINT64_MAX, two, 2); });
    EXPECT_EQ(wrap.first, ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(wrap.second,
              "a memory access of 2 bytes at address 18446744073709551615 runs past the end of the "
              "address space");
    EXPECT_EQ(Failure([&] { xml->WriteMemory(UINT64_MAX, two, 2); }).first, ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(Failure([&] { xml->ReadMemory(0, nullptr, 4); }).first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Failure([&] { xml->ReadMemory(0, nullptr, 0); }).first, 0);
}

TEST(XmlNodeMap, FromFileMatchesFromText) {
    const std::string path = TempFile("small.xml", kSmall);
    auto xml = CXmlNodeMap::FromFile(path.c_str());
    CIntegerPtr width = xml->GetNodeMap().GetNode("Width");
    EXPECT_EQ(width->GetMax(), 4096);
    EXPECT_EQ(xml->GetNodeMap().GetNumNodes(), CXmlNodeMap::FromText(kSmall)->GetNodeMap().GetNumNodes());
}

TEST(XmlNodeMap, ThreadsShareTheMap) {
    auto xml = CXmlNodeMap::FromText(kSmall);
    CIntegerPtr width = xml->GetNodeMap().GetNode("Width");
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 500; ++i) {
                width->SetValue(16 * (1 + (i + t) % 200));
                uint8_t bytes[4];
                xml->ReadMemory(0x2000, bytes, 4);
                EXPECT_EQ(width->GetValue() % 16, 0);
            }
        });
    for (auto& t : threads) t.join();
}

// The memory device itself: sparse pages, zeros, no stream.
TEST(MemoryDevice, SparsePagesAndNoStream) {
    ArvDevice* device = GenApi::impl::NewMemoryDevice(kSmall);
    ASSERT_NE(arv_device_get_genicam(device), nullptr);
    EXPECT_TRUE(GenApi::impl::IsMemoryDevice(device));
    EXPECT_EQ(GenApi::impl::MemoryDevicePageCount(device), 0u);
    uint32_t value = 0xDEADBEEF;
    GError* error = nullptr;
    EXPECT_TRUE(arv_device_read_register(device, 0x123456789ull, &value, &error));
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(GenApi::impl::MemoryDevicePageCount(device), 0u);
    // A write across a page boundary allocates both pages.
    const uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_TRUE(arv_device_write_memory(device, 4096 - 4, 8, const_cast<uint8_t*>(bytes), &error));
    EXPECT_EQ(GenApi::impl::MemoryDevicePageCount(device), 2u);
    uint8_t back[8] = {};
    EXPECT_TRUE(arv_device_read_memory(device, 4096 - 4, 8, back, &error));
    EXPECT_EQ(std::memcmp(back, bytes, 8), 0);
    EXPECT_FALSE(arv_device_read_memory(device, UINT64_MAX - 2, 4, back, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS);
    g_clear_error(&error);
    EXPECT_EQ(arv_device_create_stream(device, nullptr, nullptr, &error), nullptr);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, ARV_DEVICE_ERROR_NO_STREAM_CHANNEL);
    EXPECT_STREQ(error->message, "a device made from a GenICam XML description has no stream");
    g_clear_error(&error);
    size_t size = 0;
    EXPECT_EQ(std::string(arv_device_get_genicam_xml(device, &size)), kSmall);
    EXPECT_EQ(size, std::strlen(kSmall));
    g_object_unref(device);
}

// Malformed descriptions ---------------------------------------------------

struct BadXml {
    const char* name;
    std::string text;
    std::string problem; // after "the GenICam XML of <source> is invalid: "
};

std::string Small() { return kSmall; }

std::vector<BadXml> BadDocuments() {
    std::string truncated = Small().substr(0, Small().find("<Max>4096") + 7);
    std::string mismatched = Small();
    mismatched.replace(mismatched.find("</Inc>"), 6, "</Inx>");
    // Register lengths Aravis would allocate: a negative one (a huge unsigned
    // one to Aravis) and one beyond 64 MiB.
    std::string negativeLength = Small();
    negativeLength.replace(negativeLength.find("<Length>4<"), 10, "<Length>-8<");
    std::string hugeLength = Small();
    hugeLength.replace(hugeLength.find("<Length>16<"), 11, "<Length>0x4000001<");
    return {
        {"truncated", truncated, "line 13, in element <Max>: Premature end of data in tag Max line 13"},
        {"mismatched", mismatched, "line 14, in element <Inc>: Opening and ending tag mismatch: Inc line 14 and Inx"},
        {"not-xml", "Width=640\nHeight=480\n", "line 1: Start tag expected, '<' not found"},
        {"empty", "", "the document is empty"},
        {"blank", "\n  \n", "the document is empty"},
        {"wrong-root", "<?xml version=\"1.0\"?>\n<Camera>\n</Camera>\n",
         "line 2, in element <Camera>: the root element is <Camera>, not <RegisterDescription>"},
        {"negative-length", negativeLength,
         "line 18, in element <Length>: the register length -8 is outside 0..67108864"},
        {"huge-length", hugeLength,
         "line 27, in element <Length>: the register length 0x4000001 is outside 0..67108864"},
    };
}

TEST(XmlNodeMapErrors, TextThatIsNotAWellFormedDescription) {
    for (const BadXml& bad : BadDocuments()) {
        const auto failure = Failure([&] { CXmlNodeMap::FromText(bad.text.c_str()); });
        EXPECT_EQ(failure.first, ORVANE_ERR_GENICAM_INVALID_ARGUMENT) << bad.name;
        EXPECT_EQ(failure.second, "the GenICam XML of the given text is invalid: " + bad.problem) << bad.name;
    }
}

TEST(XmlNodeMapErrors, FilesThatAreNotWellFormedDescriptions) {
    for (const BadXml& bad : BadDocuments()) {
        const std::string path = TempFile(std::string(bad.name) + ".xml", bad.text);
        const auto failure = Failure([&] { CXmlNodeMap::FromFile(path.c_str()); });
        EXPECT_EQ(failure.first, ORVANE_ERR_GENICAM_INVALID_ARGUMENT) << bad.name;
        EXPECT_EQ(failure.second, "the GenICam XML of " + path + " is invalid: " + bad.problem) << bad.name;
    }
}

TEST(XmlNodeMapErrors, MissingFile) {
    const std::string path = ::testing::TempDir() + "orvane-xml-no-such-file.xml";
    const auto failure = Failure([&] { CXmlNodeMap::FromFile(path.c_str()); });
    EXPECT_EQ(failure.first, ORVANE_ERR_IO);
    EXPECT_EQ(failure.second, "cannot open the GenICam XML file " + path + ": No such file or directory");
}

// A device whose XML is malformed: ArvNodeMap names the problem, whether
// Aravis built no node tree or a partial one (a truncated document).
TEST(XmlNodeMapErrors, DeviceWithMalformedXml) {
    for (const BadXml& bad : BadDocuments()) {
        if (bad.text.empty()) continue;
        ArvDevice* device = GenApi::impl::NewMemoryDevice(bad.text);
        const auto failure = Failure([&] { GenApi::impl::ArvNodeMap map(device, "Device"); });
        EXPECT_EQ(failure.first, ORVANE_ERR_GENICAM_INVALID_ARGUMENT) << bad.name;
        EXPECT_EQ(failure.second, "the GenICam XML of the device is invalid: " + bad.problem) << bad.name;
        g_object_unref(device);
    }
    ArvDevice* empty = GenApi::impl::NewMemoryDevice("");
    const auto failure = Failure([&] { GenApi::impl::ArvNodeMap map(empty, "Device"); });
    EXPECT_EQ(failure.first, ORVANE_ERR_GENICAM_PROPERTY);
    EXPECT_EQ(failure.second, "the device has no GenICam description");
    g_object_unref(empty);
}

TEST(XmlNodeMapErrors, ProblemOfAGoodDocumentIsEmpty) {
    EXPECT_EQ(GenApi::impl::GenICamXmlProblem(kSmall, std::strlen(kSmall)), "");
}

} // namespace
