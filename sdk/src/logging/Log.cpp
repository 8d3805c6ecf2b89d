#include "logging/Log.h"

namespace Orvane {
namespace internal {

void Log(const char* category, int priority, const std::string& message, const char* context) {
    if (!LoggerWrapper::IsEnabled(priority)) return;
    LoggerWrapper::LogWithCategory(priority, category, message, context ? context : "");
}

} // namespace internal
} // namespace Orvane
