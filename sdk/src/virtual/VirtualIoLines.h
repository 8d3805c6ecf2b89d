// VirtualIoLines: the digital I/O of one virtual camera: its four user outputs
// (UserOutputValue, and UserOutputValueAll through UserOutputValueAllMask)
// and the status of its four lines (LineStatus, LineStatusAll): an output
// line shows the user output its LineSource names, through LineInverter;
// inputs see no external signal.
//
// Ownership: one per VirtualCameraRuntime.
// Threads and locks: every member runs with the session's node map lock held.
#ifndef ORVANE_VIRTUAL_VIRTUAL_IO_LINES_H
#define ORVANE_VIRTUAL_VIRTUAL_IO_LINES_H

#include <cstdint>

namespace Orvane {
namespace internal {

class VirtualRegisters;

class VirtualIoLines {
public:
    explicit VirtualIoLines(VirtualRegisters& registers) : m_registers(registers) {}

    // Power-up: the user outputs are what UserOutputValueAll holds.
    void PowerUp();

    // Sets the user outputs to `bits` (bit n: output n): writes every
    // UserOutputValue, and UserOutputValueAll too when `writeAll`, then
    // notifies them and the line status to the node map.
    void SetUserOutputs(uint32_t bits, bool writeAll);
    // Write rules: the UserOutputValue slot of `output` (its register at
    // `address`) was written; UserOutputValueAll (at `address`) was written:
    // only the bits of UserOutputValueAllMask change.
    void OnUserOutputWritten(int64_t output, uint32_t address);
    void OnUserOutputAllWritten(uint32_t address);

    // The status of every line now, bit n = line n (as LineStatusAll).
    uint32_t LineStatusAll();
    // Writes LineStatus of every line and LineStatusAll (values computed
    // when read: not notified).
    void RefreshLineStatus();

private:
    VirtualRegisters& m_registers;
    uint32_t m_userOutputs = 0;
};

} // namespace internal
} // namespace Orvane

#endif
