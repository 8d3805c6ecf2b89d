#include "core/Raise.h"

#include "Orvane/Logging.h"

namespace Orvane {

void Raise(int line, const char* file, const char* function, Error code, const std::string& message) {
    Exception e(line, file, function, message.c_str(), code);
    if (LoggerWrapper::IsEnabled(LOG_LEVEL_ERROR)) LoggerWrapper::LoggingError(e.GetFullErrorMessage(), "");
    throw e;
}

} // namespace Orvane
