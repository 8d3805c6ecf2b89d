// VirtualConsistencyRules: what one virtual camera does when a register that
// other state depends on is written, so that the camera stays consistent:
// - UserOutputValue and UserOutputValueAll (through UserOutputValueAllMask)
//   keep each other and the line status right (VirtualIoLines);
// - LogicBlockLUTOutputValue and LogicBlockLUTOutputValueAll likewise;
// - registers that overlap another feature's memory (LUTValueAll over
//   LUTValue): the other feature is notified;
// - automatic modes set to Once converge at once and return to Off;
// - UserSetDefault and DeviceUserID are kept in the storage
//   (VirtualStoredState);
// - CounterValue and TimerValue rebase the running count
//   (VirtualStatusValues).
// And DeviceRegistersCheck (also run by DeviceRegistersStreamingEnd): whether
// the image format registers fit the sensor (DeviceRegistersValid).
//
// Ownership: one per VirtualCameraRuntime.
// Threads and locks: every member runs with the session's node map lock held.
#ifndef ORVANE_VIRTUAL_VIRTUAL_CONSISTENCY_RULES_H
#define ORVANE_VIRTUAL_VIRTUAL_CONSISTENCY_RULES_H

#include <cstdint>
#include <vector>

namespace Orvane {
namespace GenApi {
namespace impl {
class Node;
} // namespace impl
} // namespace GenApi

namespace internal {

class VirtualIoLines;
class VirtualRegisters;
class VirtualStatusValues;
class VirtualStoredState;

class VirtualConsistencyRules {
public:
    // Builds the table of watched registers.
    VirtualConsistencyRules(VirtualRegisters& registers, VirtualIoLines& lines, VirtualStatusValues& status,
                            VirtualStoredState& stored);

    // `length` bytes at `address` were written: applies the rule of every
    // watched register the write reached, in table order.
    void OnWrite(uint64_t address, uint64_t length);
    // DeviceRegistersCheck.
    void CheckRegisters();

private:
    enum class Rule : unsigned char;
    struct Watch {
        uint32_t begin, end;
        Rule rule;
        int64_t a, b; // rule arguments
    };

    void WatchSlots(const char* feature, Rule rule);
    void WatchAutoModes();
    void WatchOverlays();
    void Apply(const Watch& watch);

    VirtualRegisters& m_registers;
    VirtualIoLines& m_lines;
    VirtualStatusValues& m_status;
    VirtualStoredState& m_stored;
    std::vector<Watch> m_watches;
    std::vector<std::vector<GenApi::impl::Node*>> m_partners; // nodes to notify per Rule::Overlay watch
};

} // namespace internal
} // namespace Orvane

#endif
