// Which last-error record each QuickOrv failure lands in. The records of the
// QuickOrvC, QuickOrvTL*C and CameraC modules are read directly here (the
// program links the library's static archive); the getters read only the
// OrvaneC record.
#include <cstdlib>
#include <string>

#include "CapiFixture.h"
#include "QuickOrvCModules.h"

ErrorRecord& OrvaneCRecord();
ErrorRecord& OrvaneGenApiCRecord();

namespace {

void ExpectClear(const ErrorRecord& r, const char* which) {
    EXPECT_EQ(r.code, ORVANE_ERR_SUCCESS) << which;
    EXPECT_EQ(r.line, 0) << which;
    EXPECT_EQ(r.message, "") << which;
    EXPECT_EQ(r.fileName, "") << which;
    EXPECT_EQ(r.functionName, "") << which;
}

void ExpectRecord(const ErrorRecord& r, orvError code, int line, const std::string& file, const std::string& function,
                  const std::string& message) {
    EXPECT_EQ(r.code, code);
    EXPECT_EQ(r.line, line);
    EXPECT_EQ(r.fileName, file);
    EXPECT_EQ(r.functionName, function);
    EXPECT_EQ(r.message, message);
}

class QuickOrvRecordsTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        CapiTest::SetUp();
        ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraListGet(cameras, 0, &camera), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        EXPECT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvCameraRelease(camera), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
        CapiTest::TearDown();
    }
    orvCameraList cameras = nullptr;
    orvCamera camera = nullptr;
};

TEST_F(QuickOrvRecordsTest, NotInitialisedLandsInQuickOrvC) {
    quickOrv q;
    EXPECT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_NOT_INITIALIZED);
    ExpectRecord(QuickOrvCRecord(), ORVANE_ERR_NOT_INITIALIZED, 38, "QuickOrvC", "quickOrvInit",
                 "Unable to initialized QuickOrv without first initializing camera.");
    ExpectClear(OrvaneCRecord(), "OrvaneC");
    // quickOrvInitEx returns the same code; OrvaneC's record stays clear.
    EXPECT_EQ(quickOrvInitEx(camera, &q, nullptr, nullptr), ORVANE_ERR_NOT_INITIALIZED);
    EXPECT_EQ(QuickOrvCRecord().code, ORVANE_ERR_NOT_INITIALIZED);
    ExpectClear(OrvaneCRecord(), "OrvaneC");
    // A later success clears the QuickOrvC record.
    ASSERT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    ExpectClear(QuickOrvCRecord(), "QuickOrvC");
    ExpectClear(OrvaneGenApiCRecord(), "OrvaneGenApiC"); // the last lookup succeeded
}

TEST_F(QuickOrvRecordsTest, HandleFailuresStayInOrvaneC) {
    quickOrv q;
    EXPECT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_NOT_INITIALIZED); // fills the QuickOrvC record
    EXPECT_EQ(quickOrvInit(nullptr, &q), ORVANE_ERR_INVALID_HANDLE);
    ExpectClear(QuickOrvCRecord(), "QuickOrvC");
    ExpectRecord(OrvaneCRecord(), ORVANE_ERR_INVALID_HANDLE, 121, "./OrvaneUtilsC", "CheckNullHandle",
                 "Handle is NULL");
    quickOrvTLInterface i;
    EXPECT_EQ(quickOrvTLInterfaceInit(camera, &i), ORVANE_ERR_INVALID_HANDLE);
    ExpectClear(QuickOrvTLInterfaceCRecord(), "QuickOrvTLInterfaceC");
    EXPECT_EQ(OrvaneCRecord().line, 343);
    quickOrvTLSystem s;
    EXPECT_EQ(quickOrvTLSystemInit(nullptr, &s), ORVANE_ERR_INVALID_HANDLE);
    ExpectClear(QuickOrvTLSystemCRecord(), "QuickOrvTLSystemC");
    EXPECT_EQ(OrvaneCRecord().line, 121);
    quickOrvTLDevice d;
    quickOrvTLStream t;
    EXPECT_EQ(quickOrvTLDeviceInit(system, &d), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(quickOrvTLStreamInit(system, &t), ORVANE_ERR_INVALID_HANDLE);
    ExpectClear(QuickOrvTLDeviceCRecord(), "QuickOrvTLDeviceC");
    ExpectClear(QuickOrvTLStreamCRecord(), "QuickOrvTLStreamC");
    ExpectRecord(OrvaneCRecord(), ORVANE_ERR_INVALID_HANDLE, 343, "./OrvaneUtilsC", "checkObjectType",
                 "Orvane Exception: Incorrect handle exception thrown. Expected: Camera handle; Received: System "
                 "handle.");
    // quickOrvInitEx's own check.
    EXPECT_EQ(quickOrvInitEx(nullptr, nullptr, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(OrvaneCRecord().functionName, "CheckNullHandle");
}

TEST_F(QuickOrvRecordsTest, EnumerationMappingLandsInCameraC) {
    ASSERT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
    quickOrv q;
    ASSERT_EQ(quickOrvInit(camera, &q), ORVANE_ERR_SUCCESS);
    orvNodeHandle line0 = nullptr;
    ASSERT_EQ(orvEnumerationGetEntryByName(q.TriggerSource, "Line0", &line0), ORVANE_ERR_SUCCESS);
    // An OrvaneC failure first: the mapping functions leave it alone.
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);

    EXPECT_EQ(orvEnumerationSetEnumValue(q.AcquisitionMode, 3), ORVANE_ERR_INVALID_PARAMETER);
    ExpectRecord(CameraCRecord(), ORVANE_ERR_INVALID_PARAMETER, 1528, "CameraC", "quickOrvEnumerationSetEnumValue",
                 "QuickOrv enumeration entry was not found.");
    EXPECT_EQ(orvEnumerationSetEnumValue(line0, 0), ORVANE_ERR_INVALID_HANDLE);
    ExpectRecord(CameraCRecord(), ORVANE_ERR_INVALID_HANDLE, 3050, "CameraC", "orvEnumerationSetEnumValue",
                 "Orvane Exception: Incorrect handle exception thrown. Expected: Enumeration Node Handle.");
    size_t value = 0;
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(q.TriggerSource, &value), ORVANE_ERR_INVALID_HANDLE);
    ExpectRecord(CameraCRecord(), ORVANE_ERR_INVALID_HANDLE, 3068, "CameraC", "orvEnumerationEntryGetEnumValue",
                 "Orvane Exception: Incorrect handle exception thrown. Expected: Enumeration Entry Node Handle.");
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(q.TriggerSource, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    ExpectRecord(CameraCRecord(), ORVANE_ERR_INVALID_PARAMETER, 129, "./OrvaneUtilsC", "CheckNullParam",
                 "Parameter is NULL");
    orvNodeHandle frameStart = nullptr;
    ASSERT_EQ(orvEnumerationGetEntryByName(q.EventSelector, "FrameStart", &frameStart), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(frameStart, &value), ORVANE_ERR_INVALID_PARAMETER);
    ExpectRecord(CameraCRecord(), ORVANE_ERR_INVALID_PARAMETER, 3030, "CameraC", "quickOrvEnumerationEntryGetEnumValue",
                 "QuickOrv enum value not found.");
    orvObject notAnEnumeration(ORV_HANDLE_ENUMERATION_NODE);
    notAnEnumeration.target = static_cast<orvObject*>(q.Width)->target;
    EXPECT_EQ(orvEnumerationSetEnumValue(&notAnEnumeration, 0), ORVANE_ERR_GENICAM_LOGICAL_ERROR);
    ExpectRecord(CameraCRecord(), ORVANE_ERR_GENICAM_LOGICAL_ERROR, 160, "../../include/OrvGenApi/Pointer.h",
                 "operator->", "LogicalErrorException NULL pointer dereferenced");
    // A success clears the record.
    EXPECT_EQ(orvEnumerationEntryGetEnumValue(line0, &value), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(value, size_t(TriggerSource_Line0));
    ExpectClear(CameraCRecord(), "CameraC");
    ExpectRecord(OrvaneCRecord(), ORVANE_ERR_INVALID_PARAMETER, 129, "./OrvaneUtilsC", "CheckNullParam",
                 "Parameter is NULL");
}

} // namespace
