#include "virtual/VirtualUserSets.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <mutex>
#include <string>
#include <utility>

#include "genapi/ArvNodeMap.h"
#include "genapi/Node.h"
#include "logging/Log.h"
#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualCameraStorage.h"

namespace Orvane {
namespace internal {

using GenApi::impl::Node;
using Run = VirtualRegisters::Run;
namespace reg = vcam::reg;
namespace value = vcam::value;

namespace {

constexpr uint32_t kUserSetMagic = 0x4F565553; // "OVUS"
constexpr uint32_t kUserSetVersion = 1;

// Streamable features that a user set does not hold: the user set and file
// access controls themselves, the transport layer's lock, and what the
// camera's storage keeps on its own (the user ID, the defect table).
const char* const kNotInUserSets[] = {
    "UserSetSelector",       "UserSetDefault",         "TLParamsLocked",        "FileSelector", "FileOperationSelector",
    "FileOpenMode",          "FileAccessOffset",       "FileAccessLength",      "DeviceUserID", "DefectTableIndex",
    "DefectTablePixelCount", "DefectTableCoordinateX", "DefectTableCoordinateY"};

void Append32(std::vector<uint8_t>& out, uint32_t v) {
    const size_t at = out.size();
    out.resize(at + 4);
    StoreBigEndian32(out.data() + at, v);
}

// UserSet0 and UserSet1 by their UserSetSelector value: 0, 1, else -1.
int StoredIndex(int64_t set) {
    return set == value::UserSetSelector::UserSet0 ? 0 : set == value::UserSetSelector::UserSet1 ? 1 : -1;
}

} // namespace

VirtualUserSets::VirtualUserSets(VirtualRegisters& registers, VirtualCameraStorage& storage)
    : m_registers(registers), m_storage(storage) {
    std::vector<Run> slots;
    for (Node* n : m_registers.Map().Nodes()) {
        if (!n->Info().streamable || !n->Info().feature) continue;
        const std::string& name = n->Info().name;
        if (std::any_of(std::begin(kNotInUserSets), std::end(kNotInUserSets), [&](const char* x) { return name == x; }))
            continue;
        const vcam::NamedRegister* r = VirtualRegisters::Named(name.c_str());
        if (!r) continue;
        FeatureSlots f;
        f.node = m_registers.Map().FindNode(r->node);
        f.slots = m_registers.SlotsOf(name.c_str());
        slots.insert(slots.end(), f.slots.begin(), f.slots.end());
        m_features.push_back(std::move(f));
    }
    m_runs = VirtualRegisters::Merge(std::move(slots));
}

int64_t VirtualUserSets::Selected() {
    return static_cast<int64_t>(m_registers.ReadUInt(reg::UserSetSelector.address, 4));
}

std::vector<uint8_t> VirtualUserSets::Serialize(bool initial) {
    std::vector<uint8_t> out;
    Append32(out, kUserSetMagic);
    Append32(out, kUserSetVersion);
    Append32(out, static_cast<uint32_t>(m_runs.size()));
    for (const Run& r : m_runs) {
        Append32(out, r.address);
        Append32(out, r.length);
        const size_t at = out.size();
        out.resize(at + r.length);
        if (initial)
            std::memcpy(out.data() + at, m_registers.Initial().data() + r.address, r.length);
        else
            m_registers.ReadBytes(r.address, r.length, out.data() + at);
    }
    return out;
}

bool VirtualUserSets::Write(const std::vector<uint8_t>& data, bool notify) {
    // Checked whole before anything is written: a damaged file changes nothing.
    if (data.size() < 12 || LoadBigEndian32(data.data()) != kUserSetMagic ||
        LoadBigEndian32(data.data() + 4) != kUserSetVersion)
        return false;
    const uint32_t count = LoadBigEndian32(data.data() + 8);
    std::vector<std::pair<Run, size_t>> runs;
    size_t at = 12;
    for (uint32_t i = 0; i < count; ++i) {
        if (data.size() - at < 8) return false;
        const Run r{LoadBigEndian32(data.data() + at), LoadBigEndian32(data.data() + at + 4)};
        at += 8;
        if (r.length > data.size() - at) return false;
        // Only the registers a user set holds may be written.
        const bool inside = std::any_of(m_runs.begin(), m_runs.end(), [&](const Run& u) {
            return r.address >= u.address && uint64_t(r.address) + r.length <= uint64_t(u.address) + u.length;
        });
        if (!inside) return false;
        runs.emplace_back(r, at);
        at += r.length;
    }
    if (at != data.size()) return false;
    std::vector<Run> changed;
    std::vector<uint8_t> current;
    for (const auto& run : runs) {
        current.resize(run.first.length);
        m_registers.ReadBytes(run.first.address, run.first.length, current.data());
        if (std::memcmp(current.data(), data.data() + run.second, run.first.length) == 0) continue;
        m_registers.WriteBytes(run.first.address, run.first.length, data.data() + run.second);
        changed.push_back(run.first);
    }
    if (notify) NotifyChanged(changed);
    return true;
}

void VirtualUserSets::NotifyChanged(const std::vector<Run>& changed) {
    for (const FeatureSlots& f : m_features) {
        const bool hit = std::any_of(f.slots.begin(), f.slots.end(), [&](const Run& s) {
            return std::any_of(changed.begin(), changed.end(), [&](const Run& c) {
                return s.address < c.address + c.length && c.address < s.address + s.length;
            });
        });
        if (hit) m_registers.Changed(f.node);
    }
}

void VirtualUserSets::NotifyAll() {
    for (const FeatureSlots& f : m_features) m_registers.Changed(f.node);
}

bool VirtualUserSets::Save(int64_t set) {
    const int index = StoredIndex(set);
    if (index < 0) return false; // the factory set cannot be overwritten (UserSetSave is NA for it)
    std::vector<uint8_t> data = Serialize(false);
    std::lock_guard<std::mutex> lock(m_storage.mutex);
    m_storage.userSets[index] = std::move(data);
    return true;
}

void VirtualUserSets::Load(int64_t set) {
    std::vector<uint8_t> data;
    if (set == value::UserSetSelector::Default) {
        data = Serialize(true);
    } else {
        const int index = StoredIndex(set);
        if (index < 0) return;
        std::lock_guard<std::mutex> lock(m_storage.mutex);
        data = m_storage.userSets[index];
    }
    if (data.empty()) {
        ORV_LOG(kLogCategoryVirtual, LOG_LEVEL_WARN,
                "virtual camera: UserSetLoad of a user set that was never saved changes nothing");
        return;
    }
    if (!Write(data, true))
        ORV_LOG(kLogCategoryVirtual, LOG_LEVEL_ERROR,
                "virtual camera: the user set's data is damaged; nothing was loaded");
}

void VirtualUserSets::LoadPowerUpSet() {
    std::vector<uint8_t> data;
    {
        std::lock_guard<std::mutex> lock(m_storage.mutex);
        const int64_t set = m_storage.userSetDefault;
        if (set == value::UserSetDefault::UserSet0) data = m_storage.userSets[0];
        if (set == value::UserSetDefault::UserSet1) data = m_storage.userSets[1];
    }
    if (!data.empty() && !Write(data, false))
        ORV_LOG(kLogCategoryVirtual, LOG_LEVEL_WARN,
                "virtual camera: the user set chosen by UserSetDefault could not be loaded");
}

} // namespace internal
} // namespace Orvane
