#include "genapi/XmlValidation.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/Raise.h"

namespace Orvane {
namespace GenApi {
namespace impl {

namespace {

// The first error libxml2 reports, with the element open at that moment.
struct FirstError {
    bool seen = false;
    int line = 0;
    std::string element;
    std::string message;
};

struct ParseState {
    FirstError fatal;
    FirstError first;
};

std::string Trimmed(const char* text) {
    std::string s = text ? text : "";
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r' || s.back() == ' ')) s.pop_back();
    return s;
}

// The structured error handler of our own context (libxml2 passes the
// context itself; our state hangs on its _private field): keeps the first
// fatal error, the one that broke well-formedness (later ones are usually
// consequences of it), else the first error.
void OnError(void* user, xmlErrorPtr error) {
    auto* context = static_cast<xmlParserCtxtPtr>(user);
    if (!context || !context->_private || !error || error->level < XML_ERR_ERROR) return;
    auto* state = static_cast<ParseState*>(context->_private);
    FirstError& slot = error->level == XML_ERR_FATAL ? state->fatal : state->first;
    if (slot.seen) return;
    slot.seen = true;
    slot.line = error->line;
    slot.message = Trimmed(error->message);
    if (context->name) slot.element = reinterpret_cast<const char*>(context->name);
}

struct ContextDeleter {
    void operator()(xmlParserCtxtPtr c) const { xmlFreeParserCtxt(c); }
};
struct DocDeleter {
    void operator()(xmlDocPtr d) const { xmlFreeDoc(d); }
};

std::string Where(int line, const std::string& element) {
    std::string where = "line " + std::to_string(line);
    if (!element.empty()) where += ", in element <" + element + ">";
    return where;
}

// The largest register length a description may state (64 MiB). Aravis
// allocates a register's length in bytes when it reads it, and GLib aborts
// the process when an allocation fails: a negative length (read as a huge
// unsigned one) or an absurd one must be refused here, before Aravis sees it.

// A constant <Length> outside 0..kMaxRegisterLength anywhere under `node`
// (depth first): its problem text, else empty. The number is read as Aravis
// reads it (strtoll, base 0); text that is no number at all is left to Aravis.
std::string LengthProblem(const xmlNode* node) {
    for (const xmlNode* n = node; n; n = n->next) {
        if (n->type != XML_ELEMENT_NODE) continue;
        if (std::strcmp(reinterpret_cast<const char*>(n->name), "Length") == 0) {
            std::unique_ptr<xmlChar, decltype(xmlFree)> text(xmlNodeGetContent(n), xmlFree);
            const char* t = reinterpret_cast<const char*>(text.get());
            if (t) {
                char* end = nullptr;
                errno = 0;
                const long long value = std::strtoll(t, &end, 0);
                if (end != t && (errno == ERANGE || value < 0 || value > kMaxRegisterLength))
                    return Where(static_cast<int>(n->line), "Length") + ": the register length " + Trimmed(t) +
                           " is outside 0.." + std::to_string(kMaxRegisterLength);
            }
        }
        std::string problem = LengthProblem(n->children);
        if (!problem.empty()) return problem;
    }
    return "";
}

} // namespace

std::string GenICamXmlProblem(const char* xml, size_t size) {
    std::string problem;
    xmlFreeDoc(ParseGenICamXml(xml, size, problem));
    return problem;
}

namespace {

std::string Parse(const char* xml, size_t size, std::unique_ptr<xmlDoc, DocDeleter>& doc);

} // namespace

xmlDocPtr ParseGenICamXml(const char* xml, size_t size, std::string& problem) {
    std::unique_ptr<xmlDoc, DocDeleter> doc;
    problem = Parse(xml, size, doc);
    if (!problem.empty()) return nullptr;
    return doc.release();
}

namespace {

std::string Parse(const char* xml, size_t size, std::unique_ptr<xmlDoc, DocDeleter>& out) {
    if (!xml || size == 0) return "the document is empty";
    if (size > static_cast<size_t>(INT_MAX)) return "the document is larger than 2 GiB";
    // Only blanks: libxml2 would say "Document is empty" too, at the last line.
    size_t i = 0;
    while (i < size && (xml[i] == ' ' || xml[i] == '\t' || xml[i] == '\n' || xml[i] == '\r')) ++i;
    if (i == size) return "the document is empty";

    ParseState state;
    std::unique_ptr<xmlParserCtxt, ContextDeleter> context(xmlNewParserCtxt());
    if (!context || !context->sax) return "libxml2 could not make a parser (out of memory)";
    // A structured handler on this context only (its SAX block is its own).
    context->_private = &state;
    context->sax->initialized = XML_SAX2_MAGIC;
    context->sax->serror = &OnError;
    context->sax->error = nullptr;
    context->sax->warning = nullptr;
    context->sax->fatalError = nullptr;
    std::unique_ptr<xmlDoc, DocDeleter> doc(xmlCtxtReadMemory(context.get(), xml, static_cast<int>(size), "genicam.xml",
                                                              nullptr, XML_PARSE_NONET | XML_PARSE_HUGE));
    if (!doc || !context->wellFormed) {
        for (const FirstError* e : {&state.fatal, &state.first})
            if (e->seen) return Where(e->line, e->element) + ": " + e->message;
        if (const xmlError* last = xmlCtxtGetLastError(context.get()); last && last->message)
            return Where(last->line, "") + ": " + Trimmed(last->message);
        return "libxml2 could not parse it";
    }
    const xmlNode* root = xmlDocGetRootElement(doc.get());
    if (!root) return "the document has no root element";
    const char* rootName = reinterpret_cast<const char*>(root->name);
    if (std::strcmp(rootName, "RegisterDescription") != 0)
        return Where(static_cast<int>(root->line), rootName) + ": the root element is <" + rootName +
               ">, not <RegisterDescription>";
    std::string lengthProblem = LengthProblem(root->children);
    if (!lengthProblem.empty()) return lengthProblem;
    out = std::move(doc);
    return "";
}

} // namespace

void CheckGenICamXml(const char* xml, size_t size, const std::string& source) {
    const std::string problem = GenICamXmlProblem(xml, size);
    if (!problem.empty())
        ORV_RAISE(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "the GenICam XML of " + source + " is invalid: " + problem);
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
