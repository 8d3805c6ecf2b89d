// A native node map with one node of each kind, shared by the native node
// map tests.
#ifndef ORVANE_TESTS_NATIVE_MAP_FIXTURE_H
#define ORVANE_TESTS_NATIVE_MAP_FIXTURE_H

#include <gtest/gtest.h>

#include <string>

#include "Orvane/GenApi/GenApi.h"
#include "genapi/NativeNodeMap.h"

using namespace Orvane;
using namespace Orvane::GenApi;
using namespace Orvane::GenApi::impl;

struct Fixture : ::testing::Test {
    NativeNodeMap map{"Test"};
    int64_t width = 640;
    double exposure = 1000.0;
    std::string name = "cam";
    bool flag = false;
    int64_t mode = 10;
    int executed = 0;
    bool locked = false;

    void SetUp() override {
        map.AddInteger(MakeInfo("Width", "Image width."),
                       {[this] { return width; }, [this](int64_t v) { width = v; }, [] { return int64_t(16); },
                        [] { return int64_t(4096); }, 16, PureNumber, "px", [this] { return locked ? RO : RW; }});
        map.AddFloat(MakeInfo("ExposureTime", "Exposure."),
                     {[this] { return exposure; }, [this](double v) { exposure = v; }, [] { return 10.0; },
                      [] { return 1e6; }, "us"});
        map.AddString(MakeInfo("UserName", "Name."),
                      {[this] { return name; }, [this](const std::string& v) { name = v; }, 8});
        map.AddBoolean(MakeInfo("Flag", "Flag."), {[this] { return flag; }, [this](bool v) { flag = v; }});
        map.AddEnumeration(
            MakeInfo("Mode", "Mode."),
            {[this] { return mode; }, [this](int64_t v) { mode = v; }, {{"Continuous", 10}, {"SingleFrame", 20}}});
        map.AddCommand(MakeInfo("Go", "Go."), {[this] { ++executed; }});
        map.AddInteger(MakeInfo("Address", "IP."),
                       {[] { return int64_t(0x7F000001); }, nullptr, nullptr, nullptr, 1, IPV4Address});
        map.AddCategory(MakeInfo("Root", "Root."), {"Width", "ExposureTime", "Missing", "Mode"});
        map.Depends("ExposureTime", "Width");
        map.Finish();
    }
};

#endif
