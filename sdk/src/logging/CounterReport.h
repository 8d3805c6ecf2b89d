// CounterReport: log records for counters that grow (frames lost, frames
// incomplete, packets resent), at most one record per interval, with counts.
//
// The owner calls Update with the counters' totals as often as it likes (a
// camera's delivery thread: every 20 ms). When a counter grew since the last
// record and at least the interval (1 s unless told) has passed since it,
// one record goes out naming each counter that grew, by how much, over what
// time (since the last record, or the first Update), and the totals:
//   "camera 21436587: frames lost +3, frames incomplete +1 in the last 1.0 s
//    (totals: frames lost 10, frames incomplete 4)"
// Growth that comes sooner is kept and reported once the interval is over
// (at the next Update after it). A total smaller than before (the counters
// were reset) counts from there. While the level filters the record out,
// growth is taken as seen: once records pass again, they report what grew
// from then on.
//
// Threads: one owner thread calls Update (the object has no lock). Cost: the
// level check and a comparison per counter, no allocation, unless a record
// goes out.
#ifndef ORVANE_LOGGING_COUNTER_REPORT_H
#define ORVANE_LOGGING_COUNTER_REPORT_H

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace Orvane {
namespace internal {

class CounterReport {
public:
    using Clock = std::chrono::steady_clock;

    // `labels` names the counters, in the order Update gives their totals;
    // `subject` starts each record ("camera 21436587").
    CounterReport(const char* category, int priority, std::string subject, std::vector<std::string> labels,
                  Clock::duration interval = std::chrono::seconds(1));

    // Takes the totals (as many as labels; extra ones are ignored, missing
    // ones count as unchanged). Returns whether a record went out.
    bool Update(std::initializer_list<uint64_t> totals, Clock::time_point now = Clock::now());

private:
    const char* m_category;
    int m_priority;
    std::string m_subject;
    std::vector<std::string> m_labels;
    Clock::duration m_interval;
    std::vector<uint64_t> m_reported; // totals the next record counts growth from
    std::vector<uint64_t> m_current;  // totals at the last Update
    bool m_started = false;           // Update ran once
    bool m_everReported = false;
    Clock::time_point m_lastRecord{}; // when the last record went out
    Clock::time_point m_since{};      // when m_reported was taken: the start of the time the next record covers
};

} // namespace internal
} // namespace Orvane

#endif
