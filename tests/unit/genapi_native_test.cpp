// Native node maps: GenApi semantics of the typed node bases (access checks,
// verification, text conversion).
#include "NativeMapFixture.h"

namespace {

TEST_F(Fixture, LookupByNameAndEntryNames) {
    EXPECT_EQ(map.GetNode("Width")->GetPrincipalInterfaceType(), intfIInteger);
    EXPECT_EQ(map.GetNode("Nope"), nullptr);
    INode* entry = map.GetNode("EnumEntry_Mode_SingleFrame");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(CEnumEntryPtr(entry)->GetValue(), 20);
    EXPECT_EQ(CEnumEntryPtr(entry)->GetSymbolic(), "SingleFrame");
    EXPECT_EQ(map.GetNumNodes(), 10u);
}

TEST_F(Fixture, IntegerVerificationLeavesValueUnchanged) {
    CIntegerPtr w(map.GetNode("Width"));
    w->SetValue(1024);
    EXPECT_EQ(width, 1024);
    try {
        w->SetValue(5000);
        FAIL();
    } catch (const Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
        EXPECT_STREQ(e.GetErrorMessage(), "Width: value 5000 is greater than the maximum 4096");
    }
    try {
        w->SetValue(1025);
        FAIL();
    } catch (const Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
        EXPECT_STREQ(e.GetErrorMessage(), "Width: value 1025 does not match the increment 16 from the minimum 16");
    }
    EXPECT_EQ(width, 1024);
    w->SetValue(1025, false); // no verification
    EXPECT_EQ(width, 1025);
}

TEST_F(Fixture, AccessModeIsCheckedAndImposed) {
    CIntegerPtr w(map.GetNode("Width"));
    locked = true;
    EXPECT_EQ(w->GetAccessMode(), RO);
    try {
        w->SetValue(32);
        FAIL();
    } catch (const Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_GENICAM_ACCESS);
        EXPECT_STREQ(e.GetErrorMessage(), "Width: the node is not writable (access mode RO)");
    }
    locked = false;
    map.GetNode("Width")->ImposeAccessMode(RO);
    EXPECT_EQ(w->GetAccessMode(), RO);
    map.GetNode("Width")->ImposeAccessMode(WO);
    EXPECT_EQ(w->GetAccessMode(), WO);
    EXPECT_THROW(w->GetValue(), Exception);
    EXPECT_EQ(CombineAccess(RO, WO), NA);
    EXPECT_EQ(CombineAccess(RW, NI), NI);
}

TEST_F(Fixture, TextRoundTripForEveryKind) {
    for (const char* n : {"Width", "ExposureTime", "UserName", "Flag", "Mode"}) {
        CValuePtr v(map.GetNode(n));
        const GenICam::gcstring text = v->ToString();
        v->FromString(text);
        EXPECT_EQ(v->ToString(), text) << n;
    }
    CValuePtr(map.GetNode("ExposureTime"))->FromString("12345.678");
    EXPECT_EQ(exposure, 12345.678);
    // No display notation or precision: automatic with 6 significant digits.
    EXPECT_EQ(CValuePtr(map.GetNode("ExposureTime"))->ToString(), "12345.7");
    CValuePtr(map.GetNode("Mode"))->FromString("SingleFrame");
    EXPECT_EQ(mode, 20);
    EXPECT_EQ(CValuePtr(map.GetNode("Address"))->ToString(), "127.0.0.1");
    CValuePtr(map.GetNode("Flag"))->FromString("true");
    EXPECT_TRUE(flag);
    EXPECT_THROW(CValuePtr(map.GetNode("Width"))->FromString("12x"), Exception);
}

TEST_F(Fixture, StringLengthIsVerified) {
    CStringPtr s(map.GetNode("UserName"));
    EXPECT_EQ(s->GetMaxLength(), 8);
    try {
        s->SetValue("much too long");
        FAIL();
    } catch (const Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    }
    EXPECT_EQ(name, "cam");
}

TEST_F(Fixture, EnumerationEntriesAndCurrentEntry) {
    CEnumerationPtr e(map.GetNode("Mode"));
    NodeList_t entries;
    e->GetEntries(entries);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0]->GetName(), "EnumEntry_Mode_Continuous");
    EXPECT_EQ(e->GetCurrentEntry()->GetSymbolic(), "Continuous");
    EXPECT_THROW(e->SetIntValue(15), Exception);
    mode = 99;
    try {
        e->GetCurrentEntry();
        FAIL();
    } catch (const Exception& ex) {
        EXPECT_EQ(ex.GetError(), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    }
    EXPECT_THROW(entries.at(2), Exception);
}

TEST_F(Fixture, CategoryListsExistingFeatures) {
    CCategoryPtr c(map.GetNode("Root"));
    FeatureList_t f;
    c->GetFeatures(f);
    ASSERT_EQ(f.size(), 3u);
    EXPECT_EQ(f[2]->GetNode()->GetName(), "Mode");
}

TEST_F(Fixture, CheckedPointerThrowsLogicalError) {
    CFloatPtr p(map.GetNode("Width"));
    EXPECT_FALSE(p.IsValid());
    try {
        p->GetValue();
        FAIL();
    } catch (const Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_GENICAM_LOGICAL_ERROR);
        EXPECT_STREQ(e.GetErrorMessage(), "LogicalErrorException NULL pointer dereferenced");
        EXPECT_STREQ(e.GetFileName(), "../../include/OrvGenApi/Pointer");
        EXPECT_EQ(e.GetLineNumber(), 160);
        EXPECT_STREQ(e.GetFunctionName(), "operator->");
    }
}

} // namespace
