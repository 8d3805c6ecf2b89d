#include "system/SystemCore.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>

#include "camera/DiscoveredCamera.h"
#include "core/Raise.h"
#include "system/ActionCommands.h"
#include "transport/Transports.h"

namespace Orvane {
namespace internal {

using namespace GenApi;
using namespace GenApi::impl;

namespace {

std::mutex g_instanceMutex;
// Never destroyed: cameras may outlive main's objects, and their teardown must
// not run during static destruction.
std::shared_ptr<SystemCore>* g_instance = new std::shared_ptr<SystemCore>();

constexpr int kMaxVirtualCameras = 64;

std::string LibraryPath() {
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&LibraryPath), &info) && info.dli_fname) return info.dli_fname;
    return "";
}

} // namespace

std::shared_ptr<SystemCore> SystemCore::Acquire() {
    std::lock_guard<std::mutex> lock(g_instanceMutex);
    if (!*g_instance) *g_instance = std::make_shared<SystemCore>();
    ++(*g_instance)->m_references;
    return *g_instance;
}

void SystemCore::Release(const std::shared_ptr<SystemCore>& core) {
    {
        std::lock_guard<std::mutex> lock(g_instanceMutex);
        if (--core->m_references > 0) return;
        if (*g_instance == core) g_instance->reset();
    }
    // Outside the instance lock: stopping the device monitor waits for a
    // running arrival or removal handler, which may itself get the system
    // (a fresh one then).
    core->Shutdown();
}

SystemCore::SystemCore()
    : m_nodeMap("TLSystem"), m_monitor(std::make_shared<DeviceMonitor>([this] { return EnabledInterfaceCores(); })) {
    for (const BuiltInTransport& t : BuiltInTransports())
        m_transports.push_back(TransportSlot{t.kind, t.enabledByDefault, nullptr});
    if (const char* t = std::getenv("ORVANE_TRANSPORTS")) {
        for (TransportSlot& slot : m_transports) slot.enabled = false;
        for (TransportKind kind : ParseTransportList(t)) Slot(kind)->enabled = true;
    }
    if (const char* n = std::getenv("ORVANE_VIRTUAL_CAMERAS")) {
        char* end = nullptr;
        const long count = std::strtol(n, &end, 10);
        if (end != n && *end == 0 && count >= 0)
            m_virtualCount = static_cast<int>(std::min<long>(count, kMaxVirtualCameras));
    }
    BuildNodeMap();
}

SystemCore::~SystemCore() = default;

void SystemCore::Shutdown() {
    m_monitor->Close();
    std::lock_guard<std::mutex> lock(m_mutex);
    for (TransportSlot& slot : m_transports)
        if (slot.interface) slot.interface->Core().Clear();
    m_lastInterfaces.clear();
}

SystemCore::TransportSlot* SystemCore::Slot(TransportKind kind) {
    for (TransportSlot& slot : m_transports)
        if (slot.kind == kind) return &slot;
    return nullptr;
}

const SystemCore::TransportSlot* SystemCore::Slot(TransportKind kind) const {
    for (const TransportSlot& slot : m_transports)
        if (slot.kind == kind) return &slot;
    return nullptr;
}

bool SystemCore::TransportEnabled(TransportKind kind) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    const TransportSlot* slot = Slot(kind);
    return slot && slot->enabled;
}

void SystemCore::EnableTransport(TransportKind kind, bool enable) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (TransportSlot* slot = Slot(kind)) slot->enabled = enable;
}

void SystemCore::SetVirtualCameraCount(int count) {
    InterfacePtr virtualInterface;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_virtualCount = count;
        if (TransportSlot* slot = Slot(TransportKind::Virtual)) virtualInterface = slot->interface;
    }
    // Plugged and unplugged now: the cameras above the count are lost at once.
    if (virtualInterface) virtualInterface->Core().Update();
}

const InterfacePtr& SystemCore::InterfaceOfLocked(TransportSlot& slot) {
    if (!slot.interface) {
        TransportOptions options;
        options.virtualCameraCount = [this] {
            std::lock_guard<std::mutex> l(m_mutex);
            return m_virtualCount;
        };
        auto core = std::make_shared<InterfaceCore>(MakeTransport(slot.kind, options));
        core->SetMonitor(m_monitor);
        slot.interface = InterfacePtr(std::make_shared<Interface>(std::move(core)));
    }
    return slot.interface;
}

std::vector<InterfacePtr> SystemCore::EnabledInterfaces() {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<InterfacePtr> out;
    for (TransportSlot& slot : m_transports)
        if (slot.enabled) out.push_back(InterfaceOfLocked(slot));
    return out;
}

// Without copies of the InterfacePtrs (InUse counts them).
std::vector<std::shared_ptr<InterfaceCore>> SystemCore::EnabledInterfaceCores() {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::shared_ptr<InterfaceCore>> out;
    for (TransportSlot& slot : m_transports)
        if (slot.enabled) out.push_back(InterfaceOfLocked(slot)->Core().shared_from_this());
    return out;
}

void SystemCore::RegisterEventHandler(EventHandler& handler, bool update) {
    // Discovery first: the cameras present now are known, not arrivals.
    if (update) UpdateCameras(true);
    m_monitor->Register(handler, nullptr, ORV_HERE);
}

void SystemCore::UnregisterEventHandler(EventHandler& handler) { m_monitor->Unregister(handler, nullptr, ORV_HERE); }

void SystemCore::SendActionCommand(const ActionCommand& command, unsigned int* resultCount,
                                   ActionCommandResult* results) {
    SendActionCommands(EnabledInterfaceCores(), true, command, resultCount, results, ORV_HERE);
}

InterfaceList SystemCore::Interfaces(bool update) {
    std::vector<InterfacePtr> interfaces;
    if (update) {
        interfaces = EnabledInterfaces();
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lastInterfaces = interfaces;
        if (m_interfaceSelector >= static_cast<int64_t>(interfaces.size())) m_interfaceSelector = 0;
    } else {
        std::lock_guard<std::mutex> lock(m_mutex);
        interfaces = m_lastInterfaces;
    }
    InterfaceList list;
    for (const InterfacePtr& i : interfaces) list.Append(i);
    return list;
}

CameraList SystemCore::Cameras(bool updateInterfaces, bool updateCameras) {
    if (updateCameras) UpdateCameras(updateInterfaces);
    const InterfaceList interfaces = Interfaces(updateInterfaces);
    CameraList cameras;
    for (size_t i = 0; i < interfaces.GetSize(); ++i) cameras.Append(interfaces.GetByIndex(i)->Core().Cameras());
    return cameras;
}

CameraChanges SystemCore::UpdateCameras(bool updateInterfaces) {
    const InterfaceList interfaces = Interfaces(updateInterfaces);
    CameraChanges all;
    for (size_t i = 0; i < interfaces.GetSize(); ++i) {
        CameraChanges c = interfaces.GetByIndex(i)->Core().Update();
        all.arrived.insert(all.arrived.end(), c.arrived.begin(), c.arrived.end());
        all.removed.insert(all.removed.end(), c.removed.begin(), c.removed.end());
    }
    return all;
}

bool SystemCore::InUse() {
    std::vector<InterfacePtr> interfaces;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const TransportSlot& slot : m_transports)
            if (slot.interface) interfaces.push_back(slot.interface);
    }
    for (const InterfacePtr& i : interfaces) {
        // Held here, in the member slot and possibly in m_lastInterfaces.
        long internal = 2;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            internal += std::count(m_lastInterfaces.begin(), m_lastInterfaces.end(), i);
        }
        if (i.use_count() > internal || i->Core().InUse()) return true;
    }
    return false;
}

void SystemCore::BuildNodeMap() {
    NativeNodeMap& m = m_nodeMap;
    auto text = [&](const char* name, const char* tip, std::string value) {
        m.AddString(MakeInfo(name, tip), {[value] { return value; }});
    };
    auto number = [&](const char* name, const char* tip, int64_t value) {
        m.AddInteger(MakeInfo(name, tip), {[value] { return value; }});
    };
    m.AddCategory(MakeInfo("Root", "The system's transport-layer features."),
                  {"SystemInformation", "InterfaceEnumeration", "TransportSelection"});
    m.AddCategory(MakeInfo("SystemInformation", "Identity and version of the transport layer."),
                  {"TLID", "TLVendorName", "TLModelName", "TLVersion", "TLFileName", "TLDisplayName", "TLPath",
                   "TLType", "GenTLVersionMajor", "GenTLVersionMinor", "GenTLSFNCVersionMajor", "GenTLSFNCVersionMinor",
                   "GenTLSFNCVersionSubMinor", "GevVersionMajor", "GevVersionMinor"});
    const std::string version = std::to_string(ORVANE_VERSION_MAJOR) + "." + std::to_string(ORVANE_VERSION_MINOR) +
                                "." + std::to_string(ORVANE_VERSION_PATCH);
    const std::string path = LibraryPath();
    const size_t slash = path.rfind('/');
    text("TLID", "Unique identifier of the transport layer.", "Orvane");
    text("TLVendorName", "Vendor of the transport layer.", "Orvane");
    text("TLModelName", "Model of the transport layer.", "Orvane SDK");
    text("TLVersion", "Version of the transport layer.", version);
    text("TLFileName", "File name of the library implementing the transport layer.",
         slash == std::string::npos ? path : path.substr(slash + 1));
    text("TLDisplayName", "User-readable name of the transport layer.", "Orvane transport layer");
    text("TLPath", "Full path of the library implementing the transport layer.", path);
    m.AddEnumeration(MakeInfo("TLType", "Transport layer type."),
                     {[] { return static_cast<int64_t>(TLType::Mixed); }, nullptr, TLTypeEntries(TLType::Mixed)});
    number("GenTLVersionMajor", "Major version of the GenTL interface the layer follows.", 1);
    number("GenTLVersionMinor", "Minor version of the GenTL interface the layer follows.", 5);
    number("GenTLSFNCVersionMajor", "Major version of the GenTL feature naming the layer follows.", 1);
    number("GenTLSFNCVersionMinor", "Minor version of the GenTL feature naming the layer follows.", 1);
    number("GenTLSFNCVersionSubMinor", "Sub-minor version of the GenTL feature naming the layer follows.", 0);
    number("GevVersionMajor", "Major version of the GigE Vision protocol supported.", 2);
    number("GevVersionMinor", "Minor version of the GigE Vision protocol supported.", 0);

    m.AddCategory(MakeInfo("InterfaceEnumeration", "Interfaces of the enabled transports."),
                  {"InterfaceUpdateList", "InterfaceSelector", "InterfaceID", "InterfaceDisplayName"});
    m.AddCommand(MakeInfo("InterfaceUpdateList", "Updates the list of interfaces."),
                 {[this] { Interfaces(true); }, nullptr, nullptr});
    m.AddInteger(MakeInfo("InterfaceSelector", "Selects the interface whose identity the Interface features show."),
                 {[this] {
                      std::lock_guard<std::mutex> lock(m_mutex);
                      return m_interfaceSelector;
                  },
                  [this](int64_t v) {
                      std::lock_guard<std::mutex> lock(m_mutex);
                      m_interfaceSelector = v;
                  },
                  [] { return int64_t(0); },
                  [this] {
                      std::lock_guard<std::mutex> lock(m_mutex);
                      return std::max<int64_t>(0, static_cast<int64_t>(m_lastInterfaces.size()) - 1);
                  }});
    auto selected = [this]() -> InterfacePtr {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_interfaceSelector < 0 || m_interfaceSelector >= static_cast<int64_t>(m_lastInterfaces.size()))
            ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE, "no interface is selected: run InterfaceUpdateList first");
        return m_lastInterfaces[static_cast<size_t>(m_interfaceSelector)];
    };
    auto interfaceAvailable = [this] {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lastInterfaces.empty() ? NA : RO;
    };
    m.AddString(MakeInfo("InterfaceID", "Identifier of the selected interface."),
                {[selected] { return selected()->GetID().str(); }, nullptr, 256, interfaceAvailable});
    m.AddString(MakeInfo("InterfaceDisplayName", "User-readable name of the selected interface."),
                {[selected] { return selected()->GetDisplayName().str(); }, nullptr, 256, interfaceAvailable});

    m.AddCategory(
        MakeInfo("TransportSelection", "Which transports discovery covers."),
        {"EnumerateVirtualInterfaces", "VirtualCameraCount", "EnumerateGEVInterfaces", "EnumerateUSBInterfaces"});
    auto toggle = [&](const char* name, const char* tip, TransportKind kind) {
        m.AddBoolean(MakeInfo(name, tip), {[this, kind] { return TransportEnabled(kind); },
                                           [this, kind](bool v) { EnableTransport(kind, v); }});
    };
    toggle("EnumerateVirtualInterfaces", "Whether discovery lists the built-in virtual cameras.",
           TransportKind::Virtual);
    toggle("EnumerateGEVInterfaces", "Whether discovery covers GigE Vision (broadcasts on every network adapter).",
           TransportKind::GigEVision);
    toggle("EnumerateUSBInterfaces", "Whether discovery covers USB3 Vision.", TransportKind::USB3Vision);
    m.AddInteger(MakeInfo("VirtualCameraCount", "Number of built-in virtual cameras."),
                 {[this] { return int64_t(VirtualCameraCount()); },
                  [this](int64_t v) { SetVirtualCameraCount(static_cast<int>(v)); }, [] { return int64_t(0); },
                  [] { return int64_t(kMaxVirtualCameras); }});

    for (const char* n : {"InterfaceID", "InterfaceDisplayName"}) {
        m.Depends(n, "InterfaceUpdateList");
        m.Selects("InterfaceSelector", n);
    }
    m.Depends("InterfaceSelector", "InterfaceUpdateList");
    m.Finish();
}

} // namespace internal
} // namespace Orvane
