// Checking a GenICam XML document before a node map is built from it.
//
// Aravis's own parser reports a malformed document only as a missing node
// tree (and logs libxml2's complaints to stderr), so every place that builds
// a node map from XML text checks it here first, or after Aravis failed, to
// tell the user what is wrong and where.
#ifndef ORVANE_GENAPI_XML_VALIDATION_H
#define ORVANE_GENAPI_XML_VALIDATION_H

#include <cstddef>
#include <string>

struct _xmlDoc;

namespace Orvane {
namespace GenApi {
namespace impl {

// What is wrong with a document: empty when it is a well-formed XML document
// whose root element is RegisterDescription; otherwise one sentence naming
// the line, the element being read when known, and the reason (libxml2's own
// message, or a register <Length> constant outside 0..64 MiB, which Aravis
// would try to allocate), for example
//   "line 12, in element <Integer>: Opening and ending tag mismatch: Value line 11 and Integer".
// Parses with a private libxml2 context: no global handler or state changes,
// no network access, nothing printed. Thread-safe.
std::string GenICamXmlProblem(const char* xml, size_t size);

// The largest register length a node map accepts (64 MiB): Aravis allocates a
// register's length before reading it, and aborts the process when that
// fails. Constant lengths are checked with the document; lengths computed
// from other nodes (pLength) when the register is accessed.
constexpr long long kMaxRegisterLength = 64ll << 20;

// Parses a GenICam document as GenICamXmlProblem checks it: the document
// (free it with xmlFreeDoc) when the check passes, else null with `problem`
// set. One parse serves both the check and whoever reads the document next.
_xmlDoc* ParseGenICamXml(const char* xml, size_t size, std::string& problem);

// Raises ORVANE_ERR_GENICAM_INVALID_ARGUMENT, with the message
//   "the GenICam XML of <source> is invalid: <problem>",
// when GenICamXmlProblem finds a problem; returns otherwise.
void CheckGenICamXml(const char* xml, size_t size, const std::string& source);

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
