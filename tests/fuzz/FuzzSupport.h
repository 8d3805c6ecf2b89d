// Helpers shared by the fuzz targets: the size bounds every target applies,
// little-endian field access, and an in-memory file for readers that take a
// file name.
#ifndef ORVANE_TESTS_FUZZ_SUPPORT_H
#define ORVANE_TESTS_FUZZ_SUPPORT_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace orvfuzz {

// Inputs above this size are skipped: the targets must not run out of memory
// by design, and nothing a parser does needs more to be reached.
const size_t kMaxInput = 1u << 20;
// Images above this many pixels are skipped for the same reason.
const uint64_t kMaxPixels = uint64_t(16) << 20;

inline uint32_t LoadLE32(const uint8_t* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
inline uint64_t LoadLE64(const uint8_t* p) { return uint64_t(LoadLE32(p)) | uint64_t(LoadLE32(p + 4)) << 32; }
inline void StoreLE32(uint8_t* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}

// An anonymous in-memory file (memfd) that one input after another is
// written to; Path() names it for readers that open files by name. Owned by
// the target that made it; not thread-safe.
class MemoryFile {
public:
    MemoryFile() : m_fd(memfd_create("orvane-fuzz", 0)) {
        if (m_fd < 0) std::abort();
        m_path = "/proc/self/fd/" + std::to_string(m_fd);
    }
    ~MemoryFile() { close(m_fd); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // Replaces the file's contents with these bytes.
    void Write(const uint8_t* data, size_t size) {
        if (ftruncate(m_fd, 0) != 0) std::abort();
        size_t done = 0;
        while (done < size) {
            const ssize_t n = pwrite(m_fd, data + done, size - done, static_cast<off_t>(done));
            if (n <= 0) std::abort();
            done += static_cast<size_t>(n);
        }
    }
    const std::string& Path() const { return m_path; }

private:
    int m_fd;
    std::string m_path;
};

} // namespace orvfuzz

#endif
