// XmlSideTable: what a device's GenICam XML says about its nodes beyond what
// Aravis's parser keeps or exposes (caching mode, polling time, deprecation,
// DocuURL, EventID, IsSelfClearing, NumericValue, the pOffset of an indexed
// register, a port's ChunkID, a register's endianness, sign and bit field),
// read once from the XML text with libxml2.
#ifndef ORVANE_GENAPI_XML_SIDE_TABLE_H
#define ORVANE_GENAPI_XML_SIDE_TABLE_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

struct _xmlDoc;

namespace Orvane {
namespace GenApi {
namespace impl {

struct XmlNodeExtra {
    bool standardNameSpace = false; // NameSpace="Standard" (GenICam's default is Custom)
    int cachable = -1;              // ECachingMode, -1 when the XML gives none
    int64_t pollingTime = -1;       // milliseconds, -1 when absent
    bool deprecated = false;
    bool streamable = false;
    bool selfClearing = false; // enumeration entries
    bool hasNumericValue = false;
    double numericValue = 0.0; // enumeration entries
    std::string docuURL;
    std::string eventID;
    std::vector<std::string> offsetNodes; // nodes named by pOffset attributes
    std::string element;                  // the XML element's name: IntReg, MaskedIntReg, FloatReg, Port, ...
    std::string chunkID;                  // a port's ChunkID (hexadecimal text), empty when absent
    bool bigEndian = false;               // Endianess (GenICam's default is LittleEndian)
    bool isSigned = false;                // Sign (GenICam's default is Unsigned)
    int lsb = -1;                         // a MaskedIntReg's bit field (LSB, MSB, or Bit for both); -1 when absent
    int msb = -1;
    bool hasInc = false; // an <Inc> or <pInc> element: the node has an increment of its own
    // A register's address as the XML composes it: the sum of its <Address>
    // elements, plus pAddress targets (computedAddress), plus the value of
    // each pIndex node times its Offset (or pOffset, or the register's
    // length when neither is given).
    uint64_t fixedAddress = 0;
    bool computedAddress = false;        // a pAddress, or a pIndex with pOffset: the address can be anything
    bool computedLength = false;         // a pLength: the length is known only when the register is accessed
    std::vector<std::string> indexNodes; // pIndex targets
    std::vector<int64_t> indexOffsets;   // their Offset, -1 when absent (the register's length)
};

class XmlSideTable {
public:
    // Parses `xml`; text that is no XML leaves the table empty. The content of
    // vendor <Extension> elements is not read: whatever it names, it is no
    // node of the map.
    XmlSideTable(const char* xml, size_t size);
    // Reads an already parsed document (libxml2's xmlDoc).
    explicit XmlSideTable(const _xmlDoc* doc);

    // The entry of a node by name; enumeration entries are keyed
    // "EnumEntry_<Enumeration>_<Entry>". Null when the XML has no such node.
    const XmlNodeExtra* Find(const std::string& name) const;
    size_t Size() const { return m_nodes.size(); }

private:
    void Read(const _xmlDoc* doc);
    std::unordered_map<std::string, XmlNodeExtra> m_nodes;
};

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
