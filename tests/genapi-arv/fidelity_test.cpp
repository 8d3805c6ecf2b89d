// Node map results on GenICam constructs that real devices' descriptions use
// and that once gave wrong results: an in-process fake device running
// data/fidelity.xml.
#include <gtest/gtest.h>

#include <arv.h>

#include <cstring>
#include <memory>
#include <string>

#include "Orvane/GenApi/GenApi.h"
#include "SdkError.h"
#include "genapi/ArvNodeMap.h"

using namespace Orvane;
using namespace Orvane::GenApi;
using Orvane::GenApi::impl::ArvNodeMap;
using orvtest::CodeOf;
using orvtest::MessageOf;

namespace {

class FidelityTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        arv_set_fake_camera_genicam_filename(ORVANE_SOURCE_DIR "/tests/genapi-arv/data/fidelity.xml");
    }

    void SetUp() override {
        GError* error = nullptr;
        device = arv_fake_device_new("FI0001", &error);
        ASSERT_NE(device, nullptr) << (error ? error->message : "");
        for (uint32_t a = 0x1000; a < 0x1080; a += 4) Poke(a, 0);
        map = std::make_unique<ArvNodeMap>(device, "Device");
    }

    void TearDown() override {
        map.reset();
        g_object_unref(device);
    }

    template <class T>
    T* Get(const char* name) {
        INode* n = map->GetNode(name);
        EXPECT_NE(n, nullptr) << name;
        T* t = dynamic_cast<T*>(n);
        EXPECT_NE(t, nullptr) << name;
        return t;
    }

    void Poke(uint32_t address, uint32_t value) {
        const uint32_t be = GUINT32_TO_BE(value);
        ASSERT_TRUE(
            arv_fake_camera_write_memory(arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(device)), address, 4, &be));
    }
    uint32_t Peek(uint32_t address) {
        uint32_t be = 0;
        EXPECT_TRUE(
            arv_fake_camera_read_memory(arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(device)), address, 4, &be));
        return GUINT32_FROM_BE(be);
    }
    void PokeDouble(uint32_t address, double value) {
        uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        Poke(address, static_cast<uint32_t>(bits >> 32));
        Poke(address + 4, static_cast<uint32_t>(bits));
        map->InvalidateNodes();
    }

    ArvDevice* device = nullptr;
    std::unique_ptr<ArvNodeMap> map;
};

// Elements inside a vendor extension name nodes they do not define.
TEST_F(FidelityTest, VendorExtensionsDoNotShadowNodes) {
    INode* gain = map->GetNode("Gain");
    ASSERT_NE(gain, nullptr);
    EXPECT_EQ(gain->GetNameSpace(), Standard);
    EXPECT_EQ(gain->GetVisibility(), Beginner);
    EXPECT_EQ(gain->GetDescription(), "The gain.");
    INode* exposure = map->GetNode("Exposure");
    EXPECT_EQ(exposure->GetNameSpace(), Standard);
    EXPECT_EQ(exposure->GetPrincipalInterfaceType(), intfIFloat);
}

// A float over an integer register has no increment: any value inside its
// bounds is accepted.
TEST_F(FidelityTest, AFloatOverAnIntegerRegisterHasNoIncrement) {
    auto* exposure = Get<IFloat>("Exposure");
    EXPECT_FALSE(exposure->HasInc());
    EXPECT_EQ(exposure->GetIncMode(), noIncrement);
    exposure->SetValue(1000.5);
    EXPECT_EQ(Peek(0x1004), 1000u); // the integer register keeps the whole part
    EXPECT_EQ(CodeOf([&] { exposure->SetValue(5.0); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
}

// HasInc follows <Inc>/<pInc> in the XML; the increment is reported as the
// XML evaluates it, 0 included.
TEST_F(FidelityTest, FloatIncrementsFollowTheXml) {
    auto* stepped = Get<IFloat>("Stepped");
    EXPECT_TRUE(stepped->HasInc());
    EXPECT_EQ(stepped->GetIncMode(), fixedIncrement);
    EXPECT_DOUBLE_EQ(stepped->GetInc(), 0.5);
    stepped->SetValue(2.5);
    EXPECT_EQ(CodeOf([&] { stepped->SetValue(2.25); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    auto* zero = Get<IFloat>("ZeroStep");
    EXPECT_TRUE(zero->HasInc());
    EXPECT_EQ(zero->GetInc(), 0.0);
    zero->SetValue(2.25); // an increment of 0 constrains nothing
    auto* free = Get<IFloat>("Free");
    EXPECT_FALSE(free->HasInc());
    EXPECT_EQ(free->GetInc(), 0.0);
}

// ToString follows DisplayNotation and DisplayPrecision; FromString reads
// every form ToString gives.
TEST_F(FidelityTest, FloatTextFollowsDisplayNotationAndPrecision) {
    auto* exposure = Get<IFloat>("Exposure");
    exposure->SetValue(100000.0);
    EXPECT_EQ(exposure->ToString(), "100000");
    PokeDouble(0x1010, 25.0);
    EXPECT_EQ(Get<IFloat>("Rate")->ToString(), "25.000");
    EXPECT_EQ(Get<IFloat>("Auto6")->ToString(), "25");
    EXPECT_EQ(Get<IFloat>("Sci2")->ToString(), "2.50e+01");
    PokeDouble(0x1010, 93.3803667582086);
    EXPECT_EQ(Get<IFloat>("Rate")->ToString(), "93.380");
    EXPECT_EQ(Get<IFloat>("Auto6")->ToString(), "93.3804");
    EXPECT_EQ(Get<IFloat>("Plain")->ToString(), "93.3804");
    PokeDouble(0x1010, 100000.0);
    EXPECT_EQ(Get<IFloat>("Auto6")->ToString(), "100000");
    EXPECT_EQ(Get<IFloat>("Rate")->ToString(), "100000.000");
    PokeDouble(0x1010, 1234567.0);
    EXPECT_EQ(Get<IFloat>("Auto6")->ToString(), "1.23457e+06");
    for (const char* name : {"Rate", "Auto6", "Sci2", "Plain"}) {
        SCOPED_TRACE(name);
        auto* f = Get<IFloat>(name);
        PokeDouble(0x1010, 12.5);
        const GenICam::gcstring text = f->ToString();
        f->FromString(text);
        EXPECT_DOUBLE_EQ(f->GetValue(), 12.5);
    }
    Get<IFloat>("Plain")->FromString("+1.5e+01");
    EXPECT_DOUBLE_EQ(Get<IFloat>("Plain")->GetValue(), 15.0);
    EXPECT_EQ(CodeOf([&] { Get<IFloat>("Plain")->FromString("1,5"); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
}

// A converter's bounds are its formula at its target's bounds, swapped when
// the formula decreases; a bound where it divides by zero moves to the
// nearest one where it does not.
TEST_F(FidelityTest, ConverterBoundsComeFromTheFormula) {
    auto* conv = Get<IFloat>("FrameRateConv");
    EXPECT_DOUBLE_EQ(conv->GetMin(), 1000000.0 / 4294967295.0);
    EXPECT_DOUBLE_EQ(conv->GetMax(), 1000000.0); // TO = 1, the nearest to 0
    auto* rate = Get<IFloat>("FrameRate");
    EXPECT_DOUBLE_EQ(rate->GetMin(), 1.0);
    EXPECT_DOUBLE_EQ(rate->GetMax(), 1000.0);
    auto* scaled = Get<IFloat>("Scaled");
    EXPECT_DOUBLE_EQ(scaled->GetMin(), -30.0);
    EXPECT_DOUBLE_EQ(scaled->GetMax(), 30.0);
    auto* broken = Get<IInteger>("Broken");
    EXPECT_EQ(CodeOf([&] { broken->GetMin(); }), ORVANE_ERR_GENICAM_RUN_TIME);
    const std::string message = MessageOf([&] { broken->GetMax(); });
    EXPECT_NE(
        message.find(
            "Broken: the formula 'TO / (TO - TO)' cannot be evaluated at its value node's minimum (-10) nor near it: "),
        std::string::npos)
        << message;
}

// The access mode of a node with selected targets is that of the target
// selected now; reads and writes obey it.
TEST_F(FidelityTest, SelectedTargetsImposeTheirAccessMode) {
    auto* selector = Get<IEnumeration>("Selector");
    auto* selected = Get<IInteger>("Selected");
    INode* node = map->GetNode("Selected");
    selector->FromString("A");
    EXPECT_EQ(node->GetAccessMode(), RW);
    selected->SetValue(7);
    EXPECT_EQ(Peek(0x1024), 7u);
    selector->FromString("B");
    EXPECT_EQ(node->GetAccessMode(), RO);
    Poke(0x1028, 55);
    EXPECT_EQ(selected->GetValue(false, true), 55);
    EXPECT_EQ(CodeOf([&] { selected->SetValue(9); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(Peek(0x1028), 55u); // the read-only register is untouched
    selector->FromString("C");
    EXPECT_EQ(node->GetAccessMode(), WO);
    EXPECT_EQ(CodeOf([&] { selected->GetValue(); }), ORVANE_ERR_GENICAM_ACCESS);
    selected->SetValue(3);
    EXPECT_EQ(Peek(0x102C), 3u);
}

// A write through pValue verifies against the target's range and increment;
// the node reports the tighter bounds.
TEST_F(FidelityTest, WritesThroughAValueTargetRespectItsRange) {
    auto* wide = Get<IInteger>("Wide");
    EXPECT_EQ(wide->GetMin(), -10);
    EXPECT_EQ(wide->GetMax(), 10);
    EXPECT_EQ(CodeOf([&] { wide->SetValue(-20); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(Peek(0x101C), 0u);
    const std::string message = MessageOf([&] { wide->SetValue(3); });
    EXPECT_EQ(message, "Wide: value 3 does not match the increment 2 from the minimum -10");
    EXPECT_EQ(Peek(0x101C), 0u);
    wide->SetValue(-4);
    EXPECT_EQ(static_cast<int32_t>(Peek(0x101C)), -4);
}

// Registers at addresses computed through one index are views of the same
// words: writing one drops the others' cached values.
TEST_F(FidelityTest, RegistersAliasedThroughAnIndexInvalidateEachOther) {
    auto* bank = Get<IInteger>("Bank");
    auto* word = Get<IInteger>("WordView");
    auto* low = Get<IInteger>("LowByteView");
    auto* fixed = Get<IInteger>("Word2");
    bank->SetValue(2);
    EXPECT_EQ(low->GetValue(), 0);
    EXPECT_EQ(fixed->GetValue(), 0);
    word->SetValue(0x12345678);
    EXPECT_EQ(low->GetValue(), low->GetValue(false, true));
    EXPECT_NE(low->GetValue(), 0);
    EXPECT_EQ(fixed->GetValue(), 0x12345678); // Word2 is bank 2's word
    fixed->SetValue(0x0000AB00);
    EXPECT_EQ(word->GetValue(), 0x0000AB00);
}

// Poll evaluates a due node's access mode anew: a node whose NA mode was
// cached becomes readable once the device makes it available.
TEST_F(FidelityTest, PollSeesANodeBecomeAvailable) {
    INode* node = map->GetNode("Appearing");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->GetAccessMode(), NA);
    EXPECT_TRUE(node->IsAccessModeCacheable());
    int calls = 0;
    auto* counter = new FunctionNodeCallback(node, [&](INode*) { ++calls; });
    const CallbackHandleType handle = node->RegisterCallback(counter);
    map->Poll(100); // the first poll counts as a change
    const int afterFirst = calls;
    EXPECT_EQ(node->GetAccessMode(), NA); // cached again
    Poke(0x1050, 1);                      // behind the map's back
    Poke(0x1054, 42);
    map->Poll(50);
    EXPECT_EQ(node->GetAccessMode(), NA); // not due yet: the cached mode stands
    map->Poll(50);
    EXPECT_EQ(node->GetAccessMode(), RO);
    EXPECT_EQ(dynamic_cast<IInteger*>(node)->GetValue(), 42);
    EXPECT_EQ(calls, afterFirst + 1);
    EXPECT_TRUE(node->DeregisterCallback(handle));
    counter->Destroy();
}

// A register length computed at run time is checked before Aravis allocates
// it: a clear error, not an aborted process.
TEST_F(FidelityTest, ComputedRegisterLengthsOutsideTheLimitFailCleanly) {
    auto* text = Get<IString>("NegativeText");
    EXPECT_EQ(CodeOf([&] { text->GetValue(); }), ORVANE_ERR_GENICAM_PROPERTY);
    EXPECT_EQ(MessageOf([&] { text->SetValue("x"); }), "NegativeText: the register length -8 is outside 0..67108864");
    auto* blob = Get<IRegister>("HugeBlob");
    EXPECT_EQ(CodeOf([&] { blob->GetLength(); }), ORVANE_ERR_GENICAM_PROPERTY);
    uint8_t byte = 0;
    EXPECT_EQ(MessageOf([&] { blob->Get(&byte, 1); }),
              "HugeBlob: the register length 1000000000000 is outside 0..67108864");
}

} // namespace
