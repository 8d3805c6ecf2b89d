// Every node of the XML corpus (tests/data/xml) and of the virtual camera's
// description, read through the SDK's node map (CXmlNodeMap) and through an
// ArvGc built directly over its own memory device with the same contents,
// compared property by property. Aravis's policies are its defaults
// (register cache, range check and access check all off), which are also
// what ArvNodeMap sets: the two then read the same memory the same way, and
// every check of Orvane's own (verification, NI/NA) stays Orvane's.
//
// A difference is either a bug or one of the deliberate differences below,
// where Orvane follows GenApi and Aravis does not; any other difference fails.
#include <gtest/gtest.h>

#include <arv.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <dirent.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Orvane/GenApi/GenApi.h"
#include "genapi/MemoryDevice.h"
#include "virtual/VirtualCameraXml.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

struct Difference {
    std::string file, node, kind, property, sdk, arv;
};

using NameSet = std::set<std::string>;
// What the rows below need to know of a file's nodes.
struct NodeSets {
    NameSet onDataPorts; // nodes that read through a chunk or event port (or are such a port)
    NameSet converters;  // Converter and IntConverter nodes
};

// Deliberate differences: where Orvane follows GenApi and Aravis does not.
// Each row: node kind ("*" for every kind), property, a test on the two
// values and the node, and why Orvane is right.
struct Deliberate {
    const char* kind;
    const char* property;
    std::function<bool(const Difference&, const NodeSets& sets)> matches;
    const char* reason;
};

bool IsLimit(const std::string& v) {
    return v == "-9223372036854775808" || v == "9223372036854775807" || v == "1" || v == "-1.7976931348623157e+308" ||
           v == "1.7976931348623157e+308";
}

const std::vector<Deliberate>& DeliberateDifferences() {
    static const std::vector<Deliberate> rows = {
        {"*", "access",
         [](const Difference& d, const NodeSets& sets) { return d.sdk == "NA" && sets.onDataPorts.count(d.node); },
         "chunk and event ports, and every node reading through them, are NA until chunk or event data is attached "
         "(Aravis reports the XML access mode and fails on read)"},
        {"Port", "access", [](const Difference& d, const NodeSets&) { return d.sdk == "RW" && d.arv == "RO"; },
         "a device port reads and writes the device: RW (Aravis says RO for every port)"},
        {"*", "representation",
         [](const Difference& d, const NodeSets&) { return d.sdk == "PureNumber" && d.arv == "undefined"; },
         "a number without <Representation> is PureNumber in GenApi; Aravis reports it undefined"},
        {"Integer", "text",
         [](const Difference& d, const NodeSets&) {
             return d.sdk.rfind("0x", 0) == 0 || d.sdk.find('.') != std::string::npos ||
                    d.sdk.find(':') != std::string::npos;
         },
         "an integer's text follows its Representation (HexNumber 0x..., IPV4Address a.b.c.d, MACAddress "
         "aa:bb:...) as GenApi's ToString does; Aravis always prints decimal"},
        {"*", "min", [](const Difference& d, const NodeSets&) { return d.arv == "error" && IsLimit(d.sdk); },
         "a node without limits in its XML (IntSwissKnife, SwissKnife, MaskedIntReg, StructEntry) has the full range "
         "of its type in GenApi; Aravis fails"},
        {"*", "max", [](const Difference& d, const NodeSets&) { return d.arv == "error" && IsLimit(d.sdk); },
         "as for min"},
        {"Integer", "inc", [](const Difference& d, const NodeSets&) { return d.arv == "error" && d.sdk == "1"; },
         "an integer without <Inc>/<pInc> has increment 1 in GenApi; Aravis fails for IntSwissKnife, MaskedIntReg "
         "and StructEntry"},
        {"*", "min",
         [](const Difference& d, const NodeSets& sets) { return d.arv == "error" && sets.converters.count(d.node); },
         "a converter's bounds are its FormulaFrom at its value node's bounds, swapped when the formula decreases, a "
         "bound where the formula divides by zero moved to the nearest one where it does not; Aravis fails there"},
        {"*", "max",
         [](const Difference& d, const NodeSets& sets) { return d.arv == "error" && sets.converters.count(d.node); },
         "as for min"},
        {"Enumeration", "text", [](const Difference& d, const NodeSets&) { return d.sdk == "error" && d.arv.empty(); },
         "an enumeration whose value matches no entry cannot be read as text: GenApi raises; Aravis gives an empty "
         "string"},
    };
    return rows;
}

std::string Str(double v) {
    char b[64];
    std::snprintf(b, sizeof b, "%.17g", v);
    return b;
}

// The interface Aravis's node has, in the order GenApi's principal interface is decided.
std::string ArvKind(ArvGcNode* n) {
    if (ARV_IS_GC_CATEGORY(n)) return "Category";
    if (ARV_IS_GC_ENUMERATION(n)) return "Enumeration";
    if (ARV_IS_GC_ENUM_ENTRY(n)) return "EnumEntry";
    if (ARV_IS_GC_COMMAND(n)) return "Command";
    if (ARV_IS_GC_BOOLEAN(n)) return "Boolean";
    if (ARV_IS_GC_PORT(n)) return "Port";
    if (ARV_IS_GC_FLOAT(n)) return "Float";
    if (ARV_IS_GC_STRING(n)) return "String";
    if (ARV_IS_GC_INTEGER(n)) return "Integer";
    if (ARV_IS_GC_REGISTER(n)) return "Register";
    return "Value";
}

const char* AccessName(EAccessMode m) {
    static const char* const names[] = {"NI", "NA", "WO", "RO", "RW"};
    return m >= NI && m <= RW ? names[m] : "?";
}

std::string ArvAccess(ArvGcNode* n) {
    auto* f = ARV_GC_FEATURE_NODE(n);
    GError* e = nullptr;
    const bool implemented = arv_gc_feature_node_is_implemented(f, &e);
    if (e) {
        g_clear_error(&e);
        return "error";
    }
    if (!implemented) return "NI";
    const bool available = arv_gc_feature_node_is_available(f, &e);
    if (e) {
        g_clear_error(&e);
        return "error";
    }
    if (!available) return "NA";
    const bool locked = arv_gc_feature_node_is_locked(f, &e);
    g_clear_error(&e);
    switch (arv_gc_feature_node_get_actual_access_mode(f)) {
    case ARV_GC_ACCESS_MODE_RO: return "RO";
    case ARV_GC_ACCESS_MODE_WO: return locked ? "NA" : "WO";
    case ARV_GC_ACCESS_MODE_RW: return locked ? "RO" : "RW";
    default: return "?";
    }
}

const char* RepName(int r) {
    static const char* const names[] = {"Linear",    "Logarithmic", "Boolean",   "PureNumber",
                                        "HexNumber", "IPV4Address", "MACAddress"};
    return r >= 0 && r < 7 ? names[r] : "undefined";
}

const char* NotationName(int n) {
    static const char* const names[] = {"Automatic", "Fixed", "Scientific"};
    return n >= 0 && n < 3 ? names[n] : "undefined";
}

// A float's text as GenApi formats it: precision digits, in the notation.
std::string FloatText(double v, EDisplayNotation notation, int64_t precision) {
    std::ostringstream s;
    s.precision(static_cast<int>(precision));
    if (notation == fnFixed) s << std::fixed;
    if (notation == fnScientific) s << std::scientific;
    s << v;
    return s.str();
}

// Which elements of the document have an <Inc> or <pInc> child (by Name).
std::set<std::string> NodesWithInc(const std::string& xml) {
    std::set<std::string> out;
    xmlDocPtr doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "x.xml", nullptr,
                                  XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE);
    if (!doc) return out;
    std::function<void(xmlNodePtr)> walk = [&](xmlNodePtr n) {
        for (xmlNodePtr c = n->children; c; c = c->next) {
            if (c->type != XML_ELEMENT_NODE) continue;
            if (!std::strcmp(reinterpret_cast<const char*>(c->name), "Inc") ||
                !std::strcmp(reinterpret_cast<const char*>(c->name), "pInc")) {
                if (xmlChar* name = xmlGetProp(n, BAD_CAST "Name")) {
                    out.insert(reinterpret_cast<const char*>(name));
                    xmlFree(name);
                }
            }
            walk(c);
        }
    };
    walk(xmlDocGetRootElement(doc));
    xmlFreeDoc(doc);
    return out;
}

struct Comparison {
    std::string file;
    std::vector<Difference> diffs;
    NodeSets sets;
    size_t compared = 0;

    void Check(const std::string& node, const std::string& kind, const std::string& property, const std::string& sdk,
               const std::string& arv) {
        if (sdk != arv) diffs.push_back({file, node, kind, property, sdk, arv});
    }
};

// Runs `f` and gives its text, or "error" when it raised.
template <class F>
std::string Try(F&& f) {
    try {
        return f();
    } catch (const Orvane::Exception&) {
        return "error";
    }
}

template <class T>
std::string ArvTry(T (*get)(void*, GError**), void* n) {
    GError* e = nullptr;
    T v = get(n, &e);
    if (e) {
        g_clear_error(&e);
        return "error";
    }
    return std::to_string(v);
}

void CompareNode(Comparison& c, INode* node, ArvGcNode* an, const std::set<std::string>& withInc) {
    const std::string name = node->GetName().c_str();
    const std::string kind = InterfaceTypeName(node->GetPrincipalInterfaceType());
    ++c.compared;
    c.Check(name, kind, "interface", kind, ArvKind(an));
    const EAccessMode mode = node->GetAccessMode();
    const std::string arvAccess = ArvAccess(an);
    c.Check(name, kind, "access", AccessName(mode), arvAccess);
    const bool readable = (mode == RO || mode == RW) && (arvAccess == "RO" || arvAccess == "RW");
    GError* e = nullptr;

    if (kind == "Integer") {
        CIntegerPtr p(node);
        auto* g = ARV_GC_INTEGER(an);
        if (readable) {
            gint64 v = arv_gc_integer_get_value(g, &e);
            c.Check(name, kind, "value", Try([&] { return std::to_string(p->GetValue()); }),
                    e ? "error" : std::to_string(v));
            g_clear_error(&e);
            const char* t = arv_gc_feature_node_get_value_as_string(ARV_GC_FEATURE_NODE(an), &e);
            c.Check(name, kind, "text", Try([&] { return std::string(p->ToString().c_str()); }),
                    e ? "error" : std::string(t ? t : ""));
            g_clear_error(&e);
        }
        gint64 mn = arv_gc_integer_get_min(g, &e);
        c.Check(name, kind, "min", Try([&] { return std::to_string(p->GetMin()); }), e ? "error" : std::to_string(mn));
        g_clear_error(&e);
        gint64 mx = arv_gc_integer_get_max(g, &e);
        c.Check(name, kind, "max", Try([&] { return std::to_string(p->GetMax()); }), e ? "error" : std::to_string(mx));
        g_clear_error(&e);
        guint64 inc = arv_gc_integer_get_inc(g, &e);
        c.Check(name, kind, "inc", Try([&] { return std::to_string(p->GetInc()); }), e ? "error" : std::to_string(inc));
        g_clear_error(&e);
        c.Check(name, kind, "incmode", std::to_string(static_cast<int>(p->GetIncMode())), "1");
        c.Check(name, kind, "representation", RepName(p->GetRepresentation()),
                RepName(arv_gc_integer_get_representation(g)));
        const char* unit = arv_gc_integer_get_unit(g);
        c.Check(name, kind, "unit", p->GetUnit().c_str(), unit ? unit : "");
    } else if (kind == "Float") {
        CFloatPtr p(node);
        auto* g = ARV_GC_FLOAT(an);
        const bool hasInc = withInc.count(name) > 0;
        if (readable) {
            double v = arv_gc_float_get_value(g, &e);
            c.Check(name, kind, "value", Try([&] { return Str(p->GetValue()); }), e ? "error" : Str(v));
            // The text GenApi gives for Aravis's value, in this node's notation and precision.
            c.Check(name, kind, "text", Try([&] { return std::string(p->ToString().c_str()); }),
                    e ? "error" : FloatText(v, p->GetDisplayNotation(), p->GetDisplayPrecision()));
            g_clear_error(&e);
        }
        double mn = arv_gc_float_get_min(g, &e);
        c.Check(name, kind, "min", Try([&] { return Str(p->GetMin()); }), e ? "error" : Str(mn));
        g_clear_error(&e);
        double mx = arv_gc_float_get_max(g, &e);
        c.Check(name, kind, "max", Try([&] { return Str(p->GetMax()); }), e ? "error" : Str(mx));
        g_clear_error(&e);
        // A float has an increment only when its XML gives <Inc> or <pInc>.
        c.Check(name, kind, "hasinc", Try([&] { return std::string(p->HasInc() ? "yes" : "no"); }),
                hasInc ? "yes" : "no");
        c.Check(name, kind, "incmode", Try([&] { return std::to_string(static_cast<int>(p->GetIncMode())); }),
                hasInc ? "1" : "0");
        if (hasInc) {
            double inc = arv_gc_float_get_inc(g, &e);
            c.Check(name, kind, "inc", Try([&] { return Str(p->GetInc()); }), e ? "error" : Str(inc));
            g_clear_error(&e);
        }
        c.Check(name, kind, "representation", RepName(p->GetRepresentation()),
                RepName(arv_gc_float_get_representation(g)));
        c.Check(name, kind, "notation", NotationName(p->GetDisplayNotation()),
                NotationName(arv_gc_float_get_display_notation(g)));
        c.Check(name, kind, "precision", std::to_string(p->GetDisplayPrecision()),
                std::to_string(arv_gc_float_get_display_precision(g)));
        const char* unit = arv_gc_float_get_unit(g);
        c.Check(name, kind, "unit", p->GetUnit().c_str(), unit ? unit : "");
    } else if (kind == "String") {
        CStringPtr p(node);
        auto* g = ARV_GC_STRING(an);
        if (readable) {
            const char* v = arv_gc_string_get_value(g, &e);
            c.Check(name, kind, "value", Try([&] { return std::string(p->GetValue().c_str()); }),
                    e ? "error" : std::string(v ? v : ""));
            g_clear_error(&e);
        }
        gint64 ml = arv_gc_string_get_max_length(g, &e);
        c.Check(name, kind, "maxlength", Try([&] { return std::to_string(p->GetMaxLength()); }),
                e ? "error" : std::to_string(ml));
        g_clear_error(&e);
    } else if (kind == "Boolean") {
        CBooleanPtr p(node);
        if (readable) {
            gboolean v = arv_gc_boolean_get_value(ARV_GC_BOOLEAN(an), &e);
            c.Check(name, kind, "value", Try([&] { return std::string(p->GetValue() ? "true" : "false"); }),
                    e ? "error" : (v ? "true" : "false"));
            g_clear_error(&e);
        }
    } else if (kind == "Enumeration") {
        CEnumerationPtr p(node);
        auto* g = ARV_GC_ENUMERATION(an);
        if (readable) {
            gint64 v = arv_gc_enumeration_get_int_value(g, &e);
            c.Check(name, kind, "value", Try([&] { return std::to_string(p->GetIntValue()); }),
                    e ? "error" : std::to_string(v));
            g_clear_error(&e);
            const char* t = arv_gc_feature_node_get_value_as_string(ARV_GC_FEATURE_NODE(an), &e);
            c.Check(name, kind, "text", Try([&] { return std::string(p->ToString().c_str()); }),
                    e ? "error" : std::string(t ? t : ""));
            g_clear_error(&e);
        }
        // Entries: Aravis lists them in reverse XML order.
        std::vector<std::string> arvEntries;
        for (const GSList* l = arv_gc_enumeration_get_entries(g); l; l = l->next) {
            auto* entry = ARV_GC_ENUM_ENTRY(l->data);
            const std::string symbolic = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(entry));
            gint64 v = arv_gc_enum_entry_get_value(entry, &e);
            const std::string value = e ? "error" : std::to_string(v);
            g_clear_error(&e);
            arvEntries.insert(arvEntries.begin(), symbolic + "=" + value + "/" + ArvAccess(ARV_GC_NODE(entry)));
        }
        NodeList_t entries;
        p->GetEntries(entries);
        std::vector<std::string> sdkEntries;
        for (INode* en : entries) {
            CEnumEntryPtr ep(en);
            sdkEntries.push_back(std::string(ep->GetSymbolic().c_str()) + "=" + std::to_string(ep->GetValue()) + "/" +
                                 AccessName(en->GetAccessMode()));
        }
        std::string a, s;
        for (auto& x : arvEntries) a += x + " ";
        for (auto& x : sdkEntries) s += x + " ";
        c.Check(name, kind, "entries", s, a);
    } else if (kind == "Register") {
        CRegisterPtr p(node);
        auto* g = ARV_GC_REGISTER(an);
        guint64 len = arv_gc_register_get_length(g, &e);
        c.Check(name, kind, "length", Try([&] { return std::to_string(p->GetLength()); }),
                e ? "error" : std::to_string(len));
        g_clear_error(&e);
        guint64 addr = arv_gc_register_get_address(g, &e);
        c.Check(name, kind, "address", Try([&] { return std::to_string(p->GetAddress()); }),
                e ? "error" : std::to_string(addr));
        g_clear_error(&e);
    }
}

// Compares the two node maps over identical memories: zeros, or (with
// `pattern`) the same deterministic bytes over the first 128 KiB, so that
// selectors, indexes and registers hold values other than 0.
Comparison Compare(const std::string& file, const std::string& xml, bool pattern = false) {
    Comparison c;
    c.file = file;
    auto sdk = CXmlNodeMap::FromText(xml.c_str());
    ArvDevice* device = GenApi::impl::NewMemoryDevice(xml);
    if (pattern) {
        std::vector<uint8_t> bytes(0x20000);
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>((i * 37 + 11) % 7);
        sdk->WriteMemory(0, bytes.data(), bytes.size());
        EXPECT_TRUE(GenApi::impl::MemoryDeviceWrite(device, 0, bytes.size(), bytes.data(), nullptr));
    }
    ArvGc* gc = arv_device_get_genicam(device);
    EXPECT_NE(gc, nullptr) << file;
    if (!gc) {
        g_object_unref(device);
        return c;
    }
    const std::set<std::string> withInc = NodesWithInc(xml);
    NodeList_t nodes;
    sdk->GetNodeMap().GetNodes(nodes);
    // Ports with a ChunkID or EventID, then every node whose reading
    // children reach one.
    std::map<INode*, bool> onData;
    std::function<bool(INode*, int)> reaches = [&](INode* n, int depth) -> bool {
        auto it = onData.find(n);
        if (it != onData.end()) return it->second;
        if (depth > 64) return false;
        onData[n] = false;
        bool result = false;
        if (n->GetPrincipalInterfaceType() == intfIPort) {
            ArvGcNode* an = arv_gc_get_node(gc, n->GetName().c_str());
            result = an && (n->GetAccessMode() == NA);
        }
        node_vector children;
        n->GetChildren(children, ctReadingChildren);
        for (INode* child : children)
            if (child && reaches(child, depth + 1)) result = true;
        onData[n] = result;
        return result;
    };
    for (INode* node : nodes)
        if (reaches(node, 0)) c.sets.onDataPorts.insert(node->GetName().c_str());
    for (INode* node : nodes)
        if (ARV_IS_GC_CONVERTER(arv_gc_get_node(gc, node->GetName().c_str())))
            c.sets.converters.insert(node->GetName().c_str());
    for (INode* node : nodes) {
        const std::string name = node->GetName().c_str();
        if (node->GetPrincipalInterfaceType() == intfIEnumEntry) {
            ++c.compared; // compared with its enumeration
            continue;
        }
        ArvGcNode* an = arv_gc_get_node(gc, name.c_str());
        if (!an || !ARV_IS_GC_FEATURE_NODE(an)) {
            ADD_FAILURE() << file << ": " << name << " has no Aravis feature node";
            continue;
        }
        CompareNode(c, node, an, withInc);
    }
    g_object_unref(device);
    return c;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<std::string> CorpusFiles() {
    std::vector<std::string> files;
    const std::string dir = ORVANE_SOURCE_DIR "/tests/data/xml";
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* entry = readdir(d)) {
            const std::string n = entry->d_name;
            if (n.size() > 4 && n.compare(n.size() - 4, 4, ".xml") == 0) files.push_back(dir + "/" + n);
        }
        closedir(d);
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Fails for every difference no deliberate row explains; counts the rest.
size_t Report(const std::vector<Comparison>& all) {
    size_t explained = 0;
    for (const Comparison& c : all)
        for (const Difference& d : c.diffs) {
            bool ok = false;
            for (const Deliberate& row : DeliberateDifferences())
                if ((std::string(row.kind) == "*" || d.kind == row.kind) && d.property == row.property &&
                    row.matches(d, c.sets))
                    ok = true;
            if (ok) {
                ++explained;
                continue;
            }
            ADD_FAILURE() << d.file.substr(d.file.rfind('/') + 1) << ": " << d.node << " (" << d.kind << ") "
                          << d.property << ": Orvane '" << d.sdk << "', expected '" << d.arv << "'";
        }
    return explained;
}

TEST(CompareWithAravis, Corpus) {
    std::vector<Comparison> all;
    size_t nodes = 0;
    for (const std::string& file : CorpusFiles()) {
        all.push_back(Compare(file, ReadFile(file)));
        nodes += all.back().compared;
    }
    EXPECT_GE(all.size(), 6u);
    EXPECT_GE(nodes, 500u) << "nodes compared across the corpus";
    EXPECT_GT(Report(all), 0u);
}

// The same with registers holding values other than 0.
TEST(CompareWithAravis, CorpusWithRegisterPattern) {
    std::vector<Comparison> all;
    size_t nodes = 0;
    for (const std::string& file : CorpusFiles()) {
        all.push_back(Compare(file, ReadFile(file), true));
        nodes += all.back().compared;
    }
    EXPECT_GE(nodes, 500u) << "nodes compared across the corpus";
    EXPECT_GT(Report(all), 0u);
}

TEST(CompareWithAravis, VirtualCamera) {
    size_t size = 0;
    const char* xml = Orvane::internal::VirtualCameraXml(&size);
    std::vector<Comparison> all{Compare("virtual-camera.xml", std::string(xml, size))};
    EXPECT_GE(all[0].compared, 300u);
    EXPECT_GT(Report(all), 0u);
}

} // namespace
