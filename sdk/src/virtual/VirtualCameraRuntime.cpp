#include "virtual/VirtualCameraRuntime.h"

#include <chrono>
#include <vector>

#include "genapi/ArvNodeMap.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualCameraStorage.h"
#include "virtual/VirtualDeviceConnection.h"

namespace Orvane {
namespace internal {

using GenApi::impl::NodeMapBase;

VirtualCameraRuntime::VirtualCameraRuntime(VirtualDeviceConnection& session, const std::string& serialNumber)
    : VirtualCameraRuntime(session, serialNumber, NodeMapBase::MapLock(session.NodeMap())) {}

// The lock taken by the constructor above is held until this one returns.
VirtualCameraRuntime::VirtualCameraRuntime(VirtualDeviceConnection& session, const std::string& serialNumber,
                                           const NodeMapBase::MapLock&)
    : m_storage(VirtualCameraStorage::For(serialNumber)), m_registers(session.FakeCamera(), session.NodeMap()),
      m_lines(m_registers), m_status(m_registers, m_clock, m_lines), m_stored(m_registers, *m_storage),
      m_userSets(m_registers, *m_storage), m_files(m_registers, *m_storage, m_userSets),
      m_sequencer(m_registers, m_lines), m_rules(m_registers, m_lines, m_status, m_stored),
      m_events(m_registers, m_clock),
      m_commands(
          m_registers, [&session](uint32_t address) { return session.IsCommandRegisterClaimed(address); },
          [this](const VirtualCommands::Command& command) { Execute(command); }) {}

VirtualCameraRuntime::~VirtualCameraRuntime() = default;

void VirtualCameraRuntime::PowerUp() {
    NodeMapBase::MapLock lock(m_registers.Map());
    const auto now = std::chrono::steady_clock::now();
    m_clock.PowerUp(now);
    m_lines.PowerUp();
    m_status.PowerUp(now);
    m_files.CloseAll();
    m_sequencer.Clear();
    m_stored.WriteToDevice();
    m_userSets.LoadPowerUpSet();
    m_files.UpdateFileSizes();
    m_status.Refresh();
    m_events.Refresh();
    m_registers.Map().InvalidateNodes();
}

void VirtualCameraRuntime::OnWrite(uint64_t address, uint64_t length) {
    NodeMapBase::MapLock lock(m_registers.Map());
    m_rules.OnWrite(address, length);
    m_commands.OnWrite(address, length);
    m_events.OnWrite(address, length);
}

void VirtualCameraRuntime::OnRead() {
    NodeMapBase::MapLock lock(m_registers.Map());
    m_status.Refresh();
}

uint32_t VirtualCameraRuntime::LineStatusAll() {
    NodeMapBase::MapLock lock(m_registers.Map());
    return m_lines.LineStatusAll();
}

void VirtualCameraRuntime::EmitEvent(uint16_t eventId, uint64_t frameId, const uint8_t* extra, size_t extraSize,
                                     bool force) {
    if (force)
        m_events.EmitAlways(eventId, frameId, extra, extraSize);
    else
        m_events.Emit(eventId, frameId, extra, extraSize);
}

// Commands -------------------------------------------------------------------------

void VirtualCameraRuntime::Execute(const VirtualCommands::Command& c) {
    using Action = VirtualCommands::Action;
    switch (c.action) {
    case Action::Complete: break;
    case Action::DeviceReset: DeviceReset(); break;
    case Action::FactoryReset: FactoryReset(); break;
    case Action::RegistersCheck: m_rules.CheckRegisters(); break;
    case Action::TimestampLatch: m_status.TimestampLatch(); break;
    case Action::TimestampReset: m_status.TimestampReset(); break;
    case Action::DefectTableSave: m_stored.SaveDefectTable(); break;
    case Action::DefectTableFactoryRestore: m_stored.RestoreFactoryDefectTable(); break;
    case Action::CounterReset: m_status.CounterReset(c.v0); break;
    case Action::TimerReset: m_status.TimerReset(c.v0); break;
    case Action::TestEventGenerate: m_events.EmitAlways(vcam::event::Test, 0); break;
    case Action::UserSetLoad: m_userSets.Load(m_userSets.Selected()); break;
    case Action::UserSetSave:
        if (m_userSets.Save(m_userSets.Selected())) m_files.UpdateFileSizes();
        break;
    case Action::SequencerSetSave: m_sequencer.Save(); break;
    case Action::SequencerSetLoad: m_sequencer.Load(); break;
    case Action::FileOperationExecute: m_files.Execute(c.v0, c.v1); break;
    }
    // A command may have rewritten the notification registers (user sets,
    // resets, sequencer sets).
    if (c.action != Action::Complete && c.action != Action::TestEventGenerate) m_events.Refresh();
}

void VirtualCameraRuntime::DeviceReset() {
    // The power-up state: every register of the description back to its
    // initial value (the fake camera's own registers it uses, and the free
    // memory allocated to features), then what the storage holds and the
    // default user set.
    const std::vector<VirtualRegisters::Run> all = {
        {0x0D8, 0x10},
        {0x100, 0x40},
        {0x300, 0x60},
        {vcam::kFreeMemoryStart, vcam::kFreeMemoryEnd - vcam::kFreeMemoryStart}};
    m_registers.RestoreInitial(all);
    PowerUp();
    m_userSets.NotifyAll();
    for (const char* f : {"UserOutputValue", "UserOutputValueAll", "UserSetDefault", "DeviceUserID"})
        m_registers.Changed(f);
}

void VirtualCameraRuntime::FactoryReset() {
    m_stored.Erase();
    m_files.CloseAll();
    m_files.UpdateFileSizes();
    for (const char* f : {"UserSetDefault", "DeviceUserID"}) m_registers.Changed(f);
}

} // namespace internal
} // namespace Orvane
