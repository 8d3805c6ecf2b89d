#include "virtual/VirtualCommands.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualRegisters.h"

namespace Orvane {
namespace internal {

namespace {

// The feature of a command slot ("CounterReset[Counter1]" -> "CounterReset").
std::string BaseName(const char* slotName) {
    const char* bracket = std::strchr(slotName, '[');
    return bracket ? std::string(slotName, static_cast<size_t>(bracket - slotName)) : std::string(slotName);
}

const struct {
    const char* name;
    VirtualCommands::Action action;
} kActions[] = {
    {"DeviceReset", VirtualCommands::Action::DeviceReset},
    {"FactoryReset", VirtualCommands::Action::FactoryReset},
    {"DeviceRegistersStreamingEnd", VirtualCommands::Action::RegistersCheck},
    {"DeviceRegistersCheck", VirtualCommands::Action::RegistersCheck},
    {"TimestampLatch", VirtualCommands::Action::TimestampLatch},
    {"TimestampReset", VirtualCommands::Action::TimestampReset},
    {"DefectTableSave", VirtualCommands::Action::DefectTableSave},
    {"DefectTableFactoryRestore", VirtualCommands::Action::DefectTableFactoryRestore},
    {"CounterReset", VirtualCommands::Action::CounterReset},
    {"TimerReset", VirtualCommands::Action::TimerReset},
    {"TestEventGenerate", VirtualCommands::Action::TestEventGenerate},
    {"UserSetLoad", VirtualCommands::Action::UserSetLoad},
    {"UserSetSave", VirtualCommands::Action::UserSetSave},
    {"SequencerSetSave", VirtualCommands::Action::SequencerSetSave},
    {"SequencerSetLoad", VirtualCommands::Action::SequencerSetLoad},
    {"FileOperationExecute", VirtualCommands::Action::FileOperationExecute},
};

} // namespace

VirtualCommands::VirtualCommands(VirtualRegisters& registers, ClaimCheck isClaimed, Executor execute)
    : m_registers(registers), m_isClaimed(std::move(isClaimed)), m_execute(std::move(execute)) {
    for (const vcam::CommandSlot& slot : vcam::kCommandSlots) {
        const std::string base = BaseName(slot.feature);
        Command c{slot.address, slot.commandValue, Action::Complete, 0, 0};
        const vcam::NamedRegister* r = VirtualRegisters::Named(base.c_str());
        if (r && r->info->stride[0] > 0) {
            const uint32_t offset = slot.address - r->info->address;
            c.v0 = offset / r->info->stride[0];
            if (r->info->stride[1] > 0) c.v1 = (offset % r->info->stride[0]) / r->info->stride[1];
        }
        for (const auto& a : kActions)
            if (base == a.name) c.action = a.action;
        m_commands.push_back(c);
    }
    std::sort(m_commands.begin(), m_commands.end(),
              [](const Command& a, const Command& b) { return a.address < b.address; });
}

void VirtualCommands::OnWrite(uint64_t address, uint64_t length) {
    const uint64_t end = address + length;
    auto first = std::lower_bound(m_commands.begin(), m_commands.end(), address,
                                  [](const Command& c, uint64_t a) { return c.address + 4 <= a; });
    for (auto it = first; it != m_commands.end() && it->address < end; ++it) {
        if (m_registers.ReadUInt(it->address, 4) != it->commandValue) continue;
        if (m_isClaimed(it->address)) continue;
        try {
            m_execute(*it);
        } catch (...) {
            m_registers.WriteUInt(it->address, 4, 0); // completed, even when the action failed
            throw;
        }
        m_registers.WriteUInt(it->address, 4, 0);
    }
}

} // namespace internal
} // namespace Orvane
