// Rate-limited log records: at most one record per key and interval, for
// what can happen at a high rate (events dropped, a failing callback, ...).
//
//   ORV_LOG_RATE_LIMITED(kLogCategoryEvents, LOG_LEVEL_WARN, "events-dropped:" + camera,
//                        "camera " + camera + ": an event was dropped, the queue is full");
//
// The first record of a key goes out at once; the ones that follow within
// the interval (1 s unless told) are counted, not written; the next record
// that goes out after the interval says how many were held back:
// "<message> (<n> similar records suppressed)".
//
// Threads: any thread. The limiter's mutex is held only to look up and update
// the key's state, never while a handler runs. Cost when the level filters
// the record out: that of LogEnabled (the key is not even looked up).
#ifndef ORVANE_LOGGING_LOG_RATE_LIMITER_H
#define ORVANE_LOGGING_LOG_RATE_LIMITER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

#include "logging/Log.h"

namespace Orvane {
namespace internal {

// Decides which records of each key go out. Keys are the caller's texts
// (name the source and the camera: "events-dropped:<serial>"). At most
// `maxKeys` keys are remembered; when a new key finds the table full, the keys
// idle for an interval are forgotten (all of them when none is).
class LogRateLimiter {
public:
    using Clock = std::chrono::steady_clock;

    explicit LogRateLimiter(size_t maxKeys = 1024) : m_maxKeys(maxKeys == 0 ? 1 : maxKeys) {}

    // Whether a record of `key` may go out at `now`: true for the first
    // record of a key and for the first one `interval` or more after the last
    // that went out; `suppressed` is then the number held back meanwhile.
    // False otherwise (the record is counted).
    bool Admit(const std::string& key, Clock::duration interval, Clock::time_point now, uint64_t& suppressed);

    // Writes the record when Admit lets it out at `now`, telling how many
    // were held back since the last one (see the header comment). Checks
    // LogEnabled first: a filtered record is neither written nor counted.
    void Log(const char* category, int priority, const std::string& key, const std::string& message,
             Clock::duration interval, Clock::time_point now);

    // Keys remembered now.
    size_t Size() const;

private:
    struct State {
        Clock::time_point last; // when the last record went out
        uint64_t suppressed = 0;
    };
    mutable std::mutex m_mutex;
    std::unordered_map<std::string, State> m_keys;
    const size_t m_maxKeys;
};

// Writes the record unless the process-wide limiter holds it back (see the
// header comment). Checks LogEnabled first.
void LogRateLimited(const char* category, int priority, const std::string& key, const std::string& message,
                    std::chrono::milliseconds interval = std::chrono::seconds(1));

} // namespace internal
} // namespace Orvane

// ORV_LOG_RATE_LIMITED(category, priority, key, message): LogRateLimited
// with `key` and `message` evaluated only when the record passes the level.
#define ORV_LOG_RATE_LIMITED(category, priority, key, message)                                                  \
    do {                                                                                                        \
        if (::Orvane::internal::LogEnabled(priority))                                                           \
            ::Orvane::internal::LogRateLimited((category), (priority), std::string(key), std::string(message)); \
    } while (0)

#endif
