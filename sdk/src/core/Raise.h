// Raising SDK errors: every error the SDK detects itself is logged at error
// priority, under the category of the area that raised it ("Orvane.Camera"
// for a file under src/camera/, ...; the names logging/Log.h lists), and
// thrown as Orvane::Exception carrying the raising position.
#ifndef ORVANE_CORE_RAISE_H
#define ORVANE_CORE_RAISE_H

#include <string>

#include "Orvane/Exception.h"

namespace Orvane {

// A statement of the SDK's sources: the file, line and function an error is
// reported at. ORV_HERE captures all three at once, so that they always name
// the same statement. Helpers that raise on behalf of their caller take the
// caller's position (`const SourcePosition& at`, passed as ORV_HERE).
struct SourcePosition {
    const char* file;
    int line;
    const char* function;
};

[[noreturn]] void Raise(const SourcePosition& at, Error code, const std::string& message);

} // namespace Orvane

#define ORV_HERE (::Orvane::SourcePosition{__FILE__, __LINE__, __func__})

// ORV_RAISE(code, message): raise from the current source position.
#define ORV_RAISE(code, message) ::Orvane::Raise(ORV_HERE, (code), (message))

#endif
