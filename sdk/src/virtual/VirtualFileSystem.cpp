#include "virtual/VirtualFileSystem.h"

#include <algorithm>
#include <mutex>

#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualCameraStorage.h"
#include "virtual/VirtualRegisters.h"
#include "virtual/VirtualUserSets.h"

namespace Orvane {
namespace internal {

namespace reg = vcam::reg;
namespace value = vcam::value;

namespace {

constexpr size_t kUserFileCapacity = 4096;
constexpr size_t kUserSetFileCapacity = 65536;

enum class FileOp : unsigned char { Open = 1, Close = 2, Read = 3, Write = 4, Delete = 5 };

int FileIndex(int64_t file) {
    switch (file) {
    case value::FileSelector::UserSetDefault: return 0;
    case value::FileSelector::UserSet0: return 1;
    case value::FileSelector::UserSet1: return 2;
    case value::FileSelector::UserFile1: return 3;
    default: return -1;
    }
}

const int64_t kFiles[] = {value::FileSelector::UserSetDefault, value::FileSelector::UserSet0,
                          value::FileSelector::UserSet1, value::FileSelector::UserFile1};

} // namespace

void VirtualFileSystem::CloseAll() {
    for (FileState& f : m_files) f = FileState{};
}

std::vector<uint8_t>* VirtualFileSystem::Content(int64_t file, std::vector<uint8_t>& scratch, size_t* capacity) {
    switch (FileIndex(file)) {
    case 0: {
        const int64_t set = m_storage.userSetDefault;
        if (set == value::UserSetDefault::UserSet0)
            scratch = m_storage.userSets[0];
        else if (set == value::UserSetDefault::UserSet1)
            scratch = m_storage.userSets[1];
        else
            scratch.clear();
        if (scratch.empty()) scratch = m_userSets.Serialize(true);
        *capacity = scratch.size();
        return nullptr;
    }
    case 1: *capacity = kUserSetFileCapacity; return &m_storage.userSets[0];
    case 2: *capacity = kUserSetFileCapacity; return &m_storage.userSets[1];
    case 3: *capacity = kUserFileCapacity; return &m_storage.userFile;
    default: *capacity = 0; return nullptr;
    }
}

void VirtualFileSystem::UpdateFileSizes() {
    std::lock_guard<std::mutex> lock(m_storage.mutex);
    std::vector<uint8_t> scratch;
    for (int64_t file : kFiles) {
        size_t capacity = 0;
        const std::vector<uint8_t>* content = Content(file, scratch, &capacity);
        m_registers.WriteUInt(reg::FileSize.At(file), 4, content ? content->size() : scratch.size());
    }
    m_registers.Changed("FileSize");
}

void VirtualFileSystem::Execute(int64_t file, int64_t op) {
    const int index = FileIndex(file);
    int64_t status = value::FileOperationStatus::Failure;
    uint64_t result = 0;
    if (index >= 0) {
        FileState& state = m_files[index];
        const int64_t mode = static_cast<int64_t>(m_registers.ReadUInt(reg::FileOpenMode.At(file), 4));
        const bool canRead = mode == value::FileOpenMode::Read || mode == value::FileOpenMode::ReadWrite;
        const bool canWrite = mode == value::FileOpenMode::Write || mode == value::FileOpenMode::ReadWrite;
        const uint64_t offset = m_registers.ReadUInt(reg::FileAccessOffset.At(file, op), 4);
        const uint64_t length = std::min<uint64_t>(m_registers.ReadUInt(reg::FileAccessLength.At(file, op), 4),
                                                   reg::FileAccessBuffer.length);
        std::lock_guard<std::mutex> lock(m_storage.mutex);
        std::vector<uint8_t> scratch;
        size_t capacity = 0;
        std::vector<uint8_t>* content = Content(file, scratch, &capacity);
        const std::vector<uint8_t>& readable = content ? *content : scratch;
        switch (static_cast<FileOp>(op)) {
        case FileOp::Open:
            // The user set loaded at power-up is read-only.
            if (!state.open && (canRead || canWrite) && !(canWrite && !content)) {
                state = FileState{true, mode};
                status = value::FileOperationStatus::Success;
            }
            break;
        case FileOp::Close:
            if (state.open) {
                state = FileState{};
                status = value::FileOperationStatus::Success;
            }
            break;
        case FileOp::Read: {
            const bool modeOk = state.mode == value::FileOpenMode::Read || state.mode == value::FileOpenMode::ReadWrite;
            if (state.open && modeOk && offset <= readable.size()) {
                const uint64_t n = std::min<uint64_t>(length, readable.size() - offset);
                if (n > 0)
                    m_registers.WriteBytes(reg::FileAccessBuffer.address, static_cast<uint32_t>(n),
                                           readable.data() + offset);
                result = n;
                status = value::FileOperationStatus::Success;
            }
            break;
        }
        case FileOp::Write: {
            const bool modeOk =
                state.mode == value::FileOpenMode::Write || state.mode == value::FileOpenMode::ReadWrite;
            if (state.open && modeOk && content) {
                uint64_t n = length;
                status = value::FileOperationStatus::Success;
                if (offset + n > capacity) {
                    n = offset < capacity ? capacity - offset : 0;
                    status = value::FileOperationStatus::Overflow;
                }
                if (n > 0 && content->size() < offset + n) content->resize(static_cast<size_t>(offset + n));
                if (n > 0)
                    m_registers.ReadBytes(reg::FileAccessBuffer.address, static_cast<uint32_t>(n),
                                          content->data() + offset);
                result = n;
            }
            break;
        }
        case FileOp::Delete:
            if (!state.open && content) {
                content->clear();
                status = value::FileOperationStatus::Success;
            }
            break;
        }
    }
    if (file >= 0 && op >= 0) {
        m_registers.WriteUInt(reg::FileOperationStatus.At(file, op), 4, static_cast<uint64_t>(status));
        m_registers.WriteUInt(reg::FileOperationResult.At(file, op), 4, result);
    }
    m_registers.Changed("FileOperationStatus");
    m_registers.Changed("FileOperationResult");
    m_registers.Changed("FileAccessBuffer");
    UpdateFileSizes();
}

} // namespace internal
} // namespace Orvane
