#include "acquisition/ImageLeasePool.h"

#include <new>

#include "image/ImageAccess.h"

namespace Orvane {
namespace internal {

namespace {

// The allocator std::allocate_shared rebinds to its control block type; every
// copy keeps the pool alive.
template <class T>
struct PoolAllocator {
    using value_type = T;
    explicit PoolAllocator(std::shared_ptr<ImageLeasePool> p) : pool(std::move(p)) {}
    template <class U>
    PoolAllocator(const PoolAllocator<U>& other) : pool(other.pool) {}
    T* allocate(size_t n) { return static_cast<T*>(pool->Allocate(n * sizeof(T))); }
    void deallocate(T* p, size_t n) { pool->Deallocate(p, n * sizeof(T)); }
    template <class U>
    bool operator==(const PoolAllocator<U>& other) const {
        return pool == other.pool;
    }
    template <class U>
    bool operator!=(const PoolAllocator<U>& other) const {
        return pool != other.pool;
    }

    std::shared_ptr<ImageLeasePool> pool;
};

} // namespace

std::shared_ptr<ImageLeasePool> ImageLeasePool::Create() {
    return std::shared_ptr<ImageLeasePool>(new ImageLeasePool());
}

ImageLeasePool::~ImageLeasePool() {
    for (void* block : m_free) ::operator delete(block);
}

ImagePtr ImageLeasePool::NewImage() {
    std::shared_ptr<ImageAccess::Embedded> holder =
        std::allocate_shared<ImageAccess::Embedded>(PoolAllocator<ImageAccess::Embedded>(shared_from_this()));
    return ImagePtr(std::shared_ptr<Image>(holder, &holder->image));
}

size_t ImageLeasePool::BlocksAllocated() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_allocated;
}

void* ImageLeasePool::Allocate(size_t bytes) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_blockSize == 0) m_blockSize = bytes;
        if (bytes == m_blockSize) {
            if (!m_free.empty()) {
                void* block = m_free.back();
                m_free.pop_back();
                return block;
            }
            ++m_allocated;
            m_free.reserve(m_allocated); // Deallocate never allocates
        }
    }
    return ::operator new(bytes);
}

void ImageLeasePool::Deallocate(void* block, size_t bytes) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (bytes == m_blockSize && m_free.size() < m_free.capacity()) {
            m_free.push_back(block);
            return;
        }
    }
    ::operator delete(block);
}

} // namespace internal
} // namespace Orvane
