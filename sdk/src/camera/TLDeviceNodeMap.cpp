// The transport-layer device node map of a camera: what the SDK knows of the
// device from discovery and, while it is open, from the connection. Nodes
// exist only where the transport has them; nodes that need the open device
// are NA before Init.
#include <cstdio>

#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "core/Raise.h"

namespace Orvane {
namespace internal {

using namespace GenApi;
using namespace GenApi::impl;

namespace {

int64_t ParseIPv4(const std::string& text) {
    unsigned b[4] = {0, 0, 0, 0};
    if (std::sscanf(text.c_str(), "%u.%u.%u.%u", &b[0], &b[1], &b[2], &b[3]) != 4) return 0;
    return (int64_t(b[0] & 255) << 24) | (int64_t(b[1] & 255) << 16) | (int64_t(b[2] & 255) << 8) | int64_t(b[3] & 255);
}

int64_t ParseMac(const std::string& text) {
    unsigned b[6] = {0, 0, 0, 0, 0, 0};
    if (std::sscanf(text.c_str(), "%x:%x:%x:%x:%x:%x", &b[0], &b[1], &b[2], &b[3], &b[4], &b[5]) != 6) return 0;
    int64_t v = 0;
    for (unsigned x : b) v = (v << 8) | (x & 255);
    return v;
}

// A string feature of the open device's own node map, or "" when it has none.
std::string DeviceFeature(DeviceConnection* connection, const char* name) {
    if (!connection) return "";
    INode* node = connection->NodeMap().GetNode(name);
    auto* value = dynamic_cast<IString*>(node);
    if (!value) return "";
    const EAccessMode mode = node->GetAccessMode();
    if (mode != RO && mode != RW) return "";
    try {
        return value->GetValue().str();
    } catch (const Exception&) {
        return "";
    }
}

} // namespace

void CameraAccess::BuildTLDeviceNodeMap() {
    NativeNodeMap& m = m_tlDevice;
    const TransportFeatures features = m_camera.Through().Features();
    const bool network = features.networkFeatures;
    const bool usb = features.usbFeatures;
    // The GigE Vision category is named after its type.
    const std::string networkCategory = TLTypeText(TLType::GigEVision);
    auto openOnly = [this] { return m_initialized.load() ? RO : NA; };
    auto info = [this] { return m_camera.Info(); };

    std::vector<std::string> information = {
        "DeviceID",           "DeviceSerialNumber",  "DeviceUserID",    "DeviceVendorName",
        "DeviceModelName",    "DeviceVersion",       "DeviceType",      "DeviceDisplayName",
        "DeviceAccessStatus", "DeviceDriverVersion", "DeviceIsUpdater", "DeviceEndianessMechanism"};
    if (features.xmlLocation != TransportFeatures::XmlLocation::None) information.push_back("GenICamXMLLocation");
    if (usb) information.insert(information.end(), {"DeviceU3VProtocol", "DeviceInstanceId", "DeviceLocation"});
    std::vector<std::string> root = {"DeviceInformation"};
    if (network) root.push_back(networkCategory);
    m.AddCategory(MakeInfo("Root", "The camera's transport-layer features."), root);
    m.AddCategory(MakeInfo("DeviceInformation", "Identity and state of the device."), information);

    m.AddString(MakeInfo("DeviceID", "Identifier of the device on its transport."),
                {[info] { return info().deviceId; }});
    m.AddString(MakeInfo("DeviceSerialNumber", "Serial number of the device."),
                {[info] { return info().serialNumber; }});
    m.AddString(MakeInfo("DeviceUserID", "User-defined name of the device (read from the device while it is open)."),
                {[this, info] {
                    const std::string own = DeviceFeature(Connection().get(), "DeviceUserID");
                    return own.empty() ? info().userId : own;
                }});
    m.AddString(MakeInfo("DeviceVendorName", "Vendor of the device."), {[info] { return info().vendorName; }});
    m.AddString(MakeInfo("DeviceModelName", "Model of the device."), {[info] { return info().modelName; }});
    m.AddString(MakeInfo("DeviceVersion", "Version of the device (read from the device while it is open)."),
                {[this, info] {
                    std::string known = info().deviceVersion;
                    if (!known.empty()) return known;
                    return DeviceFeature(Connection().get(), "DeviceVersion");
                }});
    const int64_t type = static_cast<int64_t>(TLTypeOf(m_camera.Through().Kind()));
    m.AddEnumeration(MakeInfo("DeviceType", "Transport layer type of the device."),
                     {[type] { return type; }, nullptr, TLTypeEntries(TLType::Custom)});
    m.AddString(MakeInfo("DeviceDisplayName", "User-readable name of the device: vendor, model and serial number."),
                {[info] {
                    const DeviceInfo d = info();
                    return d.vendorName + " " + d.modelName + " (" + d.serialNumber + ")";
                }});
    m.AddEnumeration(MakeInfo("DeviceAccessStatus", "How the device can be opened now."),
                     {[this]() -> int64_t { return m_camera.AccessStatus(); },
                      nullptr,
                      {{"Unknown", AccessStatusUnknown},
                       {"ReadWrite", AccessStatusReadWrite},
                       {"ReadOnly", AccessStatusReadOnly},
                       {"NoAccess", AccessStatusNoAccess},
                       {"Busy", AccessStatusBusy},
                       {"OpenReadWrite", AccessStatusOpenReadWrite},
                       {"OpenReadOnly", AccessStatusOpenReadOnly}}});
    m.AddString(MakeInfo("DeviceDriverVersion", "Version of the driver the SDK reaches the device through (Aravis)."),
                {[] {
                    return "Aravis " + std::to_string(arv_get_major_version()) + "." +
                           std::to_string(arv_get_minor_version()) + "." + std::to_string(arv_get_micro_version());
                }});
    m.AddBoolean(MakeInfo("DeviceIsUpdater", "Whether the device is in firmware update mode."), {[] { return false; }});
    m.AddEnumeration(MakeInfo("DeviceEndianessMechanism", "How the device's GenICam description handles byte order."),
                     {[] { return int64_t(1); }, nullptr, {{"Legacy", 0}, {"Standard", 1}}});
    if (features.xmlLocation != TransportFeatures::XmlLocation::None) {
        // Host: the SDK holds the description. DeviceUrl: the device's
        // description URL names where the XML is.
        const bool fromDevice = features.xmlLocation == TransportFeatures::XmlLocation::DeviceUrl;
        EnumerationSpec location{[this, fromDevice]() -> int64_t {
                                     if (!fromDevice) return 1;
                                     const std::shared_ptr<DeviceConnection> connection = Connection();
                                     if (!connection) return 0;
                                     const std::string u = connection->XmlUrl();
                                     return u.compare(0, 5, "File:") == 0 || u.compare(0, 5, "file:") == 0 ? 1 : 0;
                                 },
                                 nullptr,
                                 {{"Device", 0}, {"Host", 1}}};
        if (fromDevice) location.access = openOnly;
        m.AddEnumeration(MakeInfo("GenICamXMLLocation", "Where the device's GenICam description is stored."), location);
    }
    if (usb) {
        m.AddBoolean(MakeInfo("DeviceU3VProtocol", "Whether the device speaks the USB3 Vision protocol."),
                     {[] { return true; }});
        m.AddString(MakeInfo("DeviceInstanceId", "Instance identifier of the device on the USB bus."),
                    {[info] { return info().physicalId; }});
        m.AddString(MakeInfo("DeviceLocation", "Location of the device on the USB bus."),
                    {[info] { return info().address; }});
    }

    if (network) {
        m.AddCategory(MakeInfo(networkCategory.c_str(), "GigE Vision connection of the device."),
                      {"GevDeviceIPAddress", "GevDeviceSubnetMask", "GevDeviceGateway", "GevDeviceMACAddress",
                       "GevDeviceModeIsBigEndian", "GevDevicePort", "GevVersionMajor", "GevVersionMinor", "GevCCP",
                       "GevDeviceMaximumPacketSize", "GevDeviceDiscoverMaximumPacketSize"});
        m.AddInteger(MakeInfo("GevDeviceIPAddress", "IP address of the device."),
                     {[info] { return ParseIPv4(info().address); }, nullptr, nullptr, nullptr, 1, IPV4Address});
        // Subnet and gateway come from the device's own registers.
        auto currentIp = [this](int which) -> int64_t {
            const std::shared_ptr<DeviceConnection> connection = Connection();
            DeviceConnection::IpConfiguration ip;
            if (!connection || !connection->CurrentIpConfiguration(ip)) return 0;
            return which == 0 ? ip.subnetMask : ip.gateway;
        };
        m.AddInteger(MakeInfo("GevDeviceSubnetMask", "Subnet mask of the device (while it is open)."),
                     {[currentIp] { return currentIp(0); }, nullptr, nullptr, nullptr, 1, IPV4Address, "", openOnly});
        m.AddInteger(MakeInfo("GevDeviceGateway", "Default gateway of the device (while it is open)."),
                     {[currentIp] { return currentIp(1); }, nullptr, nullptr, nullptr, 1, IPV4Address, "", openOnly});
        m.AddInteger(MakeInfo("GevDeviceMACAddress", "MAC address of the device."),
                     {[info] { return ParseMac(info().physicalId); }, nullptr, nullptr, nullptr, 1, MACAddress});
        m.AddBoolean(MakeInfo("GevDeviceModeIsBigEndian", "Whether the device's registers are big-endian."),
                     {[] { return true; }});
        m.AddInteger(MakeInfo("GevDevicePort", "UDP port of the device's control channel."),
                     {[] { return int64_t(3956); }});
        auto version = [this](bool major) -> int64_t {
            const std::shared_ptr<DeviceConnection> connection = Connection();
            uint32_t majorVersion = 0, minorVersion = 0;
            if (!connection || !connection->ProtocolVersion(majorVersion, minorVersion)) return 0;
            return major ? int64_t(majorVersion) : int64_t(minorVersion);
        };
        m.AddInteger(MakeInfo("GevVersionMajor", "Major version of the GigE Vision standard the device follows."),
                     {[version] { return version(true); }, nullptr, nullptr, nullptr, 1, PureNumber, "", openOnly});
        m.AddInteger(MakeInfo("GevVersionMinor", "Minor version of the GigE Vision standard the device follows."),
                     {[version] { return version(false); }, nullptr, nullptr, nullptr, 1, PureNumber, "", openOnly});
        m.AddEnumeration(MakeInfo("GevCCP", "Control channel privilege the SDK holds on the device."),
                         {[this]() -> int64_t {
                              const std::shared_ptr<DeviceConnection> connection = Connection();
                              return connection && connection->IsController() ? 2 : 0;
                          },
                          nullptr,
                          {{"OpenAccess", 0}, {"ExclusiveAccess", 1}, {"ControlAccess", 2}},
                          openOnly});
        m.AddInteger(MakeInfo("GevDeviceMaximumPacketSize", "Size of the stream packets the device sends, in bytes."),
                     {[this]() -> int64_t {
                          const std::shared_ptr<DeviceConnection> connection = Connection();
                          return connection ? connection->PacketSize() : 0;
                      },
                      nullptr, nullptr, nullptr, 1, PureNumber, "B", openOnly});
        m.AddCommand(MakeInfo("GevDeviceDiscoverMaximumPacketSize",
                              "Finds and sets the largest stream packet size the path to the device carries."),
                     {[this] { DiscoverMaxPacketSize(); }, nullptr, [this] { return m_initialized.load() ? WO : NA; }});
        m.Depends("GevDeviceMaximumPacketSize", "GevDeviceDiscoverMaximumPacketSize");
    }
    m.Finish();
}

} // namespace internal
} // namespace Orvane
