#include "virtual/VirtualSequencer.h"

#include <iterator>

#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualIoLines.h"
#include "virtual/VirtualRegisters.h"

namespace Orvane {
namespace internal {

namespace reg = vcam::reg;
namespace value = vcam::value;

namespace {

constexpr int kSequencerSets = 8;

struct SequencedFeature {
    int64_t selectorValue;
    const vcam::RegisterInfo* reg;
    const char* feature;
};

const SequencedFeature kSequenced[] = {
    {value::SequencerFeatureSelector::ExposureTime, &reg::ExposureTime, "ExposureTime"},
    {value::SequencerFeatureSelector::Gain, &reg::Gain, "Gain"},
    {value::SequencerFeatureSelector::Width, &reg::Width, "Width"},
    {value::SequencerFeatureSelector::Height, &reg::Height, "Height"},
    {value::SequencerFeatureSelector::OffsetX, &reg::OffsetX, "OffsetX"},
    {value::SequencerFeatureSelector::OffsetY, &reg::OffsetY, "OffsetY"},
    {value::SequencerFeatureSelector::UserOutputValueAll, &reg::UserOutputValueAll, "UserOutputValueAll"},
};

} // namespace

VirtualSequencer::VirtualSequencer(VirtualRegisters& registers, VirtualIoLines& lines)
    : m_registers(registers), m_lines(lines), m_sets(kSequencerSets) {}

void VirtualSequencer::Clear() {
    for (auto& s : m_sets) s.clear();
}

void VirtualSequencer::Save() {
    const uint64_t set = m_registers.ReadUInt(reg::SequencerSetSelector.address, 4);
    if (set >= m_sets.size()) return;
    // A set holds, per sequenced feature, a flag (enabled) and its 4 bytes.
    std::vector<uint8_t>& saved = m_sets[set];
    saved.assign(std::size(kSequenced) * 5, 0);
    for (size_t i = 0; i < std::size(kSequenced); ++i) {
        if (m_registers.ReadUInt(reg::SequencerFeatureEnable.At(kSequenced[i].selectorValue), 4) == 0) continue;
        saved[i * 5] = 1;
        m_registers.ReadBytes(kSequenced[i].reg->address, 4, saved.data() + i * 5 + 1);
    }
    m_registers.WriteUInt(reg::SequencerSetValid.At(static_cast<int64_t>(set)), 4, value::SequencerSetValid::Yes);
    const uint64_t start = m_registers.ReadUInt(reg::SequencerSetStart.address, 4);
    const bool valid = start < m_sets.size() && !m_sets[start].empty();
    m_registers.WriteUInt(reg::SequencerConfigurationValid.address, 4,
                          valid ? value::SequencerConfigurationValid::Yes : value::SequencerConfigurationValid::No);
    m_registers.Changed("SequencerSetValid");
    m_registers.Changed("SequencerConfigurationValid");
}

void VirtualSequencer::Load() {
    const uint64_t set = m_registers.ReadUInt(reg::SequencerSetSelector.address, 4);
    if (set >= m_sets.size() || m_sets[set].empty()) return;
    const std::vector<uint8_t>& saved = m_sets[set];
    for (size_t i = 0; i < std::size(kSequenced); ++i) {
        if (!saved[i * 5]) continue;
        if (kSequenced[i].reg == &reg::UserOutputValueAll) {
            m_lines.SetUserOutputs(LoadBigEndian32(saved.data() + i * 5 + 1), true);
            continue;
        }
        m_registers.WriteBytes(kSequenced[i].reg->address, 4, saved.data() + i * 5 + 1);
        m_registers.Changed(kSequenced[i].feature);
    }
    m_registers.WriteUInt(reg::SequencerSetActive.address, 4, set);
    m_registers.Changed("SequencerSetActive");
}

} // namespace internal
} // namespace Orvane
