#include "genapi/XmlSideTable.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdlib>
#include <cstring>

namespace Orvane {
namespace GenApi {
namespace impl {

namespace {

bool Is(const xmlNode* n, const char* name) {
    return n->type == XML_ELEMENT_NODE && std::strcmp(reinterpret_cast<const char*>(n->name), name) == 0;
}

std::string Attribute(const xmlNode* n, const char* name) {
    xmlChar* v = xmlGetProp(n, reinterpret_cast<const xmlChar*>(name));
    if (!v) return "";
    std::string s(reinterpret_cast<const char*>(v));
    xmlFree(v);
    return s;
}

std::string Text(const xmlNode* n) {
    xmlChar* v = xmlNodeGetContent(n);
    if (!v) return "";
    std::string s(reinterpret_cast<const char*>(v));
    xmlFree(v);
    const size_t b = s.find_first_not_of(" \t\r\n");
    if (b == std::string::npos) return "";
    const size_t e = s.find_last_not_of(" \t\r\n");
    return s.substr(b, e - b + 1);
}

void Fill(const xmlNode* element, XmlNodeExtra& x) {
    for (const xmlNode* c = element->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE) continue;
        if (Is(c, "Cachable")) {
            const std::string t = Text(c);
            x.cachable = t == "NoCache" ? 0 : t == "WriteThrough" ? 1 : t == "WriteAround" ? 2 : -1;
        } else if (Is(c, "PollingTime")) {
            x.pollingTime = std::strtoll(Text(c).c_str(), nullptr, 0);
        } else if (Is(c, "IsDeprecated")) {
            x.deprecated = Text(c) == "Yes";
        } else if (Is(c, "Streamable")) {
            x.streamable = Text(c) == "Yes";
        } else if (Is(c, "IsSelfClearing")) {
            x.selfClearing = Text(c) == "Yes";
        } else if (Is(c, "NumericValue")) {
            x.hasNumericValue = true;
            x.numericValue = std::strtod(Text(c).c_str(), nullptr);
        } else if (Is(c, "DocuURL")) {
            x.docuURL = Text(c);
        } else if (Is(c, "EventID")) {
            x.eventID = Text(c);
        } else if (Is(c, "ChunkID")) {
            x.chunkID = Text(c);
        } else if (Is(c, "Endianess")) {
            x.bigEndian = Text(c) == "BigEndian";
        } else if (Is(c, "Sign")) {
            x.isSigned = Text(c) == "Signed";
        } else if (Is(c, "LSB")) {
            x.lsb = static_cast<int>(std::strtol(Text(c).c_str(), nullptr, 0));
        } else if (Is(c, "MSB")) {
            x.msb = static_cast<int>(std::strtol(Text(c).c_str(), nullptr, 0));
        } else if (Is(c, "Bit")) {
            x.lsb = x.msb = static_cast<int>(std::strtol(Text(c).c_str(), nullptr, 0));
        } else if (Is(c, "pIndex")) {
            const std::string offset = Attribute(c, "pOffset");
            if (!offset.empty()) x.offsetNodes.push_back(offset);
        }
    }
}

} // namespace

XmlSideTable::XmlSideTable(const char* xml, size_t size) {
    if (!xml || size == 0) return;
    xmlDocPtr doc = xmlReadMemory(xml, static_cast<int>(size), "genicam.xml", nullptr,
                                  XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE);
    if (!doc) return;
    // Depth-first over every element; named elements are nodes, wherever they
    // are nested (entries in enumerations, struct entries, groups).
    std::vector<std::pair<const xmlNode*, std::string>> stack; // element, name of its enclosing node
    if (const xmlNode* root = xmlDocGetRootElement(doc)) stack.emplace_back(root, "");
    while (!stack.empty()) {
        const xmlNode* element = stack.back().first;
        std::string parent = std::move(stack.back().second);
        stack.pop_back();
        std::string name = Attribute(element, "Name");
        std::string enclosing = parent;
        if (!name.empty() && !Is(element, "pVariable") && !Is(element, "Constant") && !Is(element, "Expression")) {
            std::string key = Is(element, "EnumEntry") ? "EnumEntry_" + parent + "_" + name : name;
            XmlNodeExtra& extra = m_nodes[key];
            extra.standardNameSpace = Attribute(element, "NameSpace") == "Standard";
            extra.element = reinterpret_cast<const char*>(element->name);
            // A struct entry has the byte order of its StructReg.
            if (Is(element, "StructEntry") && element->parent)
                for (const xmlNode* c = element->parent->children; c; c = c->next)
                    if (Is(c, "Endianess")) extra.bigEndian = Text(c) == "BigEndian";
            Fill(element, extra);
            enclosing = name;
        }
        // Push children in reverse so that they are visited in document order.
        std::vector<const xmlNode*> children;
        for (const xmlNode* c = element->children; c; c = c->next)
            if (c->type == XML_ELEMENT_NODE) children.push_back(c);
        for (auto it = children.rbegin(); it != children.rend(); ++it) stack.emplace_back(*it, enclosing);
    }
    xmlFreeDoc(doc);
}

const XmlNodeExtra* XmlSideTable::Find(const std::string& name) const {
    auto it = m_nodes.find(name);
    return it == m_nodes.end() ? nullptr : &it->second;
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
