#include "genapi/ArvNodeMap.h"

#include <libxml/tree.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include "core/Raise.h"
#include "genapi/ArvNodes.h"
#include "genapi/XmlSideTable.h"
#include "genapi/XmlValidation.h"

namespace Orvane {
namespace GenApi {
namespace impl {

namespace {

// One feature element of the document, as found by the walk.
struct Item {
    ArvDomNode* element;
    ArvDomNode* structReg; // the StructReg enclosing a StructEntry, else null
};

// What the build learns about each node.
struct Built {
    Node* node = nullptr;
    ArvDomNode* element = nullptr;
    ArvDomNode* structReg = nullptr;
    std::vector<Node*> reads;                       // nodes read to compute this one or its limits and access
    std::vector<Node*> valueReads;                  // nodes read to compute its value (not pMin, pMax, pInc, pIs*)
    std::vector<Node*> accessInputs;                // pIsImplemented, pIsAvailable, pIsLocked targets
    std::vector<Node*> valueTargets;                // pValue, pValueIndexed, pValueDefault targets
    std::vector<Node*> features;                    // a category's pFeature targets
    Node* value = nullptr;                          // the pValue target
    Node* index = nullptr;                          // the pIndex target
    std::vector<std::pair<int64_t, Node*>> indexed; // pValueIndexed targets with their index
    Node* valueDefault = nullptr;                   // the pValueDefault target
    ArvPortNode* port = nullptr;                    // the chunk or event port of a register (pPort), else null
    int explicitCaching = -1;                       // the XML's Cachable
    enum Kind { Leaf, Computed, Never } kind = Computed;
};

std::string Copy(const char* s) { return s ? s : ""; }

bool StartsWith(const std::string& s, const char* prefix) { return s.rfind(prefix, 0) == 0; }

void Collect(ArvDomNode* parent, ArvDomNode* structReg, std::vector<Item>& out) {
    for (ArvDomNode* c = arv_dom_node_get_first_child(parent); c; c = arv_dom_node_get_next_sibling(c)) {
        if (ARV_IS_GC_PROPERTY_NODE(c)) continue;
        if (ARV_IS_GC_FEATURE_NODE(c)) {
            if (ARV_IS_GC_ENUM_ENTRY(c)) continue; // made with their enumeration
            const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(c));
            ArvDomNode* inner = ARV_IS_GC_STRUCT_REG_NODE(c) ? c : nullptr;
            if (name) out.push_back({c, ARV_IS_GC_STRUCT_ENTRY_NODE(c) ? structReg : nullptr});
            if (!ARV_IS_GC_ENUMERATION(c)) Collect(c, inner, out);
            continue;
        }
        Collect(c, structReg, out); // groups and other containers
    }
}

NodeInfo InfoOf(ArvGcFeatureNode* f, const std::string& name, const XmlNodeExtra* extra) {
    NodeInfo info;
    info.name = name;
    info.nameSpace = arv_gc_feature_node_get_name_space(f) == ARV_GC_NAME_SPACE_STANDARD ? Standard : Custom;
    switch (arv_gc_feature_node_get_visibility(f)) {
    case ARV_GC_VISIBILITY_INVISIBLE: info.visibility = Invisible; break;
    case ARV_GC_VISIBILITY_GURU: info.visibility = Guru; break;
    case ARV_GC_VISIBILITY_EXPERT: info.visibility = Expert; break;
    default: info.visibility = Beginner; break;
    }
    info.toolTip = Copy(arv_gc_feature_node_get_tooltip(f));
    info.description = Copy(arv_gc_feature_node_get_description(f));
    info.displayName = Copy(arv_gc_feature_node_get_display_name(f));
    if (extra) {
        info.nameSpace = extra->standardNameSpace ? Standard : Custom;
        info.docuURL = extra->docuURL;
        info.eventID = extra->eventID;
        info.deprecated = extra->deprecated;
        info.streamable = extra->streamable;
        info.pollingTime = extra->pollingTime;
    }
    return info;
}

ArvGcPropertyNode* CommandValueOf(ArvDomNode* element) {
    for (ArvDomNode* c = arv_dom_node_get_first_child(element); c; c = arv_dom_node_get_next_sibling(c)) {
        if (!ARV_IS_GC_PROPERTY_NODE(c)) continue;
        const ArvGcPropertyNodeType t = arv_gc_property_node_get_node_type(ARV_GC_PROPERTY_NODE(c));
        if (t == ARV_GC_PROPERTY_NODE_TYPE_COMMAND_VALUE || t == ARV_GC_PROPERTY_NODE_TYPE_P_COMMAND_VALUE)
            return ARV_GC_PROPERTY_NODE(c);
    }
    return nullptr;
}

} // namespace

ArvNodeMap::ArvNodeMap(ArvDevice* device, std::string deviceName)
    : NodeMapBase(std::move(deviceName)), m_device(device), m_gc(nullptr) {
    if (!ARV_IS_DEVICE(device)) ORV_RAISE(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "no device to build a node map for");
    g_object_ref(m_device);
    m_gc = arv_device_get_genicam(m_device);
    // Aravis builds a partial node tree from a truncated document and none
    // from other malformed ones: the text is checked either way, so that the
    // error says what is wrong and where.
    // One libxml2 parse serves the check and the side table.
    size_t xmlSize = 0;
    const char* xml = arv_device_get_genicam_xml(m_device, &xmlSize);
    const bool hasXml = xml && xmlSize > 0;
    std::string problem;
    xmlDocPtr doc = hasXml ? ParseGenICamXml(xml, xmlSize, problem) : nullptr;
    const auto side = std::make_unique<XmlSideTable>(doc);
    xmlFreeDoc(doc);
    if (!problem.empty() || !m_gc) {
        g_object_unref(m_device);
        if (!problem.empty())
            ORV_RAISE(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "the GenICam XML of the device is invalid: " + problem);
        if (!hasXml) ORV_RAISE(ORVANE_ERR_GENICAM_PROPERTY, "the device has no GenICam description");
        ORV_RAISE(ORVANE_ERR_GENICAM_INVALID_ARGUMENT,
                  "the GenICam XML of the device is invalid: Aravis could not build a node tree from it");
    }
    // Aravis's own caches and checks stay off: Orvane verifies, and cached
    // registers go stale behind selectors.
    arv_gc_set_register_cache_policy(m_gc, ARV_REGISTER_CACHE_POLICY_DISABLE);
    arv_gc_set_range_check_policy(m_gc, ARV_RANGE_CHECK_POLICY_DISABLE);
    arv_gc_set_access_check_policy(m_gc, ARV_ACCESS_CHECK_POLICY_DISABLE);
    try {
        Build(*side);
    } catch (...) {
        g_object_unref(m_device);
        throw;
    }
}

ArvNodeMap::~ArvNodeMap() { g_object_unref(m_device); }

Node* ArvNodeMap::NodeOf(ArvGcNode* node) const {
    auto it = m_byArv.find(node);
    return it == m_byArv.end() ? nullptr : it->second;
}

void ArvNodeMap::Build(const XmlSideTable& side) {
    MapLock lock(*this);

    std::vector<Item> items;
    Collect(ARV_DOM_NODE(arv_dom_document_get_document_element(ARV_DOM_DOCUMENT(m_gc))), nullptr, items);

    std::vector<Built> built;
    built.reserve(items.size() * 2);
    std::unordered_map<std::string, bool> seenNames;

    auto add = [&](std::unique_ptr<Node> node, bool hidden, ArvDomNode* element, ArvDomNode* structReg,
                   Built::Kind kind, int explicitCaching) -> Node* {
        Node* raw = hidden ? AddHidden(std::move(node)) : Add(std::move(node));
        m_byArv.emplace(ARV_GC_NODE(element), raw);
        Built b;
        b.node = raw;
        b.element = element;
        b.structReg = structReg;
        b.kind = kind;
        b.explicitCaching = explicitCaching;
        built.push_back(std::move(b));
        return raw;
    };

    // Nodes ----------------------------------------------------------------
    for (const Item& item : items) {
        ArvGcFeatureNode* f = ARV_GC_FEATURE_NODE(item.element);
        const std::string name = arv_gc_feature_node_get_name(f);
        if (!seenNames.emplace(name, true).second) continue; // a duplicate name: the first declaration wins
        const XmlNodeExtra* extra = side.Find(name);
        // Aravis adds "Arv..." nodes of its own to GigE Vision and fake maps.
        const bool hidden = StartsWith(name, "Arv") && !extra;
        const int caching = extra ? extra->cachable : -1;
        NodeInfo info = InfoOf(f, name, extra);

        if (ARV_IS_GC_CATEGORY(f)) {
            add(std::make_unique<ArvCategoryNode>(*this, std::move(info), f), hidden, item.element, nullptr,
                Built::Never, caching);
        } else if (ARV_IS_GC_ENUMERATION(f)) {
            auto* e =
                static_cast<ArvEnumerationNode*>(add(std::make_unique<ArvEnumerationNode>(*this, std::move(info), f),
                                                     hidden, item.element, nullptr, Built::Computed, caching));
            // Entries in XML order (Aravis's own list is reversed).
            for (ArvDomNode* c = arv_dom_node_get_first_child(item.element); c; c = arv_dom_node_get_next_sibling(c)) {
                if (!ARV_IS_GC_ENUM_ENTRY(c)) continue;
                ArvGcFeatureNode* ef = ARV_GC_FEATURE_NODE(c);
                const char* symbolic = arv_gc_feature_node_get_name(ef);
                if (!symbolic) continue;
                const std::string entryName = "EnumEntry_" + name + "_" + symbolic;
                if (!seenNames.emplace(entryName, true).second) continue;
                GError* error = nullptr;
                const int64_t value = arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(c), &error);
                if (error) {
                    g_error_free(error);
                    continue; // an entry without a value cannot be selected
                }
                const XmlNodeExtra* entryExtra = side.Find(entryName);
                NodeInfo ei = InfoOf(ef, entryName, entryExtra);
                if (ei.displayName.empty()) ei.displayName = symbolic;
                ei.feature = false;
                auto entry = std::make_unique<ArvEnumEntryNode>(*this, std::move(ei), ef, symbolic, value);
                if (entryExtra) {
                    entry->SetSelfClearing(entryExtra->selfClearing);
                    if (entryExtra->hasNumericValue) entry->SetNumericValue(entryExtra->numericValue);
                }
                auto* raw = static_cast<ArvEnumEntryNode*>(
                    add(std::move(entry), hidden, c, nullptr, Built::Never, entryExtra ? entryExtra->cachable : -1));
                e->AddEntry(*raw);
            }
        } else if (ARV_IS_GC_COMMAND(f)) {
            add(std::make_unique<ArvCommandNode>(*this, std::move(info), f, CommandValueOf(item.element)), hidden,
                item.element, nullptr, Built::Never, caching);
        } else if (ARV_IS_GC_BOOLEAN(f)) {
            add(std::make_unique<ArvBooleanNode>(*this, std::move(info), f), hidden, item.element, nullptr,
                Built::Computed, caching);
        } else if (ARV_IS_GC_PORT(f)) {
            auto* port = static_cast<ArvPortNode*>(add(std::make_unique<ArvPortNode>(*this, std::move(info), f), hidden,
                                                       item.element, nullptr, Built::Never, caching));
            // A ChunkID or an EventID makes it a port over data the map is given.
            if (extra && !extra->chunkID.empty()) {
                port->SetSource(ArvPortNode::Source::Chunk, std::strtoull(extra->chunkID.c_str(), nullptr, 16),
                                &m_chunkAttached);
                m_chunkPorts.push_back(port);
            } else if (extra && !extra->eventID.empty()) {
                port->SetSource(ArvPortNode::Source::Event, std::strtoull(extra->eventID.c_str(), nullptr, 16),
                                nullptr);
                m_eventPorts.push_back(port);
            }
        } else if (ARV_IS_GC_FLOAT(f)) {
            add(std::make_unique<ArvFloatNode>(*this, std::move(info), f), hidden, item.element, nullptr,
                ARV_IS_GC_REGISTER(f) ? Built::Leaf : Built::Computed, caching);
        } else if (ARV_IS_GC_STRING(f)) {
            add(std::make_unique<ArvStringNode>(*this, std::move(info), f), hidden, item.element, nullptr,
                ARV_IS_GC_REGISTER(f) ? Built::Leaf : Built::Computed, caching);
        } else if (ARV_IS_GC_INTEGER(f)) {
            const bool leaf = ARV_IS_GC_REGISTER(f) || ARV_IS_GC_STRUCT_ENTRY_NODE(f);
            add(std::make_unique<ArvIntegerNode>(*this, std::move(info), f), hidden, item.element, item.structReg,
                leaf ? Built::Leaf : Built::Computed, caching);
        } else if (ARV_IS_GC_REGISTER(f)) {
            add(std::make_unique<ArvRegisterNode>(*this, std::move(info), f), hidden, item.element, nullptr,
                Built::Leaf, caching);
        }
    }

    std::unordered_map<Node*, size_t> index;
    for (size_t i = 0; i < built.size(); ++i) index.emplace(built[i].node, i);

    // Links ----------------------------------------------------------------
    auto linkFrom = [&](Built& b, ArvDomNode* element) {
        for (ArvDomNode* c = arv_dom_node_get_first_child(element); c; c = arv_dom_node_get_next_sibling(c)) {
            if (!ARV_IS_GC_PROPERTY_NODE(c)) continue;
            ArvGcPropertyNode* p = ARV_GC_PROPERTY_NODE(c);
            const ArvGcPropertyNodeType t = arv_gc_property_node_get_node_type(p);
            if (t <= ARV_GC_PROPERTY_NODE_TYPE_P_UNKNONW) continue;
            Node* target = NodeOf(arv_gc_property_node_get_linked_node(p));
            if (!target || target == b.node) continue;
            if (t == ARV_GC_PROPERTY_NODE_TYPE_P_PORT) {
                // Only chunk and event ports take part in the graph: attaching
                // data to them changes what their registers read. (A device
                // port's writes drop every cached value anyway.)
                auto* port = dynamic_cast<ArvPortNode*>(target);
                if (port && port->DataSource() != ArvPortNode::Source::Device) {
                    b.node->AddDependency(*port, ctReadingChildren);
                    b.port = port;
                }
                continue;
            }
            switch (t) {
            case ARV_GC_PROPERTY_NODE_TYPE_P_FEATURE: b.features.push_back(target); break;
            case ARV_GC_PROPERTY_NODE_TYPE_P_SELECTED: b.node->AddSelected(*target); break;
            case ARV_GC_PROPERTY_NODE_TYPE_P_INVALIDATOR: b.node->AddDependency(*target, ctInvalidatingChildren); break;
            default:
                b.node->AddDependency(*target, ctReadingChildren);
                b.reads.push_back(target);
                if (t == ARV_GC_PROPERTY_NODE_TYPE_P_IS_IMPLEMENTED || t == ARV_GC_PROPERTY_NODE_TYPE_P_IS_AVAILABLE ||
                    t == ARV_GC_PROPERTY_NODE_TYPE_P_IS_LOCKED)
                    b.accessInputs.push_back(target);
                else if (t != ARV_GC_PROPERTY_NODE_TYPE_P_MINIMUM && t != ARV_GC_PROPERTY_NODE_TYPE_P_MAXIMUM &&
                         t != ARV_GC_PROPERTY_NODE_TYPE_P_INCREMENT)
                    b.valueReads.push_back(target);
                if (t == ARV_GC_PROPERTY_NODE_TYPE_P_VALUE) {
                    if (!b.value) b.value = target;
                    b.valueTargets.push_back(target);
                }
                if (t == ARV_GC_PROPERTY_NODE_TYPE_P_VALUE_INDEXED || t == ARV_GC_PROPERTY_NODE_TYPE_P_VALUE_DEFAULT)
                    b.valueTargets.push_back(target);
                if (t == ARV_GC_PROPERTY_NODE_TYPE_P_VALUE_INDEXED && ARV_IS_GC_VALUE_INDEXED_NODE(p))
                    b.indexed.emplace_back(arv_gc_value_indexed_node_get_index(ARV_GC_VALUE_INDEXED_NODE(p)), target);
                if (t == ARV_GC_PROPERTY_NODE_TYPE_P_VALUE_DEFAULT) b.valueDefault = target;
                if (t == ARV_GC_PROPERTY_NODE_TYPE_P_INDEX && !b.index) b.index = target;
                break;
            }
        }
    };
    std::unordered_map<ArvDomNode*, std::vector<Node*>> structs;
    for (Built& b : built) {
        linkFrom(b, b.element);
        if (b.structReg) {
            linkFrom(b, b.structReg); // a struct entry reads through its StructReg
            structs[b.structReg].push_back(b.node);
        }
        if (const XmlNodeExtra* extra = side.Find(b.node->Info().name))
            for (const std::string& offset : extra->offsetNodes)
                if (Node* target = FindNode(offset)) {
                    b.node->AddDependency(*target, ctReadingChildren);
                    b.reads.push_back(target);
                    b.valueReads.push_back(target);
                }
        if (auto* category = dynamic_cast<ArvCategoryNode*>(b.node))
            for (Node* f : b.features)
                if (NodeFromBase(f)) category->AddFeature(*f);
        if (auto* linked = dynamic_cast<ArvLinked*>(b.node)) {
            ArvLink& link = linked->Link();
            link.valueNode = b.value;
            link.passThrough = ARV_IS_GC_INTEGER_NODE(b.element) || ARV_IS_GC_FLOAT_NODE(b.element);
            if (b.index && (!b.indexed.empty() || b.valueDefault)) {
                link.indexNode = b.index;
                link.indexedTargets = b.indexed;
                link.defaultTarget = b.valueDefault;
            }
        }
        const XmlNodeExtra* extra = side.Find(b.node->Info().name);
        if (auto* f = dynamic_cast<ArvFloatNode*>(b.node)) f->SetHasIncrement(extra && extra->hasInc);
        if (auto* linked = dynamic_cast<ArvLinked*>(b.node))
            linked->Link().lengthComputed = extra && extra->computedLength && ARV_IS_GC_REGISTER(b.element);
    }
    // Entries of one StructReg share its register: a write of one changes the others.
    for (auto& s : structs)
        for (Node* a : s.second)
            for (Node* b : s.second)
                if (a != b) a->AddDependency(*b, ctInvalidatingChildren);
    // Registers at fixed addresses that overlap (two views of one register, a
    // StructReg and an IntReg at the same address) change together.
    struct Span {
        uint64_t begin, end;
        Node* node;
    };
    std::vector<Span> spans;
    for (Built& b : built) {
        // Registers on chunk and event ports change together with their port
        // (and their addresses are offsets in its data, not device addresses).
        if (b.kind != Built::Leaf || b.port) continue;
        ArvDomNode* reg = b.structReg ? b.structReg : b.element;
        if (!ARV_IS_GC_REGISTER(reg)) continue;
        GError* error = nullptr;
        const guint64 length = arv_gc_register_get_length(ARV_GC_REGISTER(reg), &error);
        if (error) {
            g_error_free(error);
            continue;
        }
        const XmlNodeExtra* extra = side.Find(b.node->Info().name);
        if (extra && (extra->computedAddress || !extra->indexNodes.empty())) {
            // An address computed from other nodes: every address the index
            // can reach may be this register's (GenICam: Address + Index *
            // Offset, Offset defaulting to the length), from the index
            // node's bounds (an enumeration's: its entries' values). A pAddress
            // or pOffset may lead anywhere, and so does an index without
            // bounds: those are taken at their base address only, so that one
            // such register does not tie every register of the device
            // together.
            Span span{extra->fixedAddress, extra->fixedAddress + std::max<guint64>(length, 1), b.node};
            if (!extra->computedAddress && extra->indexNodes.size() == 1) {
                Node* selector = FindNode(extra->indexNodes[0]);
                const int64_t offset = extra->indexOffsets[0] >= 0 ? extra->indexOffsets[0] : int64_t(length);
                try {
                    int64_t lo = 0, hi = -1;
                    if (auto* integer = dynamic_cast<IInteger*>(selector)) {
                        lo = integer->GetMin();
                        hi = integer->GetMax();
                    } else if (auto* enumeration = dynamic_cast<EnumerationNode*>(selector)) {
                        bool any = false;
                        for (EnumEntryNode* e : enumeration->Entries()) {
                            lo = any ? std::min(lo, e->GetValue()) : e->GetValue();
                            hi = any ? std::max(hi, e->GetValue()) : e->GetValue();
                            any = true;
                        }
                    }
                    const double first = double(extra->fixedAddress) + double(lo) * double(offset);
                    const double last = double(extra->fixedAddress) + double(hi) * double(offset) + double(length);
                    if (lo <= hi && first >= 0 && last - first < 1e9) span = {uint64_t(first), uint64_t(last), b.node};
                } catch (const Exception&) {
                    // bounds that cannot be read now: the base address only
                }
            }
            spans.push_back(span);
            continue;
        }
        const guint64 address = arv_gc_register_get_address(ARV_GC_REGISTER(reg), &error);
        if (error) {
            g_error_free(error);
            continue;
        }
        spans.push_back({address, address + std::max<guint64>(length, 1), b.node});
    }
    std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.begin < b.begin; });
    for (size_t i = 0; i < spans.size(); ++i)
        for (size_t j = i + 1; j < spans.size() && spans[j].begin < spans[i].end; ++j) {
            if (spans[i].node == spans[j].node) continue;
            spans[i].node->AddDependency(*spans[j].node, ctInvalidatingChildren);
            spans[j].node->AddDependency(*spans[i].node, ctInvalidatingChildren);
        }
    // A write goes down the whole pValue chain.
    for (Built& b : built) {
        std::vector<Node*> stack(b.valueTargets.begin(), b.valueTargets.end());
        for (size_t guard = 0; !stack.empty() && guard < built.size() * 4; ++guard) {
            Node* t = stack.back();
            stack.pop_back();
            if (t == b.node) continue;
            const size_t before = b.node->WriteTargets().size();
            b.node->AddWriteTarget(*t);
            if (b.node->WriteTargets().size() == before) continue;
            const Built& tb = built[index.at(t)];
            stack.insert(stack.end(), tb.valueTargets.begin(), tb.valueTargets.end());
        }
    }

    // Chunk and event ports: who reads through them, who the map serves --------
    std::sort(m_chunkPorts.begin(), m_chunkPorts.end(),
              [](const ArvPortNode* a, const ArvPortNode* b) { return a->DataId() < b->DataId(); });
    std::sort(m_eventPorts.begin(), m_eventPorts.end(),
              [](const ArvPortNode* a, const ArvPortNode* b) { return a->DataId() < b->DataId(); });
    m_chunkHadData.assign(m_chunkPorts.size(), 0);
    {
        enum State : char { Unknown, Busy, Done };
        std::vector<State> state(built.size(), Unknown);
        std::vector<ArvPortNode*> through(built.size(), nullptr);
        std::function<ArvPortNode*(size_t)> dataPort = [&](size_t i) -> ArvPortNode* {
            if (state[i] == Done) return through[i];
            if (state[i] == Busy) return nullptr;
            state[i] = Busy;
            ArvPortNode* p = built[i].port;
            for (Node* r : built[i].reads)
                if (!p) p = dataPort(index.at(r));
            through[i] = p;
            state[i] = Done;
            return p;
        };
        for (size_t i = 0; i < built.size(); ++i) {
            ArvPortNode* p = dataPort(i);
            if (!p) continue;
            auto* linked = dynamic_cast<ArvLinked*>(built[i].node);
            if (linked) linked->Link().dataPort = p;
        }
        // Registers on those ports: the map decodes them as the XML lays them out.
        for (Built& b : built) {
            if (!b.port || b.kind != Built::Leaf) continue;
            auto* linked = dynamic_cast<ArvLinked*>(b.node);
            const XmlNodeExtra* extra = side.Find(b.node->Info().name);
            if (!linked || !extra) continue;
            PortRegisterLayout layout;
            layout.bigEndian = extra->bigEndian;
            layout.isSigned = extra->isSigned;
            if (extra->element == "IntReg") {
                layout.kind = PortRegisterLayout::Integer;
            } else if (extra->element == "MaskedIntReg" || extra->element == "StructEntry") {
                layout.kind = PortRegisterLayout::MaskedInteger;
                layout.lsb = extra->lsb;
                layout.msb = extra->msb;
            } else if (extra->element == "FloatReg") {
                layout.kind = PortRegisterLayout::Float;
            } else if (extra->element == "StringReg") {
                layout.kind = PortRegisterLayout::String;
            } else if (extra->element == "Register") {
                layout.kind = PortRegisterLayout::Bytes;
            } else {
                continue;
            }
            linked->Link().portRegister = true;
            linked->Link().portLayout = layout;
        }
        // Integers, floats and enumerations that only pass such a register's value on.
        std::vector<State> servedState(built.size(), Unknown);
        std::function<bool(size_t)> served = [&](size_t i) -> bool {
            auto* linked = dynamic_cast<ArvLinked*>(built[i].node);
            if (!linked) return false;
            if (linked->Link().portRegister) return true;
            if (servedState[i] == Done) return linked->Link().servedBy != nullptr;
            if (servedState[i] == Busy) return false;
            servedState[i] = Busy;
            const Built& b = built[i];
            ArvDomNode* e = b.element;
            const bool passThrough = ARV_IS_GC_INTEGER_NODE(e) || ARV_IS_GC_FLOAT_NODE(e) || ARV_IS_GC_ENUMERATION(e);
            if (passThrough && b.value && b.port == nullptr && served(index.at(b.value)))
                linked->Link().servedBy = b.value;
            servedState[i] = Done;
            return linked->Link().servedBy != nullptr;
        };
        for (size_t i = 0; i < built.size(); ++i) served(i);
    }
    // The registers each node's writes reach, for the device observer.
    for (Built& b : built) {
        auto* linked = dynamic_cast<ArvLinked*>(b.node);
        if (!linked) continue;
        std::vector<ArvGcRegister*>& regs = linked->Link().writeRegisters;
        auto addLeaf = [&](const Built& t) {
            if (t.kind != Built::Leaf || t.port) return;
            ArvDomNode* reg = t.structReg ? t.structReg : t.element;
            if (!ARV_IS_GC_REGISTER(reg)) return;
            ArvGcRegister* r = ARV_GC_REGISTER(reg);
            if (std::find(regs.begin(), regs.end(), r) == regs.end()) regs.push_back(r);
        };
        addLeaf(b);
        for (Node* t : b.node->WriteTargets()) addLeaf(built[index.at(t)]);
    }

    // Features: what the Root category reaches ---------------------------------
    for (Built& b : built) b.node->MutableInfo().feature = false;
    if (Node* root = FindNode("Root")) {
        std::vector<Node*> queue{root};
        root->MutableInfo().feature = true;
        for (size_t i = 0; i < queue.size(); ++i) {
            const Built& b = built[index.at(queue[i])];
            for (Node* f : b.features)
                if (!f->Info().feature) {
                    f->MutableInfo().feature = true;
                    queue.push_back(f);
                }
        }
    }

    // Caching modes and what may be cached -----------------------------------
    enum State : char { Unknown, Busy, Done };
    std::vector<State> state(built.size(), Unknown);
    std::vector<ECachingMode> mode(built.size(), NoCache);
    std::function<ECachingMode(size_t)> caching = [&](size_t i) -> ECachingMode {
        if (state[i] == Done) return mode[i];
        if (state[i] == Busy) return NoCache; // a cycle: be safe
        state[i] = Busy;
        const Built& b = built[i];
        ECachingMode m = WriteThrough;
        if (b.explicitCaching >= 0) {
            m = static_cast<ECachingMode>(b.explicitCaching);
        } else if (b.kind == Built::Never) {
            m = NoCache;
        } else if (b.kind == Built::Computed) {
            // Only what the value is computed from counts: limits and access
            // are read anew on every use.
            for (Node* r : b.valueReads)
                if (caching(index.at(r)) == NoCache) m = NoCache;
        }
        // A register behind a pIndex or pAddress that cannot be cached cannot be either.
        if (b.kind == Built::Leaf && m != NoCache)
            for (Node* r : b.valueReads)
                if (caching(index.at(r)) == NoCache) m = NoCache;
        if (b.kind == Built::Never && b.explicitCaching >= 0) m = NoCache;
        mode[i] = m;
        state[i] = Done;
        return m;
    };
    for (size_t i = 0; i < built.size(); ++i) {
        const ECachingMode m = caching(i);
        const Built& b = built[i];
        if (b.explicitCaching >= 0)
            b.node->MutableInfo().cachingMode = static_cast<ECachingMode>(b.explicitCaching);
        else
            b.node->MutableInfo().cachingMode = m;
    }
    std::vector<State> accessState(built.size(), Unknown);
    std::vector<bool> accessCacheable(built.size(), false);
    std::function<bool(size_t)> accessOk = [&](size_t i) -> bool {
        if (accessState[i] == Done) return accessCacheable[i];
        if (accessState[i] == Busy) return false;
        accessState[i] = Busy;
        const Built& b = built[i];
        bool ok = true;
        for (Node* a : b.accessInputs)
            if (mode[index.at(a)] == NoCache) ok = false;
        if (b.value && !accessOk(index.at(b.value))) ok = false;
        accessCacheable[i] = ok;
        accessState[i] = Done;
        return ok;
    };
    for (size_t i = 0; i < built.size(); ++i) {
        auto* linked = dynamic_cast<ArvLinked*>(built[i].node);
        if (!linked) continue;
        // The access mode of a node with selected targets follows the index.
        linked->Link().accessCacheable = accessOk(i) && !linked->Link().indexNode;
        linked->Link().valueCacheable = built[i].kind != Built::Never && mode[i] != NoCache;
    }
    InvalidateDependencyGraph();
}

// Chunk and event data ---------------------------------------------------------

namespace {

uint32_t BigEndian32(const uint8_t* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}

} // namespace

std::pair<size_t, size_t> ArvNodeMap::PortRange(const std::vector<ArvPortNode*>& ports, uint64_t id) const {
    auto lo = std::lower_bound(ports.begin(), ports.end(), id,
                               [](const ArvPortNode* p, uint64_t v) { return p->DataId() < v; });
    auto hi = lo;
    while (hi != ports.end() && (*hi)->DataId() == id) ++hi;
    return {static_cast<size_t>(lo - ports.begin()), static_cast<size_t>(hi - ports.begin())};
}

void ArvNodeMap::ClearChunkPorts() {
    m_chunkAttached = false;
    for (ArvPortNode* port : m_chunkPorts) {
        if (!port->HasData()) continue;
        port->ClearData();
        NotifyChanged(*port);
    }
}

void ArvNodeMap::AttachChunkData(const void* data, size_t size) {
    MapLock lock(*this);
    if (!data && size > 0)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "chunk data of " + std::to_string(size) + " bytes without a buffer");
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    for (size_t i = 0; i < m_chunkPorts.size(); ++i) {
        m_chunkHadData[i] = m_chunkPorts[i]->HasData();
        m_chunkPorts[i]->ClearData();
    }
    m_chunkAttached = false;
    // From the end backwards: each step consumes a trailer and its data, so
    // the walk ends after at most size / 8 steps.
    size_t end = size;
    char failure[192] = {0};
    while (end > 0) {
        if (end < 8) {
            std::snprintf(failure, sizeof failure,
                          "the layout is truncated: %zu bytes are left before byte %zu, a chunk trailer needs 8", end,
                          end);
            break;
        }
        const size_t trailer = end - 8;
        const uint32_t id = BigEndian32(bytes + trailer);
        const uint32_t length = BigEndian32(bytes + trailer + 4);
        if (length > trailer) {
            std::snprintf(failure, sizeof failure,
                          "chunk 0x%08X (trailer at byte %zu) claims %u data bytes, only %zu bytes precede its trailer",
                          id, trailer, length, trailer);
            break;
        }
        const size_t start = trailer - length;
        const std::pair<size_t, size_t> range = PortRange(m_chunkPorts, id);
        for (size_t k = range.first; k < range.second; ++k)
            if (!m_chunkPorts[k]->HasData()) m_chunkPorts[k]->SetData(bytes + start, length); // nearest the end wins
        end = start;
    }
    if (failure[0]) {
        for (ArvPortNode* port : m_chunkPorts) port->ClearData();
        for (size_t i = 0; i < m_chunkPorts.size(); ++i)
            if (m_chunkHadData[i]) NotifyChanged(*m_chunkPorts[i]);
        ORV_RAISE(ORVANE_ERR_INVALID_BUFFER, "chunk data of " + std::to_string(size) + " bytes refused: " + failure);
    }
    m_chunkAttached = true;
    for (size_t i = 0; i < m_chunkPorts.size(); ++i)
        if (m_chunkHadData[i] || m_chunkPorts[i]->HasData()) NotifyChanged(*m_chunkPorts[i]);
}

void ArvNodeMap::DetachChunkData() {
    MapLock lock(*this);
    ClearChunkPorts();
}

bool ArvNodeMap::HasChunkData() const {
    MapLock lock(*this);
    return m_chunkAttached;
}

bool ArvNodeMap::FindChunk(uint64_t chunkId, const uint8_t** data, size_t* size) const {
    MapLock lock(*this);
    const std::pair<size_t, size_t> range = PortRange(m_chunkPorts, chunkId);
    for (size_t k = range.first; k < range.second; ++k) {
        if (!m_chunkPorts[k]->HasData()) continue;
        if (data) *data = m_chunkPorts[k]->Data();
        if (size) *size = m_chunkPorts[k]->DataSize();
        return true;
    }
    return false;
}

bool ArvNodeMap::HasChunkPort(uint64_t chunkId) const {
    const std::pair<size_t, size_t> range = PortRange(m_chunkPorts, chunkId);
    return range.first != range.second;
}

bool ArvNodeMap::HasEventPort(uint64_t eventId) const {
    const std::pair<size_t, size_t> range = PortRange(m_eventPorts, eventId);
    return range.first != range.second;
}

void ArvNodeMap::AttachEventData(uint64_t eventId, const void* data, size_t size) {
    MapLock lock(*this);
    char id[24];
    std::snprintf(id, sizeof id, "0x%llX", static_cast<unsigned long long>(eventId));
    if (!data && size > 0)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  std::string("event ") + id + " data of " + std::to_string(size) + " bytes without a buffer");
    const std::pair<size_t, size_t> range = PortRange(m_eventPorts, eventId);
    if (range.first == range.second)
        ORV_RAISE(ORVANE_ERR_INVALID_ID, std::string("the description has no port for event ") + id);
    for (size_t k = range.first; k < range.second; ++k) {
        m_eventPorts[k]->SetData(static_cast<const uint8_t*>(data), size);
        NotifyChanged(*m_eventPorts[k]);
    }
}

void ArvNodeMap::DetachEventData(uint64_t eventId) {
    MapLock lock(*this);
    const std::pair<size_t, size_t> range = PortRange(m_eventPorts, eventId);
    for (size_t k = range.first; k < range.second; ++k) {
        if (!m_eventPorts[k]->HasData()) continue;
        m_eventPorts[k]->ClearData();
        NotifyChanged(*m_eventPorts[k]);
    }
}

// Device observer -----------------------------------------------------------

void ArvNodeMap::SetDeviceObserver(DeviceObserver* observer) {
    MapLock lock(*this);
    m_observer = observer;
}

void ArvNodeMap::WatchReads(Node& node) {
    MapLock lock(*this);
    std::vector<Node*> queue{&node};
    std::unordered_map<Node*, bool> seen{{&node, true}};
    for (size_t i = 0; i < queue.size(); ++i) {
        if (auto* linked = dynamic_cast<ArvLinked*>(queue[i])) linked->Link().watchReads = true;
        for (Node* d : queue[i]->Dependents())
            if (seen.emplace(d, true).second) queue.push_back(d);
    }
}

void ArvNodeMap::NotifyNodeWrite(const ArvLink& link) {
    if (!m_observer) return;
    for (ArvGcRegister* reg : link.writeRegisters) {
        GError* error = nullptr;
        const guint64 address = arv_gc_register_get_address(reg, &error);
        if (error) {
            g_error_free(error);
            continue;
        }
        const guint64 length = arv_gc_register_get_length(reg, &error);
        if (error) {
            g_error_free(error);
            continue;
        }
        m_observer->AfterWrite(address, length);
    }
}

void ArvNodeMap::NotifyNodeRead() {
    if (m_observer) m_observer->BeforeRead();
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
