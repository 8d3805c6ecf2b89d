#include "system/InterfaceCore.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>
#include <utility>

#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "core/Raise.h"
#include "system/ActionCommands.h"
#include "system/DeviceMonitor.h"

namespace Orvane {
namespace internal {

using namespace GenApi;
using namespace GenApi::impl;

namespace {

// An initialised camera whose connection has not reported a loss.
bool IsOpenAndAlive(DiscoveredCamera& camera) {
    if (!camera.IsInitialized()) return false;
    const std::shared_ptr<DeviceConnection> connection = camera.Access().Connection();
    return connection && !connection->ControlLost();
}

} // namespace

InterfaceCore::InterfaceCore(std::shared_ptr<Transport> transport)
    : m_transport(std::move(transport)), m_nodeMap("TLInterface") {
    BuildNodeMap();
}

InterfaceCore::~InterfaceCore() = default;

CameraChanges InterfaceCore::Update() {
    const uint64_t discovery = ++m_discoveriesStarted;
    std::vector<DeviceInfo> found = m_transport->Discover();
    std::lock_guard<std::mutex> lock(m_mutex);
    CameraChanges changes;
    // A discovery that started after this one was applied already: this
    // result is older than the list, and applying it would undo newer changes.
    if (discovery < m_discoveryApplied) return changes;
    m_discoveryApplied = discovery;
    std::vector<CameraPtr> next;
    next.reserve(found.size());
    for (const DeviceInfo& info : found) {
        auto it = std::find_if(m_cameras.begin(), m_cameras.end(),
                               [&](const CameraPtr& c) { return c->Core().Info().SameDevice(info); });
        if (it != m_cameras.end()) {
            (*it)->Core().UpdateInfo(info);
            next.push_back(*it);
        } else {
            CameraPtr camera(std::make_shared<CameraBase>(std::make_shared<DiscoveredCamera>(info, m_transport)));
            changes.arrived.push_back(camera);
            next.push_back(camera);
        }
    }
    for (const CameraPtr& c : m_cameras) {
        if (std::find(next.begin(), next.end(), c) != next.end()) continue;
        if (IsOpenAndAlive(c->Core())) {
            next.push_back(c); // its loss, not one missed answer, takes it away
            continue;
        }
        c->Core().SetPresent(false);
        changes.removed.push_back(c);
    }
    for (const CameraPtr& c : next) c->Core().SetPresent(true);
    m_cameras.swap(next);
    m_discovered = true;
    if (m_deviceSelector >= static_cast<int64_t>(m_cameras.size())) m_deviceSelector = 0;
    if (m_monitor && changes.Any()) m_monitor->Post(*this, changes);
    return changes;
}

void InterfaceCore::Forget(const DiscoveredCamera* camera) {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it =
        std::find_if(m_cameras.begin(), m_cameras.end(), [&](const CameraPtr& c) { return &c->Core() == camera; });
    if (it == m_cameras.end()) return;
    CameraChanges changes;
    changes.removed.push_back(*it);
    (*it)->Core().SetPresent(false);
    m_cameras.erase(it);
    if (m_deviceSelector >= static_cast<int64_t>(m_cameras.size())) m_deviceSelector = 0;
    if (m_monitor) m_monitor->Post(*this, changes);
}

std::vector<std::shared_ptr<DiscoveredCamera>> InterfaceCore::OpenCameras() {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::shared_ptr<DiscoveredCamera>> out;
    for (const CameraPtr& c : m_cameras)
        if (c->Core().IsInitialized()) out.push_back(c->SharedCore());
    return out;
}

CameraList InterfaceCore::Cameras() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_discovered) {
            CameraList list;
            for (const CameraPtr& c : m_cameras) list.Add(c);
            return list;
        }
    }
    Update();
    return Cameras();
}

bool InterfaceCore::InUse() {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const CameraPtr& c : m_cameras)
        if (c.use_count() > 1 || c->Core().IsInitialized()) return true;
    return false;
}

void InterfaceCore::Clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const CameraPtr& c : m_cameras) c->Core().SetPresent(false);
    m_cameras.clear();
    m_discovered = false;
    m_deviceSelector = 0;
}

void InterfaceCore::SendActionCommand(ActionCommand command, std::vector<ActionResult>& results) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        command.timeoutMs = static_cast<uint32_t>(m_action.timeoutMs);
    }
    m_transport->SendActionCommand(command, results);
}

size_t InterfaceCore::SendConfiguredActionCommand() {
    ActionCommand command;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        command.deviceKey = static_cast<uint32_t>(m_action.deviceKey);
        command.groupKey = static_cast<uint32_t>(m_action.groupKey);
        command.groupMask = static_cast<uint32_t>(m_action.groupMask);
        command.scheduled = m_action.time != 0;
        command.actionTime = static_cast<uint64_t>(m_action.time);
        command.acknowledge = m_action.acknowledge;
    }
    std::vector<ActionResult> results;
    SendActionCommand(command, results);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_action.acknowledgements = results;
    m_action.selector = 0;
    return results.size();
}

DeviceInfo InterfaceCore::SelectedDevice() {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_deviceSelector < 0 || m_deviceSelector >= static_cast<int64_t>(m_cameras.size()))
        ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE, "interface " + Id() + ": no device is selected (DeviceCount is " +
                                                std::to_string(m_cameras.size()) + ")");
    return m_cameras[static_cast<size_t>(m_deviceSelector)]->Core().Info();
}

void InterfaceCore::BuildNodeMap() {
    NativeNodeMap& m = m_nodeMap;
    const bool network = m_transport->Features().networkFeatures;
    auto deviceAvailable = [this] {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_cameras.empty() ? NA : RO;
    };
    auto deviceString = [&](const char* name, const char* tip, std::string DeviceInfo::*field) {
        m.AddString(MakeInfo(name, tip),
                    {[this, field] { return SelectedDevice().*field; }, nullptr, 256, deviceAvailable});
    };

    m.AddCategory(MakeInfo("Root", "The interface's transport-layer features."),
                  {"InterfaceInformation", "DeviceEnumeration", "ActionControl"});
    m.AddCategory(MakeInfo("InterfaceInformation", "Identity of the interface."),
                  {"InterfaceID", "InterfaceDisplayName", "InterfaceType"});
    m.AddString(MakeInfo("InterfaceID", "Unique identifier of the interface."), {[this] { return Id(); }});
    m.AddString(MakeInfo("InterfaceDisplayName", "User-readable name of the interface."),
                {[this] { return DisplayName(); }});
    const int64_t type = static_cast<int64_t>(TLTypeOf(Kind()));
    m.AddEnumeration(MakeInfo("InterfaceType", "Transport layer type of the interface."),
                     {[type] { return type; }, nullptr, TLTypeEntries(TLType::Custom)});

    std::vector<std::string> enumeration = {
        "DeviceUpdateList", "DeviceCount",        "DeviceSelector",     "DeviceID",     "DeviceVendorName",
        "DeviceModelName",  "DeviceSerialNumber", "DeviceAccessStatus", "DeviceUserID", "DeviceAddress"};
    if (network) enumeration.insert(enumeration.end(), {"GevDeviceIPAddress", "GevDeviceMACAddress"});
    m.AddCategory(MakeInfo("DeviceEnumeration", "Devices found on this interface."), enumeration);
    m.AddCommand(MakeInfo("DeviceUpdateList", "Rediscovers the devices of this interface."),
                 {[this] { Update(); }, nullptr, nullptr});
    m.AddInteger(MakeInfo("DeviceCount", "Number of devices found by the last discovery."), {[this] {
                     std::lock_guard<std::mutex> lock(m_mutex);
                     return static_cast<int64_t>(m_cameras.size());
                 }});
    m.AddInteger(MakeInfo("DeviceSelector", "Selects the device whose identity the Device features show."),
                 {[this] {
                      std::lock_guard<std::mutex> lock(m_mutex);
                      return m_deviceSelector;
                  },
                  [this](int64_t v) {
                      std::lock_guard<std::mutex> lock(m_mutex);
                      m_deviceSelector = v;
                  },
                  [] { return int64_t(0); },
                  [this] {
                      std::lock_guard<std::mutex> lock(m_mutex);
                      return std::max<int64_t>(0, static_cast<int64_t>(m_cameras.size()) - 1);
                  }});
    deviceString("DeviceID", "Identifier of the selected device on this interface.", &DeviceInfo::deviceId);
    deviceString("DeviceVendorName", "Vendor of the selected device.", &DeviceInfo::vendorName);
    deviceString("DeviceModelName", "Model of the selected device.", &DeviceInfo::modelName);
    deviceString("DeviceSerialNumber", "Serial number of the selected device.", &DeviceInfo::serialNumber);
    deviceString("DeviceUserID", "User-defined name of the selected device.", &DeviceInfo::userId);
    {
        NodeInfo info = MakeInfo("DeviceAddress",
                                 "Where the selected device is reached: its IP address (GigE Vision), its bus "
                                 "address (USB3 Vision), or \"local\" (virtual cameras).");
        info.nameSpace = Custom;
        m.AddString(info, {[this] { return SelectedDevice().address; }, nullptr, 256, deviceAvailable});
    }
    const std::vector<std::pair<std::string, int64_t>> access = {{"Unknown", AccessStatusUnknown},
                                                                 {"ReadWrite", AccessStatusReadWrite},
                                                                 {"ReadOnly", AccessStatusReadOnly},
                                                                 {"NoAccess", AccessStatusNoAccess},
                                                                 {"Busy", AccessStatusBusy},
                                                                 {"OpenReadWrite", AccessStatusOpenReadWrite},
                                                                 {"OpenReadOnly", AccessStatusOpenReadOnly}};
    m.AddEnumeration(MakeInfo("DeviceAccessStatus", "How the selected device can be opened now."),
                     {[this]() -> int64_t {
                          std::lock_guard<std::mutex> lock(m_mutex);
                          if (m_deviceSelector >= static_cast<int64_t>(m_cameras.size())) return AccessStatusUnknown;
                          return m_cameras[static_cast<size_t>(m_deviceSelector)]->Core().AccessStatus();
                      },
                      nullptr, access, deviceAvailable});
    if (network) {
        auto ipv4 = [this]() -> int64_t {
            const std::string a = SelectedDevice().address;
            unsigned b[4] = {0, 0, 0, 0};
            if (std::sscanf(a.c_str(), "%u.%u.%u.%u", &b[0], &b[1], &b[2], &b[3]) != 4) return 0;
            return (int64_t(b[0]) << 24) | (int64_t(b[1]) << 16) | (int64_t(b[2]) << 8) | int64_t(b[3]);
        };
        IntegerSpec ip{ipv4, nullptr, nullptr, nullptr, 1, IPV4Address, "", deviceAvailable};
        m.AddInteger(MakeInfo("GevDeviceIPAddress", "IP address of the selected device."), ip);
        auto mac = [this]() -> int64_t {
            const std::string a = SelectedDevice().physicalId;
            unsigned b[6] = {0, 0, 0, 0, 0, 0};
            if (std::sscanf(a.c_str(), "%x:%x:%x:%x:%x:%x", &b[0], &b[1], &b[2], &b[3], &b[4], &b[5]) != 6) return 0;
            int64_t v = 0;
            for (unsigned x : b) v = (v << 8) | x;
            return v;
        };
        IntegerSpec macSpec{mac, nullptr, nullptr, nullptr, 1, MACAddress, "", deviceAvailable};
        m.AddInteger(MakeInfo("GevDeviceMACAddress", "MAC address of the selected device."), macSpec);
    }
    BuildActionNodes();

    for (const std::string& n : enumeration)
        if (n != "DeviceSelector" && n != "DeviceUpdateList") m.Depends(n, "DeviceSelector");
    for (const std::string& n : enumeration)
        if (n != "DeviceUpdateList") m.Depends(n, "DeviceUpdateList");
    for (const std::string& n : enumeration)
        if ((n.rfind("Device", 0) == 0 && n != "DeviceSelector" && n != "DeviceUpdateList" && n != "DeviceCount") ||
            n.rfind("Gev", 0) == 0)
            m.Selects("DeviceSelector", n);
    m.Finish();
}

void InterfaceCore::BuildActionNodes() {
    NativeNodeMap& m = m_nodeMap;
    m.AddCategory(
        MakeInfo("ActionControl", "Action commands sent on this interface."),
        {"GevActionDeviceKey", "GevActionGroupKey", "GevActionGroupMask", "GevActionTime", "GevActionAckRequired",
         "ActionAcknowledgementTimeout", "ActionCommand", "ActionAcknowledgementCount", "ActionAcknowledgementSelector",
         "ActionAcknowledgementDeviceAddress", "ActionAcknowledgementStatus"});
    auto setting = [this](int64_t ActionSettings::*field) {
        return std::make_pair(std::function<int64_t()>([this, field] {
                                  std::lock_guard<std::mutex> lock(m_mutex);
                                  return m_action.*field;
                              }),
                              std::function<void(int64_t)>([this, field](int64_t v) {
                                  std::lock_guard<std::mutex> lock(m_mutex);
                                  m_action.*field = v;
                              }));
    };
    auto key = [&](const char* name, const char* tip, int64_t ActionSettings::*field) {
        auto access = setting(field);
        m.AddInteger(MakeInfo(name, tip, Expert), IntegerSpec{access.first, access.second, [] { return int64_t(0); },
                                                              [] { return int64_t(0xFFFFFFFF); }, 1, HexNumber});
    };
    key("GevActionDeviceKey", "Device key of the action commands ActionCommand sends.", &ActionSettings::deviceKey);
    key("GevActionGroupKey", "Group key of the action commands ActionCommand sends.", &ActionSettings::groupKey);
    key("GevActionGroupMask", "Group mask of the action commands ActionCommand sends.", &ActionSettings::groupMask);
    {
        auto access = setting(&ActionSettings::time);
        m.AddInteger(MakeInfo("GevActionTime",
                              "Device time (ns) at which the devices act on the command ActionCommand sends; 0: at "
                              "once.",
                              Expert),
                     IntegerSpec{access.first, access.second, [] { return int64_t(0); },
                                 [] { return std::numeric_limits<int64_t>::max(); }, 1, PureNumber, "ns"});
    }
    m.AddBoolean(MakeInfo("GevActionAckRequired", "Whether ActionCommand asks the devices to acknowledge.", Expert),
                 {[this] {
                      std::lock_guard<std::mutex> lock(m_mutex);
                      return m_action.acknowledge;
                  },
                  [this](bool v) {
                      std::lock_guard<std::mutex> lock(m_mutex);
                      m_action.acknowledge = v;
                  }});
    {
        auto access = setting(&ActionSettings::timeoutMs);
        NodeInfo info = MakeInfo("ActionAcknowledgementTimeout",
                                 "How long an action command sent on this interface waits for acknowledgements, in "
                                 "milliseconds (System and Interface SendActionCommand, and ActionCommand).",
                                 Expert);
        info.nameSpace = Custom;
        m.AddInteger(info, IntegerSpec{access.first, access.second, [] { return int64_t(1); },
                                       [] { return int64_t(10000); }, 1, Linear, "ms"});
    }
    m.AddCommand(MakeInfo("ActionCommand",
                          "Sends an action command on this interface with the GevAction* settings (as "
                          "Interface::SendActionCommand does).",
                          Expert),
                 {[this] { SendConfiguredActionCommand(); }, nullptr, nullptr});
    auto custom = [](const char* name, const char* tip) {
        NodeInfo info = MakeInfo(name, tip, Expert);
        info.nameSpace = Custom;
        return info;
    };
    m.AddInteger(custom("ActionAcknowledgementCount",
                        "Number of devices that acknowledged the last command ActionCommand sent."),
                 IntegerSpec{[this] {
                     std::lock_guard<std::mutex> lock(m_mutex);
                     return static_cast<int64_t>(m_action.acknowledgements.size());
                 }});
    auto acknowledged = [this] {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_action.acknowledgements.empty() ? NA : RO;
    };
    m.AddInteger(custom("ActionAcknowledgementSelector",
                        "Selects the acknowledgement of the last ActionCommand that the ActionAcknowledgement "
                        "features show."),
                 IntegerSpec{[this] {
                                 std::lock_guard<std::mutex> lock(m_mutex);
                                 return m_action.selector;
                             },
                             [this](int64_t v) {
                                 std::lock_guard<std::mutex> lock(m_mutex);
                                 m_action.selector = v;
                             },
                             [] { return int64_t(0); },
                             [this] {
                                 std::lock_guard<std::mutex> lock(m_mutex);
                                 return std::max<int64_t>(0,
                                                          static_cast<int64_t>(m_action.acknowledgements.size()) - 1);
                             }});
    // The selected acknowledgement (m_mutex held).
    auto selected = [this]() -> const ActionResult& {
        if (m_action.selector < 0 || m_action.selector >= static_cast<int64_t>(m_action.acknowledgements.size()))
            ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE, "interface " + Id() + ": no acknowledgement is selected (" +
                                                    std::to_string(m_action.acknowledgements.size()) +
                                                    " came for the last ActionCommand)");
        return m_action.acknowledgements[static_cast<size_t>(m_action.selector)];
    };
    m.AddInteger(custom("ActionAcknowledgementDeviceAddress",
                        "IPv4 address of the device of the selected acknowledgement (virtual cameras: 0.0.0.N, N "
                        "their number)."),
                 IntegerSpec{[this, selected] {
                                 std::lock_guard<std::mutex> lock(m_mutex);
                                 return static_cast<int64_t>(ActionResultAddress(selected().address));
                             },
                             nullptr, nullptr, nullptr, 1, IPV4Address, "", acknowledged});
    m.AddInteger(custom("ActionAcknowledgementStatus",
                        "GigE Vision status code of the selected acknowledgement: 0 success, 0x8015 the device's "
                        "queue of scheduled actions was full, 0x8016 the action came late and was done at once."),
                 IntegerSpec{[this, selected] {
                                 std::lock_guard<std::mutex> lock(m_mutex);
                                 return static_cast<int64_t>(selected().status);
                             },
                             nullptr, nullptr, nullptr, 1, HexNumber, "", acknowledged});
    for (const char* n : {"ActionAcknowledgementCount", "ActionAcknowledgementSelector",
                          "ActionAcknowledgementDeviceAddress", "ActionAcknowledgementStatus"})
        m.Depends(n, "ActionCommand");
    for (const char* n : {"ActionAcknowledgementDeviceAddress", "ActionAcknowledgementStatus"}) {
        m.Depends(n, "ActionAcknowledgementSelector");
        m.Selects("ActionAcknowledgementSelector", n);
    }
}

} // namespace internal
} // namespace Orvane
