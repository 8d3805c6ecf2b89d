#include "logging/LogRateLimiter.h"

namespace Orvane {
namespace internal {

bool LogRateLimiter::Admit(const std::string& key, Clock::duration interval, Clock::time_point now,
                           uint64_t& suppressed) {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_keys.find(key);
    if (it == m_keys.end()) {
        if (m_keys.size() >= m_maxKeys) {
            for (auto k = m_keys.begin(); k != m_keys.end();)
                k = now - k->second.last >= interval ? m_keys.erase(k) : std::next(k);
            if (m_keys.size() >= m_maxKeys) m_keys.clear();
        }
        m_keys.emplace(key, State{now, 0});
        suppressed = 0;
        return true;
    }
    State& state = it->second;
    if (now - state.last < interval) {
        ++state.suppressed;
        return false;
    }
    suppressed = state.suppressed;
    state.suppressed = 0;
    state.last = now;
    return true;
}

size_t LogRateLimiter::Size() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_keys.size();
}

void LogRateLimiter::Log(const char* category, int priority, const std::string& key, const std::string& message,
                         Clock::duration interval, Clock::time_point now) {
    if (!LogEnabled(priority)) return;
    uint64_t suppressed = 0;
    if (!Admit(key, interval, now, suppressed)) return;
    if (suppressed == 0) {
        internal::Log(category, priority, message);
        return;
    }
    internal::Log(category, priority,
                  message + " (" + std::to_string(suppressed) + " similar record" + (suppressed == 1 ? "" : "s") +
                      " suppressed)");
}

void LogRateLimited(const char* category, int priority, const std::string& key, const std::string& message,
                    std::chrono::milliseconds interval) {
    if (!LogEnabled(priority)) return;
    static LogRateLimiter* limiter = new LogRateLimiter(); // never destroyed: usable during static destruction
    limiter->Log(category, priority, key, message, interval, LogRateLimiter::Clock::now());
}

} // namespace internal
} // namespace Orvane
