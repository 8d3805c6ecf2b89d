// ImageLeasePool: the Image objects handed out by GetNextImage, without an
// allocation per frame.
//
// Each image handed to the caller is an ImagePtr whose shared_ptr control
// block and Image object live in one block of memory taken from this pool
// (std::allocate_shared with the pool's allocator). When the caller drops the
// last ImagePtr, the Image is destroyed (handing its buffer back if it was
// never released) and the block returns to the pool. So an image the caller
// keeps after Release stays a valid (empty) object, and the pool only grows
// while the caller holds more images than ever before; in steady state no
// frame allocates.
//
// Ownership and threads: shared by the camera's acquisition (which creates
// images on the callers' threads) and by every outstanding block (its
// allocator holds the pool), so the pool outlives its last image. Its mutex
// guards the free list only and is held for a push or a pop.
#ifndef ORVANE_ACQUISITION_IMAGE_LEASE_POOL_H
#define ORVANE_ACQUISITION_IMAGE_LEASE_POOL_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "Orvane/Image.h"

namespace Orvane {
namespace internal {

class ImageLeasePool : public std::enable_shared_from_this<ImageLeasePool> {
public:
    static std::shared_ptr<ImageLeasePool> Create();
    ~ImageLeasePool();
    ImageLeasePool(const ImageLeasePool&) = delete;
    ImageLeasePool& operator=(const ImageLeasePool&) = delete;

    // A new empty Image in pooled memory.
    ImagePtr NewImage();

    // Blocks ever allocated (for tests and benchmarks).
    size_t BlocksAllocated() const;

    void* Allocate(size_t bytes);
    void Deallocate(void* block, size_t bytes);

private:
    ImageLeasePool() = default;

    mutable std::mutex m_mutex; // guards the three below
    std::vector<void*> m_free;
    size_t m_blockSize = 0; // the size of pooled blocks (fixed by the first request)
    size_t m_allocated = 0;
};

} // namespace internal
} // namespace Orvane

#endif
