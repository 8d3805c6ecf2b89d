// AtomicFile: writes a file so that it appears whole or not at all.
//
// The bytes go to a new temporary file in the target's directory (named
// ".<name>.<random>.tmp", created with mode 0666 less the umask); Commit()
// flushes it, optionally fsyncs it, and renames it over the target (then
// fsyncs the directory when asked to). If Commit() is not reached, or fails,
// the destructor closes and removes the temporary, so nothing partial is left.
// The new file has mode 0666 less the umask whatever the old one had, and a
// symbolic link at the target is replaced, not followed.
//
// Every failure raises ORVANE_ERR_IO with the message
// "<context>: <what failed>: <errno text>", where the context is given by the
// caller and names the file (for example "Cannot save image file 'a.png'").
//
// Owner: the one thread that creates it; an AtomicFile is not shared.
#ifndef ORVANE_CODECS_ATOMIC_FILE_H
#define ORVANE_CODECS_ATOMIC_FILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Orvane {
namespace codecs {

class AtomicFile {
public:
    AtomicFile(const std::string& target, const std::string& context, bool syncToDisk);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Appends at the current position; small writes are buffered.
    void Write(const void* data, size_t size);
    // Writes buffered bytes to the file.
    void Flush();
    // Moves the position (flushing first); a position past the end leaves a gap
    // that later writes may fill.
    void Seek(uint64_t position);
    uint64_t Position() const { return m_position; }
    // Reads already written bytes at an absolute position (flushing first);
    // returns the count read, short at the end of the file.
    size_t ReadAt(uint64_t position, void* data, size_t size);
    // Current size of the temporary file (flushing first).
    uint64_t Size();
    // Finishes the file and renames it over the target.
    void Commit();

    const std::string& Target() const { return m_target; }
    // Raises ORVANE_ERR_IO: "<context>: <reason>".
    [[noreturn]] void Fail(const std::string& reason) const;
    // Raises ORVANE_ERR_IO: "<context>: <what>: <strerror(err)>".
    [[noreturn]] void FailErrno(const std::string& what, int err) const;

private:
    void WriteFully(const void* data, size_t size);
    void Discard() noexcept;

    std::string m_target;
    std::string m_context;
    std::string m_temporary;
    bool m_sync;
    int m_fd = -1;
    uint64_t m_position = 0; // logical position: file position plus buffered bytes
    std::unique_ptr<uint8_t[]> m_buffer;
    size_t m_buffered = 0;
};

// errno as text (thread-safe).
std::string ErrnoText(int err);

} // namespace codecs
} // namespace Orvane

#endif
