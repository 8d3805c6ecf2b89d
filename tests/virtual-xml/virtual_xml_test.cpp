// The virtual camera's generated GenICam XML and register map, checked through
// Aravis's own parser and node map on an in-process fake device.
#include <arv.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Orvane/Exception.h"
#include "virtual/VirtualCameraIdentity.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualCameraSetup.h"
#include "virtual/VirtualCameraXml.h"

using namespace Orvane::internal;

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string ErrorText(GError* e) { return e != nullptr ? e->message : ""; }

// One fake device running the generated XML, with the initial values applied as
// the SDK's runtime applies them.
struct VirtualXml : ::testing::Test {
    ArvDevice* dev = nullptr;
    ArvGc* gc = nullptr;

    static void UseGeneratedXml() {
        // Global and not thread-safe in Aravis: set once per process, before any device.
        static const bool done = [] {
            arv_set_fake_camera_genicam_filename(VirtualCameraXmlPath().c_str());
            return true;
        }();
        (void)done;
    }

    void SetUp() override {
        UseGeneratedXml();
        GError* e = nullptr;
        // A serial the fake did not get: InitializeVirtualCamera writes the camera's own.
        dev = arv_fake_device_new("X", &e);
        ASSERT_NE(dev, nullptr) << ErrorText(e);
        gc = arv_device_get_genicam(dev);
        ASSERT_NE(gc, nullptr);
        InitializeVirtualCamera(dev, 0);
    }
    void TearDown() override {
        if (dev != nullptr) g_object_unref(dev);
    }

    ArvGcFeatureNode* Node(const char* name) {
        ArvGcNode* n = arv_gc_get_node(gc, name);
        EXPECT_NE(n, nullptr) << name;
        return n != nullptr ? ARV_GC_FEATURE_NODE(n) : nullptr;
    }
    int64_t Int(const char* name) {
        GError* e = nullptr;
        const int64_t v = arv_device_get_integer_feature_value(dev, name, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
        return v;
    }
    void SetInt(const char* name, int64_t v) {
        GError* e = nullptr;
        arv_device_set_integer_feature_value(dev, name, v, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
    }
    double Float(const char* name) {
        GError* e = nullptr;
        const double v = arv_device_get_float_feature_value(dev, name, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
        return v;
    }
    void SetFloat(const char* name, double v) {
        GError* e = nullptr;
        arv_device_set_float_feature_value(dev, name, v, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
    }
    std::string Str(const char* name) {
        GError* e = nullptr;
        const char* v = arv_device_get_string_feature_value(dev, name, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
        return v != nullptr ? v : "";
    }
    void SetStr(const char* name, const char* v) {
        GError* e = nullptr;
        arv_device_set_string_feature_value(dev, name, v, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
    }
    bool Bool(const char* name) {
        GError* e = nullptr;
        const bool v = arv_device_get_boolean_feature_value(dev, name, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
        return v;
    }
    void SetBool(const char* name, bool v) {
        GError* e = nullptr;
        arv_device_set_boolean_feature_value(dev, name, v, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
    }
    void Execute(const char* name) {
        GError* e = nullptr;
        arv_device_execute_command(dev, name, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
    }
    uint32_t Reg32(uint32_t address) {
        uint32_t v = 0;
        GError* e = nullptr;
        EXPECT_TRUE(arv_device_read_register(dev, address, &v, &e)) << ErrorText(e);
        g_clear_error(&e);
        return v;
    }
    std::vector<uint8_t> Memory(uint32_t address, uint32_t length) {
        std::vector<uint8_t> b(length);
        GError* e = nullptr;
        EXPECT_TRUE(arv_device_read_memory(dev, address, length, b.data(), &e)) << ErrorText(e);
        g_clear_error(&e);
        return b;
    }
    uint64_t MemoryBE(uint32_t address, uint32_t length) {
        uint64_t v = 0;
        for (uint8_t b : Memory(address, length)) v = (v << 8) | b;
        return v;
    }
    bool Locked(const char* name) {
        GError* e = nullptr;
        const bool v = arv_gc_feature_node_is_locked(Node(name), &e);
        EXPECT_EQ(e, nullptr) << ErrorText(e);
        g_clear_error(&e);
        return v;
    }
    bool Available(const char* name) {
        GError* e = nullptr;
        const bool v = arv_gc_feature_node_is_available(Node(name), &e);
        EXPECT_EQ(e, nullptr) << ErrorText(e);
        g_clear_error(&e);
        return v;
    }
    bool Implemented(const char* name) {
        GError* e = nullptr;
        const bool v = arv_gc_feature_node_is_implemented(Node(name), &e);
        EXPECT_EQ(e, nullptr) << ErrorText(e);
        g_clear_error(&e);
        return v;
    }
    // (name, value) of an enumeration's entries in XML order.
    std::vector<std::pair<std::string, int64_t>> Entries(const char* name) {
        std::vector<std::pair<std::string, int64_t>> out;
        ArvGcNode* n = arv_gc_get_node(gc, name);
        if (n == nullptr || !ARV_IS_GC_ENUMERATION(n)) return out;
        for (const GSList* l = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(n)); l != nullptr; l = l->next) {
            GError* e = nullptr;
            const int64_t v = arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(l->data), &e);
            EXPECT_EQ(e, nullptr);
            g_clear_error(&e);
            out.emplace_back(arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(l->data)), v);
        }
        // Aravis keeps the entries in reverse XML order.
        return std::vector<std::pair<std::string, int64_t>>(out.rbegin(), out.rend());
    }
    // The register node under a feature's pValue (or the feature itself).
    ArvGcNode* PropertyTarget(ArvGcNode* node, ArvGcPropertyNodeType type) {
        for (ArvDomNode* c = arv_dom_node_get_first_child(ARV_DOM_NODE(node)); c != nullptr;
             c = arv_dom_node_get_next_sibling(c)) {
            if (ARV_IS_GC_PROPERTY_NODE(c) && arv_gc_property_node_get_node_type(ARV_GC_PROPERTY_NODE(c)) == type)
                return arv_gc_property_node_get_linked_node(ARV_GC_PROPERTY_NODE(c));
        }
        return nullptr;
    }
    std::string PropertyText(ArvGcNode* node, ArvGcPropertyNodeType type) {
        for (ArvDomNode* c = arv_dom_node_get_first_child(ARV_DOM_NODE(node)); c != nullptr;
             c = arv_dom_node_get_next_sibling(c)) {
            if (ARV_IS_GC_PROPERTY_NODE(c) && arv_gc_property_node_get_node_type(ARV_GC_PROPERTY_NODE(c)) == type) {
                const char* s = arv_gc_property_node_get_string(ARV_GC_PROPERTY_NODE(c), nullptr);
                return s != nullptr ? s : "";
            }
        }
        return "";
    }
    // Names of every node reachable from Root through categories.
    std::set<std::string> Reachable() {
        std::set<std::string> out;
        std::function<void(const std::string&)> walk = [&](const std::string& name) {
            if (!out.insert(name).second) return;
            ArvGcNode* n = arv_gc_get_node(gc, name.c_str());
            if (n == nullptr || !ARV_IS_GC_CATEGORY(n)) return;
            std::vector<std::string> children;
            for (const GSList* l = arv_gc_category_get_features(ARV_GC_CATEGORY(n)); l != nullptr; l = l->next)
                children.emplace_back(static_cast<const char*>(l->data));
            for (const auto& c : children) walk(c);
        };
        walk("Root");
        return out;
    }
    // Selector values of the named selector, as Aravis sees them.
    std::vector<int64_t> SelectorValues(const char* name) {
        std::vector<int64_t> v;
        ArvGcNode* n = arv_gc_get_node(gc, name);
        if (n != nullptr && ARV_IS_GC_ENUMERATION(n)) {
            for (auto& e : Entries(name)) v.push_back(e.second);
        } else if (n != nullptr && ARV_IS_GC_INTEGER(n)) {
            const int64_t lo = arv_gc_integer_get_min(ARV_GC_INTEGER(n), nullptr);
            const int64_t hi = arv_gc_integer_get_max(ARV_GC_INTEGER(n), nullptr);
            for (int64_t i = lo; i <= hi; ++i) v.push_back(i);
        }
        return v;
    }
};

const vcam::NamedRegister* FindRegister(const std::string& feature) {
    for (const auto& r : vcam::kRegisters)
        if (feature == r.feature) return &r;
    return nullptr;
}

// ---------------------------------------------------------------- the XML itself

TEST(VirtualXmlText, EmbeddedXmlEqualsTheBuildTreeFileAndTheMemoryFile) {
    size_t size = 0;
    const char* xml = VirtualCameraXml(&size);
    ASSERT_NE(xml, nullptr);
    EXPECT_EQ(std::strlen(xml), size);
    const std::string file = ReadFile(ORVANE_VIRTUAL_CAMERA_XML);
    EXPECT_EQ(std::string(xml, size), file);
    EXPECT_EQ(ReadFile(VirtualCameraXmlPath()), file);
    EXPECT_EQ(&VirtualCameraXmlPath(), &VirtualCameraXmlPath());
    EXPECT_EQ(file.rfind("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!-- Generated by", 0), 0u);
    EXPECT_NE(file.find("xmlns=\"http://www.genicam.org/GenApi/Version_1_1\""), std::string::npos);
    EXPECT_NE(file.find("SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\""), std::string::npos);
    EXPECT_EQ(file.substr(file.size() - 23), "</RegisterDescription>\n");
}

TEST(VirtualXmlText, ParsesAsAGenICamDocument) {
    size_t size = 0;
    const char* xml = VirtualCameraXml(&size);
    ArvGc* gc = arv_gc_new(nullptr, xml, size);
    ASSERT_NE(gc, nullptr);
    ArvDomElement* root = arv_dom_document_get_document_element(ARV_DOM_DOCUMENT(gc));
    ASSERT_NE(root, nullptr);
    EXPECT_STREQ(arv_dom_node_get_node_name(ARV_DOM_NODE(root)), "RegisterDescription");
    EXPECT_NE(arv_gc_get_node(gc, "Root"), nullptr);
    EXPECT_NE(arv_gc_get_node(gc, "Width"), nullptr);
    g_object_unref(gc);
}

// ---------------------------------------------------------------- walking the tree

TEST_F(VirtualXml, WalkFromRootReachesEveryFeatureAndReadsAllReadableOnes) {
    std::set<std::string> features, categories;
    int reads = 0, chunkReads = 0, eventReads = 0;
    std::function<void(const std::string&)> walk = [&](const std::string& name) {
        ArvGcNode* n = arv_gc_get_node(gc, name.c_str());
        ASSERT_NE(n, nullptr) << "dangling pFeature " << name;
        ArvGcFeatureNode* f = ARV_GC_FEATURE_NODE(n);
        EXPECT_NE(arv_gc_feature_node_get_tooltip(f), nullptr) << name;
        EXPECT_NE(arv_gc_feature_node_get_display_name(f), nullptr) << name;
        EXPECT_NE(arv_gc_feature_node_get_description(f), nullptr) << name;
        if (ARV_IS_GC_CATEGORY(n)) {
            EXPECT_TRUE(categories.insert(name).second) << "category reached twice: " << name;
            std::vector<std::string> children;
            for (const GSList* l = arv_gc_category_get_features(ARV_GC_CATEGORY(n)); l != nullptr; l = l->next)
                children.emplace_back(static_cast<const char*>(l->data));
            for (const auto& c : children) walk(c);
            return;
        }
        EXPECT_TRUE(features.insert(name).second) << "feature in two categories: " << name;
        GError* e = nullptr;
        arv_gc_feature_node_is_implemented(f, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
        arv_gc_feature_node_is_available(f, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
        arv_gc_feature_node_is_locked(f, &e);
        EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
        g_clear_error(&e);
        if (ARV_IS_GC_COMMAND(n) || arv_gc_feature_node_get_actual_access_mode(f) == ARV_GC_ACCESS_MODE_WO) return;
        const vcam::NamedRegister* reg = FindRegister(name);
        const bool chunk = reg != nullptr && reg->portId != 0 && name.rfind("Chunk", 0) == 0;
        const bool event = reg != nullptr && reg->portId != 0 && name.rfind("Event", 0) == 0;
        if (ARV_IS_GC_REGISTER(n) && !ARV_IS_GC_STRING(n)) {
            const guint64 length = arv_gc_register_get_length(ARV_GC_REGISTER(n), &e);
            EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
            g_clear_error(&e);
            ASSERT_GT(length, 0u);
            std::vector<uint8_t> buf(length);
            arv_gc_register_get(ARV_GC_REGISTER(n), buf.data(), length, &e);
        } else {
            arv_gc_feature_node_get_value_as_string(f, &e);
        }
        if (chunk) {
            // No buffer is attached: the chunk port says so, nothing else fails.
            ASSERT_NE(e, nullptr) << name;
            EXPECT_EQ(e->domain, ARV_CHUNK_PARSER_ERROR) << name << ": " << e->message;
            EXPECT_EQ(e->code, ARV_CHUNK_PARSER_ERROR_BUFFER_NOT_FOUND) << name << ": " << e->message;
            ++chunkReads;
        } else if (event) {
            ASSERT_NE(e, nullptr) << name;
            EXPECT_EQ(e->domain, ARV_GC_ERROR) << name << ": " << e->message;
            EXPECT_EQ(e->code, ARV_GC_ERROR_NO_EVENT_IMPLEMENTATION) << name << ": " << e->message;
            ++eventReads;
        } else {
            EXPECT_EQ(e, nullptr) << name << ": " << ErrorText(e);
            ++reads;
        }
        g_clear_error(&e);
    };
    walk("Root");
    EXPECT_EQ(features.size(), vcam::kFeatureCount);
    EXPECT_EQ(categories.size(), vcam::kCategoryCount);
    EXPECT_EQ(features.size(), 479u);
    EXPECT_EQ(categories.size(), 53u);
    EXPECT_GT(reads, 300);
    EXPECT_EQ(chunkReads, static_cast<int>(std::size(vcam::kChunkFeatures)));
    EXPECT_EQ(eventReads, static_cast<int>(std::size(vcam::kEventFeatures)));
    EXPECT_EQ(std::size(vcam::kChunkFeatures), 21u);
    EXPECT_EQ(std::size(vcam::kEventFeatures), 60u);
}

TEST_F(VirtualXml, EveryDomReferenceResolvesAndPIndexPointsAtASelector) {
    // Walks the whole DOM without arv_dom_element_get_attribute, which aborts on pIndex.
    int elements = 0, references = 0, indexes = 0, visible = 0;
    std::set<std::string> names;
    const std::set<std::string> reachable = Reachable();
    std::function<void(ArvDomNode*)> walk = [&](ArvDomNode* node) {
        for (ArvDomNode* c = arv_dom_node_get_first_child(node); c != nullptr; c = arv_dom_node_get_next_sibling(c)) {
            if (arv_dom_node_get_node_type(c) != ARV_DOM_NODE_TYPE_ELEMENT_NODE) continue;
            ++elements;
            if (ARV_IS_GC_FEATURE_NODE(c) && !ARV_IS_GC_ENUM_ENTRY(c)) {
                const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(c));
                ASSERT_NE(name, nullptr);
                // Our own nodes are unique; Aravis appends its Arv* defaults after them.
                EXPECT_TRUE(names.insert(name).second) << "node defined twice: " << name;
                // Every node a user may see is in a category; the rest is Invisible.
                const bool own = std::string(name).rfind("Arv", 0) != 0;
                if (own && !ARV_IS_GC_PORT(c) &&
                    arv_gc_feature_node_get_visibility(ARV_GC_FEATURE_NODE(c)) != ARV_GC_VISIBILITY_INVISIBLE) {
                    ++visible;
                    EXPECT_TRUE(reachable.count(name)) << "visible node outside every category: " << name;
                }
            }
            if (ARV_IS_GC_PROPERTY_NODE(c)) {
                ArvGcPropertyNode* p = ARV_GC_PROPERTY_NODE(c);
                const ArvGcPropertyNodeType type = arv_gc_property_node_get_node_type(p);
                if (type > ARV_GC_PROPERTY_NODE_TYPE_P_UNKNONW) {
                    ++references;
                    ArvGcNode* target = arv_gc_property_node_get_linked_node(p);
                    EXPECT_NE(target, nullptr)
                        << "dangling reference in " << arv_dom_node_get_node_name(node) << " "
                        << (ARV_IS_GC_FEATURE_NODE(node) ? arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(node))
                                                         : "");
                    if (type == ARV_GC_PROPERTY_NODE_TYPE_P_INDEX && target != nullptr) {
                        ++indexes;
                        EXPECT_TRUE(ARV_IS_GC_ENUMERATION(target) || ARV_IS_GC_INTEGER(target));
                        ASSERT_TRUE(ARV_IS_GC_SELECTOR(target));
                        EXPECT_TRUE(arv_gc_selector_is_selector(ARV_GC_SELECTOR(target)))
                            << arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(target));
                    }
                }
            }
            walk(c);
        }
    };
    walk(ARV_DOM_NODE(arv_dom_document_get_document_element(ARV_DOM_DOCUMENT(gc))));
    EXPECT_GT(elements, 10000);
    EXPECT_GT(references, 1000);
    EXPECT_GT(indexes, 100);
    EXPECT_EQ(visible + 1, static_cast<int>(vcam::kFeatureCount + vcam::kCategoryCount)); // TLParamsLocked is Invisible
}

TEST_F(VirtualXml, EveryRegisterOfTheHeaderIsTheXmlsRegister) {
    for (const auto& r : vcam::kRegisters) {
        SCOPED_TRACE(r.feature);
        ArvGcNode* n = arv_gc_get_node(gc, r.node);
        ASSERT_NE(n, nullptr);
        ASSERT_TRUE(ARV_IS_GC_REGISTER(n));
        ASSERT_NE(arv_gc_get_node(gc, r.feature), nullptr);
        if (r.info->length != 0) {
            EXPECT_EQ(arv_gc_register_get_length(ARV_GC_REGISTER(n), nullptr), r.info->length);
        }
        if (r.info->selector[0] == nullptr) {
            GError* e = nullptr;
            EXPECT_EQ(arv_gc_register_get_address(ARV_GC_REGISTER(n), &e), r.info->address) << ErrorText(e);
            g_clear_error(&e);
        }
        if (r.portId == 0) {
            EXPECT_LT(r.info->address, vcam::kMemorySize);
            EXPECT_TRUE(r.info->address >= 0x1000 || (r.info->address >= 0x100 && r.info->address < 0x140) ||
                        (r.info->address >= 0x300 && r.info->address < 0x360) || r.info->address == 0xD8)
                << std::hex << r.info->address;
        }
    }
}

// ---------------------------------------------------------------- defaults

TEST_F(VirtualXml, InitialValuesGiveTheDocumentedDefaults) {
    EXPECT_EQ(Str("DeviceVendorName"), kVirtualVendorName);
    EXPECT_EQ(Str("DeviceModelName"), kVirtualModelName);
    EXPECT_EQ(Str("DeviceVersion"), kVirtualDeviceVersion);
    EXPECT_EQ(Str("DeviceSerialNumber"), "VC0001");
    EXPECT_EQ(Str("DeviceID"), "VC0001");
    EXPECT_EQ(Str("DeviceUserID"), "");
    EXPECT_EQ(Int("SensorWidth"), 2048);
    EXPECT_EQ(Int("SensorHeight"), 2048);
    EXPECT_EQ(Int("WidthMax"), 2048);
    EXPECT_EQ(Int("HeightMax"), 2048);
    EXPECT_EQ(Int("Width"), 1280);
    EXPECT_EQ(Int("Height"), 960);
    EXPECT_EQ(Int("OffsetX"), 0);
    EXPECT_EQ(Int("OffsetY"), 0);
    EXPECT_EQ(Int("BinningHorizontal"), 1);
    EXPECT_EQ(Str("PixelFormat"), "Mono8");
    EXPECT_EQ(Int("PayloadSize"), 1280 * 960);
    EXPECT_EQ(Str("AcquisitionMode"), "Continuous");
    EXPECT_EQ(Str("TriggerSelector"), "FrameStart");
    for (const char* sel : {"FrameStart", "AcquisitionStart", "FrameBurstStart"}) {
        SetStr("TriggerSelector", sel);
        EXPECT_EQ(Str("TriggerMode"), "Off") << sel;
        EXPECT_EQ(Str("TriggerSource"), "Software") << sel;
        EXPECT_EQ(Str("TriggerActivation"), "RisingEdge") << sel;
    }
    EXPECT_EQ(Str("ExposureMode"), "Timed");
    EXPECT_EQ(Str("ExposureAuto"), "Off");
    EXPECT_DOUBLE_EQ(Float("ExposureTime"), 10000.0);
    EXPECT_DOUBLE_EQ(Float("Gain"), 0.0);
    EXPECT_EQ(Str("GainAuto"), "Off");
    EXPECT_TRUE(Bool("AcquisitionFrameRateEnable"));
    EXPECT_NEAR(Float("AcquisitionFrameRate"), 30.0, 0.001);
    EXPECT_NEAR(Float("AcquisitionResultingFrameRate"), 30.0, 0.001);
    EXPECT_EQ(Int("AcquisitionFrameCount"), 10);
    EXPECT_FALSE(Bool("ChunkModeActive"));
    EXPECT_EQ(Str("TestPattern"), "Off");
    EXPECT_EQ(Str("UserSetDefault"), "Default");
    EXPECT_EQ(Int("TLParamsLocked"), 0);
    EXPECT_EQ(Int("GevTimestampTickFrequency"), 1000000000);
    EXPECT_EQ(Int("GevSCPSPacketSize"), 1500);
    EXPECT_EQ(Int("DeviceStreamChannelPacketSize"), 1500);
    EXPECT_EQ(Str("DeviceTLType"), "GigEVision");
    EXPECT_EQ(Str("DeviceRegistersEndianness"), "Big");
    EXPECT_DOUBLE_EQ(Float("DeviceTemperature"), 42.5);
    SetStr("DeviceTemperatureSelector", "Mainboard");
    EXPECT_DOUBLE_EQ(Float("DeviceTemperature"), 38.0);
    EXPECT_DOUBLE_EQ(Float("Gamma"), 1.0);
    EXPECT_EQ(Int("DeviceSFNCVersionMajor"), 2);
    // Line directions, and their formats.
    const std::map<std::string, std::pair<std::string, std::string>> lines = {{"Line0", {"Input", "OptoCoupled"}},
                                                                              {"Line1", {"Output", "OptoCoupled"}},
                                                                              {"Line2", {"Input", "TTL"}},
                                                                              {"Line3", {"Input", "TTL"}}};
    for (const auto& l : lines) {
        SetStr("LineSelector", l.first.c_str());
        EXPECT_EQ(Str("LineMode"), l.second.first) << l.first;
        EXPECT_EQ(Str("LineFormat"), l.second.second) << l.first;
    }
    SetStr("LineSelector", "Line1");
    EXPECT_EQ(Str("LineSource"), "ExposureActive");
    // Chunks: only the image chunk is enabled.
    for (const auto& c : vcam::kChunks) {
        SetStr("ChunkSelector", c.name);
        EXPECT_EQ(Bool("ChunkEnable"), c.alwaysEnabled) << c.name;
    }
    // Colour matrices: identity and BT.601.
    SetStr("ColorTransformationSelector", "RGBtoRGB");
    SetStr("ColorTransformationValueSelector", "Gain11");
    EXPECT_DOUBLE_EQ(Float("ColorTransformationValue"), 1.0);
    SetStr("ColorTransformationValueSelector", "Gain01");
    EXPECT_DOUBLE_EQ(Float("ColorTransformationValue"), 0.0);
    SetStr("ColorTransformationSelector", "RGBtoYUV");
    EXPECT_DOUBLE_EQ(Float("ColorTransformationValue"), 0.587);
    // The LUT starts as the identity.
    for (int64_t i : {0, 1, 511, 1023}) {
        SetInt("LUTIndex", i);
        EXPECT_EQ(Int("LUTValue"), i);
    }
}

TEST_F(VirtualXml, EachCameraGetsItsSerialNumberAndMacAddress) {
    EXPECT_EQ(Int("GevMACAddress"), 0x024F56000001);
    InitializeVirtualCamera(dev, 41);
    EXPECT_EQ(Str("DeviceSerialNumber"), "VC0042");
    EXPECT_EQ(Int("GevMACAddress"), 0x024F5600002A);
    EXPECT_EQ(Int("Width"), 1280);
    try {
        InitializeVirtualCamera(dev, -1);
        FAIL() << "no exception";
    } catch (const Orvane::Exception& ex) {
        EXPECT_EQ(ex.GetError(), ORVANE_ERR_OUT_OF_RANGE);
        EXPECT_STREQ(ex.GetErrorMessage(), "InitializeVirtualCamera: camera index -1 outside 0..9998");
    }
    try {
        InitializeVirtualCamera(nullptr, 0);
        FAIL() << "no exception";
    } catch (const Orvane::Exception& ex) {
        EXPECT_EQ(ex.GetError(), ORVANE_ERR_INVALID_ARGUMENT);
    }
}

TEST_F(VirtualXml, InitialValueTableIsConsistent) {
    uint32_t total = 0;
    uint32_t previousEnd = 0;
    for (const auto& b : vcam::kInitialBlocks) {
        EXPECT_GE(b.address, previousEnd) << "blocks sorted and disjoint";
        EXPECT_LE(b.address + b.length, vcam::kMemorySize);
        EXPECT_EQ(b.offset, total);
        total += b.length;
        previousEnd = b.address + b.length;
    }
    EXPECT_EQ(total, vcam::kInitialBytesSize);
    // Every listed value lies inside a block and the memory holds its bytes.
    for (const auto& v : vcam::kInitialValues) {
        bool inside = false;
        for (const auto& b : vcam::kInitialBlocks)
            if (v.address >= b.address && v.address + v.length <= b.address + b.length) {
                inside = true;
                const auto mem = Memory(v.address, v.length);
                EXPECT_EQ(0,
                          std::memcmp(mem.data(), vcam::kInitialBytes + b.offset + (v.address - b.address), v.length))
                    << v.feature << " " << v.slot;
            }
        EXPECT_TRUE(inside) << v.feature;
    }
}

// ---------------------------------------------------------------- registers with behaviour

TEST_F(VirtualXml, WidthReachesTheFakeRegisterAndChangesItsPayload) {
    EXPECT_EQ(vcam::reg::Width.address, 0x100u);
    EXPECT_EQ(vcam::reg::Height.address, 0x104u);
    EXPECT_EQ(vcam::reg::PixelFormat.address, 0x128u);
    ArvFakeCamera* fake = arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(dev));
    EXPECT_EQ(arv_fake_camera_get_payload(fake), 1280u * 960u);
    SetInt("Width", 640);
    EXPECT_EQ(Reg32(0x100), 640u);
    EXPECT_EQ(arv_fake_camera_get_payload(fake), 640u * 960u);
    EXPECT_EQ(Int("PayloadSize"), 640 * 960);
    SetStr("PixelFormat", "Mono16");
    EXPECT_EQ(Reg32(0x128), 0x01100007u);
    EXPECT_EQ(arv_fake_camera_get_payload(fake), 640u * 960u * 2u);
    EXPECT_EQ(Int("PayloadSize"), 640 * 960 * 2);
    SetStr("PixelFormat", "Mono8");

    // A streamed frame has the new size.
    GError* e = nullptr;
    SetFloat("AcquisitionFrameRate", 200.0);
    ArvStream* stream = arv_device_create_stream(dev, nullptr, nullptr, &e);
    ASSERT_NE(stream, nullptr) << ErrorText(e);
    arv_stream_push_buffer(stream, arv_buffer_new(static_cast<size_t>(Int("PayloadSize")), nullptr));
    ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream, 3000000);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(arv_buffer_get_status(buffer), ARV_BUFFER_STATUS_SUCCESS);
    EXPECT_EQ(arv_buffer_get_image_width(buffer), 640);
    EXPECT_EQ(arv_buffer_get_image_height(buffer), 960);
    EXPECT_EQ(arv_buffer_get_image_pixel_format(buffer), ARV_PIXEL_FORMAT_MONO_8);
    g_object_unref(buffer);
    g_object_unref(stream);
}

TEST_F(VirtualXml, ExposureGainAndFrameRateUseTheFakeRegisters) {
    SetFloat("ExposureTime", 2500.0);
    EXPECT_EQ(Reg32(0x120), 2500u);
    SetFloat("Gain", 3.7);
    EXPECT_EQ(Reg32(0x110), 370u);
    EXPECT_NEAR(Float("Gain"), 3.7, 1e-12);
    SetFloat("Gain", 0.29);
    EXPECT_EQ(Reg32(0x110), 29u);
    SetFloat("AcquisitionFrameRate", 25.0);
    EXPECT_EQ(Reg32(0x138), 40000u);
    EXPECT_DOUBLE_EQ(Float("AcquisitionFrameRate"), 25.0);
    // The resulting rate is limited by the exposure time.
    SetFloat("ExposureTime", 50000.0);
    EXPECT_DOUBLE_EQ(Float("AcquisitionResultingFrameRate"), 20.0);
    SetBool("AcquisitionFrameRateEnable", false);
    EXPECT_DOUBLE_EQ(Float("AcquisitionResultingFrameRate"), 20.0);
    SetFloat("ExposureTime", 100.0);
    EXPECT_DOUBLE_EQ(Float("AcquisitionResultingFrameRate"), 1000.0);
    // BlackLevel and BlackLevelRaw are one register.
    SetFloat("BlackLevel", 2.5);
    EXPECT_EQ(Int("BlackLevelRaw"), 40);
    SetStr("AcquisitionMode", "SingleFrame");
    EXPECT_EQ(Reg32(0x12C), 1u);
    SetInt("BinningHorizontal", 2);
    EXPECT_EQ(Reg32(0x108), 2u);
}

TEST_F(VirtualXml, CommandsWriteTheirCommandValueIntoTheListedSlots) {
    Execute("AcquisitionStart");
    EXPECT_EQ(Reg32(0x124), 1u);
    SetStr("TriggerSelector", "AcquisitionStart");
    SetStr("TriggerMode", "On");
    EXPECT_EQ(Reg32(0x320), 1u);
    EXPECT_EQ(Reg32(0x300), 0u);
    Execute("TriggerSoftware");
    EXPECT_EQ(Reg32(0x32C), 1u);
    std::set<uint32_t> slots;
    int triggerSoftware = 0;
    for (const auto& c : vcam::kCommandSlots) {
        EXPECT_TRUE(slots.insert(c.address).second) << c.feature;
        EXPECT_EQ(c.commandValue, 1u) << c.feature;
        if (std::string(c.feature).rfind("TriggerSoftware[", 0) == 0) ++triggerSoftware;
    }
    EXPECT_EQ(triggerSoftware, 3);
    EXPECT_TRUE(slots.count(0x124));
    EXPECT_TRUE(slots.count(0x30C));
    EXPECT_TRUE(slots.count(0x32C));
    EXPECT_TRUE(slots.count(0x34C));
    EXPECT_TRUE(slots.count(vcam::reg::AcquisitionStop.address));
}

// ---------------------------------------------------------------- enumerations

TEST_F(VirtualXml, PixelFormatEntriesArePfncCodes) {
    const std::map<std::string, int64_t> pfnc = {{"Mono8", ARV_PIXEL_FORMAT_MONO_8},
                                                 {"Mono10", ARV_PIXEL_FORMAT_MONO_10},
                                                 {"Mono10p", 0x010A0046},
                                                 {"Mono10Packed", ARV_PIXEL_FORMAT_MONO_10_PACKED},
                                                 {"Mono12", ARV_PIXEL_FORMAT_MONO_12},
                                                 {"Mono12p", 0x010C0047},
                                                 {"Mono12Packed", ARV_PIXEL_FORMAT_MONO_12_PACKED},
                                                 {"Mono16", ARV_PIXEL_FORMAT_MONO_16},
                                                 {"BayerRG8", ARV_PIXEL_FORMAT_BAYER_RG_8},
                                                 {"BayerGR8", ARV_PIXEL_FORMAT_BAYER_GR_8},
                                                 {"BayerGB8", ARV_PIXEL_FORMAT_BAYER_GB_8},
                                                 {"BayerBG8", ARV_PIXEL_FORMAT_BAYER_BG_8},
                                                 {"BayerRG10", ARV_PIXEL_FORMAT_BAYER_RG_10},
                                                 {"BayerGR10", ARV_PIXEL_FORMAT_BAYER_GR_10},
                                                 {"BayerGB10", ARV_PIXEL_FORMAT_BAYER_GB_10},
                                                 {"BayerBG10", ARV_PIXEL_FORMAT_BAYER_BG_10},
                                                 {"BayerRG12", ARV_PIXEL_FORMAT_BAYER_RG_12},
                                                 {"BayerGR12", ARV_PIXEL_FORMAT_BAYER_GR_12},
                                                 {"BayerGB12", ARV_PIXEL_FORMAT_BAYER_GB_12},
                                                 {"BayerBG12", ARV_PIXEL_FORMAT_BAYER_BG_12},
                                                 {"BayerRG16", ARV_PIXEL_FORMAT_BAYER_RG_16},
                                                 {"BayerGR16", ARV_PIXEL_FORMAT_BAYER_GR_16},
                                                 {"BayerGB16", ARV_PIXEL_FORMAT_BAYER_GB_16},
                                                 {"BayerBG16", ARV_PIXEL_FORMAT_BAYER_BG_16},
                                                 {"BayerRG10p", ARV_PIXEL_FORMAT_BAYER_RG_10P},
                                                 {"BayerGR10p", ARV_PIXEL_FORMAT_BAYER_GR_10P},
                                                 {"BayerGB10p", ARV_PIXEL_FORMAT_BAYER_GB_10P},
                                                 {"BayerBG10p", ARV_PIXEL_FORMAT_BAYER_BG_10P},
                                                 {"BayerRG12p", ARV_PIXEL_FORMAT_BAYER_RG_12P},
                                                 {"BayerGR12p", ARV_PIXEL_FORMAT_BAYER_GR_12P},
                                                 {"BayerGB12p", ARV_PIXEL_FORMAT_BAYER_GB_12P},
                                                 {"BayerBG12p", ARV_PIXEL_FORMAT_BAYER_BG_12P},
                                                 {"RGB8", ARV_PIXEL_FORMAT_RGB_8_PACKED},
                                                 {"BGR8", ARV_PIXEL_FORMAT_BGR_8_PACKED},
                                                 {"YUV422_8", ARV_PIXEL_FORMAT_YUV_422_YUYV_PACKED},
                                                 {"YUV422_8_UYVY", ARV_PIXEL_FORMAT_YUV_422_PACKED},
                                                 {"YCbCr422_8", 0x0210003B}};
    const auto entries = Entries("PixelFormat");
    std::map<std::string, int64_t> got(entries.begin(), entries.end());
    for (const auto& p : pfnc) {
        ASSERT_TRUE(got.count(p.first)) << p.first;
        EXPECT_EQ(got[p.first], p.second) << p.first;
        EXPECT_EQ(vcam::kEntries[0].feature != nullptr, true);
    }
    EXPECT_EQ(vcam::value::PixelFormat::Mono12p, 0x010C0047);
    // Every entry's size field gives the payload the fake streams.
    ArvFakeCamera* fake = arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(dev));
    for (const auto& p : entries) {
        SetStr("PixelFormat", p.first.c_str());
        EXPECT_EQ(static_cast<int64_t>(Reg32(0x128)), p.second) << p.first;
        const int64_t bpp = (p.second >> 16) & 0xFF;
        EXPECT_EQ(Int("PayloadSize"), 1280 * 960 * bpp / 8) << p.first;
        EXPECT_EQ(static_cast<int64_t>(arv_fake_camera_get_payload(fake)), 1280 * 960 * bpp / 8) << p.first;
        EXPECT_EQ(Int("PixelSize"), bpp) << p.first;
        EXPECT_EQ(Str("PixelSize"), "Bpp" + std::to_string(bpp)) << p.first;
        EXPECT_EQ(Int("LinePitch"), 1280 * bpp / 8) << p.first;
        // Bayer patterns and the dynamic range come from the format's name.
        const std::string filter = p.first.rfind("Bayer", 0) == 0 ? p.first.substr(0, 7) : "None";
        EXPECT_EQ(Str("PixelColorFilter"), filter) << p.first;
        int bits = 8;
        if (p.first.rfind("Mono", 0) == 0 || p.first.rfind("Bayer", 0) == 0) {
            const size_t digits = p.first.find_first_of("0123456789");
            ASSERT_NE(digits, std::string::npos);
            bits = std::stoi(p.first.substr(digits));
        }
        EXPECT_EQ(Int("PixelDynamicRangeMax"), (int64_t(1) << bits) - 1) << p.first;
        EXPECT_EQ(Available("BalanceRatio"), filter != "None") << p.first;
    }
}

TEST_F(VirtualXml, EnumerationValuesAreNotTheirPositions) {
    const std::vector<std::pair<std::string, int64_t>> mode = {
        {"Continuous", 3}, {"SingleFrame", 1}, {"MultiFrame", 2}};
    EXPECT_EQ(Entries("AcquisitionMode"), mode);
    const std::vector<std::pair<std::string, int64_t>> trigger = {
        {"AcquisitionStart", 1}, {"FrameStart", 0}, {"FrameBurstStart", 2}};
    EXPECT_EQ(Entries("TriggerSelector"), trigger);
    EXPECT_EQ(Entries("TriggerSource")[0], (std::pair<std::string, int64_t>("Software", 1)));
    EXPECT_EQ(Entries("TriggerSource")[1], (std::pair<std::string, int64_t>("Line0", 0x10)));
    // Most enumerations have at least one entry whose value is not its position.
    int enums = 0, shifted = 0;
    std::set<std::string> seen;
    for (const auto& e : vcam::kEntries) {
        if (!seen.insert(e.feature).second) continue;
        ++enums;
        const auto entries = Entries(e.feature);
        ASSERT_FALSE(entries.empty()) << e.feature;
        for (size_t i = 0; i < entries.size(); ++i)
            if (entries[i].second != static_cast<int64_t>(i)) {
                ++shifted;
                break;
            }
    }
    EXPECT_EQ(enums, 127);
    EXPECT_GE(shifted, 80);
    // The header's entry values are the XML's.
    for (const auto& e : vcam::kEntries) {
        bool found = false;
        for (const auto& x : Entries(e.feature))
            if (x.first == e.entry) {
                found = true;
                EXPECT_EQ(x.second, e.value) << e.feature << "." << e.entry;
            }
        EXPECT_TRUE(found) << e.feature << "." << e.entry;
    }
}

// ---------------------------------------------------------------- availability rules

TEST_F(VirtualXml, ExposureTimeAndGainAreLockedInContinuousAuto) {
    EXPECT_FALSE(Locked("ExposureTime"));
    SetStr("ExposureAuto", "Continuous");
    EXPECT_TRUE(Locked("ExposureTime"));
    SetStr("ExposureAuto", "Once");
    EXPECT_FALSE(Locked("ExposureTime"));
    SetStr("ExposureAuto", "Off");
    EXPECT_FALSE(Locked("ExposureTime"));
    EXPECT_TRUE(Available("ExposureTime"));
    SetStr("ExposureMode", "TriggerWidth");
    EXPECT_FALSE(Available("ExposureTime"));
    EXPECT_FALSE(Available("ExposureAuto"));

    EXPECT_FALSE(Locked("Gain"));
    SetStr("GainAuto", "Continuous");
    EXPECT_TRUE(Locked("Gain"));
    SetStr("GainAuto", "Off");
    EXPECT_FALSE(Locked("Gain"));
}

TEST_F(VirtualXml, FrameRateAndFrameCountAvailability) {
    EXPECT_TRUE(Available("AcquisitionFrameRate"));
    SetBool("AcquisitionFrameRateEnable", false);
    EXPECT_FALSE(Available("AcquisitionFrameRate"));
    SetBool("AcquisitionFrameRateEnable", true);
    EXPECT_TRUE(Available("AcquisitionFrameRate"));

    EXPECT_FALSE(Available("AcquisitionFrameCount"));
    SetStr("AcquisitionMode", "MultiFrame");
    EXPECT_TRUE(Available("AcquisitionFrameCount"));
    SetStr("AcquisitionMode", "SingleFrame");
    EXPECT_FALSE(Available("AcquisitionFrameCount"));
}

TEST_F(VirtualXml, TransportLockFreezesThePayloadFeatures) {
    const char* locked[] = {"Width",           "Height",
                            "PixelFormat",     "OffsetX",
                            "OffsetY",         "BinningHorizontal",
                            "BinningVertical", "DecimationHorizontal",
                            "ChunkModeActive", "ChunkEnable",
                            "AcquisitionMode", "GevSCPSPacketSize"};
    SetStr("ChunkSelector", "FrameID"); // the Image chunk's ChunkEnable is always locked
    for (const char* f : locked) EXPECT_FALSE(Locked(f)) << f;
    SetInt("TLParamsLocked", 1);
    for (const char* f : locked) EXPECT_TRUE(Locked(f)) << f;
    EXPECT_FALSE(Locked("ExposureTime"));
    EXPECT_FALSE(Locked("Gain"));
    SetInt("TLParamsLocked", 0);
    for (const char* f : locked) EXPECT_FALSE(Locked(f)) << f;
}

TEST_F(VirtualXml, TriggerFeaturesFollowTheirSelector) {
    SetStr("TriggerSelector", "FrameStart");
    EXPECT_TRUE(Implemented("TriggerOverlap"));
    EXPECT_FALSE(Available("TriggerSoftware"));
    SetStr("TriggerMode", "On");
    EXPECT_TRUE(Available("TriggerSoftware"));
    EXPECT_FALSE(Available("TriggerActivation"));
    SetStr("TriggerSource", "Line0");
    EXPECT_FALSE(Available("TriggerSoftware"));
    EXPECT_TRUE(Available("TriggerActivation"));
    SetStr("TriggerActivation", "FallingEdge");

    SetStr("TriggerSelector", "AcquisitionStart");
    EXPECT_FALSE(Implemented("TriggerOverlap"));
    EXPECT_EQ(Str("TriggerMode"), "Off");
    EXPECT_EQ(Str("TriggerSource"), "Software");
    EXPECT_FALSE(Available("TriggerSoftware"));
    SetStr("TriggerSelector", "FrameStart");
    EXPECT_EQ(Str("TriggerSource"), "Line0");
    EXPECT_EQ(Str("TriggerActivation"), "FallingEdge");
    EXPECT_EQ(Reg32(0x304), 0x10u);
    EXPECT_EQ(Reg32(0x308), 1u);
}

TEST_F(VirtualXml, WidthMaxFollowsBinningAndOffsets) {
    SetInt("BinningHorizontal", 3);
    EXPECT_EQ(Int("WidthMax"), 680); // 2048 / 3 rounded down to the increment of 8
    SetInt("BinningHorizontal", 1);
    SetInt("OffsetX", 256);
    gint64 lo = 0, hi = 0;
    arv_device_get_integer_feature_bounds(dev, "Width", &lo, &hi, nullptr);
    EXPECT_EQ(lo, 16);
    EXPECT_EQ(hi, 2048 - 256);
    arv_device_get_integer_feature_bounds(dev, "OffsetX", &lo, &hi, nullptr);
    EXPECT_EQ(hi, 2048 - 1280);
    EXPECT_EQ(arv_device_get_integer_feature_increment(dev, "Width", nullptr), 8);
}

// ---------------------------------------------------------------- selector-indexed registers

TEST_F(VirtualXml, SelectorIndexedRegistersLandWhereTheHeaderSays) {
    int checked = 0;
    for (const auto& r : vcam::kRegisters) {
        if (r.info->selector[0] == nullptr) continue;
        SCOPED_TRACE(r.feature);
        ArvGcNode* reg = arv_gc_get_node(gc, r.node);
        ASSERT_NE(reg, nullptr);
        std::vector<std::vector<int64_t>> values;
        for (int k = 0; k < 3 && r.info->selector[k] != nullptr; ++k) {
            values.push_back(SelectorValues(r.info->selector[k]));
            ASSERT_FALSE(values.back().empty()) << r.info->selector[k];
        }
        // The first, last and one middle value of every selector, in all combinations.
        std::vector<std::vector<int64_t>> picks;
        for (auto& v : values) {
            std::set<int64_t> p = {v.front(), v[v.size() / 2], v.back()};
            picks.emplace_back(p.begin(), p.end());
        }
        std::vector<size_t> at(picks.size(), 0);
        while (true) {
            int64_t sel[3] = {0, 0, 0};
            for (size_t k = 0; k < picks.size(); ++k) {
                sel[k] = picks[k][at[k]];
                ArvGcNode* s = arv_gc_get_node(gc, r.info->selector[k]);
                GError* e = nullptr;
                arv_gc_integer_set_value(ARV_GC_INTEGER(s), sel[k], &e);
                ASSERT_EQ(e, nullptr) << ErrorText(e);
            }
            GError* e = nullptr;
            EXPECT_EQ(arv_gc_register_get_address(ARV_GC_REGISTER(reg), &e), r.info->At(sel[0], sel[1], sel[2]))
                << sel[0] << " " << sel[1] << " " << sel[2];
            g_clear_error(&e);
            ++checked;
            size_t k = 0;
            for (; k < at.size(); ++k) {
                if (++at[k] < picks[k].size()) break;
                at[k] = 0;
            }
            if (k == at.size()) break;
        }
    }
    EXPECT_GT(checked, 300);
}

TEST_F(VirtualXml, SelectorIndexedValuesAreStoredPerSelector) {
    // TriggerMode: the fake camera's own registers, 0x20 apart.
    EXPECT_EQ(vcam::reg::TriggerMode.At(vcam::value::TriggerSelector::AcquisitionStart), 0x320u);
    EXPECT_EQ(vcam::reg::TriggerSoftware.At(vcam::value::TriggerSelector::FrameBurstStart), 0x34Cu);
    // A 64-bit counter, a double with two selectors, a boolean with three.
    SetStr("CounterSelector", "Counter1");
    SetInt("CounterValue", 0x123456789LL);
    EXPECT_EQ(MemoryBE(vcam::reg::CounterValue.At(vcam::value::CounterSelector::Counter1), 8), 0x123456789ULL);
    EXPECT_EQ(MemoryBE(vcam::reg::CounterValue.At(vcam::value::CounterSelector::Counter0), 8), 0u);

    SetStr("ColorTransformationSelector", "RGBtoYUV");
    SetStr("ColorTransformationValueSelector", "Offset2");
    SetFloat("ColorTransformationValue", -1.25);
    const uint64_t bits =
        MemoryBE(vcam::reg::ColorTransformationValue.At(vcam::value::ColorTransformationSelector::RGBtoYUV,
                                                        vcam::value::ColorTransformationValueSelector::Offset2),
                 8);
    double d;
    std::memcpy(&d, &bits, 8);
    EXPECT_EQ(d, -1.25);

    SetStr("LogicBlockSelector", "LogicBlock1");
    SetStr("LogicBlockLUTSelector", "Enable");
    SetInt("LogicBlockLUTRowIndex", 13);
    SetBool("LogicBlockLUTOutputValue", true);
    EXPECT_EQ(MemoryBE(vcam::reg::LogicBlockLUTOutputValue.At(1, 1, 13), 4), 1u);
    EXPECT_EQ(MemoryBE(vcam::reg::LogicBlockLUTOutputValue.At(1, 0, 13), 4), 0u);

    // LUTValueAll is the memory of LUTValue.
    SetInt("LUTIndex", 5);
    SetInt("LUTValue", 77);
    EXPECT_EQ(MemoryBE(vcam::reg::LUTValue.At(0, 5), 2), 77u);
    ArvGcNode* all = arv_gc_get_node(gc, "LUTValueAll");
    ASSERT_NE(all, nullptr);
    std::vector<uint8_t> lut(2048);
    arv_gc_register_get(ARV_GC_REGISTER(all), lut.data(), lut.size(), nullptr);
    EXPECT_EQ(lut[10], 0);
    EXPECT_EQ(lut[11], 77);
    EXPECT_EQ(lut[2 * 1023], 1023 >> 8);
    EXPECT_EQ(lut[2 * 1023 + 1], 1023 & 0xFF);

    SetStr("EventSelector", "ExposureEnd");
    SetStr("EventNotification", "On");
    EXPECT_EQ(MemoryBE(vcam::reg::EventNotification.At(vcam::value::EventSelector::ExposureEnd), 4), 1u);
    SetStr("ChunkSelector", "Timestamp");
    SetBool("ChunkEnable", true);
    EXPECT_EQ(MemoryBE(vcam::reg::ChunkEnable.At(vcam::value::ChunkSelector::Timestamp), 4), 1u);
}

// ---------------------------------------------------------------- chunks and events

TEST_F(VirtualXml, ChunkFeaturesSitOnPortsWithTheHeadersChunkIds) {
    std::map<std::string, uint32_t> ids;
    for (const auto& c : vcam::kChunks) ids[c.name] = c.id;
    const auto selector = Entries("ChunkSelector");
    ASSERT_EQ(selector.size(), std::size(vcam::kChunks));
    for (size_t i = 0; i < selector.size(); ++i) {
        EXPECT_EQ(selector[i].first, vcam::kChunks[i].name);
        EXPECT_EQ(selector[i].second, vcam::kChunks[i].selectorValue);
    }
    for (const char* required :
         {"FrameID", "Timestamp", "Width", "Height", "OffsetX", "OffsetY", "PixelFormat", "ExposureTime", "Gain",
          "BlackLevel", "LinePitch", "LineStatusAll", "CounterValue", "TimerValue", "SequencerSetActive",
          "PixelDynamicRangeMin", "PixelDynamicRangeMax", "Image", "CRC"})
        EXPECT_TRUE(ids.count(required)) << required;
    int features = 0;
    for (const auto& cf : vcam::kChunkFeatures) {
        SCOPED_TRACE(cf.feature);
        const vcam::NamedRegister* r = FindRegister(cf.feature);
        ASSERT_NE(r, nullptr);
        ArvGcNode* reg = arv_gc_get_node(gc, r->node);
        ASSERT_NE(reg, nullptr);
        ArvGcNode* port = PropertyTarget(reg, ARV_GC_PROPERTY_NODE_TYPE_P_PORT);
        ASSERT_NE(port, nullptr);
        ASSERT_TRUE(ARV_IS_GC_PORT(port));
        const std::string id = PropertyText(port, ARV_GC_PROPERTY_NODE_TYPE_CHUNK_ID);
        EXPECT_EQ(std::stoul(id, nullptr, 16), cf.chunkId);
        EXPECT_EQ(r->portId, cf.chunkId);
        bool known = false;
        for (const auto& c : vcam::kChunks) known |= c.id == cf.chunkId;
        EXPECT_TRUE(known);
        ++features;
    }
    EXPECT_EQ(features, 21);
    EXPECT_EQ(vcam::chunk::FrameID, ids["FrameID"]);
}

TEST_F(VirtualXml, ChunkModeAddsTheEnabledChunksToThePayload) {
    const int64_t image = 1280 * 960;
    SetBool("ChunkModeActive", true);
    EXPECT_EQ(Int("PayloadSize"), image + 8);
    for (const char* c : {"FrameID", "Timestamp", "CRC", "CounterValue"}) {
        SetStr("ChunkSelector", c);
        SetBool("ChunkEnable", true);
    }
    EXPECT_EQ(Int("PayloadSize"), image + 8 + (8 + 8) + (8 + 8) + (4 + 8) + (16 + 8));
    SetBool("ChunkModeActive", false);
    EXPECT_EQ(Int("PayloadSize"), image);
    SetStr("ChunkSelector", "Image");
    EXPECT_TRUE(Locked("ChunkEnable"));
    SetStr("ChunkSelector", "Gain");
    EXPECT_FALSE(Locked("ChunkEnable"));
}

TEST_F(VirtualXml, EventFeaturesSitOnPortsWithTheHeadersEventIds) {
    std::set<std::string> names;
    for (const auto& e : vcam::kEvents) {
        SCOPED_TRACE(e.name);
        names.insert(e.name);
        const std::string base = std::string("Event") + e.name;
        EXPECT_EQ(Int(base.c_str()), e.id);
        SetStr("EventSelector", e.name);
        EXPECT_EQ(Int("EventSelector"), e.selectorValue);
        EXPECT_EQ(Str("EventNotification"), "Off");
    }
    for (const char* required : {"ExposureStart", "ExposureEnd", "FrameStart", "FrameEnd", "FrameTriggerMissed",
                                 "AcquisitionStart", "AcquisitionEnd", "Test", "Error"})
        EXPECT_TRUE(names.count(required)) << required;
    EXPECT_EQ(Entries("EventSelector").size(), std::size(vcam::kEvents));
    int features = 0;
    for (const auto& ef : vcam::kEventFeatures) {
        SCOPED_TRACE(ef.feature);
        const vcam::NamedRegister* r = FindRegister(ef.feature);
        ASSERT_NE(r, nullptr);
        ArvGcNode* port = PropertyTarget(arv_gc_get_node(gc, r->node), ARV_GC_PROPERTY_NODE_TYPE_P_PORT);
        ASSERT_NE(port, nullptr);
        EXPECT_EQ(std::stoul(PropertyText(port, ARV_GC_PROPERTY_NODE_TYPE_EVENT_ID), nullptr, 16), ef.eventId);
        EXPECT_EQ(r->portId, ef.eventId);
        EXPECT_LE(ef.offset + ef.length, vcam::kEventDataSize);
        ++features;
    }
    EXPECT_EQ(features, 60);
    EXPECT_EQ(vcam::event::ExposureEnd, 0x9021);
}

} // namespace
