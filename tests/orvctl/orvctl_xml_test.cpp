// orvctl features --xml FILE: the feature tree of a GenICam XML description
// without a camera, and the messages for malformed or missing files.
#include "OrvctlRun.h"

namespace {

using namespace orvctltest;

class OrvctlXml : public OrvctlProcess {
protected:
    std::string Write(const std::string& name, const std::string& text) {
        const fs::path path = dir / name;
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }
};

const char* const kDescription = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Tree" VendorName="Orvane" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ProductGuid="0" VersionGuid="0"
    xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root" NameSpace="Standard">
    <pFeature>Image</pFeature>
    <pFeature>Go</pFeature>
  </Category>
  <Category Name="Image">
    <pFeature>Width</pFeature>
    <pFeature>Scale</pFeature>
    <pFeature>Mode</pFeature>
    <pFeature>Hidden</pFeature>
    <pFeature>Absent</pFeature>
    <pFeature>Secret</pFeature>
  </Category>
  <Integer Name="Width"><Value>640</Value><Min>16</Min><Max>4096</Max></Integer>
  <Float Name="Scale"><Value>1.5</Value><Min>0</Min><Max>10</Max></Float>
  <Enumeration Name="Mode">
    <EnumEntry Name="Off"><Value>0</Value></EnumEntry>
    <EnumEntry Name="On"><Value>1</Value></EnumEntry>
    <pValue>ModeReg</pValue>
  </Enumeration>
  <IntReg Name="ModeReg">
    <Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Integer Name="Hidden"><Visibility>Invisible</Visibility><Value>3</Value></Integer>
  <Integer Name="Absent"><pIsImplemented>No</pIsImplemented><Value>1</Value></Integer>
  <Integer Name="No"><Value>0</Value></Integer>
  <IntReg Name="Secret">
    <Address>0x104</Address><Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Command Name="Go"><pValue>ModeReg</pValue><CommandValue>1</CommandValue></Command>
  <Port Name="Device"/>
</RegisterDescription>
)";

TEST_F(OrvctlXml, PrintsTheFeatureTreeOfADescription) {
    const std::string path = Write("tree.xml", kDescription);
    RunResult run = Orvctl({"features", "--xml", path});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const std::vector<std::string> expected = {
        "Image",
        "  Width                                      Integer     RW  640",
        "  Scale                                      Float       RW  1.5",
        "  Mode                                       Enumeration RW  Off",
        "  Absent                                     Integer     NI  (not implemented)",
        "  Secret                                     Integer     WO  (write-only)",
        "Go                                           Command     RW  (command)",
        "",
        "6 features in 1 categories",
    };
    EXPECT_EQ(run.out, expected);

    // Invisible features too with "all".
    run = Orvctl({"features", "--xml", path, "all"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_EQ(run.out.size(), expected.size() + 1);
    EXPECT_EQ(run.out[4], "  Hidden                                     Integer     RW  3");
}

TEST_F(OrvctlXml, ReportsAMalformedDescription) {
    const std::string path =
        Write("bad.xml", "<RegisterDescription>\n  <Integer Name=\"A\">\n</RegisterDescription>\n");
    RunResult run = Orvctl({"features", "--xml", path});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.out.empty());
    EXPECT_EQ(run.err, "orvctl: reading the GenICam XML failed: the GenICam XML of " + path +
                           " is invalid: line 3, in element <Integer>: Opening and ending tag mismatch: Integer line 2 "
                           "and RegisterDescription (invalid value for the feature, -2003)\n");
}

TEST_F(OrvctlXml, ReportsAMissingFile) {
    const std::string path = (dir / "missing.xml").string();
    RunResult run = Orvctl({"features", "--xml", path});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "orvctl: reading the GenICam XML failed: cannot open the GenICam XML file " + path +
                           ": No such file or directory (input/output error, -1014)\n");
}

TEST_F(OrvctlXml, Usage) {
    RunResult run = Orvctl({"features", "--xml"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "usage: orvctl features --xml FILE [beginner|expert|guru|all]\n");
}

} // namespace
