// Orvane's logging: priorities, the process-wide level, log records and the
// handlers that receive them.
#ifndef ORVANE_LOGGING_H
#define ORVANE_LOGGING_H

#include <cstdint>
#include <memory>

#include "Orvane/EventHandler.h"
#include "Orvane/Export.h"
#include "Orvane/GenICam/gcstring.h"

namespace Orvane {

// Priorities: a smaller number is more severe. A record reaches the handlers
// when its priority is at most the process-wide level (LOG_LEVEL_ERROR until
// set otherwise); LOG_LEVEL_OFF stops all.
enum LogLevel {
    LOG_LEVEL_OFF = -1,
    LOG_LEVEL_FATAL = 0,
    LOG_LEVEL_ALERT = 100,
    LOG_LEVEL_CRIT = 200,
    LOG_LEVEL_ERROR = 300,
    LOG_LEVEL_WARN = 400,
    LOG_LEVEL_NOTICE = 500,
    LOG_LEVEL_INFO = 600,
    LOG_LEVEL_DEBUG = 700,
    LOG_LEVEL_NOTSET = 800
};

// One log record, as handlers receive it.
class ORVANE_API LoggingEventData {
public:
    LoggingEventData(const GenICam::gcstring& category, int priority, const GenICam::gcstring& timestamp,
                     const GenICam::gcstring& ndc, const GenICam::gcstring& threadName,
                     const GenICam::gcstring& message);
    virtual ~LoggingEventData();

    const char* GetCategoryName() const;
    int GetPriority() const;
    const char* GetPriorityName() const;
    // Local time of the record, "YYYY-MM-DD hh:mm:ss.uuuuuu".
    const char* GetTimestamp() const;
    // Nested diagnostic context: the context text the logging call passed.
    const char* GetNDC() const;
    const char* GetThreadName() const;
    const char* GetLogMessage() const;

private:
    GenICam::gcstring m_category;
    int m_priority;
    GenICam::gcstring m_timestamp;
    GenICam::gcstring m_ndc;
    GenICam::gcstring m_threadName;
    GenICam::gcstring m_message;
};

typedef std::shared_ptr<LoggingEventData> LoggingEventDataPtr;

// Receives log records. OnLogEvent runs synchronously on the thread that
// logged: a caller's thread, or one of the SDK's own threads (the thread
// name says which: "orv-deliver", ...). Records of the SDK's events (camera
// opened, closed or lost, acquisition started or stopped, frames lost, ...)
// are delivered with no SDK lock held. Records of errors are delivered where
// the error is raised, and that thread may hold SDK locks then (a node map's,
// a camera's): a handler should keep the record (copy it, queue it) and
// return, not wait for other threads nor control cameras from there. Records
// logged from inside a handler are not delivered again (no recursion).
class ORVANE_API LoggingEventHandler : public virtual EventHandler {
public:
    LoggingEventHandler();
    ~LoggingEventHandler() override;
    virtual void OnLogEvent(LoggingEventDataPtr loggingEventDataPtr) = 0;
};

// Entry points that write log records: one per priority. The context text
// becomes the record's NDC; the category of their records is "Orvane". The
// SDK's own records name the area that writes them: "Orvane.Camera",
// "Orvane.Acquisition", "Orvane.GenApi", ... (errors the SDK raises: the area
// that raised them).
//
// Cost: IsEnabled reads two atomics and takes no lock; a record it refuses
// costs nothing more. A record that passes is delivered synchronously, on the
// calling thread, to every registered handler.
class ORVANE_API LoggerWrapper {
public:
    static void LoggingFatal(const GenICam::gcstring& message, const GenICam::gcstring& context);
    static void LoggingAlert(const GenICam::gcstring& message, const GenICam::gcstring& context);
    static void LoggingCritical(const GenICam::gcstring& message, const GenICam::gcstring& context);
    static void LoggingError(const GenICam::gcstring& message, const GenICam::gcstring& context);
    static void LoggingWarning(const GenICam::gcstring& message, const GenICam::gcstring& context);
    static void LoggingNotice(const GenICam::gcstring& message, const GenICam::gcstring& context);
    static void LoggingInfo(const GenICam::gcstring& message, const GenICam::gcstring& context);
    static void LoggingDebug(const GenICam::gcstring& message, const GenICam::gcstring& context);
    static void Log(int priority, const GenICam::gcstring& message, const GenICam::gcstring& context);
    // Writes a record under a category of the caller's choice.
    static void LogWithCategory(int priority, const GenICam::gcstring& category, const GenICam::gcstring& message,
                                const GenICam::gcstring& context);

    // Whether a record of this priority would reach the handlers now: the
    // level lets it pass and at least one handler is registered.
    static bool IsEnabled(int priority);
    static void SetPriority(LogLevel level);
    static LogLevel GetPriority();
    // "FATAL", "ALERT", "CRIT", "ERROR", "WARN", "NOTICE", "INFO", "DEBUG", "NOTSET".
    static const char* PriorityName(int priority);
};

} // namespace Orvane

#endif
