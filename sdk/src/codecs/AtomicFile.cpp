#include "codecs/AtomicFile.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <random>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/Raise.h"

namespace Orvane {
namespace codecs {

namespace {

const size_t kBufferSize = 256 * 1024;

void SplitPath(const std::string& path, std::string& directory, std::string& name) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        directory = ".";
        name = path;
    } else {
        directory = slash == 0 ? "/" : path.substr(0, slash);
        name = path.substr(slash + 1);
    }
}

std::string RandomSuffix() {
    static thread_local std::mt19937_64 engine(
        std::random_device{}() ^ static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
        (static_cast<uint64_t>(getpid()) << 32));
    static const char digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    std::string s(10, '0');
    uint64_t v = engine();
    for (char& c : s) {
        c = digits[v % 36];
        v /= 36;
    }
    return s;
}

} // namespace

std::string ErrnoText(int err) {
    char buf[256];
    // GNU strerror_r returns a pointer to the text (not always into buf).
    return std::string(strerror_r(err, buf, sizeof buf));
}

AtomicFile::AtomicFile(const std::string& target, const std::string& context, bool syncToDisk)
    : m_target(target), m_context(context), m_sync(syncToDisk) {
    std::string directory, name;
    SplitPath(target, directory, name);
    if (name.empty()) Fail("the file name is empty or ends with '/'");
    // Keep the temporary's name within NAME_MAX however long the target's name is.
    const std::string prefix = target.substr(0, target.size() - name.size()) + "." + name.substr(0, 200) + ".";
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string temporary = prefix + RandomSuffix() + ".tmp";
        const int fd = ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            m_fd = fd;
            m_temporary = temporary;
            break;
        }
        if (errno == EEXIST) continue;
        FailErrno("cannot create a file in directory '" + directory + "'", errno);
    }
    if (m_fd < 0) Fail("cannot create a unique temporary file in directory '" + directory + "'");
}

AtomicFile::~AtomicFile() { Discard(); }

void AtomicFile::Discard() noexcept {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    if (!m_temporary.empty()) {
        ::unlink(m_temporary.c_str());
        m_temporary.clear();
    }
}

void AtomicFile::Fail(const std::string& reason) const { ORV_RAISE(ORVANE_ERR_IO, m_context + ": " + reason); }

void AtomicFile::FailErrno(const std::string& what, int err) const { Fail(what + ": " + ErrnoText(err)); }

void AtomicFile::WriteFully(const void* data, size_t size) {
    const uint8_t* p = static_cast<const uint8_t*>(data);
    while (size > 0) {
        const ssize_t n = ::write(m_fd, p, size > (size_t(1) << 30) ? (size_t(1) << 30) : size);
        if (n < 0) {
            if (errno == EINTR) continue;
            FailErrno("write failed", errno);
        }
        if (n == 0) Fail("write failed: no bytes were written");
        p += n;
        size -= static_cast<size_t>(n);
    }
}

void AtomicFile::Write(const void* data, size_t size) {
    if (m_fd < 0) Fail("the file is already closed");
    if (size == 0) return;
    if (m_buffered + size <= kBufferSize) {
        // The buffer is made on the first small write: a file written in one
        // large piece never needs it.
        if (!m_buffer) m_buffer.reset(new uint8_t[kBufferSize]);
        std::memcpy(m_buffer.get() + m_buffered, data, size);
        m_buffered += size;
    } else {
        Flush();
        if (size >= kBufferSize) {
            WriteFully(data, size);
        } else {
            if (!m_buffer) m_buffer.reset(new uint8_t[kBufferSize]);
            std::memcpy(m_buffer.get(), data, size);
            m_buffered = size;
        }
    }
    m_position += size;
}

void AtomicFile::Flush() {
    if (m_buffered == 0) return;
    const size_t n = m_buffered;
    m_buffered = 0;
    WriteFully(m_buffer.get(), n);
}

void AtomicFile::Seek(uint64_t position) {
    Flush();
    if (::lseek(m_fd, static_cast<off_t>(position), SEEK_SET) < 0) FailErrno("seek failed", errno);
    m_position = position;
}

size_t AtomicFile::ReadAt(uint64_t position, void* data, size_t size) {
    Flush();
    size_t done = 0;
    while (done < size) {
        const ssize_t n =
            ::pread(m_fd, static_cast<uint8_t*>(data) + done, size - done, static_cast<off_t>(position + done));
        if (n < 0) {
            if (errno == EINTR) continue;
            FailErrno("read failed", errno);
        }
        if (n == 0) break;
        done += static_cast<size_t>(n);
    }
    return done;
}

uint64_t AtomicFile::Size() {
    Flush();
    struct stat st;
    if (::fstat(m_fd, &st) != 0) FailErrno("stat failed", errno);
    return static_cast<uint64_t>(st.st_size);
}

void AtomicFile::Commit() {
    if (m_fd < 0) Fail("the file is already closed");
    Flush();
    if (m_sync && ::fsync(m_fd) != 0) FailErrno("fsync failed", errno);
    const int fd = m_fd;
    m_fd = -1;
    if (::close(fd) != 0) FailErrno("close failed", errno);
    if (::rename(m_temporary.c_str(), m_target.c_str()) != 0) FailErrno("cannot replace the file", errno);
    m_temporary.clear();
    if (m_sync) {
        std::string directory, name;
        SplitPath(m_target, directory, name);
        const int dfd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (dfd >= 0) {
            const int rc = ::fsync(dfd);
            const int err = errno;
            ::close(dfd);
            if (rc != 0) FailErrno("fsync of the directory failed", err);
        }
    }
}

} // namespace codecs
} // namespace Orvane
