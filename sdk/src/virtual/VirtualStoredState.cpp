#include "virtual/VirtualStoredState.h"

#include <mutex>

#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualCameraStorage.h"

namespace Orvane {
namespace internal {

namespace reg = vcam::reg;
namespace value = vcam::value;

namespace {

const char* const kDefectTableFeatures[] = {"DefectTablePixelCount", "DefectTableCoordinateX",
                                            "DefectTableCoordinateY"};

} // namespace

VirtualStoredState::VirtualStoredState(VirtualRegisters& registers, VirtualCameraStorage& storage)
    : m_registers(registers), m_storage(storage) {
    std::vector<VirtualRegisters::Run> slots;
    for (const char* f : kDefectTableFeatures)
        for (const VirtualRegisters::Run& s : m_registers.SlotsOf(f)) slots.push_back(s);
    m_defectRuns = VirtualRegisters::Merge(std::move(slots));
}

void VirtualStoredState::WriteToDevice() {
    std::lock_guard<std::mutex> lock(m_storage.mutex);
    if (m_storage.hasUserId && m_storage.userId.size() == reg::DeviceUserID.length)
        m_registers.WriteBytes(reg::DeviceUserID.address, reg::DeviceUserID.length, m_storage.userId.data());
    size_t offset = 0;
    if (!m_storage.defectTable.empty()) {
        for (const VirtualRegisters::Run& r : m_defectRuns) {
            if (offset + r.length > m_storage.defectTable.size()) break;
            m_registers.WriteBytes(r.address, r.length, m_storage.defectTable.data() + offset);
            offset += r.length;
        }
    }
    m_registers.WriteUInt(reg::UserSetDefault.address, reg::UserSetDefault.length,
                          static_cast<uint64_t>(m_storage.userSetDefault));
}

void VirtualStoredState::OnUserSetDefaultWritten(uint32_t address) {
    std::lock_guard<std::mutex> lock(m_storage.mutex);
    m_storage.userSetDefault = static_cast<int64_t>(m_registers.ReadUInt(address, 4));
}

void VirtualStoredState::OnUserIdWritten() {
    std::lock_guard<std::mutex> lock(m_storage.mutex);
    m_storage.userId.resize(reg::DeviceUserID.length);
    m_registers.ReadBytes(reg::DeviceUserID.address, reg::DeviceUserID.length, m_storage.userId.data());
    m_storage.hasUserId = true;
}

void VirtualStoredState::SaveDefectTable() {
    std::vector<uint8_t> table;
    for (const VirtualRegisters::Run& r : m_defectRuns) {
        const size_t at = table.size();
        table.resize(at + r.length);
        m_registers.ReadBytes(r.address, r.length, table.data() + at);
    }
    std::lock_guard<std::mutex> lock(m_storage.mutex);
    m_storage.defectTable = std::move(table);
}

void VirtualStoredState::RestoreFactoryDefectTable() {
    m_registers.RestoreInitial(m_defectRuns);
    for (const char* f : kDefectTableFeatures) m_registers.Changed(f);
}

void VirtualStoredState::Erase() {
    {
        std::lock_guard<std::mutex> lock(m_storage.mutex);
        m_storage.Erase();
    }
    m_registers.WriteUInt(reg::UserSetDefault.address, 4, value::UserSetDefault::Default);
    m_registers.WriteBytes(reg::DeviceUserID.address, reg::DeviceUserID.length,
                           m_registers.Initial().data() + reg::DeviceUserID.address);
}

} // namespace internal
} // namespace Orvane
