#include "virtual/VirtualCameraRuntime.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <set>
#include <string>

#include "Orvane/Logging.h"
#include "core/Raise.h"
#include "genapi/ArvNodeMap.h"
#include "genapi/Node.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualCameraStorage.h"
#include "virtual/VirtualDeviceConnection.h"

namespace Orvane {
namespace internal {

using GenApi::impl::Node;
using GenApi::impl::NodeMapBase;
namespace reg = vcam::reg;
namespace value = vcam::value;

enum class VirtualCameraRuntime::Action : unsigned char {
    Complete,        // nothing to do but completing the command
    AcquisitionSide, // the acquisition behaviour's: completed when nobody claimed it
    DeviceReset,
    FactoryReset,
    RegistersCheck,
    TimestampLatch,
    TimestampReset,
    DefectTableSave,
    DefectTableFactoryRestore,
    CounterReset,
    TimerReset,
    TestEventGenerate,
    UserSetLoad,
    UserSetSave,
    SequencerSetSave,
    SequencerSetLoad,
    FileOperationExecute,
};

enum class VirtualCameraRuntime::Rule : unsigned char {
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

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kUserSetMagic = 0x4F565553; // "OVUS"
constexpr uint32_t kUserSetVersion = 1;
constexpr size_t kUserFileCapacity = 4096;
constexpr size_t kUserSetFileCapacity = 65536;
constexpr int kSequencerSets = 8;
constexpr double kTwoPi = 6.283185307179586;

// Streamable features that a user set does not hold: the user set and file
// access controls themselves, the transport layer's lock, and what the
// camera's storage keeps on its own (the user ID, the defect table).
const char* const kNotInUserSets[] = {
    "UserSetSelector",       "UserSetDefault",         "TLParamsLocked",        "FileSelector", "FileOperationSelector",
    "FileOpenMode",          "FileAccessOffset",       "FileAccessLength",      "DeviceUserID", "DefectTableIndex",
    "DefectTablePixelCount", "DefectTableCoordinateX", "DefectTableCoordinateY"};

const vcam::NamedRegister* Named(const char* feature) {
    for (const vcam::NamedRegister& r : vcam::kRegisters)
        if (r.portId == 0 && std::strcmp(r.feature, feature) == 0) return &r;
    return nullptr;
}

std::string BaseName(const char* slotName) {
    const char* bracket = std::strchr(slotName, '[');
    return bracket ? std::string(slotName, static_cast<size_t>(bracket - slotName)) : std::string(slotName);
}

int64_t ElapsedUs(Clock::time_point since) {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - since).count();
}

void PutBE32(std::vector<uint8_t>& out, uint32_t v) {
    for (int i = 3; i >= 0; --i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

uint32_t GetBE32(const uint8_t* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}

} // namespace

VirtualCameraRuntime::VirtualCameraRuntime(VirtualDeviceConnection& session, const std::string& serialNumber)
    : m_session(session), m_map(session.NodeMap()), m_fake(session.FakeCamera()),
      m_storage(VirtualCameraStorage::For(serialNumber)), m_sequencerSets(kSequencerSets) {
    if (!m_fake) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "the virtual camera runtime needs a virtual camera's device");
    NodeMapBase::MapLock lock(m_map);
    m_factory.resize(vcam::kMemorySize);
    if (!arv_fake_camera_read_memory(m_fake, 0, vcam::kMemorySize, m_factory.data()))
        ORV_RAISE(ORVANE_ERR_IO, "cannot read the virtual camera's memory");
    BuildTables();
}

VirtualCameraRuntime::~VirtualCameraRuntime() = default;

// Memory ---------------------------------------------------------------------

void VirtualCameraRuntime::ReadBytes(uint32_t address, uint32_t length, uint8_t* out) {
    if (!arv_fake_camera_read_memory(m_fake, address, length, out)) std::memset(out, 0, length);
}

void VirtualCameraRuntime::WriteBytes(uint32_t address, uint32_t length, const uint8_t* bytes) {
    if (!arv_fake_camera_write_memory(m_fake, address, length, bytes))
        LoggerWrapper::LoggingWarning("virtual camera: a register write outside the memory was dropped",
                                      "VirtualCameraRuntime");
}

uint64_t VirtualCameraRuntime::ReadUInt(uint32_t address, uint32_t length) {
    uint8_t bytes[8] = {0};
    length = std::min<uint32_t>(length, 8);
    ReadBytes(address, length, bytes);
    uint64_t v = 0;
    for (uint32_t i = 0; i < length; ++i) v = (v << 8) | bytes[i];
    return v;
}

void VirtualCameraRuntime::WriteUInt(uint32_t address, uint32_t length, uint64_t value) {
    uint8_t bytes[8] = {0};
    length = std::min<uint32_t>(length, 8);
    for (uint32_t i = 0; i < length; ++i) bytes[length - 1 - i] = static_cast<uint8_t>(value >> (8 * i));
    WriteBytes(address, length, bytes);
}

double VirtualCameraRuntime::ReadDouble(uint32_t address) {
    const uint64_t v = ReadUInt(address, 8);
    double d;
    std::memcpy(&d, &v, sizeof d);
    return d;
}

void VirtualCameraRuntime::WriteDouble(uint32_t address, double value) {
    uint64_t v;
    std::memcpy(&v, &value, sizeof v);
    WriteUInt(address, 8, v);
}

// Tables -----------------------------------------------------------------------

Node* VirtualCameraRuntime::RegisterNode(const char* feature) const {
    const vcam::NamedRegister* r = Named(feature);
    return r ? m_map.FindNode(r->node) : nullptr;
}

void VirtualCameraRuntime::Changed(Node* node) {
    if (node) m_map.NotifyChanged(*node);
}

void VirtualCameraRuntime::Changed(const char* feature) { Changed(RegisterNode(feature)); }

std::vector<int64_t> VirtualCameraRuntime::SelectorValues(const char* selector) const {
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

std::vector<VirtualCameraRuntime::Run> VirtualCameraRuntime::SlotsOf(const char* feature) const {
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

namespace {

// Sorts and merges [begin, end) spans.
std::vector<std::pair<uint32_t, uint32_t>> MergeSpans(std::vector<std::pair<uint32_t, uint32_t>> spans) {
    std::sort(spans.begin(), spans.end());
    std::vector<std::pair<uint32_t, uint32_t>> out;
    for (const auto& s : spans) {
        if (!out.empty() && s.first <= out.back().second)
            out.back().second = std::max(out.back().second, s.second);
        else
            out.push_back(s);
    }
    return out;
}

} // namespace

void VirtualCameraRuntime::BuildTables() {
    // Commands: every command register slot.
    for (const vcam::CommandSlot& slot : vcam::kCommandSlots) {
        const std::string base = BaseName(slot.feature);
        Command c{slot.address, slot.commandValue, Action::Complete, 0, 0};
        const vcam::NamedRegister* r = Named(base.c_str());
        if (r && r->info->stride[0] > 0) {
            const uint32_t offset = slot.address - r->info->address;
            c.v0 = offset / r->info->stride[0];
            if (r->info->stride[1] > 0) c.v1 = (offset % r->info->stride[0]) / r->info->stride[1];
        }
        static const struct {
            const char* name;
            Action action;
        } kActions[] = {
            {"AcquisitionStart", Action::AcquisitionSide},
            {"AcquisitionStop", Action::AcquisitionSide},
            {"AcquisitionAbort", Action::AcquisitionSide},
            {"AcquisitionArm", Action::AcquisitionSide},
            {"TriggerSoftware", Action::AcquisitionSide},
            {"TransferStart", Action::AcquisitionSide},
            {"TransferStop", Action::AcquisitionSide},
            {"TransferAbort", Action::AcquisitionSide},
            {"TransferPause", Action::AcquisitionSide},
            {"TransferResume", Action::AcquisitionSide},
            {"DeviceReset", Action::DeviceReset},
            {"FactoryReset", Action::FactoryReset},
            {"DeviceRegistersStreamingEnd", Action::RegistersCheck},
            {"DeviceRegistersCheck", Action::RegistersCheck},
            {"TimestampLatch", Action::TimestampLatch},
            {"TimestampReset", Action::TimestampReset},
            {"DefectTableSave", Action::DefectTableSave},
            {"DefectTableFactoryRestore", Action::DefectTableFactoryRestore},
            {"CounterReset", Action::CounterReset},
            {"TimerReset", Action::TimerReset},
            {"TestEventGenerate", Action::TestEventGenerate},
            {"UserSetLoad", Action::UserSetLoad},
            {"UserSetSave", Action::UserSetSave},
            {"SequencerSetSave", Action::SequencerSetSave},
            {"SequencerSetLoad", Action::SequencerSetLoad},
            {"FileOperationExecute", Action::FileOperationExecute},
        };
        for (const auto& a : kActions)
            if (base == a.name) c.action = a.action;
        m_commands.push_back(c);
    }
    std::sort(m_commands.begin(), m_commands.end(),
              [](const Command& a, const Command& b) { return a.address < b.address; });

    // Rules on written registers.
    auto watchSlots = [&](const char* feature, Rule rule) {
        const vcam::NamedRegister* r = Named(feature);
        if (!r) return;
        for (const Run& s : SlotsOf(feature)) {
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
    };
    watchSlots("UserOutputValue", Rule::UserOutputBit);
    watchSlots("UserOutputValueAll", Rule::UserOutputAll);
    watchSlots("LogicBlockLUTOutputValue", Rule::LutBit);
    watchSlots("LogicBlockLUTOutputValueAll", Rule::LutAll);
    watchSlots("UserSetDefault", Rule::UserSetDefault);
    watchSlots("DeviceUserID", Rule::UserId);
    watchSlots("CounterValue", Rule::CounterValue);
    watchSlots("TimerValue", Rule::TimerValue);
    // Automatic modes with a Once entry converge at once and return to Off.
    std::set<std::string> autos;
    for (const vcam::EntryInfo& e : vcam::kEntries)
        if (std::strcmp(e.entry, "Once") == 0) autos.insert(e.feature);
    for (const std::string& feature : autos) {
        const vcam::NamedRegister* r = Named(feature.c_str());
        if (!r) continue;
        int64_t once = -1, off = -1;
        for (const vcam::EntryInfo& e : vcam::kEntries) {
            if (feature != e.feature) continue;
            if (std::strcmp(e.entry, "Once") == 0) once = e.value;
            if (std::strcmp(e.entry, "Off") == 0) off = e.value;
        }
        if (once < 0 || off < 0) continue;
        for (const Run& s : SlotsOf(feature.c_str()))
            m_watches.push_back({s.address, s.address + s.length, Rule::AutoOnce, once, off});
    }
    // Registers over another feature's memory (an overlay): a write of one
    // changes the other behind the node map.
    struct Extent {
        uint32_t begin, end;
        const vcam::NamedRegister* reg;
    };
    std::vector<Extent> extents;
    for (const vcam::NamedRegister& r : vcam::kRegisters) {
        if (r.portId != 0) continue;
        uint32_t begin = UINT32_MAX, end = 0;
        for (const Run& s : SlotsOf(r.feature)) {
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
                if (Node* n = m_map.FindNode(o.reg->node)) partners.push_back(n);
        }
        if (partners.empty()) continue;
        m_partners.push_back(std::move(partners));
        m_watches.push_back({e.begin, e.end, Rule::Overlay, static_cast<int64_t>(m_partners.size() - 1), 0});
    }

    // User sets: every slot of every streamable feature's register.
    std::vector<std::pair<uint32_t, uint32_t>> spans;
    for (Node* n : m_map.Nodes()) {
        if (!n->Info().streamable || !n->Info().feature) continue;
        const std::string& name = n->Info().name;
        if (std::any_of(std::begin(kNotInUserSets), std::end(kNotInUserSets), [&](const char* x) { return name == x; }))
            continue;
        const vcam::NamedRegister* r = Named(name.c_str());
        if (!r) continue;
        FeatureSlots f;
        f.node = m_map.FindNode(r->node);
        f.slots = SlotsOf(name.c_str());
        for (const Run& s : f.slots) spans.emplace_back(s.address, s.address + s.length);
        m_userSetFeatures.push_back(std::move(f));
    }
    for (const auto& s : MergeSpans(spans)) m_userSetRuns.push_back({s.first, s.second - s.first});
    spans.clear();
    for (const char* f : {"DefectTablePixelCount", "DefectTableCoordinateX", "DefectTableCoordinateY"})
        for (const Run& s : SlotsOf(f)) spans.emplace_back(s.address, s.address + s.length);
    for (const auto& s : MergeSpans(spans)) m_defectRuns.push_back({s.first, s.second - s.first});

    // Values computed when read.
    m_temperatureSelectors = SelectorValues("DeviceTemperatureSelector");
    for (const char* f : {"Timestamp", "DeviceUptime", "DeviceTemperature", "LineStatus", "LineStatusAll",
                          "CounterValue", "CounterStatus", "TimerValue", "TimerStatus"})
        if (Node* n = RegisterNode(f)) m_map.WatchReads(*n);
}

// Power-up ---------------------------------------------------------------------

void VirtualCameraRuntime::WriteStoredState() {
    std::lock_guard<std::mutex> lock(m_storage->mutex);
    if (m_storage->hasUserId && m_storage->userId.size() == reg::DeviceUserID.length)
        WriteBytes(reg::DeviceUserID.address, reg::DeviceUserID.length, m_storage->userId.data());
    size_t offset = 0;
    if (!m_storage->defectTable.empty()) {
        for (const Run& r : m_defectRuns) {
            if (offset + r.length > m_storage->defectTable.size()) break;
            WriteBytes(r.address, r.length, m_storage->defectTable.data() + offset);
            offset += r.length;
        }
    }
    WriteUInt(reg::UserSetDefault.address, reg::UserSetDefault.length,
              static_cast<uint64_t>(m_storage->userSetDefault));
}

void VirtualCameraRuntime::PowerUp() {
    NodeMapBase::MapLock lock(m_map);
    const Clock::time_point now = Clock::now();
    m_powerUp = now;
    m_clockEpochNs.store(std::chrono::duration_cast<std::chrono::nanoseconds>(now.time_since_epoch()).count());
    m_userOutputs = static_cast<uint32_t>(ReadUInt(reg::UserOutputValueAll.address, reg::UserOutputValueAll.length));
    for (Counter& c : m_counters) c = Counter{now, 0};
    for (Timer& t : m_timers) t = Timer{now, false};
    for (FileState& f : m_files) f = FileState{};
    for (auto& s : m_sequencerSets) s.clear();
    WriteStoredState();
    int64_t set = 0;
    std::vector<uint8_t> data;
    {
        std::lock_guard<std::mutex> storage(m_storage->mutex);
        set = m_storage->userSetDefault;
        if (set == value::UserSetDefault::UserSet0) data = m_storage->userSets[0];
        if (set == value::UserSetDefault::UserSet1) data = m_storage->userSets[1];
    }
    if (!data.empty() && !LoadUserSet(data, false))
        LoggerWrapper::LoggingWarning("virtual camera: the user set chosen by UserSetDefault could not be loaded",
                                      "VirtualCameraRuntime");
    UpdateFileSizes();
    Refresh();
    m_map.InvalidateNodes();
}

// Writes -------------------------------------------------------------------------

void VirtualCameraRuntime::OnWrite(uint64_t address, uint64_t length) {
    NodeMapBase::MapLock lock(m_map);
    const uint64_t end = address + length;
    for (const Watch& w : m_watches)
        if (w.begin < end && address < w.end) Apply(w);
    auto first = std::lower_bound(m_commands.begin(), m_commands.end(), address,
                                  [](const Command& c, uint64_t a) { return c.address + 4 <= a; });
    for (auto it = first; it != m_commands.end() && it->address < end; ++it) {
        if (ReadUInt(it->address, 4) != it->commandValue) continue;
        if (it->action == Action::AcquisitionSide && m_session.IsCommandRegisterClaimed(it->address)) continue;
        try {
            Execute(*it);
        } catch (...) {
            WriteUInt(it->address, 4, 0); // completed, even when the action failed
            throw;
        }
        WriteUInt(it->address, 4, 0);
    }
}

void VirtualCameraRuntime::Apply(const Watch& w) {
    switch (w.rule) {
    case Rule::UserOutputBit: {
        const bool on = ReadUInt(w.begin, 4) != 0;
        const uint32_t bit = 1u << w.a;
        SetUserOutputs(on ? (m_userOutputs | bit) : (m_userOutputs & ~bit), true);
        break;
    }
    case Rule::UserOutputAll: {
        const uint32_t written = static_cast<uint32_t>(ReadUInt(w.begin, 4));
        const uint32_t mask = static_cast<uint32_t>(ReadUInt(reg::UserOutputValueAllMask.address, 4));
        const uint32_t bits = ((m_userOutputs & ~mask) | (written & mask)) & 0xF;
        SetUserOutputs(bits, bits != written);
        break;
    }
    case Rule::LutBit: {
        // a = logic block, b = LUT * 256 + row
        const int64_t lut = w.b / 256, row = w.b % 256;
        const uint32_t allAddress = reg::LogicBlockLUTOutputValueAll.At(w.a, lut);
        uint64_t all = ReadUInt(allAddress, 4);
        if (ReadUInt(w.begin, 4) != 0)
            all |= uint64_t(1) << row;
        else
            all &= ~(uint64_t(1) << row);
        WriteUInt(allAddress, 4, all);
        Changed("LogicBlockLUTOutputValueAll");
        break;
    }
    case Rule::LutAll: {
        const uint64_t all = ReadUInt(w.begin, 4);
        for (int64_t row = 0; row < 16; ++row)
            WriteUInt(reg::LogicBlockLUTOutputValue.At(w.a, w.b, row), 4, (all >> row) & 1);
        Changed("LogicBlockLUTOutputValue");
        break;
    }
    case Rule::UserSetDefault: {
        std::lock_guard<std::mutex> lock(m_storage->mutex);
        m_storage->userSetDefault = static_cast<int64_t>(ReadUInt(w.begin, 4));
        break;
    }
    case Rule::UserId: {
        std::lock_guard<std::mutex> lock(m_storage->mutex);
        m_storage->userId.resize(reg::DeviceUserID.length);
        ReadBytes(reg::DeviceUserID.address, reg::DeviceUserID.length, m_storage->userId.data());
        m_storage->hasUserId = true;
        break;
    }
    case Rule::AutoOnce:
        if (static_cast<int64_t>(ReadUInt(w.begin, w.end - w.begin)) == w.a) {
            WriteUInt(w.begin, w.end - w.begin, static_cast<uint64_t>(w.b));
            for (const vcam::NamedRegister& r : vcam::kRegisters)
                if (r.portId == 0 && r.info->address <= w.begin && w.begin < r.info->address + r.info->length)
                    Changed(m_map.FindNode(r.node));
        }
        break;
    case Rule::CounterValue:
        if (w.a >= 0 && w.a < 2) m_counters[w.a] = Counter{Clock::now(), ReadUInt(w.begin, 8)};
        break;
    case Rule::TimerValue:
        if (w.a >= 0 && w.a < 2 && m_timers[w.a].active) {
            const double value = ReadDouble(w.begin);
            const double delay = ReadDouble(reg::TimerDelay.At(w.a));
            m_timers[w.a].start =
                Clock::now() - std::chrono::microseconds(static_cast<int64_t>(std::llround(value + delay)));
        }
        break;
    case Rule::Overlay:
        for (Node* n : m_partners[static_cast<size_t>(w.a)]) Changed(n);
        break;
    }
}

void VirtualCameraRuntime::SetUserOutputs(uint32_t bits, bool writeAll) {
    m_userOutputs = bits & 0xF;
    if (writeAll) WriteUInt(reg::UserOutputValueAll.address, 4, m_userOutputs);
    for (int64_t i = 0; i < 4; ++i) WriteUInt(reg::UserOutputValue.At(i), 4, (m_userOutputs >> i) & 1);
    Changed("UserOutputValueAll");
    Changed("UserOutputValue");
    Changed("LineStatus");
    Changed("LineStatusAll");
}

void VirtualCameraRuntime::Execute(const Command& c) {
    switch (c.action) {
    case Action::Complete:
    case Action::AcquisitionSide: break;
    case Action::DeviceReset: DeviceReset(); break;
    case Action::FactoryReset: FactoryReset(); break;
    case Action::RegistersCheck: CheckRegisters(); break;
    case Action::TimestampLatch:
        WriteUInt(reg::TimestampLatchValue.address, 8, TimestampNs());
        Changed("TimestampLatchValue");
        break;
    case Action::TimestampReset:
        m_clockEpochNs.store(
            std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count());
        Changed("Timestamp");
        break;
    case Action::DefectTableSave: {
        std::vector<uint8_t> table;
        for (const Run& r : m_defectRuns) {
            const size_t at = table.size();
            table.resize(at + r.length);
            ReadBytes(r.address, r.length, table.data() + at);
        }
        std::lock_guard<std::mutex> lock(m_storage->mutex);
        m_storage->defectTable = std::move(table);
        break;
    }
    case Action::DefectTableFactoryRestore:
        RestoreRuns(m_defectRuns, m_factory.data());
        for (const char* f : {"DefectTablePixelCount", "DefectTableCoordinateX", "DefectTableCoordinateY"}) Changed(f);
        break;
    case Action::CounterReset: CounterReset(c.v0); break;
    case Action::TimerReset: TimerReset(c.v0); break;
    case Action::TestEventGenerate: EmitEvent(vcam::event::Test, 0, nullptr, 0, true); break;
    case Action::UserSetLoad: UserSetLoad(static_cast<int64_t>(ReadUInt(reg::UserSetSelector.address, 4))); break;
    case Action::UserSetSave: UserSetSave(static_cast<int64_t>(ReadUInt(reg::UserSetSelector.address, 4))); break;
    case Action::SequencerSetSave: SequencerSetSave(); break;
    case Action::SequencerSetLoad: SequencerSetLoad(); break;
    case Action::FileOperationExecute: FileOperation(c.v0, c.v1); break;
    }
}

// Values computed when read ---------------------------------------------------------

uint64_t VirtualCameraRuntime::TimestampNs() const {
    const int64_t now = std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
    return static_cast<uint64_t>(std::max<int64_t>(0, now - m_clockEpochNs.load()));
}

uint32_t VirtualCameraRuntime::LineStatusAll() {
    NodeMapBase::MapLock lock(m_map);
    uint32_t all = 0;
    for (int64_t line = 0; line < 4; ++line) {
        const int64_t mode = static_cast<int64_t>(ReadUInt(reg::LineMode.At(line), 4));
        const bool inverted = ReadUInt(reg::LineInverter.At(line), 4) != 0;
        bool signal = false;
        if (mode == value::LineMode::Output) {
            const int64_t source = static_cast<int64_t>(ReadUInt(reg::LineSource.At(line), 4));
            if (source >= value::LineSource::UserOutput0 && source <= value::LineSource::UserOutput3)
                signal = (m_userOutputs >> (source - value::LineSource::UserOutput0)) & 1;
        }
        // Inputs see no external signal on a virtual camera.
        if (signal != inverted) all |= 1u << line;
    }
    return all;
}

void VirtualCameraRuntime::OnRead() {
    NodeMapBase::MapLock lock(m_map);
    Refresh();
}

void VirtualCameraRuntime::Refresh() {
    WriteUInt(reg::Timestamp.address, 8, TimestampNs());
    const double seconds = static_cast<double>(ElapsedUs(m_powerUp)) / 1e6;
    WriteUInt(reg::DeviceUptime.address, 8, static_cast<uint64_t>(seconds));
    // The sensor and the mainboard warm up after power-up (3 degrees, time
    // constant 5 minutes), with a slow ripple of a twentieth of a degree.
    for (int64_t sel : m_temperatureSelectors) {
        double base;
        const uint32_t at = reg::DeviceTemperature.At(sel);
        uint64_t raw = 0;
        for (int i = 0; i < 8; ++i) raw = (raw << 8) | m_factory[at + i];
        std::memcpy(&base, &raw, sizeof base);
        const double t = base + 3.0 * (1.0 - std::exp(-seconds / 300.0)) + 0.05 * std::sin(seconds * kTwoPi / 60.0);
        WriteDouble(at, t);
    }
    const uint32_t lines = LineStatusAll();
    for (int64_t line = 0; line < 4; ++line) WriteUInt(reg::LineStatus.At(line), 4, (lines >> line) & 1);
    WriteUInt(reg::LineStatusAll.address, 4, lines);
    for (int64_t c = 0; c < 2; ++c) {
        const int64_t status = static_cast<int64_t>(ReadUInt(reg::CounterStatus.At(c), 4));
        const int64_t source = static_cast<int64_t>(ReadUInt(reg::CounterEventSource.At(c), 4));
        if (status != value::CounterStatus::CounterActive || source != value::CounterEventSource::MHzTick) continue;
        const uint64_t duration = ReadUInt(reg::CounterDuration.At(c), reg::CounterDuration.length);
        uint64_t count =
            m_counters[c].base + static_cast<uint64_t>(std::max<int64_t>(0, ElapsedUs(m_counters[c].start)));
        if (count >= duration) {
            count = duration;
            WriteUInt(reg::CounterStatus.At(c), 4, value::CounterStatus::CounterCompleted);
        }
        WriteUInt(reg::CounterValue.At(c), 8, count);
    }
    for (int64_t t = 0; t < 2; ++t) {
        if (!m_timers[t].active) continue;
        const double delay = ReadDouble(reg::TimerDelay.At(t));
        const double duration = ReadDouble(reg::TimerDuration.At(t));
        const double elapsed = static_cast<double>(ElapsedUs(m_timers[t].start)) - delay;
        WriteDouble(reg::TimerValue.At(t), std::min(std::max(elapsed, 0.0), duration));
        if (elapsed >= duration) {
            m_timers[t].active = false;
            WriteUInt(reg::TimerStatus.At(t), 4, value::TimerStatus::TimerCompleted);
        }
    }
}

// Counters and timers -----------------------------------------------------------------

void VirtualCameraRuntime::CounterReset(int64_t c) {
    if (c < 0 || c > 1) return;
    Refresh();
    const uint64_t current = ReadUInt(reg::CounterValue.At(c), 8);
    WriteUInt(reg::CounterValueAtReset.At(c), 8, current);
    WriteUInt(reg::CounterValue.At(c), 8, 0);
    m_counters[c] = Counter{Clock::now(), 0};
    const int64_t source = static_cast<int64_t>(ReadUInt(reg::CounterEventSource.At(c), 4));
    WriteUInt(reg::CounterStatus.At(c), 4,
              source == value::CounterEventSource::Off ? value::CounterStatus::CounterIdle
                                                       : value::CounterStatus::CounterActive);
    for (const char* f : {"CounterValue", "CounterValueAtReset", "CounterStatus"}) Changed(f);
}

void VirtualCameraRuntime::TimerReset(int64_t t) {
    if (t < 0 || t > 1) return;
    m_timers[t] = Timer{Clock::now(), true};
    WriteDouble(reg::TimerValue.At(t), 0.0);
    WriteUInt(reg::TimerStatus.At(t), 4, value::TimerStatus::TimerActive);
    for (const char* f : {"TimerValue", "TimerStatus"}) Changed(f);
}

// User sets -----------------------------------------------------------------------------

// A user set's bytes (also its file's content): "OVUS", version, run count,
// then per run its address, length and bytes; numbers big-endian.
std::vector<uint8_t> VirtualCameraRuntime::SerializeUserSet(bool factory) {
    std::vector<uint8_t> out;
    PutBE32(out, kUserSetMagic);
    PutBE32(out, kUserSetVersion);
    PutBE32(out, static_cast<uint32_t>(m_userSetRuns.size()));
    for (const Run& r : m_userSetRuns) {
        PutBE32(out, r.address);
        PutBE32(out, r.length);
        const size_t at = out.size();
        out.resize(at + r.length);
        if (factory)
            std::memcpy(out.data() + at, m_factory.data() + r.address, r.length);
        else
            ReadBytes(r.address, r.length, out.data() + at);
    }
    return out;
}

bool VirtualCameraRuntime::LoadUserSet(const std::vector<uint8_t>& data, bool notify) {
    // Checked whole before anything is written: a damaged file changes nothing.
    if (data.size() < 12 || GetBE32(data.data()) != kUserSetMagic || GetBE32(data.data() + 4) != kUserSetVersion)
        return false;
    const uint32_t count = GetBE32(data.data() + 8);
    std::vector<std::pair<Run, size_t>> runs;
    size_t at = 12;
    for (uint32_t i = 0; i < count; ++i) {
        if (data.size() - at < 8) return false;
        const Run r{GetBE32(data.data() + at), GetBE32(data.data() + at + 4)};
        at += 8;
        if (r.length > data.size() - at) return false;
        // Only the registers a user set holds may be written.
        const bool inside = std::any_of(m_userSetRuns.begin(), m_userSetRuns.end(), [&](const Run& u) {
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
        ReadBytes(run.first.address, run.first.length, current.data());
        if (std::memcmp(current.data(), data.data() + run.second, run.first.length) == 0) continue;
        WriteBytes(run.first.address, run.first.length, data.data() + run.second);
        changed.push_back(run.first);
    }
    if (notify) NotifyUserSetFeatures(changed);
    return true;
}

void VirtualCameraRuntime::RestoreRuns(const std::vector<Run>& runs, const uint8_t* source) {
    for (const Run& r : runs) WriteBytes(r.address, r.length, source + r.address);
}

void VirtualCameraRuntime::NotifyUserSetFeatures(const std::vector<Run>& changed) {
    for (const FeatureSlots& f : m_userSetFeatures) {
        const bool hit = std::any_of(f.slots.begin(), f.slots.end(), [&](const Run& s) {
            return std::any_of(changed.begin(), changed.end(), [&](const Run& c) {
                return s.address < c.address + c.length && c.address < s.address + s.length;
            });
        });
        if (hit) Changed(f.node);
    }
}

void VirtualCameraRuntime::UserSetSave(int64_t set) {
    const int index = set == value::UserSetSelector::UserSet0 ? 0 : set == value::UserSetSelector::UserSet1 ? 1 : -1;
    if (index < 0) return; // the factory set cannot be overwritten (UserSetSave is NA for it)
    std::vector<uint8_t> data = SerializeUserSet(false);
    {
        std::lock_guard<std::mutex> lock(m_storage->mutex);
        m_storage->userSets[index] = std::move(data);
    }
    UpdateFileSizes();
}

void VirtualCameraRuntime::UserSetLoad(int64_t set) {
    std::vector<uint8_t> data;
    if (set == value::UserSetSelector::Default) {
        data = SerializeUserSet(true);
    } else {
        const int index = set == value::UserSetSelector::UserSet0   ? 0
                          : set == value::UserSetSelector::UserSet1 ? 1
                                                                    : -1;
        if (index < 0) return;
        std::lock_guard<std::mutex> lock(m_storage->mutex);
        data = m_storage->userSets[index];
    }
    if (data.empty()) {
        LoggerWrapper::LoggingWarning("virtual camera: UserSetLoad of a user set that was never saved changes nothing",
                                      "VirtualCameraRuntime");
        return;
    }
    if (!LoadUserSet(data, true))
        LoggerWrapper::LoggingError("virtual camera: the user set's data is damaged; nothing was loaded",
                                    "VirtualCameraRuntime");
}

void VirtualCameraRuntime::DeviceReset() {
    // The power-up state: every register of the description back to its
    // initial value, then what the storage holds and the default user set.
    std::vector<Run> all;
    all.push_back({0x0D8, 0x10});
    all.push_back({0x100, 0x40});
    all.push_back({0x300, 0x60});
    all.push_back({vcam::kFreeMemoryStart, vcam::kFreeMemoryEnd - vcam::kFreeMemoryStart});
    RestoreRuns(all, m_factory.data());
    PowerUp();
    for (const FeatureSlots& f : m_userSetFeatures) Changed(f.node);
    for (const char* f : {"UserOutputValue", "UserOutputValueAll", "UserSetDefault", "DeviceUserID"}) Changed(f);
}

void VirtualCameraRuntime::FactoryReset() {
    {
        std::lock_guard<std::mutex> lock(m_storage->mutex);
        m_storage->Erase();
    }
    WriteUInt(reg::UserSetDefault.address, 4, value::UserSetDefault::Default);
    WriteBytes(reg::DeviceUserID.address, reg::DeviceUserID.length, m_factory.data() + reg::DeviceUserID.address);
    for (FileState& f : m_files) f = FileState{};
    UpdateFileSizes();
    for (const char* f : {"UserSetDefault", "DeviceUserID"}) Changed(f);
}

// Files ------------------------------------------------------------------------------------

namespace {

int FileIndex(int64_t file) {
    switch (file) {
    case vcam::value::FileSelector::UserSetDefault: return 0;
    case vcam::value::FileSelector::UserSet0: return 1;
    case vcam::value::FileSelector::UserSet1: return 2;
    case vcam::value::FileSelector::UserFile1: return 3;
    default: return -1;
    }
}

const int64_t kFiles[] = {vcam::value::FileSelector::UserSetDefault, vcam::value::FileSelector::UserSet0,
                          vcam::value::FileSelector::UserSet1, vcam::value::FileSelector::UserFile1};

} // namespace

// The content of a file (null when it cannot be written: then `scratch`
// holds a copy to read), and its capacity. Storage mutex held by the caller.
std::vector<uint8_t>* VirtualCameraRuntime::FileContent(int64_t file, std::vector<uint8_t>& scratch, size_t* capacity) {
    switch (FileIndex(file)) {
    case 0: {
        const int64_t set = m_storage->userSetDefault;
        if (set == value::UserSetDefault::UserSet0)
            scratch = m_storage->userSets[0];
        else if (set == value::UserSetDefault::UserSet1)
            scratch = m_storage->userSets[1];
        else
            scratch.clear();
        if (scratch.empty()) scratch = SerializeUserSet(true);
        *capacity = scratch.size();
        return nullptr;
    }
    case 1: *capacity = kUserSetFileCapacity; return &m_storage->userSets[0];
    case 2: *capacity = kUserSetFileCapacity; return &m_storage->userSets[1];
    case 3: *capacity = kUserFileCapacity; return &m_storage->userFile;
    default: *capacity = 0; return nullptr;
    }
}

void VirtualCameraRuntime::UpdateFileSizes() {
    std::lock_guard<std::mutex> lock(m_storage->mutex);
    std::vector<uint8_t> scratch;
    for (int64_t file : kFiles) {
        size_t capacity = 0;
        const std::vector<uint8_t>* content = FileContent(file, scratch, &capacity);
        WriteUInt(reg::FileSize.At(file), 4, content ? content->size() : scratch.size());
    }
    Changed("FileSize");
}

void VirtualCameraRuntime::FileOperation(int64_t file, int64_t op) {
    const int index = FileIndex(file);
    int64_t status = value::FileOperationStatus::Failure;
    uint64_t result = 0;
    if (index >= 0) {
        FileState& state = m_files[index];
        const int64_t mode = static_cast<int64_t>(ReadUInt(reg::FileOpenMode.At(file), 4));
        const bool canRead = mode == value::FileOpenMode::Read || mode == value::FileOpenMode::ReadWrite;
        const bool canWrite = mode == value::FileOpenMode::Write || mode == value::FileOpenMode::ReadWrite;
        const uint64_t offset = ReadUInt(reg::FileAccessOffset.At(file, op), 4);
        const uint64_t length =
            std::min<uint64_t>(ReadUInt(reg::FileAccessLength.At(file, op), 4), reg::FileAccessBuffer.length);
        std::lock_guard<std::mutex> lock(m_storage->mutex);
        std::vector<uint8_t> scratch;
        size_t capacity = 0;
        std::vector<uint8_t>* content = FileContent(file, scratch, &capacity);
        const std::vector<uint8_t>& readable = content ? *content : scratch;
        switch (static_cast<FileOp>(op)) {
        case FileOp::Open:
            // The user set loaded at power-up is read-only.
            if (!state.open && (canRead || canWrite) && !(canWrite && !content)) {
                state = FileState{true, mode};
                status = value::FileOperationStatus::Success;
            }
            break;
        case FileOp::Close:
            if (state.open) {
                state = FileState{};
                status = value::FileOperationStatus::Success;
            }
            break;
        case FileOp::Read: {
            const bool modeOk = state.mode == value::FileOpenMode::Read || state.mode == value::FileOpenMode::ReadWrite;
            if (state.open && modeOk && offset <= readable.size()) {
                const uint64_t n = std::min<uint64_t>(length, readable.size() - offset);
                if (n > 0)
                    WriteBytes(reg::FileAccessBuffer.address, static_cast<uint32_t>(n), readable.data() + offset);
                result = n;
                status = value::FileOperationStatus::Success;
            }
            break;
        }
        case FileOp::Write: {
            const bool modeOk =
                state.mode == value::FileOpenMode::Write || state.mode == value::FileOpenMode::ReadWrite;
            if (state.open && modeOk && content) {
                uint64_t n = length;
                status = value::FileOperationStatus::Success;
                if (offset + n > capacity) {
                    n = offset < capacity ? capacity - offset : 0;
                    status = value::FileOperationStatus::Overflow;
                }
                if (n > 0 && content->size() < offset + n) content->resize(static_cast<size_t>(offset + n));
                if (n > 0) ReadBytes(reg::FileAccessBuffer.address, static_cast<uint32_t>(n), content->data() + offset);
                result = n;
            }
            break;
        }
        case FileOp::Delete:
            if (!state.open && content) {
                content->clear();
                status = value::FileOperationStatus::Success;
            }
            break;
        }
    }
    if (file >= 0 && op >= 0) {
        WriteUInt(reg::FileOperationStatus.At(file, op), 4, static_cast<uint64_t>(status));
        WriteUInt(reg::FileOperationResult.At(file, op), 4, result);
    }
    Changed("FileOperationStatus");
    Changed("FileOperationResult");
    Changed("FileAccessBuffer");
    UpdateFileSizes();
}

// Sequencer ----------------------------------------------------------------------------------

namespace {

struct SequencedFeature {
    int64_t selectorValue;
    const vcam::RegisterInfo* reg;
    const char* feature;
};

const SequencedFeature kSequenced[] = {
    {vcam::value::SequencerFeatureSelector::ExposureTime, &reg::ExposureTime, "ExposureTime"},
    {vcam::value::SequencerFeatureSelector::Gain, &reg::Gain, "Gain"},
    {vcam::value::SequencerFeatureSelector::Width, &reg::Width, "Width"},
    {vcam::value::SequencerFeatureSelector::Height, &reg::Height, "Height"},
    {vcam::value::SequencerFeatureSelector::OffsetX, &reg::OffsetX, "OffsetX"},
    {vcam::value::SequencerFeatureSelector::OffsetY, &reg::OffsetY, "OffsetY"},
    {vcam::value::SequencerFeatureSelector::UserOutputValueAll, &reg::UserOutputValueAll, "UserOutputValueAll"},
};

} // namespace

void VirtualCameraRuntime::SequencerSetSave() {
    const uint64_t set = ReadUInt(reg::SequencerSetSelector.address, 4);
    if (set >= m_sequencerSets.size()) return;
    // A set holds, per sequenced feature, a flag (enabled) and its 4 bytes.
    std::vector<uint8_t>& saved = m_sequencerSets[set];
    saved.assign(std::size(kSequenced) * 5, 0);
    for (size_t i = 0; i < std::size(kSequenced); ++i) {
        if (ReadUInt(reg::SequencerFeatureEnable.At(kSequenced[i].selectorValue), 4) == 0) continue;
        saved[i * 5] = 1;
        ReadBytes(kSequenced[i].reg->address, 4, saved.data() + i * 5 + 1);
    }
    WriteUInt(reg::SequencerSetValid.At(static_cast<int64_t>(set)), 4, value::SequencerSetValid::Yes);
    const uint64_t start = ReadUInt(reg::SequencerSetStart.address, 4);
    const bool valid = start < m_sequencerSets.size() && !m_sequencerSets[start].empty();
    WriteUInt(reg::SequencerConfigurationValid.address, 4,
              valid ? value::SequencerConfigurationValid::Yes : value::SequencerConfigurationValid::No);
    Changed("SequencerSetValid");
    Changed("SequencerConfigurationValid");
}

void VirtualCameraRuntime::SequencerSetLoad() {
    const uint64_t set = ReadUInt(reg::SequencerSetSelector.address, 4);
    if (set >= m_sequencerSets.size() || m_sequencerSets[set].empty()) return;
    const std::vector<uint8_t>& saved = m_sequencerSets[set];
    for (size_t i = 0; i < std::size(kSequenced); ++i) {
        if (!saved[i * 5]) continue;
        if (kSequenced[i].reg == &reg::UserOutputValueAll) {
            SetUserOutputs(GetBE32(saved.data() + i * 5 + 1), true);
            continue;
        }
        WriteBytes(kSequenced[i].reg->address, 4, saved.data() + i * 5 + 1);
        Changed(kSequenced[i].feature);
    }
    WriteUInt(reg::SequencerSetActive.address, 4, set);
    Changed("SequencerSetActive");
}

void VirtualCameraRuntime::CheckRegisters() {
    const uint64_t width = ReadUInt(reg::Width.address, 4), height = ReadUInt(reg::Height.address, 4);
    const uint64_t offsetX = ReadUInt(reg::OffsetX.address, 4), offsetY = ReadUInt(reg::OffsetY.address, 4);
    const uint64_t binH = std::max<uint64_t>(1, ReadUInt(reg::BinningHorizontal.address, 4));
    const uint64_t binV = std::max<uint64_t>(1, ReadUInt(reg::BinningVertical.address, 4));
    const uint64_t decH = std::max<uint64_t>(1, ReadUInt(reg::DecimationHorizontal.address, 4));
    const uint64_t decV = std::max<uint64_t>(1, ReadUInt(reg::DecimationVertical.address, 4));
    const uint64_t widthMax = vcam::kSensorWidth / (binH * decH) / 8 * 8;
    const uint64_t heightMax = vcam::kSensorHeight / (binV * decV) / 2 * 2;
    const bool valid = width >= 16 && height >= 16 && width + offsetX <= widthMax && height + offsetY <= heightMax;
    WriteUInt(reg::DeviceRegistersValid.address, 4, valid ? 1 : 0);
    Changed("DeviceRegistersValid");
}

// Events --------------------------------------------------------------------------------------

void VirtualCameraRuntime::SetEventSink(EventSink sink) {
    NodeMapBase::MapLock lock(m_map);
    m_eventSink = std::move(sink);
}

bool VirtualCameraRuntime::IsEventNotificationOn(uint16_t eventId) {
    NodeMapBase::MapLock lock(m_map);
    for (const vcam::EventInfo& e : vcam::kEvents)
        if (e.id == eventId)
            return static_cast<int64_t>(ReadUInt(reg::EventNotification.At(e.selectorValue), 4)) ==
                   value::EventNotification::On;
    return false;
}

void VirtualCameraRuntime::EmitEvent(uint16_t eventId, uint64_t frameId, const uint8_t* extra, size_t extraSize,
                                     bool force) {
    NodeMapBase::MapLock lock(m_map);
    if (!m_eventSink || (!force && !IsEventNotificationOn(eventId))) return;
    uint8_t data[vcam::kEventDataSize] = {0};
    const uint64_t timestamp = TimestampNs();
    for (int i = 0; i < 8; ++i) {
        data[7 - i] = static_cast<uint8_t>(timestamp >> (8 * i));
        data[15 - i] = static_cast<uint8_t>(frameId >> (8 * i));
    }
    if (extra && extraSize > 0) std::memcpy(data + 16, extra, std::min<size_t>(extraSize, sizeof data - 16));
    m_eventSink(eventId, data, sizeof data);
}

} // namespace internal
} // namespace Orvane
