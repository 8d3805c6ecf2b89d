#include "virtual/VirtualIoLines.h"

#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualRegisters.h"

namespace Orvane {
namespace internal {

namespace reg = vcam::reg;
namespace value = vcam::value;

void VirtualIoLines::PowerUp() {
    m_userOutputs =
        static_cast<uint32_t>(m_registers.ReadUInt(reg::UserOutputValueAll.address, reg::UserOutputValueAll.length));
}

void VirtualIoLines::SetUserOutputs(uint32_t bits, bool writeAll) {
    m_userOutputs = bits & 0xF;
    if (writeAll) m_registers.WriteUInt(reg::UserOutputValueAll.address, 4, m_userOutputs);
    for (int64_t i = 0; i < 4; ++i) m_registers.WriteUInt(reg::UserOutputValue.At(i), 4, (m_userOutputs >> i) & 1);
    m_registers.Changed("UserOutputValueAll");
    m_registers.Changed("UserOutputValue");
    m_registers.Changed("LineStatus");
    m_registers.Changed("LineStatusAll");
}

void VirtualIoLines::OnUserOutputWritten(int64_t output, uint32_t address) {
    const bool on = m_registers.ReadUInt(address, 4) != 0;
    const uint32_t bit = 1u << output;
    SetUserOutputs(on ? (m_userOutputs | bit) : (m_userOutputs & ~bit), true);
}

void VirtualIoLines::OnUserOutputAllWritten(uint32_t address) {
    const uint32_t written = static_cast<uint32_t>(m_registers.ReadUInt(address, 4));
    const uint32_t mask = static_cast<uint32_t>(m_registers.ReadUInt(reg::UserOutputValueAllMask.address, 4));
    const uint32_t bits = ((m_userOutputs & ~mask) | (written & mask)) & 0xF;
    SetUserOutputs(bits, bits != written);
}

uint32_t VirtualIoLines::LineStatusAll() {
    uint32_t all = 0;
    for (int64_t line = 0; line < 4; ++line) {
        const int64_t mode = static_cast<int64_t>(m_registers.ReadUInt(reg::LineMode.At(line), 4));
        const bool inverted = m_registers.ReadUInt(reg::LineInverter.At(line), 4) != 0;
        bool signal = false;
        if (mode == value::LineMode::Output) {
            const int64_t source = static_cast<int64_t>(m_registers.ReadUInt(reg::LineSource.At(line), 4));
            if (source >= value::LineSource::UserOutput0 && source <= value::LineSource::UserOutput3)
                signal = (m_userOutputs >> (source - value::LineSource::UserOutput0)) & 1;
        }
        // Inputs see no external signal on a virtual camera.
        if (signal != inverted) all |= 1u << line;
    }
    return all;
}

void VirtualIoLines::RefreshLineStatus() {
    const uint32_t lines = LineStatusAll();
    for (int64_t line = 0; line < 4; ++line) m_registers.WriteUInt(reg::LineStatus.At(line), 4, (lines >> line) & 1);
    m_registers.WriteUInt(reg::LineStatusAll.address, 4, lines);
}

} // namespace internal
} // namespace Orvane
