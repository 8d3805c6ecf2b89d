// Device node map semantics over Aravis's ArvGc: an in-process fake device
// running a small description made for these tests (data/node-semantics.xml).
#include <gtest/gtest.h>

#include <arv.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "Orvane/BasePtr.h"
#include "Orvane/GenApi/GenApi.h"
#include "RaisePosition.h"
#include "SdkError.h"
#include "genapi/ArvNodeMap.h"

using namespace Orvane;
using namespace Orvane::GenApi;
using Orvane::GenApi::impl::ArvNodeMap;

namespace {

class ArvNodeMapTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        arv_set_fake_camera_genicam_filename(ORVANE_SOURCE_DIR "/tests/genapi-arv/data/node-semantics.xml");
    }

    void SetUp() override {
        GError* error = nullptr;
        device = arv_fake_device_new("NS0001", &error);
        ASSERT_NE(device, nullptr) << (error ? error->message : "");
        map = std::make_unique<ArvNodeMap>(device, "Device");
    }

    void TearDown() override {
        map.reset();
        g_object_unref(device);
    }

    INode* Node(const char* name) {
        INode* n = map->GetNode(name);
        EXPECT_NE(n, nullptr) << name;
        return n;
    }

    // Writes device memory behind the node map's back.
    void Poke(uint32_t address, uint32_t value) {
        const uint32_t be = GUINT32_TO_BE(value);
        ASSERT_TRUE(
            arv_fake_camera_write_memory(arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(device)), address, 4, &be));
    }

    ArvDevice* device = nullptr;
    std::unique_ptr<ArvNodeMap> map;
};

using orvtest::CodeOf;
using orvtest::MessageOf;

std::vector<std::string> Names(const NodeList_t& nodes) {
    std::vector<std::string> out;
    for (INode* n : nodes) out.push_back(n->GetName().str());
    return out;
}

TEST_F(ArvNodeMapTest, EveryFeatureNodeOfTheDocumentIsANodeOfItsKind) {
    EXPECT_EQ(Node("Width")->GetPrincipalInterfaceType(), intfIInteger);
    EXPECT_EQ(Node("WidthReg")->GetPrincipalInterfaceType(), intfIInteger);
    EXPECT_EQ(Node("PayloadSize")->GetPrincipalInterfaceType(), intfIInteger);
    EXPECT_EQ(Node("Exposure")->GetPrincipalInterfaceType(), intfIFloat);
    EXPECT_EQ(Node("ExposureReg")->GetPrincipalInterfaceType(), intfIFloat);
    EXPECT_EQ(Node("Label")->GetPrincipalInterfaceType(), intfIString);
    EXPECT_EQ(Node("Flag")->GetPrincipalInterfaceType(), intfIBoolean);
    EXPECT_EQ(Node("Start")->GetPrincipalInterfaceType(), intfICommand);
    EXPECT_EQ(Node("PixelFormat")->GetPrincipalInterfaceType(), intfIEnumeration);
    EXPECT_EQ(Node("EnumEntry_PixelFormat_Mono8")->GetPrincipalInterfaceType(), intfIEnumEntry);
    EXPECT_EQ(Node("Root")->GetPrincipalInterfaceType(), intfICategory);
    EXPECT_EQ(Node("Blob")->GetPrincipalInterfaceType(), intfIRegister);
    EXPECT_EQ(Node("Device")->GetPrincipalInterfaceType(), intfIPort);
    // Entries are found by their node names only.
    EXPECT_EQ(map->GetNode("Mono8"), nullptr);
    EXPECT_EQ(map->GetNode("NoSuchFeature"), nullptr);
    // Features are what Root reaches.
    EXPECT_TRUE(Node("Width")->IsFeature());
    EXPECT_FALSE(Node("WidthReg")->IsFeature());
    // Aravis's own nodes are hidden.
    EXPECT_EQ(map->GetNode("ArvGevSCPSPacketSize"), nullptr);
    NodeList_t nodes;
    map->GetNodes(nodes);
    EXPECT_EQ(nodes.size(), map->GetNumNodes());
    for (INode* n : nodes) EXPECT_NE(n->GetName().str().rfind("Arv", 0), 0u) << n->GetName();
}

TEST_F(ArvNodeMapTest, DescriptiveDataComesFromTheDocument) {
    INode* width = Node("Width");
    EXPECT_EQ(width->GetToolTip(), "Width of the image.");
    EXPECT_EQ(width->GetDescription(), "Width of the image in pixels.");
    EXPECT_EQ(width->GetDisplayName(), "Image Width");
    EXPECT_EQ(width->GetNameSpace(), Standard);
    EXPECT_EQ(Node("Mode")->GetNameSpace(), Custom);
    EXPECT_EQ(Node("Mode")->GetDisplayName(), "Mode");
    EXPECT_EQ(Node("Label")->GetVisibility(), Expert);
    EXPECT_EQ(width->GetVisibility(), Beginner);
    EXPECT_EQ(CIntegerPtr(width)->GetUnit(), "px");
    EXPECT_EQ(CFloatPtr(Node("Exposure"))->GetUnit(), "us");
    EXPECT_TRUE(Node("Old")->IsDeprecated());
    EXPECT_EQ(Node("Old")->GetDocuURL(), "https://example.invalid/old");
    EXPECT_FALSE(width->IsDeprecated());
    EXPECT_EQ(width->GetCachingMode(), WriteThrough);
    EXPECT_EQ(Node("VolatileReg")->GetCachingMode(), NoCache);
    EXPECT_EQ(Node("Volatile")->GetCachingMode(), NoCache); // inherited from what it reads
    EXPECT_EQ(Node("PolledReg")->GetPollingTime(), 100);
    EXPECT_EQ(width->GetPollingTime(), -1);
    EXPECT_EQ(map->GetDeviceName(), "Device");
}

TEST_F(ArvNodeMapTest, IntegerRangeAndIncrementViolationsLeaveTheValue) {
    CIntegerPtr width(Node("Width"));
    width->SetValue(640);
    EXPECT_EQ(width->GetValue(), 640);
    EXPECT_EQ(width->GetMin(), 16);
    EXPECT_EQ(width->GetMax(), 4096);
    EXPECT_EQ(width->GetInc(), 16);
    EXPECT_EQ(CodeOf([&] { width->SetValue(4112); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(MessageOf([&] { width->SetValue(4112); }), "Width: value 4112 is greater than the maximum 4096");
    EXPECT_EQ(CodeOf([&] { width->SetValue(0); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(MessageOf([&] { width->SetValue(650); }),
              "Width: value 650 does not match the increment 16 from the minimum 16");
    EXPECT_EQ(width->GetValue(false, true), 640);
    width->SetValue(650, false); // unverified writes reach the device
    EXPECT_EQ(width->GetValue(false, true), 650);
    EXPECT_EQ(width->GetValue(true), 650); // reads verify the range only
    width->SetValue(5000, false);
    EXPECT_EQ(CodeOf([&] { width->GetValue(true); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
}

TEST_F(ArvNodeMapTest, AccessModesFollowImplementedAvailableLockedAndImposed) {
    EXPECT_EQ(Node("NotImplemented")->GetAccessMode(), NI);
    EXPECT_EQ(Node("NotAvailable")->GetAccessMode(), NA);
    EXPECT_EQ(CodeOf([&] { CIntegerPtr(Node("NotAvailable"))->GetValue(); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(CodeOf([&] { CIntegerPtr(Node("NotImplemented"))->SetValue(1); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(Node("Volatile")->GetAccessMode(), RO);
    EXPECT_EQ(Node("WriteOnly")->GetAccessMode(), WO);
    EXPECT_EQ(Node("Trigger")->GetAccessMode(), WO);
    EXPECT_EQ(Node("Root")->GetAccessMode(), RO);
    EXPECT_EQ(CodeOf([&] { CIntegerPtr(Node("WriteOnly"))->GetValue(); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(MessageOf([&] { CIntegerPtr(Node("Volatile"))->SetValue(1); }),
              "Volatile: the node is not writable (access mode RO)");

    CIntegerPtr lockable(Node("Lockable"));
    CIntegerPtr lock(Node("LockFlag"));
    lockable->SetValue(5);
    EXPECT_EQ(lockable->GetAccessMode(), RW);
    lock->SetValue(1); // the cached access mode must follow
    EXPECT_EQ(lockable->GetAccessMode(), RO);
    EXPECT_EQ(CodeOf([&] { lockable->SetValue(6); }), ORVANE_ERR_GENICAM_ACCESS);
    EXPECT_EQ(lockable->GetValue(false, true), 5);
    lock->SetValue(0);
    EXPECT_EQ(lockable->GetAccessMode(), RW);
    lockable->SetValue(6);
    EXPECT_EQ(lockable->GetValue(), 6);

    Node("Width")->ImposeAccessMode(RO);
    EXPECT_EQ(Node("Width")->GetAccessMode(), RO);
    EXPECT_EQ(CodeOf([&] { CIntegerPtr(Node("Width"))->SetValue(32); }), ORVANE_ERR_GENICAM_ACCESS);
}

TEST_F(ArvNodeMapTest, EnumerationEntriesInDocumentOrderWithTheirValues) {
    CEnumerationPtr pf(Node("PixelFormat"));
    NodeList_t entries;
    pf->GetEntries(entries);
    EXPECT_EQ(Names(entries),
              (std::vector<std::string>{"EnumEntry_PixelFormat_Mono8", "EnumEntry_PixelFormat_Mono16",
                                        "EnumEntry_PixelFormat_RGB8", "EnumEntry_PixelFormat_BayerRG8"}));
    EXPECT_EQ(CEnumEntryPtr(entries[0])->GetValue(), 17301505);
    EXPECT_EQ(CEnumEntryPtr(entries[2])->GetSymbolic(), "RGB8");
    EXPECT_EQ(entries[3]->GetAccessMode(), NA);
    EXPECT_EQ(entries[0]->GetAccessMode(), RO);
    StringList_t symbolics;
    pf->GetSymbolics(symbolics);
    ASSERT_EQ(symbolics.size(), 3u);
    EXPECT_EQ(symbolics[2], "RGB8");
    EXPECT_EQ(CodeOf([&] { pf->SetIntValue(17301513); }), ORVANE_ERR_GENICAM_ACCESS);
    pf->FromString("RGB8");
    EXPECT_EQ(pf->GetIntValue(), 35127316);
    EXPECT_EQ(pf->ToString(), "RGB8");
    EXPECT_EQ(pf->GetCurrentEntry()->GetSymbolic(), "RGB8");
    EXPECT_EQ(CodeOf([&] { pf->FromString("Mono12"); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
    EXPECT_EQ(pf->GetIntValue(), 35127316);

    CEnumerationPtr mode(Node("Mode"));
    EXPECT_EQ(mode->GetEntryByName("On")->GetValue(), 9);
    EXPECT_EQ(mode->GetEntry(5)->GetSymbolic(), "Off");
    mode->SetIntValue(9);
    EXPECT_EQ(CodeOf([&] { mode->SetIntValue(7); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(mode->ToString(), "On");
}

TEST_F(ArvNodeMapTest, SelectorsSelectAndIndexTheirFeatures) {
    INode* selector = Node("GainSelector");
    EXPECT_TRUE(selector->IsSelector());
    EXPECT_FALSE(Node("Gain")->IsSelector());
    value_vector selected;
    selector->GetSelectedFeatures(selected);
    ASSERT_EQ(selected.size(), 1u);
    EXPECT_EQ(selected[0]->GetNode()->GetName(), "Gain");
    value_vector selecting;
    Node("Gain")->GetSelectingFeatures(selecting);
    ASSERT_EQ(selecting.size(), 1u);
    EXPECT_EQ(selecting[0]->GetNode()->GetName(), "GainSelector");

    CEnumerationPtr sel(selector);
    CIntegerPtr gain(Node("Gain"));
    sel->FromString("Red");
    gain->SetValue(10);
    sel->FromString("Blue");
    gain->SetValue(20);
    sel->FromString("Red");
    EXPECT_EQ(gain->GetValue(), 10); // the cached value of the other index is not served
    sel->FromString("Blue");
    EXPECT_EQ(gain->GetValue(), 20);
}

TEST_F(ArvNodeMapTest, RegistersRoundTrip) {
    CRegisterPtr blob(Node("Blob"));
    EXPECT_EQ(blob->GetAddress(), 0x1200);
    EXPECT_EQ(blob->GetLength(), 8);
    const uint8_t out[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    blob->Set(out, 8);
    uint8_t in[8] = {0};
    blob->Get(in, 8);
    EXPECT_EQ(std::memcmp(in, out, 8), 0);
    EXPECT_EQ(blob->ToString(), "0x0102030405060708");
    uint8_t head[3] = {0};
    blob->Get(head, 3); // a shorter read without verification gives the first bytes
    EXPECT_EQ(head[2], 3);
    EXPECT_EQ(CodeOf([&] { blob->Set(out, 4); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
    EXPECT_EQ(CodeOf([&] { blob->Get(in, 9); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
    int dummy = 0;
    EXPECT_EQ(CodeOf([&] { CReferencePtr(Node("Blob"))->SetReference(reinterpret_cast<IBase*>(&dummy)); }),
              ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
}

TEST_F(ArvNodeMapTest, CommandIsDoneReadsItsRegister) {
    CCommandPtr trigger(Node("Trigger"));
    trigger->Execute();
    EXPECT_TRUE(trigger->IsDone()); // a write-only register cannot report progress

    CCommandPtr start(Node("Start"));
    CIntegerPtr reg(Node("StartReg"));
    EXPECT_TRUE(start->IsDone());
    start->Execute();
    EXPECT_EQ(reg->GetValue(false, true), 1);
    EXPECT_FALSE(start->IsDone());
    EXPECT_EQ(start->ToString(), "0");
    Poke(0x1050, 0); // the device finishes
    EXPECT_TRUE(start->IsDone());
    EXPECT_EQ(start->ToString(), "1");
    start->FromString("1");
    EXPECT_FALSE(start->IsDone());
    EXPECT_EQ(Node("NotAvailable")->GetAccessMode(), NA);
}

TEST_F(ArvNodeMapTest, ToStringFromStringRoundTripsEveryKind) {
    auto roundTrip = [&](const char* name, const char* text) {
        CValuePtr v(Node(name));
        v->FromString(text);
        EXPECT_EQ(v->ToString(), text) << name;
    };
    roundTrip("Width", "1024");
    roundTrip("Height", "768");
    roundTrip("Exposure", "123.5");
    roundTrip("Label", "camera one");
    roundTrip("Flag", "true");
    roundTrip("Flag", "false");
    roundTrip("PixelFormat", "Mono16");
    roundTrip("Mode", "Off");
    roundTrip("Blob", "0xa1b2c3d4e5f60718");
    EXPECT_EQ(CValuePtr(Node("PayloadSize"))->ToString(), "786432");
    EXPECT_EQ(CValuePtr(Node("EnumEntry_Mode_On"))->ToString(), "On");
    EXPECT_EQ(CodeOf([&] { CValuePtr(Node("Width"))->FromString("wide"); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
    EXPECT_EQ(CodeOf([&] { CValuePtr(Node("Label"))->FromString("a text longer than sixteen bytes"); }),
              ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(CValuePtr(Node("Label"))->ToString(), "camera one");
}

TEST_F(ArvNodeMapTest, CallbacksFireOnceForTheWrittenNodeAndItsDependentsOutsideTheLock) {
    CIntegerPtr(Node("Height"))->SetValue(10);
    std::atomic<int> payload{0}, width{0}, invalidated{0}, strided{0}, gain{0};
    std::atomic<bool> lockFree{false};
    int64_t payloadSeen = 0;
    auto reg = [&](const char* name, std::function<void(INode*)> f) {
        INode* n = Node(name);
        auto* cb = new FunctionNodeCallback(n, std::move(f));
        return std::make_pair(n, std::make_pair(n->RegisterCallback(cb), cb));
    };
    std::vector<std::pair<INode*, std::pair<CallbackHandleType, FunctionNodeCallback*>>> regs;
    regs.push_back(reg("PayloadSize", [&](INode* n) {
        ++payload;
        payloadSeen = CIntegerPtr(n)->GetValue();
        // Outside the lock: another thread can take it now.
        lockFree = std::async(std::launch::async, [&] {
                       const bool got = map->TryLock();
                       if (got) map->Unlock();
                       return got;
                   }).get();
    }));
    regs.push_back(reg("Width", [&](INode*) { ++width; }));
    regs.push_back(reg("Invalidated", [&](INode*) { ++invalidated; }));
    regs.push_back(reg("Strided", [&](INode*) { ++strided; }));
    regs.push_back(reg("Gain", [&](INode*) { ++gain; }));

    CIntegerPtr(Node("Width"))->SetValue(320);
    EXPECT_EQ(width.load(), 1);
    EXPECT_EQ(payload.load(), 1);
    EXPECT_EQ(payloadSeen, 3200);
    EXPECT_TRUE(lockFree.load());
    EXPECT_EQ(invalidated.load(), 0);

    CIntegerPtr(Node("WidthReg"))->SetValue(336); // the register a feature reads
    EXPECT_EQ(width.load(), 2);
    EXPECT_EQ(payload.load(), 2);
    EXPECT_EQ(payloadSeen, 3360);

    CIntegerPtr(Node("Height"))->SetValue(11); // pInvalidator
    EXPECT_EQ(invalidated.load(), 1);
    EXPECT_EQ(payload.load(), 3);

    CIntegerPtr(Node("Stride"))->SetValue(8); // pOffset, known from the document only
    EXPECT_EQ(strided.load(), 1);

    CEnumerationPtr(Node("GainSelector"))->FromString("Blue"); // pSelected
    EXPECT_EQ(gain.load(), 1);
    EXPECT_EQ(payload.load(), 3);

    Node("Width")->InvalidateNode();
    EXPECT_EQ(width.load(), 3);

    for (auto& r : regs) {
        EXPECT_TRUE(r.first->DeregisterCallback(r.second.first));
        r.second.second->Destroy();
    }
    CIntegerPtr(Node("Width"))->SetValue(352);
    EXPECT_EQ(width.load(), 3);
}

TEST_F(ArvNodeMapTest, ValueCachesFollowTheCachingModeAndInvalidation) {
    CIntegerPtr width(Node("Width"));
    width->SetValue(640);
    EXPECT_EQ(width->GetValue(), 640);
    EXPECT_TRUE(width->IsValueCacheValid());
    Poke(0x1000, 800); // behind the map's back
    EXPECT_EQ(width->GetValue(), 640);
    EXPECT_EQ(width->GetValue(false, true), 800);
    Poke(0x1000, 816);
    width->GetNode()->InvalidateNode();
    EXPECT_EQ(width->GetValue(), 816);
    Poke(0x1000, 832);
    map->InvalidateNodes();
    EXPECT_EQ(width->GetValue(), 832);

    CIntegerPtr vol(Node("Volatile"));
    Poke(0x1080, 1);
    EXPECT_EQ(vol->GetValue(), 1);
    Poke(0x1080, 2);
    EXPECT_EQ(vol->GetValue(), 2); // NoCache: read every time
    EXPECT_FALSE(vol->IsValueCacheValid());

    CIntegerPtr polled(Node("Polled"));
    std::atomic<int> fired{0};
    auto* cb = new FunctionNodeCallback(polled->GetNode(), [&](INode*) { ++fired; });
    const CallbackHandleType h = polled->GetNode()->RegisterCallback(cb);
    Poke(0x1090, 5);
    EXPECT_EQ(polled->GetValue(), 5);
    Poke(0x1090, 6);
    map->Poll(50);
    EXPECT_EQ(fired.load(), 0);
    EXPECT_EQ(polled->GetValue(), 5);
    map->Poll(60);
    EXPECT_GE(fired.load(), 1);
    EXPECT_EQ(polled->GetValue(), 6);
    polled->GetNode()->DeregisterCallback(h);
    cb->Destroy();
}

TEST_F(ArvNodeMapTest, PollNotifiesOnlyWhenThePolledRegisterChanged) {
    CIntegerPtr polled(Node("Polled"));
    Poke(0x1090, 5);
    std::atomic<int> fired{0}, firedReg{0};
    auto* cb = new FunctionNodeCallback(polled->GetNode(), [&](INode*) { ++fired; });
    auto* cbReg = new FunctionNodeCallback(Node("PolledReg"), [&](INode*) { ++firedReg; });
    const CallbackHandleType h = polled->GetNode()->RegisterCallback(cb);
    const CallbackHandleType hReg = Node("PolledReg")->RegisterCallback(cbReg);
    map->Poll(100); // the first poll: nothing seen before
    EXPECT_EQ(fired.load(), 1);
    EXPECT_EQ(firedReg.load(), 1);
    map->Poll(100); // unchanged
    map->Poll(250);
    EXPECT_EQ(fired.load(), 1);
    EXPECT_EQ(firedReg.load(), 1);
    EXPECT_EQ(polled->GetValue(), 5);
    Poke(0x1090, 7);
    map->Poll(40); // not due
    EXPECT_EQ(fired.load(), 1);
    map->Poll(60);
    EXPECT_EQ(fired.load(), 2);
    EXPECT_EQ(firedReg.load(), 2);
    EXPECT_EQ(polled->GetValue(), 7);
    map->Poll(100);
    EXPECT_EQ(fired.load(), 2);
    Node("PolledReg")->DeregisterCallback(hReg);
    polled->GetNode()->DeregisterCallback(h);
    cbReg->Destroy();
    cb->Destroy();
}

TEST_F(ArvNodeMapTest, PortWritesReachFeaturesAndDropCaches) {
    CIntegerPtr width(Node("Width"));
    width->SetValue(640);
    EXPECT_EQ(width->GetValue(), 640);
    CPortPtr port(Node("Device"));
    const uint8_t be[4] = {0, 0, 0x04, 0x00};
    port->Write(be, 0x1000, 4);
    EXPECT_EQ(width->GetValue(), 1024);
    uint8_t back[4] = {0};
    port->Read(back, 0x1000, 4);
    EXPECT_EQ(std::memcmp(back, be, 4), 0);
    EXPECT_EQ(CodeOf([&] { port->Read(nullptr, 0x1000, 4); }), ORVANE_ERR_GENICAM_INVALID_ARGUMENT);
}

TEST_F(ArvNodeMapTest, FloatLimitsAndVerification) {
    CFloatPtr exposure(Node("Exposure"));
    EXPECT_DOUBLE_EQ(exposure->GetMin(), 10.0);
    EXPECT_DOUBLE_EQ(exposure->GetMax(), 1000000.0);
    EXPECT_FALSE(exposure->HasInc());
    exposure->SetValue(2500.25);
    EXPECT_DOUBLE_EQ(exposure->GetValue(), 2500.25);
    EXPECT_EQ(CodeOf([&] { exposure->SetValue(5.0); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_DOUBLE_EQ(exposure->GetValue(false, true), 2500.25);
}

} // namespace

namespace {

// Every failure of a node names the statement that raised it: file, line and
// function of one and the same statement.
TEST_F(ArvNodeMapTest, ErrorsNameTheStatementThatRaisedThem) {
    std::vector<std::function<void()>> failures = {
        [&] { dynamic_cast<IInteger*>(Node("Width"))->SetValue(-5); },
        [&] { dynamic_cast<IInteger*>(Node("Width"))->FromString("wide"); },
        [&] { dynamic_cast<IInteger*>(Node("PayloadSize"))->SetValue(5); },
        [&] { dynamic_cast<IInteger*>(Node("NotAvailable"))->GetValue(); },
        [&] { dynamic_cast<IInteger*>(Node("WriteOnly"))->GetValue(); },
        [&] { dynamic_cast<IFloat*>(Node("Exposure"))->SetValue(-1e300); },
        [&] { dynamic_cast<IFloat*>(Node("Exposure"))->FromString("x"); },
        [&] { dynamic_cast<IBoolean*>(Node("Flag"))->FromString("maybe"); },
        [&] { dynamic_cast<IEnumeration*>(Node("PixelFormat"))->FromString("Nope"); },
        [&] { dynamic_cast<IEnumeration*>(Node("PixelFormat"))->SetIntValue(987654); },
        [&] { dynamic_cast<IRegister*>(Node("Blob"))->Get(nullptr, 4); },
        [&] { dynamic_cast<IRegister*>(Node("Blob"))->FromString("0xZZ"); },
        [&] { dynamic_cast<ICategory*>(Node("Root"))->FromString("1"); },
        [&] { dynamic_cast<IPort*>(Node("Device"))->Read(nullptr, 0, 4); },
        [] { Orvane::BasePtr<std::string>()->size(); },
    };
    for (size_t i = 0; i < failures.size(); ++i) {
        SCOPED_TRACE("failure " + std::to_string(i));
        try {
            failures[i]();
            ADD_FAILURE() << "no exception";
        } catch (const Orvane::Exception& e) {
            EXPECT_TRUE(orvtest::RaisedAtItsStatement(e));
        }
    }
}

} // namespace
