// Internal access to the logger's handler registry (the system object
// registers and unregisters logging handlers through it).
#ifndef ORVANE_LOGGING_LOGGER_H
#define ORVANE_LOGGING_LOGGER_H

#include <cstddef>

#include "Orvane/Logging.h"

namespace Orvane {

class Logger {
public:
    static bool Register(LoggingEventHandler& handler);
    static bool Unregister(LoggingEventHandler& handler);
    static void UnregisterAll();
    static size_t HandlerCount();
};

} // namespace Orvane

#endif
