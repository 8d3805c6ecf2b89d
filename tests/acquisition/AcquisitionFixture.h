// A virtual camera opened for streaming, with helpers for its features.
#ifndef ORVANE_TESTS_ACQUISITION_FIXTURE_H
#define ORVANE_TESTS_ACQUISITION_FIXTURE_H

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"

namespace acqtest {

using namespace Orvane;
using namespace Orvane::GenApi;

using orvtest::CodeOf;
using orvtest::MessageOf;

class VirtualStream : public ::testing::Test {
protected:
    void SetUp() override {
        system = System::GetInstance();
        CameraList cameras = system->GetCameras();
        camera = cameras.GetBySerial("VC0001");
        ASSERT_TRUE(camera);
        camera->Init();
        // Small fast frames unless a test says otherwise.
        SetInt("Width", 64);
        SetInt("Height", 16);
        SetFloat("ExposureTime", 100.0);
        SetFloat("AcquisitionFrameRate", 1000.0);
        SetStreamInt("StreamBufferCountManual", 4);
        SetStreamEnum("StreamBufferCountMode", "Manual");
        SetStreamEnum("StreamBufferHandlingMode", "OldestFirst");
    }
    void TearDown() override {
        if (camera) {
            if (camera->IsStreaming()) camera->EndAcquisition();
            camera->DeInit();
        }
        camera = nullptr;
        system->ReleaseInstance();
    }

    INodeMap& Map() { return camera->GetNodeMap(); }
    INodeMap& StreamMap() { return camera->GetTLStreamNodeMap(); }
    void SetInt(const char* name, int64_t v) { CIntegerPtr(Map().GetNode(name))->SetValue(v); }
    int64_t Int(const char* name) { return CIntegerPtr(Map().GetNode(name))->GetValue(); }
    void SetFloat(const char* name, double v) { CFloatPtr(Map().GetNode(name))->SetValue(v); }
    void SetBool(const char* name, bool v) { CBooleanPtr(Map().GetNode(name))->SetValue(v); }
    void SetEnum(const char* name, const char* entry) { CEnumerationPtr(Map().GetNode(name))->FromString(entry); }
    int64_t EnumValue(const char* name) { return CEnumerationPtr(Map().GetNode(name))->GetIntValue(); }
    void Execute(const char* name) { CCommandPtr(Map().GetNode(name))->Execute(); }
    void SetStreamInt(const char* name, int64_t v) { CIntegerPtr(StreamMap().GetNode(name))->SetValue(v); }
    void SetStreamEnum(const char* name, const char* entry) {
        CEnumerationPtr(StreamMap().GetNode(name))->FromString(entry);
    }
    int64_t StreamInt(const char* name) { return CIntegerPtr(StreamMap().GetNode(name))->GetValue(); }

    // Waits (up to 10 s) until a stream counter reaches `value`.
    bool WaitForCounter(const char* name, int64_t value) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (StreamInt(name) < value) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }

    SystemPtr system;
    CameraPtr camera;
};

} // namespace acqtest

#endif
