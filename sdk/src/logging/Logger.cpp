// The process-wide logger: priority level, handler registry and record
// construction. Handlers run synchronously on the logging thread.
#include "logging/Logger.h"

#include <sys/time.h>

#include <atomic>
#include <cstdio>
#include <ctime>
#include <mutex>

#include "core/HandlerRegistry.h"
#include "logging/ThreadName.h"

namespace Orvane {

namespace {

std::atomic<int> g_level{LOG_LEVEL_ERROR};
// The number of registered handlers, so that IsEnabled takes no lock.
std::atomic<size_t> g_handlers{0};

HandlerRegistry<LoggingEventHandler>& Registry() {
    static HandlerRegistry<LoggingEventHandler>* registry = new HandlerRegistry<LoggingEventHandler>();
    return *registry; // never destroyed: logging stays usable during static destruction
}

// Copies the registry's size into g_handlers after a change. Serialised, so
// the last copy made follows the last change: the count ends up exact.
void CountHandlers() {
    static std::mutex* mutex = new std::mutex();
    std::lock_guard<std::mutex> lock(*mutex);
    g_handlers.store(Registry().Size(), std::memory_order_relaxed);
}

// Set while this thread delivers a record, so that records logged by a
// handler are not delivered again (they would recurse).
thread_local bool t_dispatching = false;

GenICam::gcstring Timestamp() {
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    struct tm tm;
    localtime_r(&tv.tv_sec, &tm);
    char text[96];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%06ld", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, static_cast<long>(tv.tv_usec));
    return text;
}

} // namespace

bool Logger::Register(LoggingEventHandler& handler) {
    const bool added = Registry().Add(handler);
    CountHandlers();
    return added;
}
bool Logger::Unregister(LoggingEventHandler& handler) {
    const bool removed = Registry().Remove(handler);
    CountHandlers();
    return removed;
}
void Logger::UnregisterAll() {
    Registry().RemoveAll();
    CountHandlers();
}
size_t Logger::HandlerCount() { return Registry().Size(); }

// LoggerWrapper ------------------------------------------------------------

bool LoggerWrapper::IsEnabled(int priority) {
    const int level = g_level.load(std::memory_order_relaxed);
    return level != LOG_LEVEL_OFF && priority <= level && g_handlers.load(std::memory_order_relaxed) != 0;
}

void LoggerWrapper::Log(int priority, const GenICam::gcstring& message, const GenICam::gcstring& context) {
    LogWithCategory(priority, "Orvane", message, context);
}

void LoggerWrapper::LogWithCategory(int priority, const GenICam::gcstring& category, const GenICam::gcstring& message,
                                    const GenICam::gcstring& context) {
    if (t_dispatching || !IsEnabled(priority)) return;
    auto data = std::make_shared<LoggingEventData>(category, priority, Timestamp(), context,
                                                   internal::CurrentThreadName(), message);
    t_dispatching = true;
    struct Reset {
        ~Reset() { t_dispatching = false; }
    } reset;
    Registry().Dispatch([&](LoggingEventHandler& h) { h.OnLogEvent(data); });
}

void LoggerWrapper::LoggingFatal(const GenICam::gcstring& m, const GenICam::gcstring& c) { Log(LOG_LEVEL_FATAL, m, c); }
void LoggerWrapper::LoggingAlert(const GenICam::gcstring& m, const GenICam::gcstring& c) { Log(LOG_LEVEL_ALERT, m, c); }
void LoggerWrapper::LoggingCritical(const GenICam::gcstring& m, const GenICam::gcstring& c) {
    Log(LOG_LEVEL_CRIT, m, c);
}
void LoggerWrapper::LoggingError(const GenICam::gcstring& m, const GenICam::gcstring& c) { Log(LOG_LEVEL_ERROR, m, c); }
void LoggerWrapper::LoggingWarning(const GenICam::gcstring& m, const GenICam::gcstring& c) {
    Log(LOG_LEVEL_WARN, m, c);
}
void LoggerWrapper::LoggingNotice(const GenICam::gcstring& m, const GenICam::gcstring& c) {
    Log(LOG_LEVEL_NOTICE, m, c);
}
void LoggerWrapper::LoggingInfo(const GenICam::gcstring& m, const GenICam::gcstring& c) { Log(LOG_LEVEL_INFO, m, c); }
void LoggerWrapper::LoggingDebug(const GenICam::gcstring& m, const GenICam::gcstring& c) { Log(LOG_LEVEL_DEBUG, m, c); }

void LoggerWrapper::SetPriority(LogLevel level) { g_level.store(level, std::memory_order_relaxed); }
LogLevel LoggerWrapper::GetPriority() { return static_cast<LogLevel>(g_level.load(std::memory_order_relaxed)); }

const char* LoggerWrapper::PriorityName(int priority) {
    if (priority < LOG_LEVEL_ALERT) return "FATAL";
    if (priority < LOG_LEVEL_CRIT) return "ALERT";
    if (priority < LOG_LEVEL_ERROR) return "CRIT";
    if (priority < LOG_LEVEL_WARN) return "ERROR";
    if (priority < LOG_LEVEL_NOTICE) return "WARN";
    if (priority < LOG_LEVEL_INFO) return "NOTICE";
    if (priority < LOG_LEVEL_DEBUG) return "INFO";
    if (priority < LOG_LEVEL_NOTSET) return "DEBUG";
    return "NOTSET";
}

// LoggingEventData ---------------------------------------------------------

LoggingEventData::LoggingEventData(const GenICam::gcstring& category, int priority, const GenICam::gcstring& timestamp,
                                   const GenICam::gcstring& ndc, const GenICam::gcstring& threadName,
                                   const GenICam::gcstring& message)
    : m_category(category), m_priority(priority), m_timestamp(timestamp), m_ndc(ndc), m_threadName(threadName),
      m_message(message) {}
LoggingEventData::~LoggingEventData() = default;
const char* LoggingEventData::GetCategoryName() const { return m_category.c_str(); }
int LoggingEventData::GetPriority() const { return m_priority; }
const char* LoggingEventData::GetPriorityName() const { return LoggerWrapper::PriorityName(m_priority); }
const char* LoggingEventData::GetTimestamp() const { return m_timestamp.c_str(); }
const char* LoggingEventData::GetNDC() const { return m_ndc.c_str(); }
const char* LoggingEventData::GetThreadName() const { return m_threadName.c_str(); }
const char* LoggingEventData::GetLogMessage() const { return m_message.c_str(); }

LoggingEventHandler::LoggingEventHandler() = default;
LoggingEventHandler::~LoggingEventHandler() = default;

} // namespace Orvane
