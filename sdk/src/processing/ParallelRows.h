// Splitting row-wise work across threads.
//
// Threads: ParallelRows starts (threads - 1) std::threads for the duration of
// one call and joins them before it returns; the calling thread works on the
// first band itself. There is no pool and nothing outlives the call. The
// caller owns the choice of `threads` (ImageProcessor passes its own setting).
#ifndef ORVANE_PROCESSING_PARALLEL_ROWS_H
#define ORVANE_PROCESSING_PARALLEL_ROWS_H

#include <cstddef>
#include <functional>

namespace Orvane {
namespace internal {

// Calls body(band, first, end) for consecutive bands [first, end) covering
// [0, rows), one band per thread, on at most `threads` threads (0 counts as 1).
// Bands start on multiples of `align` rows (a Bayer pair: 2). Fewer threads
// are used when a band would hold fewer than `minRows` rows. The first
// exception a band throws is rethrown on the calling thread after every band
// has finished.
void ParallelRows(size_t rows, unsigned threads, size_t minRows, size_t align,
                  const std::function<void(unsigned band, size_t first, size_t end)>& body);

// The number of bands ParallelRows uses for these arguments.
unsigned BandCount(size_t rows, unsigned threads, size_t minRows, size_t align);

// The number of threads meant by a thread setting (0: the hardware threads).
unsigned ResolveThreads(unsigned threads);

} // namespace internal
} // namespace Orvane

#endif
