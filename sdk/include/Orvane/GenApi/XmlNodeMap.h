// Orvane::GenApi::CXmlNodeMap: a node map built from a GenICam XML
// description alone, without a camera. Its registers live in memory the
// object owns, so every feature of the description can be read, written and
// inspected: to check a description, to show its feature tree
// (`orvctl features --xml FILE`), to test code that walks node maps.
#ifndef ORVANE_GENAPI_XML_NODE_MAP_H
#define ORVANE_GENAPI_XML_NODE_MAP_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Orvane/Export.h"
#include "Orvane/GenApi/Interfaces.h"
#include "Orvane/GenICam/gcstring.h"

namespace Orvane {
namespace GenApi {

class ORVANE_API CXmlNodeMap {
public:
    // Reads a GenICam XML file (plain text, not zipped) and builds its node
    // map. An unreadable file raises ORVANE_ERR_IO naming the path; a document
    // that is not well-formed XML, or whose root element is not
    // RegisterDescription, raises ORVANE_ERR_GENICAM_INVALID_ARGUMENT with the
    // message "the GenICam XML of <path> is invalid: line N, in element <E>:
    // <reason>" (the element when known; the reason is the XML parser's).
    static std::unique_ptr<CXmlNodeMap> FromFile(const GenICam::gcstring& path);
    // The same from the text of a description; messages say "of the given text".
    static std::unique_ptr<CXmlNodeMap> FromText(const GenICam::gcstring& xml);

    ~CXmlNodeMap();
    CXmlNodeMap(const CXmlNodeMap&) = delete;
    CXmlNodeMap& operator=(const CXmlNodeMap&) = delete;

    // The node map; it lives as long as this object. Its name (GetDeviceName)
    // is "Device".
    INodeMap& GetNodeMap() const;

    // The memory behind the description's ports (every port without a ChunkID
    // or EventID): a 64-bit address space, zero where nothing was written.
    // An access whose address + length would pass 2^64 raises
    // ORVANE_ERR_OUT_OF_RANGE; a null buffer with a non-zero length raises
    // ORVANE_ERR_INVALID_ARGUMENT. Neither changes anything.
    void ReadMemory(uint64_t address, void* buffer, size_t length) const;
    // Writes memory directly, then invalidates every cached value of the node
    // map (its node callbacks of invalidated nodes fire as for InvalidateNodes).
    void WriteMemory(uint64_t address, const void* buffer, size_t length);

    // Threads: every call takes the node map's lock, which also guards every
    // access the nodes make to the memory; the object may be used from any
    // thread. Destroy it when no other thread uses it or its node map.

private:
    struct Impl;
    CXmlNodeMap();
    // Checks `xml` (named `source` in messages) and builds the map.
    static std::unique_ptr<CXmlNodeMap> Build(const GenICam::gcstring& xml, const GenICam::gcstring& source);
    std::unique_ptr<Impl> m_impl;
};

} // namespace GenApi
} // namespace Orvane

#endif
