// VirtualRegisters: the register memory of one virtual camera (the plain RAM
// of its Aravis fake camera) as the parts of the camera's runtime use it:
// - reads and writes of big-endian integers, doubles and byte runs;
// - the snapshot of the fresh device's memory (the initial values), taken
//   when the runtime is made, and restoring runs of it;
// - change notification: a part that changed a register behind the node map
//   tells the map (NotifyChanged of the feature's register node), so no cached
//   value goes stale and the callbacks of the changed features fire;
// - lookups in the generated register map: a feature's register node, the
//   values of a selector, and the slots (one per selector value) of a
//   feature's register.
// Reads and writes here do not come back to the session's behaviours.
//
// Ownership: one per VirtualCameraRuntime, which lives as long as its
// session; the fake camera and the node map belong to that session.
// Threads and locks: use it with the session's node map lock held.
#ifndef ORVANE_VIRTUAL_VIRTUAL_REGISTERS_H
#define ORVANE_VIRTUAL_VIRTUAL_REGISTERS_H

#include <arv.h>

#include <cstdint>
#include <vector>

namespace Orvane {
namespace GenApi {
namespace impl {
class ArvNodeMap;
class Node;
} // namespace impl
} // namespace GenApi

namespace internal {
namespace vcam {
struct NamedRegister;
} // namespace vcam

class VirtualRegisters {
public:
    // A span of registers: `length` bytes at `address`.
    struct Run {
        uint32_t address;
        uint32_t length;
    };

    // Takes the snapshot of the initial values. Raises
    // ORVANE_ERR_INVALID_ARGUMENT when `fake` is null (the session is no
    // virtual camera), ORVANE_ERR_IO when its memory cannot be read.
    VirtualRegisters(ArvFakeCamera* fake, GenApi::impl::ArvNodeMap& map);
    VirtualRegisters(const VirtualRegisters&) = delete;
    VirtualRegisters& operator=(const VirtualRegisters&) = delete;

    // Memory. Reads outside the memory give zeros; writes outside it are
    // dropped with a warning. Integers are at most 8 bytes long.
    uint64_t ReadUInt(uint32_t address, uint32_t length);
    void WriteUInt(uint32_t address, uint32_t length, uint64_t value);
    double ReadDouble(uint32_t address);
    void WriteDouble(uint32_t address, double value);
    void ReadBytes(uint32_t address, uint32_t length, uint8_t* out);
    void WriteBytes(uint32_t address, uint32_t length, const uint8_t* bytes);

    // The memory of the fresh device (vcam::kMemorySize bytes).
    const std::vector<uint8_t>& Initial() const { return m_initial; }
    // Writes the initial values of these runs back.
    void RestoreInitial(const std::vector<Run>& runs);

    // Change notification: the register node of `feature` (or `node`)
    // changed behind the node map. Null or unknown: nothing.
    void Changed(GenApi::impl::Node* node);
    void Changed(const char* feature);

    // Register map. The generated entry of a feature's register (port 0), or null.
    static const vcam::NamedRegister* Named(const char* feature);
    // The register node of a feature, or null.
    GenApi::impl::Node* RegisterNode(const char* feature) const;
    // Every value of a selector: its enumeration entries' values, or the
    // range of an integer selector (at most 4096 values from max(0, min)).
    std::vector<int64_t> SelectorValues(const char* selector) const;
    // The register of `feature` at every combination of its selectors' values.
    std::vector<Run> SlotsOf(const char* feature) const;
    // The runs sorted by address, those that overlap or touch merged.
    static std::vector<Run> Merge(std::vector<Run> runs);

    GenApi::impl::ArvNodeMap& Map() const { return m_map; }

private:
    ArvFakeCamera* m_fake; // the session's
    GenApi::impl::ArvNodeMap& m_map;
    std::vector<uint8_t> m_initial;
};

} // namespace internal
} // namespace Orvane

#endif
