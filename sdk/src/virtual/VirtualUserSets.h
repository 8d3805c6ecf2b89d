// VirtualUserSets: the user sets of one virtual camera. A user set holds the
// registers of every streamable feature, every selector slot of each, except
// the user set and file access controls themselves, the transport layer's
// lock and what the storage keeps on its own (DeviceUserID, the defect table:
// VirtualStoredState). UserSet0 and UserSet1 live in the camera's storage
// (VirtualCameraStorage); Default is the initial values.
//
// A user set's bytes (also the content of its file, VirtualFileSystem):
// "OVUS", version 1, the run count, then per run its address, length and
// bytes; numbers 32-bit big-endian. Loading checks the bytes whole before
// writing anything, so damaged data changes nothing.
//
// Ownership: one per VirtualCameraRuntime; the storage outlives it.
// Threads and locks: every member runs with the session's node map lock held
// and takes the storage's mutex while it uses the storage, except Serialize,
// which does not use the storage (callers may hold its mutex).
#ifndef ORVANE_VIRTUAL_VIRTUAL_USER_SETS_H
#define ORVANE_VIRTUAL_VIRTUAL_USER_SETS_H

#include <cstdint>
#include <vector>

#include "virtual/VirtualRegisters.h"

namespace Orvane {
namespace internal {

struct VirtualCameraStorage;

class VirtualUserSets {
public:
    // Builds the table of the features a user set holds.
    VirtualUserSets(VirtualRegisters& registers, VirtualCameraStorage& storage);

    // The UserSetSelector value now.
    int64_t Selected();
    // UserSetSave of `set` (a UserSetSelector value) into the storage. False
    // when nothing was saved: Default cannot be overwritten.
    bool Save(int64_t set);
    // UserSetLoad of `set`: its registers written and the changed features
    // notified. A set never saved, or damaged data, changes nothing (logged).
    void Load(int64_t set);
    // Power-up: loads the set UserSetDefault names in the storage, when it
    // was saved (not notified: the runtime invalidates the whole map).
    void LoadPowerUpSet();
    // Notifies every feature a user set holds (after DeviceReset).
    void NotifyAll();

    // The bytes of a user set: the registers now, or (`initial`) their
    // initial values, which are the Default set.
    std::vector<uint8_t> Serialize(bool initial);

private:
    struct FeatureSlots {
        GenApi::impl::Node* node = nullptr;       // the feature's register node
        std::vector<VirtualRegisters::Run> slots; // every selector slot of its register
    };

    // Writes a user set's registers; false (and nothing written) when the data
    // is damaged. `notify`: notify the changed features to the node map.
    bool Write(const std::vector<uint8_t>& data, bool notify);
    void NotifyChanged(const std::vector<VirtualRegisters::Run>& changed);

    VirtualRegisters& m_registers;
    VirtualCameraStorage& m_storage;
    std::vector<FeatureSlots> m_features;
    std::vector<VirtualRegisters::Run> m_runs; // merged slots of every feature a user set holds
};

} // namespace internal
} // namespace Orvane

#endif
