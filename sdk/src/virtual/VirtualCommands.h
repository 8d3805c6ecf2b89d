// VirtualCommands: the command registers of one virtual camera (every slot
// of every command, vcam::kCommandSlots) and their execution. Executing a
// command writes its command value into its register; after such a write the
// table hands the command to the runtime's executor, which performs its
// action, and then writes 0 to the register, which makes IsDone true. The
// register is completed even when the action fails; the failure goes on to
// the caller.
//
// Commands whose register another behaviour claimed
// (DeviceConnection::ClaimCommandRegister: the acquisition's, while a stream
// engine runs) are left alone: that behaviour completes them. Unclaimed
// commands with nothing to do (the acquisition's while no engine runs,
// DeviceRegistersStreamingStart, GevSCPSFireTestPacket, ...) are completed at
// once.
//
// Ownership: one per VirtualCameraRuntime.
// Threads and locks: every member runs with the session's node map lock held;
// the executor and the claim check run on the writing thread under that lock.
#ifndef ORVANE_VIRTUAL_VIRTUAL_COMMANDS_H
#define ORVANE_VIRTUAL_VIRTUAL_COMMANDS_H

#include <cstdint>
#include <functional>
#include <vector>

namespace Orvane {
namespace internal {

class VirtualRegisters;

class VirtualCommands {
public:
    enum class Action : unsigned char {
        Complete, // nothing to do but completing the command
        DeviceReset,
        FactoryReset,
        RegistersCheck, // DeviceRegistersCheck, DeviceRegistersStreamingEnd
        TimestampLatch,
        TimestampReset,
        DefectTableSave,
        DefectTableFactoryRestore,
        CounterReset,
        TimerReset,
        TestEventGenerate,
        UserSetLoad,
        UserSetSave,
        SequencerSetSave,
        SequencerSetLoad,
        FileOperationExecute,
    };
    struct Command {
        uint32_t address;
        uint32_t commandValue;
        Action action;
        int64_t v0, v1; // selector values of the slot
    };
    // Performs a command's action.
    using Executor = std::function<void(const Command& command)>;
    // Whether a behaviour claimed the command register at `address`.
    using ClaimCheck = std::function<bool(uint32_t address)>;

    // Builds the table.
    VirtualCommands(VirtualRegisters& registers, ClaimCheck isClaimed, Executor execute);

    // `length` bytes at `address` were written: executes and completes every
    // command whose register the write reached and holds its command value.
    void OnWrite(uint64_t address, uint64_t length);

private:
    VirtualRegisters& m_registers;
    ClaimCheck m_isClaimed;
    Executor m_execute;
    std::vector<Command> m_commands; // sorted by address
};

} // namespace internal
} // namespace Orvane

#endif
