#include "transport/DeviceEventMap.h"

#include <libxml/parser.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <unordered_set>

#include "genapi/XmlElements.h"

namespace Orvane {
namespace internal {

namespace {

using GenApi::impl::XmlAttribute;
using GenApi::impl::XmlIs;
using GenApi::impl::XmlText;

struct XmlNode {
    std::string name;
    const xmlNode* element;
};

bool ParseNumber(const std::string& text, int base, uint64_t& value) {
    if (text.empty() || text[0] == '-' || text[0] == '+') return false;
    errno = 0;
    char* end = nullptr;
    const unsigned long long v = std::strtoull(text.c_str(), &end, base);
    if (errno != 0 || end == text.c_str() || *end != '\0') return false;
    value = v;
    return true;
}

// EventID is hexadecimal with or without "0x".
bool ParseEventId(std::string text, uint64_t& id) {
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text = text.substr(2);
    return ParseNumber(text, 16, id);
}

// The nodes of the description in document order: children of the root and
// of <Group> elements, which only group nodes.
void CollectNodes(const xmlNode* parent, std::vector<XmlNode>& out) {
    for (const xmlNode* c = parent->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE) continue;
        if (XmlIs(c, "Group")) {
            CollectNodes(c, out);
            continue;
        }
        // A StructReg has no name of its own: its StructEntry children are the nodes.
        const std::string name = XmlAttribute(c, "Name");
        if (!name.empty() || XmlIs(c, "StructReg")) out.push_back({name, c});
    }
}

std::string NameFromPort(const std::string& port) {
    std::string name = port;
    if (name.size() > 5 && name.compare(0, 5, "Event") == 0) name = name.substr(5);
    for (const char* suffix : {"Port", "Data"}) {
        const size_t n = std::strlen(suffix);
        if (name.size() > n && name.compare(name.size() - n, n, suffix) == 0) {
            name = name.substr(0, name.size() - n);
            break;
        }
    }
    return name;
}

} // namespace

DeviceEventMap::DeviceEventMap(const char* xml, size_t size) {
    if (!xml || size == 0 || size > static_cast<size_t>(std::numeric_limits<int>::max())) return;
    xmlDoc* doc = xmlReadMemory(xml, static_cast<int>(size), nullptr, nullptr,
                                XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (!doc) return;
    const xmlNode* root = xmlDocGetRootElement(doc);
    if (!root) {
        xmlFreeDoc(doc);
        return;
    }

    std::vector<XmlNode> nodes;
    CollectNodes(root, nodes);
    // Who reads which port, who refers to whom, and the Event<Name> integers.
    std::unordered_map<std::string, std::vector<std::string>> readersOfPort;
    std::unordered_map<std::string, std::vector<size_t>> referrers; // referenced name -> referring nodes
    std::unordered_map<uint64_t, std::string> idFeatures;           // value -> first Event<Name> integer
    for (size_t i = 0; i < nodes.size(); ++i) {
        const xmlNode* e = nodes[i].element;
        const bool isInteger = XmlIs(e, "Integer");
        for (const xmlNode* c = e->children; c; c = c->next) {
            if (c->type != XML_ELEMENT_NODE) continue;
            const char* tag = reinterpret_cast<const char*>(c->name);
            if (std::strcmp(tag, "pPort") == 0) {
                std::vector<std::string>& readers = readersOfPort[XmlText(c)];
                if (!nodes[i].name.empty()) readers.push_back(nodes[i].name);
                if (XmlIs(e, "StructReg"))
                    for (const xmlNode* entry = e->children; entry; entry = entry->next)
                        if (XmlIs(entry, "StructEntry") && !XmlAttribute(entry, "Name").empty())
                            readers.push_back(XmlAttribute(entry, "Name"));
            } else if (tag[0] == 'p' && !nodes[i].name.empty() && std::strcmp(tag, "pFeature") != 0 &&
                       std::strcmp(tag, "pSelected") != 0) {
                // pFeature (category members) and pSelected (selector to selected) carry no value.
                referrers[XmlText(c)].push_back(i);
            } else if (isInteger && std::strcmp(tag, "Value") == 0 && nodes[i].name.size() > 5 &&
                       nodes[i].name.compare(0, 5, "Event") == 0) {
                uint64_t value = 0;
                if (ParseNumber(XmlText(c), 0, value)) idFeatures.emplace(value, nodes[i].name);
            }
        }
    }

    for (const XmlNode& n : nodes) {
        if (!XmlIs(n.element, "Port")) continue;
        const xmlNode* idElement = nullptr;
        for (const xmlNode* c = n.element->children; c; c = c->next)
            if (XmlIs(c, "EventID")) idElement = c;
        uint64_t id = 0;
        if (!idElement || !ParseEventId(XmlText(idElement), id)) continue;

        DeviceEventInfo info;
        info.id = id;
        info.port = n.name;
        const auto feature = idFeatures.find(id);
        if (feature != idFeatures.end()) {
            info.idFeature = feature->second;
            info.name = feature->second.substr(5);
        } else {
            info.name = NameFromPort(n.name);
        }

        const auto readers = readersOfPort.find(n.name);
        std::unordered_set<std::string> inSet;
        std::vector<std::string> pending;
        if (readers != readersOfPort.end()) {
            for (const std::string& r : readers->second) {
                if (!inSet.insert(r).second) continue;
                info.registers.push_back(r);
                pending.push_back(r);
            }
        }
        while (!pending.empty()) {
            const std::string name = pending.back();
            pending.pop_back();
            const auto refs = referrers.find(name);
            if (refs == referrers.end()) continue;
            for (size_t i : refs->second)
                if (inSet.insert(nodes[i].name).second) pending.push_back(nodes[i].name);
        }
        // Document order; struct entries stand where their StructReg stands.
        for (const XmlNode& m : nodes) {
            if (XmlIs(m.element, "StructReg")) {
                for (const xmlNode* entry = m.element->children; entry; entry = entry->next)
                    if (XmlIs(entry, "StructEntry") && inSet.count(XmlAttribute(entry, "Name")))
                        info.nodes.push_back(XmlAttribute(entry, "Name"));
            } else if (inSet.count(m.name)) {
                info.nodes.push_back(m.name);
            }
        }

        const size_t index = m_events.size();
        m_byId.emplace(info.id, index);
        m_byName.emplace(info.name, index);
        m_events.push_back(std::move(info));
    }
    xmlFreeDoc(doc);
}

const DeviceEventInfo* DeviceEventMap::Find(uint64_t eventId) const {
    const auto i = m_byId.find(eventId);
    return i == m_byId.end() ? nullptr : &m_events[i->second];
}

const DeviceEventInfo* DeviceEventMap::FindByName(const std::string& name) const {
    const auto i = m_byName.find(name);
    return i == m_byName.end() ? nullptr : &m_events[i->second];
}

} // namespace internal
} // namespace Orvane
