// Raising SDK errors: every error the SDK detects itself is logged at error
// priority, under the category of the area that raised it ("Orvane.Camera"
// for a file under src/camera/, ...; the names logging/Log.h lists), and
// thrown as Orvane::Exception carrying the raising position.
#ifndef ORVANE_CORE_RAISE_H
#define ORVANE_CORE_RAISE_H

#include <string>

#include "Orvane/Exception.h"

namespace Orvane {

[[noreturn]] void Raise(int line, const char* file, const char* function, Error code, const std::string& message);

} // namespace Orvane

// ORV_RAISE(code, message): raise from the current source position.
#define ORV_RAISE(code, message) ::Orvane::Raise(__LINE__, __FILE__, __func__, (code), (message))

#endif
