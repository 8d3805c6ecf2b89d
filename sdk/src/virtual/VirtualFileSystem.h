// VirtualFileSystem: the in-memory file system of one virtual camera, run by
// FileOperationExecute (Open, Close, Read, Write, Delete through
// FileAccessBuffer, with FileOpenMode, FileAccessOffset and FileAccessLength;
// results in FileOperationStatus, FileOperationResult and FileSize). Its
// files: UserSetDefault (read-only: the bytes of the user set loaded at
// power-up), UserSet0 and UserSet1 (the saved user sets, 64 KiB at most) and
// UserFile1 (4 KiB), all kept in the camera's storage.
//
// Ownership: one per VirtualCameraRuntime; the storage outlives it.
// Threads and locks: every member runs with the session's node map lock held
// and takes the storage's mutex while it uses the storage.
#ifndef ORVANE_VIRTUAL_VIRTUAL_FILE_SYSTEM_H
#define ORVANE_VIRTUAL_VIRTUAL_FILE_SYSTEM_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvane {
namespace internal {

class VirtualRegisters;
class VirtualUserSets;
struct VirtualCameraStorage;

class VirtualFileSystem {
public:
    VirtualFileSystem(VirtualRegisters& registers, VirtualCameraStorage& storage, VirtualUserSets& userSets)
        : m_registers(registers), m_storage(storage), m_userSets(userSets) {}

    // Every file closed (power-up, FactoryReset).
    void CloseAll();
    // Writes FileSize of every file and notifies it.
    void UpdateFileSizes();
    // FileOperationExecute of operation `op` (a FileOperationSelector value)
    // on `file` (a FileSelector value).
    void Execute(int64_t file, int64_t op);

private:
    struct FileState {
        bool open = false;
        int64_t mode = 0;
    };

    // The content of a file (null when it cannot be written: then `scratch`
    // holds a copy to read), and its capacity. Storage mutex held.
    std::vector<uint8_t>* Content(int64_t file, std::vector<uint8_t>& scratch, size_t* capacity);

    VirtualRegisters& m_registers;
    VirtualCameraStorage& m_storage;
    VirtualUserSets& m_userSets;
    FileState m_files[4];
};

} // namespace internal
} // namespace Orvane

#endif
