// Small readers of libxml2 elements shared by the SDK's own passes over a
// device's GenICam XML (XmlSideTable, the device event map): element name
// test, attribute value, and trimmed text content.
#ifndef ORVANE_GENAPI_XML_ELEMENTS_H
#define ORVANE_GENAPI_XML_ELEMENTS_H

#include <libxml/tree.h>

#include <cstring>
#include <string>

namespace Orvane {
namespace GenApi {
namespace impl {

// Whether `n` is an element called `name`.
inline bool XmlIs(const xmlNode* n, const char* name) {
    return n->type == XML_ELEMENT_NODE && std::strcmp(reinterpret_cast<const char*>(n->name), name) == 0;
}

// The value of attribute `name`, "" when absent.
inline std::string XmlAttribute(const xmlNode* n, const char* name) {
    xmlChar* v = xmlGetProp(n, reinterpret_cast<const xmlChar*>(name));
    if (!v) return "";
    std::string s(reinterpret_cast<const char*>(v));
    xmlFree(v);
    return s;
}

// The element's text content without leading and trailing white space.
inline std::string XmlText(const xmlNode* n) {
    xmlChar* v = xmlNodeGetContent(n);
    if (!v) return "";
    std::string s(reinterpret_cast<const char*>(v));
    xmlFree(v);
    const size_t b = s.find_first_not_of(" \t\r\n");
    if (b == std::string::npos) return "";
    const size_t e = s.find_last_not_of(" \t\r\n");
    return s.substr(b, e - b + 1);
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
