#include "virtual/VirtualConsistencyRules.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <string>

#include "genapi/ArvNodeMap.h"
#include "genapi/Node.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualIoLines.h"
#include "virtual/VirtualRegisters.h"
#include "virtual/VirtualStatusValues.h"
#include "virtual/VirtualStoredState.h"

namespace Orvane {
namespace internal {

using GenApi::impl::Node;
using Run = VirtualRegisters::Run;
namespace reg = vcam::reg;

enum class VirtualConsistencyRules::Rule : unsigned char {
    UserOutputBit, // a UserOutputValue slot (a = selector value)
    UserOutputAll, // UserOutputValueAll
    LutBit,        // a LogicBlockLUTOutputValue slot
    LutAll,        // a LogicBlockLUTOutputValueAll slot
    UserSetDefault,
    UserId,
    AutoOnce,     // an automatic mode: a = the Once value, b = the Off value
    CounterValue, // a = counter
    TimerValue,   // a = timer
    Overlay,      // a register overlapping others: a = index in m_partners
};

VirtualConsistencyRules::VirtualConsistencyRules(VirtualRegisters& registers, VirtualIoLines& lines,
                                                 VirtualStatusValues& status, VirtualStoredState& stored)
    : m_registers(registers), m_lines(lines), m_status(status), m_stored(stored) {
    WatchSlots("UserOutputValue", Rule::UserOutputBit);
    WatchSlots("UserOutputValueAll", Rule::UserOutputAll);
    WatchSlots("LogicBlockLUTOutputValue", Rule::LutBit);
    WatchSlots("LogicBlockLUTOutputValueAll", Rule::LutAll);
    WatchSlots("UserSetDefault", Rule::UserSetDefault);
    WatchSlots("DeviceUserID", Rule::UserId);
    WatchSlots("CounterValue", Rule::CounterValue);
    WatchSlots("TimerValue", Rule::TimerValue);
    WatchAutoModes();
    WatchOverlays();
}

// Every slot of the feature's register, with its selector values: a = the
// first selector's, b = the second's (times 256 plus the third's).
void VirtualConsistencyRules::WatchSlots(const char* feature, Rule rule) {
    const vcam::NamedRegister* r = VirtualRegisters::Named(feature);
    if (!r) return;
    for (const Run& s : m_registers.SlotsOf(feature)) {
        const vcam::RegisterInfo& info = *r->info;
        const uint32_t offset = s.address - info.address;
        int64_t a = 0, b = 0;
        if (info.stride[0] > 0) {
            a = offset / info.stride[0];
            if (info.stride[1] > 0) b = (offset % info.stride[0]) / info.stride[1];
            if (info.stride[2] > 0) b = b * 256 + (offset % info.stride[0]) % info.stride[1] / info.stride[2];
        }
        m_watches.push_back({s.address, s.address + s.length, rule, a, b});
    }
}

// Automatic modes with a Once entry converge at once and return to Off.
void VirtualConsistencyRules::WatchAutoModes() {
    std::set<std::string> autos;
    for (const vcam::EntryInfo& e : vcam::kEntries)
        if (std::strcmp(e.entry, "Once") == 0) autos.insert(e.feature);
    for (const std::string& feature : autos) {
        const vcam::NamedRegister* r = VirtualRegisters::Named(feature.c_str());
        if (!r) continue;
        int64_t once = -1, off = -1;
        for (const vcam::EntryInfo& e : vcam::kEntries) {
            if (feature != e.feature) continue;
            if (std::strcmp(e.entry, "Once") == 0) once = e.value;
            if (std::strcmp(e.entry, "Off") == 0) off = e.value;
        }
        if (once < 0 || off < 0) continue;
        for (const Run& s : m_registers.SlotsOf(feature.c_str()))
            m_watches.push_back({s.address, s.address + s.length, Rule::AutoOnce, once, off});
    }
}

// Registers over another feature's memory (an overlay): a write of one
// changes the other behind the node map.
void VirtualConsistencyRules::WatchOverlays() {
    struct Extent {
        uint32_t begin, end;
        const vcam::NamedRegister* reg;
    };
    std::vector<Extent> extents;
    for (const vcam::NamedRegister& r : vcam::kRegisters) {
        if (r.portId != 0) continue;
        uint32_t begin = UINT32_MAX, end = 0;
        for (const Run& s : m_registers.SlotsOf(r.feature)) {
            begin = std::min(begin, s.address);
            end = std::max(end, s.address + s.length);
        }
        if (begin < end) extents.push_back({begin, end, &r});
    }
    for (const Extent& e : extents) {
        std::vector<Node*> partners;
        for (const Extent& o : extents) {
            if (o.reg == e.reg || std::strcmp(o.reg->node, e.reg->node) == 0) continue;
            // The fake camera's own registers interleave their selector slots
            // (TriggerMode, TriggerSource ... at 0x300 + 0x20 n) without
            // overlapping: only allocated registers can be overlays.
            if (e.begin < vcam::kFreeMemoryStart || o.begin < vcam::kFreeMemoryStart) continue;
            if (o.begin < e.end && e.begin < o.end)
                if (Node* n = m_registers.Map().FindNode(o.reg->node)) partners.push_back(n);
        }
        if (partners.empty()) continue;
        m_partners.push_back(std::move(partners));
        m_watches.push_back({e.begin, e.end, Rule::Overlay, static_cast<int64_t>(m_partners.size() - 1), 0});
    }
}

void VirtualConsistencyRules::OnWrite(uint64_t address, uint64_t length) {
    const uint64_t end = address + length;
    for (const Watch& w : m_watches)
        if (w.begin < end && address < w.end) Apply(w);
}

void VirtualConsistencyRules::Apply(const Watch& w) {
    switch (w.rule) {
    case Rule::UserOutputBit: m_lines.OnUserOutputWritten(w.a, w.begin); break;
    case Rule::UserOutputAll: m_lines.OnUserOutputAllWritten(w.begin); break;
    case Rule::LutBit: {
        // a = logic block, b = LUT * 256 + row
        const int64_t lut = w.b / 256, row = w.b % 256;
        const uint32_t allAddress = reg::LogicBlockLUTOutputValueAll.At(w.a, lut);
        uint64_t all = m_registers.ReadUInt(allAddress, 4);
        if (m_registers.ReadUInt(w.begin, 4) != 0)
            all |= uint64_t(1) << row;
        else
            all &= ~(uint64_t(1) << row);
        m_registers.WriteUInt(allAddress, 4, all);
        m_registers.Changed("LogicBlockLUTOutputValueAll");
        break;
    }
    case Rule::LutAll: {
        const uint64_t all = m_registers.ReadUInt(w.begin, 4);
        for (int64_t row = 0; row < 16; ++row)
            m_registers.WriteUInt(reg::LogicBlockLUTOutputValue.At(w.a, w.b, row), 4, (all >> row) & 1);
        m_registers.Changed("LogicBlockLUTOutputValue");
        break;
    }
    case Rule::UserSetDefault: m_stored.OnUserSetDefaultWritten(w.begin); break;
    case Rule::UserId: m_stored.OnUserIdWritten(); break;
    case Rule::AutoOnce:
        if (static_cast<int64_t>(m_registers.ReadUInt(w.begin, w.end - w.begin)) == w.a) {
            m_registers.WriteUInt(w.begin, w.end - w.begin, static_cast<uint64_t>(w.b));
            for (const vcam::NamedRegister& r : vcam::kRegisters)
                if (r.portId == 0 && r.info->address <= w.begin && w.begin < r.info->address + r.info->length)
                    m_registers.Changed(m_registers.Map().FindNode(r.node));
        }
        break;
    case Rule::CounterValue: m_status.OnCounterValueWritten(w.a, w.begin); break;
    case Rule::TimerValue: m_status.OnTimerValueWritten(w.a, w.begin); break;
    case Rule::Overlay:
        for (Node* n : m_partners[static_cast<size_t>(w.a)]) m_registers.Changed(n);
        break;
    }
}

void VirtualConsistencyRules::CheckRegisters() {
    const uint64_t width = m_registers.ReadUInt(reg::Width.address, 4);
    const uint64_t height = m_registers.ReadUInt(reg::Height.address, 4);
    const uint64_t offsetX = m_registers.ReadUInt(reg::OffsetX.address, 4);
    const uint64_t offsetY = m_registers.ReadUInt(reg::OffsetY.address, 4);
    const uint64_t binH = std::max<uint64_t>(1, m_registers.ReadUInt(reg::BinningHorizontal.address, 4));
    const uint64_t binV = std::max<uint64_t>(1, m_registers.ReadUInt(reg::BinningVertical.address, 4));
    const uint64_t decH = std::max<uint64_t>(1, m_registers.ReadUInt(reg::DecimationHorizontal.address, 4));
    const uint64_t decV = std::max<uint64_t>(1, m_registers.ReadUInt(reg::DecimationVertical.address, 4));
    const uint64_t widthMax = vcam::kSensorWidth / (binH * decH) / 8 * 8;
    const uint64_t heightMax = vcam::kSensorHeight / (binV * decV) / 2 * 2;
    const bool valid = width >= 16 && height >= 16 && width + offsetX <= widthMax && height + offsetY <= heightMax;
    m_registers.WriteUInt(reg::DeviceRegistersValid.address, 4, valid ? 1 : 0);
    m_registers.Changed("DeviceRegistersValid");
}

} // namespace internal
} // namespace Orvane
