#include "genapi/XmlSideTable.h"

#include <libxml/parser.h>

#include <cstdlib>
#include <cstring>

#include "genapi/XmlElements.h"

namespace Orvane {
namespace GenApi {
namespace impl {

namespace {

void Fill(const xmlNode* element, XmlNodeExtra& x, bool structReg) {
    for (const xmlNode* c = element->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE) continue;
        // From a StructReg its entries take the register itself: byte order,
        // address and index.
        if (structReg && !XmlIs(c, "Endianess") && !XmlIs(c, "Address") && !XmlIs(c, "pAddress") &&
            !XmlIs(c, "pIndex") && !XmlIs(c, "pLength"))
            continue;
        if (XmlIs(c, "Cachable")) {
            const std::string t = XmlText(c);
            x.cachable = t == "NoCache" ? 0 : t == "WriteThrough" ? 1 : t == "WriteAround" ? 2 : -1;
        } else if (XmlIs(c, "PollingTime")) {
            x.pollingTime = std::strtoll(XmlText(c).c_str(), nullptr, 0);
        } else if (XmlIs(c, "IsDeprecated")) {
            x.deprecated = XmlText(c) == "Yes";
        } else if (XmlIs(c, "Streamable")) {
            x.streamable = XmlText(c) == "Yes";
        } else if (XmlIs(c, "IsSelfClearing")) {
            x.selfClearing = XmlText(c) == "Yes";
        } else if (XmlIs(c, "NumericValue")) {
            x.hasNumericValue = true;
            x.numericValue = std::strtod(XmlText(c).c_str(), nullptr);
        } else if (XmlIs(c, "DocuURL")) {
            x.docuURL = XmlText(c);
        } else if (XmlIs(c, "EventID")) {
            x.eventID = XmlText(c);
        } else if (XmlIs(c, "ChunkID")) {
            x.chunkID = XmlText(c);
        } else if (XmlIs(c, "Endianess")) {
            x.bigEndian = XmlText(c) == "BigEndian";
        } else if (XmlIs(c, "Sign")) {
            x.isSigned = XmlText(c) == "Signed";
        } else if (XmlIs(c, "LSB")) {
            x.lsb = static_cast<int>(std::strtol(XmlText(c).c_str(), nullptr, 0));
        } else if (XmlIs(c, "MSB")) {
            x.msb = static_cast<int>(std::strtol(XmlText(c).c_str(), nullptr, 0));
        } else if (XmlIs(c, "Bit")) {
            x.lsb = x.msb = static_cast<int>(std::strtol(XmlText(c).c_str(), nullptr, 0));
        } else if (XmlIs(c, "pIndex")) {
            const std::string offset = XmlAttribute(c, "pOffset");
            if (!offset.empty()) {
                x.offsetNodes.push_back(offset);
                x.computedAddress = true;
            }
            const std::string fixed = XmlAttribute(c, "Offset");
            x.indexNodes.push_back(XmlText(c));
            x.indexOffsets.push_back(fixed.empty() ? -1 : std::strtoll(fixed.c_str(), nullptr, 0));
        } else if (XmlIs(c, "Inc") || XmlIs(c, "pInc")) {
            x.hasInc = true;
        } else if (XmlIs(c, "Address")) {
            x.fixedAddress += std::strtoull(XmlText(c).c_str(), nullptr, 0);
        } else if (XmlIs(c, "pAddress")) {
            x.computedAddress = true;
        } else if (XmlIs(c, "pLength")) {
            x.computedLength = true;
        }
    }
}

} // namespace

XmlSideTable::XmlSideTable(const char* xml, size_t size) {
    if (!xml || size == 0) return;
    xmlDocPtr doc = xmlReadMemory(xml, static_cast<int>(size), "genicam.xml", nullptr,
                                  XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE);
    if (!doc) return;
    Read(doc);
    xmlFreeDoc(doc);
}

XmlSideTable::XmlSideTable(const _xmlDoc* doc) {
    if (doc) Read(doc);
}

void XmlSideTable::Read(const _xmlDoc* doc) {
    // Depth-first over every element; named elements are nodes, wherever they
    // are nested (entries in enumerations, struct entries, groups).
    std::vector<std::pair<const xmlNode*, std::string>> stack; // element, name of its enclosing node
    if (const xmlNode* root = xmlDocGetRootElement(const_cast<xmlDoc*>(doc))) stack.emplace_back(root, "");
    while (!stack.empty()) {
        const xmlNode* element = stack.back().first;
        std::string parent = std::move(stack.back().second);
        stack.pop_back();
        // Vendor extensions are opaque: their elements may carry the names of
        // real nodes (e.g. a renaming table) and must not shadow them.
        if (XmlIs(element, "Extension")) continue;
        std::string name = XmlAttribute(element, "Name");
        std::string enclosing = parent;
        if (!name.empty() && !XmlIs(element, "pVariable") && !XmlIs(element, "Constant") &&
            !XmlIs(element, "Expression")) {
            std::string key = XmlIs(element, "EnumEntry") ? "EnumEntry_" + parent + "_" + name : name;
            // A name declared twice: the first declaration is the node (as
            // the node map keeps it).
            auto inserted = m_nodes.try_emplace(key);
            if (inserted.second) {
                XmlNodeExtra& extra = inserted.first->second;
                extra.standardNameSpace = XmlAttribute(element, "NameSpace") == "Standard";
                extra.element = reinterpret_cast<const char*>(element->name);
                // A struct entry has the byte order and address of its StructReg.
                if (XmlIs(element, "StructEntry") && element->parent) Fill(element->parent, extra, true);
                Fill(element, extra, false);
            }
            enclosing = name;
        }
        // Push children in reverse so that they are visited in document order.
        std::vector<const xmlNode*> children;
        for (const xmlNode* c = element->children; c; c = c->next)
            if (c->type == XML_ELEMENT_NODE) children.push_back(c);
        for (auto it = children.rbegin(); it != children.rend(); ++it) stack.emplace_back(*it, enclosing);
    }
}

const XmlNodeExtra* XmlSideTable::Find(const std::string& name) const {
    auto it = m_nodes.find(name);
    return it == m_nodes.end() ? nullptr : &it->second;
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
