#include "processing/ParallelRows.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <vector>

namespace Orvane {
namespace internal {

unsigned ResolveThreads(unsigned threads) {
    if (threads != 0) return threads;
    return std::max(1u, std::thread::hardware_concurrency());
}

unsigned BandCount(size_t rows, unsigned threads, size_t minRows, size_t align) {
    if (threads == 0) threads = 1;
    if (minRows == 0) minRows = 1;
    if (align == 0) align = 1;
    size_t bands = std::min<size_t>(threads, std::max<size_t>(1, rows / minRows));
    bands = std::min(bands, std::max<size_t>(1, (rows + align - 1) / align));
    return static_cast<unsigned>(bands);
}

void ParallelRows(size_t rows, unsigned threads, size_t minRows, size_t align,
                  const std::function<void(unsigned band, size_t first, size_t end)>& body) {
    if (rows == 0) return;
    if (align == 0) align = 1;
    const unsigned bands = BandCount(rows, threads, minRows, align);
    if (bands == 1) {
        body(0, 0, rows);
        return;
    }
    // Band b covers [bound(b), bound(b + 1)), bounds rounded down to `align`.
    const size_t units = (rows + align - 1) / align;
    auto bound = [&](unsigned b) { return std::min(rows, units * b / bands * align); };
    std::vector<std::exception_ptr> errors(bands);
    std::vector<std::thread> workers;
    workers.reserve(bands - 1);
    auto run = [&](unsigned b) {
        try {
            body(b, bound(b), bound(b + 1));
        } catch (...) {
            errors[b] = std::current_exception();
        }
    };
    try {
        for (unsigned b = 1; b < bands; ++b) workers.emplace_back(run, b);
    } catch (...) {
        // Could not start a thread: the calling thread does the remaining bands.
        for (unsigned b = static_cast<unsigned>(workers.size()) + 1; b < bands; ++b) run(b);
    }
    run(0);
    for (std::thread& t : workers) t.join();
    for (const std::exception_ptr& e : errors)
        if (e) std::rethrow_exception(e);
}

} // namespace internal
} // namespace Orvane
