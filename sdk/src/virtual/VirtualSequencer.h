// VirtualSequencer: the sequencer sets of one virtual camera (8 sets).
// SequencerSetSave keeps, in the set SequencerSetSelector names, the value of
// every sequenced feature whose SequencerFeatureEnable is on (ExposureTime,
// Gain, Width, Height, OffsetX, OffsetY, UserOutputValueAll) and updates
// SequencerSetValid and SequencerConfigurationValid; SequencerSetLoad writes
// those values back and sets SequencerSetActive. Sets are lost at power-up.
//
// Ownership: one per VirtualCameraRuntime.
// Threads and locks: every member runs with the session's node map lock held.
#ifndef ORVANE_VIRTUAL_VIRTUAL_SEQUENCER_H
#define ORVANE_VIRTUAL_VIRTUAL_SEQUENCER_H

#include <cstdint>
#include <vector>

namespace Orvane {
namespace internal {

class VirtualIoLines;
class VirtualRegisters;

class VirtualSequencer {
public:
    VirtualSequencer(VirtualRegisters& registers, VirtualIoLines& lines);

    // Power-up: no set saved.
    void Clear();
    // SequencerSetSave, SequencerSetLoad.
    void Save();
    void Load();

private:
    VirtualRegisters& m_registers;
    VirtualIoLines& m_lines;
    std::vector<std::vector<uint8_t>> m_sets; // per set: saved feature registers, empty: not saved
};

} // namespace internal
} // namespace Orvane

#endif
