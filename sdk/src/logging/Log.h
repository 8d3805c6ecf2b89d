// The SDK's own log records: one call per record, with the category of the
// area that writes it.
//
// Categories: "Orvane.<Area>" for the SDK's areas (constants below); the
// public LoggerWrapper entry points, and so the C library, write "Orvane".
//
// Cost: a record the level filters out (or that no handler would receive)
// costs one check of two atomics; ORV_LOG evaluates its message only after
// that check, so building the text costs nothing then. A record that passes
// is built (timestamp, thread name) and given to every handler synchronously
// on the calling thread: log from hot paths only what is rare or rate-limited
// (LogRateLimiter.h, CounterReport.h).
//
// Threads: any thread; no SDK lock is taken (the handler registry's mutex
// only while the handler list is copied).
#ifndef ORVANE_LOGGING_LOG_H
#define ORVANE_LOGGING_LOG_H

#include <string>

#include "Orvane/Logging.h"

namespace Orvane {
namespace internal {

constexpr const char* kLogCategoryRoot = "Orvane";
constexpr const char* kLogCategoryCore = "Orvane.Core";
constexpr const char* kLogCategoryLogging = "Orvane.Logging";
constexpr const char* kLogCategoryGenApi = "Orvane.GenApi";
constexpr const char* kLogCategoryCodecs = "Orvane.Codecs";
constexpr const char* kLogCategoryImage = "Orvane.Image";
constexpr const char* kLogCategoryProcessing = "Orvane.Processing";
constexpr const char* kLogCategoryTransport = "Orvane.Transport";
constexpr const char* kLogCategoryVirtual = "Orvane.Virtual";
constexpr const char* kLogCategoryCamera = "Orvane.Camera";
constexpr const char* kLogCategoryAcquisition = "Orvane.Acquisition";
constexpr const char* kLogCategoryEvents = "Orvane.Events";
constexpr const char* kLogCategorySystem = "Orvane.System";

// Whether a record of this priority would reach a handler now.
inline bool LogEnabled(int priority) { return LoggerWrapper::IsEnabled(priority); }

// Writes one record (when LogEnabled(priority)); `context` becomes its NDC.
void Log(const char* category, int priority, const std::string& message, const char* context = "");

} // namespace internal
} // namespace Orvane

// ORV_LOG(category, priority, message): writes a record; `message` (any
// expression giving a std::string or text) is evaluated only when the record
// passes the level.
#define ORV_LOG(category, priority, message)                                       \
    do {                                                                           \
        if (::Orvane::internal::LogEnabled(priority))                              \
            ::Orvane::internal::Log((category), (priority), std::string(message)); \
    } while (0)

#endif
