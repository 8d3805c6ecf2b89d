#include "logging/CounterReport.h"

#include <cstdio>

#include "logging/Log.h"

namespace Orvane {
namespace internal {

CounterReport::CounterReport(const char* category, int priority, std::string subject, std::vector<std::string> labels,
                             Clock::duration interval)
    : m_category(category), m_priority(priority), m_subject(std::move(subject)), m_labels(std::move(labels)),
      m_interval(interval), m_reported(m_labels.size(), 0), m_current(m_labels.size(), 0) {}

bool CounterReport::Update(std::initializer_list<uint64_t> totals, Clock::time_point now) {
    if (!m_started) {
        m_started = true;
        m_since = now;
    }
    bool grew = false;
    size_t i = 0;
    for (uint64_t t : totals) {
        if (i == m_current.size()) break;
        if (t < m_current[i]) m_reported[i] = 0; // the counter was reset: it counts from zero
        m_current[i] = t;
        if (t > m_reported[i]) grew = true;
        ++i;
    }
    if (!grew) return false;
    if (!LogEnabled(m_priority)) {
        m_reported = m_current; // seen, not reported
        m_since = now;
        return false;
    }
    if (m_everReported && now - m_lastRecord < m_interval) return false;

    std::string text = m_subject + ":";
    std::string totalsText;
    const char* separator = " ";
    for (size_t k = 0; k < m_current.size(); ++k) {
        if (m_current[k] > m_reported[k]) {
            text += separator + m_labels[k] + " +" + std::to_string(m_current[k] - m_reported[k]);
            separator = ", ";
        }
        totalsText += (k ? ", " : "") + m_labels[k] + " " + std::to_string(m_current[k]);
    }
    char span[64];
    std::snprintf(span, sizeof span,
                  " in the last %.1f s (totals: ", std::chrono::duration<double>(now - m_since).count());
    text += span + totalsText + ")";
    m_reported = m_current;
    m_everReported = true;
    m_lastRecord = now;
    m_since = now;
    Log(m_category, m_priority, text);
    return true;
}

} // namespace internal
} // namespace Orvane
