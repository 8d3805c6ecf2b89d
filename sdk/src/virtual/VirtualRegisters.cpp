#include "virtual/VirtualRegisters.h"

#include <algorithm>
#include <cstring>

#include "core/Raise.h"
#include "genapi/ArvNodeMap.h"
#include "genapi/Node.h"
#include "logging/Log.h"
#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraRegisters.h"

namespace Orvane {
namespace internal {

using GenApi::impl::Node;

VirtualRegisters::VirtualRegisters(ArvFakeCamera* fake, GenApi::impl::ArvNodeMap& map) : m_fake(fake), m_map(map) {
    if (!m_fake) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "the virtual camera runtime needs a virtual camera's device");
    m_initial.resize(vcam::kMemorySize);
    if (!arv_fake_camera_read_memory(m_fake, 0, vcam::kMemorySize, m_initial.data()))
        ORV_RAISE(ORVANE_ERR_IO, "cannot read the virtual camera's memory");
}

// Memory ---------------------------------------------------------------------

namespace {

// Whether `length` bytes at `address` lie inside the register memory
// (without wrapping: address + length may not fit 32 bits).
bool InMemory(uint32_t address, uint32_t length) {
    return length > 0 && address < vcam::kMemorySize && length <= vcam::kMemorySize - address;
}

} // namespace

void VirtualRegisters::ReadBytes(uint32_t address, uint32_t length, uint8_t* out) {
    if (!InMemory(address, length) || !arv_fake_camera_read_memory(m_fake, address, length, out))
        std::memset(out, 0, length);
}

void VirtualRegisters::WriteBytes(uint32_t address, uint32_t length, const uint8_t* bytes) {
    if (length == 0) return;
    if (!InMemory(address, length) || !arv_fake_camera_write_memory(m_fake, address, length, bytes))
        ORV_LOG(kLogCategoryVirtual, LOG_LEVEL_WARN, "virtual camera: a register write outside the memory was dropped");
}

uint64_t VirtualRegisters::ReadUInt(uint32_t address, uint32_t length) {
    uint8_t bytes[8] = {0};
    length = std::min<uint32_t>(length, 8);
    ReadBytes(address, length, bytes);
    return LoadBigEndian(bytes, length);
}

void VirtualRegisters::WriteUInt(uint32_t address, uint32_t length, uint64_t value) {
    uint8_t bytes[8] = {0};
    length = std::min<uint32_t>(length, 8);
    StoreBigEndian(bytes, length, value);
    WriteBytes(address, length, bytes);
}

double VirtualRegisters::ReadDouble(uint32_t address) {
    uint8_t bytes[8] = {0};
    ReadBytes(address, 8, bytes);
    return LoadBigEndianDouble(bytes);
}

void VirtualRegisters::WriteDouble(uint32_t address, double value) {
    uint8_t bytes[8];
    StoreBigEndianDouble(bytes, value);
    WriteBytes(address, 8, bytes);
}

void VirtualRegisters::RestoreInitial(const std::vector<Run>& runs) {
    for (const Run& r : runs) WriteBytes(r.address, r.length, m_initial.data() + r.address);
}

// Change notification ----------------------------------------------------------

void VirtualRegisters::Changed(Node* node) {
    if (node) m_map.NotifyChanged(*node);
}

void VirtualRegisters::Changed(const char* feature) { Changed(RegisterNode(feature)); }

// Register map -------------------------------------------------------------------

const vcam::NamedRegister* VirtualRegisters::Named(const char* feature) {
    for (const vcam::NamedRegister& r : vcam::kRegisters)
        if (r.portId == 0 && std::strcmp(r.feature, feature) == 0) return &r;
    return nullptr;
}

Node* VirtualRegisters::RegisterNode(const char* feature) const {
    const vcam::NamedRegister* r = Named(feature);
    return r ? m_map.FindNode(r->node) : nullptr;
}

std::vector<int64_t> VirtualRegisters::SelectorValues(const char* selector) const {
    std::vector<int64_t> values;
    for (const vcam::EntryInfo& e : vcam::kEntries)
        if (std::strcmp(e.feature, selector) == 0) values.push_back(e.value);
    if (!values.empty()) return values;
    // An integer selector: every value of its range (bounded: the registers
    // the generator allocates for it cover that range).
    if (auto* i = dynamic_cast<GenApi::IInteger*>(m_map.FindNode(selector))) {
        const int64_t min = std::max<int64_t>(0, i->GetMin());
        const int64_t max = std::min<int64_t>(i->GetMax(), min + 4095);
        for (int64_t v = min; v <= max; ++v) values.push_back(v);
    }
    return values;
}

std::vector<VirtualRegisters::Run> VirtualRegisters::SlotsOf(const char* feature) const {
    std::vector<Run> slots;
    const vcam::NamedRegister* r = Named(feature);
    if (!r) return slots;
    const vcam::RegisterInfo& info = *r->info;
    std::vector<int64_t> axes[3];
    for (int k = 0; k < 3; ++k) {
        if (info.selector[k]) axes[k] = SelectorValues(info.selector[k]);
        if (axes[k].empty()) axes[k].push_back(0);
    }
    for (int64_t a : axes[0])
        for (int64_t b : axes[1])
            for (int64_t c : axes[2]) slots.push_back({info.At(a, b, c), info.length});
    return slots;
}

std::vector<VirtualRegisters::Run> VirtualRegisters::Merge(std::vector<Run> runs) {
    auto end = [](const Run& r) { return r.address + r.length; };
    std::sort(runs.begin(), runs.end(), [&](const Run& a, const Run& b) {
        return a.address != b.address ? a.address < b.address : end(a) < end(b);
    });
    std::vector<Run> out;
    for (const Run& r : runs) {
        if (!out.empty() && r.address <= end(out.back()))
            out.back().length = std::max(end(out.back()), end(r)) - out.back().address;
        else
            out.push_back(r);
    }
    return out;
}

} // namespace internal
} // namespace Orvane
