// The GigE Vision transport over Aravis: discovery on every network adapter,
// devices opened by IP address, the connection's network facts (current IP
// configuration, bootstrap registers, stream packet size), and what Aravis
// lacks, on the SDK's own sockets: the device-event channel
// (gige/GigEVisionEventChannel.h) and action commands
// (gige/GvcpActionSender.h).
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>

#include "core/Raise.h"
#include "transport/AravisStreamSource.h"
#include "transport/AravisTransport.h"
#include "transport/DeviceConnection.h"
#include "transport/Transports.h"
#include "transport/gige/GigEVisionEventChannel.h"
#include "transport/gige/GvDeviceGuard.h"
#include "transport/gige/GvSocket.h"
#include "transport/gige/GvcpActionSender.h"
#include "transport/gige/GvcpProtocol.h"

namespace Orvane {
namespace internal {

using GenApi::impl::NodeMapBase;

namespace {

// Bootstrap registers of a GigE Vision device.
constexpr uint64_t kVersionRegister = 0x0000; // major version << 16 | minor version
constexpr uint64_t kXmlUrlRegister = 0x0200;  // first URL of the device's description, 512 bytes
constexpr uint32_t kXmlUrlLength = 512;
constexpr uint64_t kTickFrequencyHighRegister = 0x093C;       // timestamp ticks per second, high 32 bits
constexpr uint64_t kTickFrequencyLowRegister = 0x0940;        // low 32 bits
constexpr uint64_t kControlChannelPrivilegeRegister = 0x0A00; // CCP: who controls the device

int64_t IPv4Number(const std::string& text) {
    unsigned b[4] = {0, 0, 0, 0};
    if (std::sscanf(text.c_str(), "%u.%u.%u.%u", &b[0], &b[1], &b[2], &b[3]) != 4) return 0;
    return (int64_t(b[0] & 255) << 24) | (int64_t(b[1] & 255) << 16) | (int64_t(b[2] & 255) << 8) | int64_t(b[3] & 255);
}

int64_t ToIPv4(GInetAddress* address) {
    if (!address) return 0;
    char* text = g_inet_address_to_string(address);
    const int64_t v = IPv4Number(text ? text : "");
    g_free(text);
    return v;
}

// The MTU of the host interface that holds `address` (dotted IPv4), or 0.
int InterfaceMtu(const std::string& address) {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return 0;
    std::string name;
    for (ifaddrs* i = list; i; i = i->ifa_next) {
        if (!i->ifa_addr || i->ifa_addr->sa_family != AF_INET) continue;
        char text[INET_ADDRSTRLEN] = {0};
        inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(i->ifa_addr)->sin_addr, text, sizeof text);
        if (address == text) {
            name = i->ifa_name;
            break;
        }
    }
    freeifaddrs(list);
    if (name.empty()) return 0;
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) return 0;
    ifreq request;
    std::memset(&request, 0, sizeof request);
    std::strncpy(request.ifr_name, name.c_str(), IFNAMSIZ - 1);
    const int mtu = ioctl(fd, SIOCGIFMTU, &request) == 0 ? request.ifr_mtu : 0;
    close(fd);
    return mtu;
}

std::string AddressText(GSocketAddress* socketAddress) {
    if (!G_IS_INET_SOCKET_ADDRESS(socketAddress)) return "";
    GInetAddress* address = g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(socketAddress));
    char* text = g_inet_address_to_string(address);
    std::string result = text ? text : "";
    g_free(text);
    return result;
}

std::string InterfaceAddressOf(ArvGvDevice* gv) { return AddressText(arv_gv_device_get_interface_address(gv)); }

// The text of an Aravis error, freed.
std::string TakeMessage(GError* error) {
    std::string what = error && error->message ? error->message : "no answer";
    if (error) g_error_free(error);
    return what;
}

// The GVSP stream: packet resend and its timeout from the stream settings.
class GigEVisionStreamSource : public AravisStreamSource {
public:
    using AravisStreamSource::AravisStreamSource;

protected:
    void Configure(ArvStream* stream, const StreamSourceOptions& options) override {
        if (!ARV_IS_GV_STREAM(stream)) return;
        const guint timeoutUs = static_cast<guint>(std::max<int64_t>(1, options.packetTimeoutMs) * 1000);
        g_object_set(stream, "packet-resend",
                     options.packetResend ? ARV_GV_STREAM_PACKET_RESEND_ALWAYS : ARV_GV_STREAM_PACKET_RESEND_NEVER,
                     "packet-timeout", timeoutUs, nullptr);
    }
};

class GigEVisionConnection : public DeviceConnection {
public:
    GigEVisionConnection(ArvDevice* device, const DeviceInfo& info) : DeviceConnection(device, info) {
        SetController(arv_gv_device_is_controller(Gv()));
    }

    std::unique_ptr<DeviceEventChannel> OpenEventChannel(DeviceEventSink& sink) override {
        const std::string camera = "camera " + Info().deviceId;
        if (!IsController())
            ORV_RAISE(ORVANE_ERR_ACCESS_DENIED,
                      camera +
                          " is open in monitor mode (another host controls it): only the controlling "
                          "application can open its message channel for device events");
        if (ControlLost()) ORV_RAISE(ORVANE_ERR_DEVICE_LOST, camera + " was lost: its device events cannot be opened");
        GigEVisionEventChannel::Setup setup;
        guint32 channels = 0;
        {
            NodeMapBase::MapLock mapLock(NodeMap());
            GError* error = nullptr;
            if (!arv_device_read_register(Device(), gvcp::kRegNumberOfMessageChannels, &channels, &error)) {
                const std::string what = TakeMessage(error);
                ORV_RAISE(ControlLost() ? ORVANE_ERR_DEVICE_LOST : ORVANE_ERR_IO,
                          camera + ": reading its number of message channels failed: " + what);
            }
            if (error) g_error_free(error);
            guint32 high = 0, low = 0;
            if (arv_device_read_register(Device(), kTickFrequencyHighRegister, &high, nullptr) &&
                arv_device_read_register(Device(), kTickFrequencyLowRegister, &low, nullptr))
                setup.tickFrequency = (uint64_t(high) << 32) | low;
            ParseIPv4(AddressText(arv_gv_device_get_device_address(Gv())), setup.deviceAddress);
            ParseIPv4(InterfaceAddressOf(Gv()), setup.hostAddress);
        }
        if (channels == 0)
            ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, camera + " has no message channel: it cannot send device events");
        if (setup.deviceAddress == 0) ORV_RAISE(ORVANE_ERR_IO, camera + ": its IPv4 address is unknown");
        bool open = false;
        if (!m_eventChannelOpen.compare_exchange_strong(open, true))
            ORV_RAISE(ORVANE_ERR_RESOURCE_IN_USE, camera + ": its event channel is open already");
        setup.openFlag = &m_eventChannelOpen;
        try {
            return std::make_unique<GigEVisionEventChannel>(shared_from_this(), sink, setup);
        } catch (...) {
            m_eventChannelOpen.store(false);
            throw;
        }
    }

    std::shared_ptr<StreamSource> CreateStreamSource() override {
        return std::make_shared<GigEVisionStreamSource>(shared_from_this());
    }

    // Asks the device for its control channel privilege: an answer tells it
    // lives; none declares the loss (gige/GvDeviceGuard.h). At most once a
    // second: a caller polling a quiet stream in a loop costs the device
    // little.
    bool CheckAnswering() override {
        if (ControlLost()) return false;
        const int64_t now =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
                .count();
        int64_t last = m_lastAsked.load();
        if (now - last < 1000 || !m_lastAsked.compare_exchange_strong(last, now)) return true;
        guint32 privilege = 0;
        arv_device_read_register(Device(), kControlChannelPrivilegeRegister, &privilege, nullptr);
        return !ControlLost();
    }

    // GVCP carries 32-bit addresses: above, Aravis would silently cut the
    // address and reach another register.
    uint64_t LastAddress(bool) const override { return 0xFFFFFFFFull; }

    bool CurrentIpConfiguration(IpConfiguration& out) override {
        NodeMapBase::MapLock mapLock(NodeMap());
        GInetAddress* ip = nullptr;
        GInetAddressMask* mask = nullptr;
        GInetAddress* gateway = nullptr;
        if (!arv_gv_device_get_current_ip(Gv(), &ip, &mask, &gateway, nullptr)) return false;
        out.address = ToIPv4(ip);
        out.subnetMask = mask ? ToIPv4(g_inet_address_mask_get_address(mask)) : 0;
        out.gateway = ToIPv4(gateway);
        if (ip) g_object_unref(ip);
        if (mask) g_object_unref(mask);
        if (gateway) g_object_unref(gateway);
        return true;
    }

    bool ProtocolVersion(uint32_t& major, uint32_t& minor) override {
        NodeMapBase::MapLock mapLock(NodeMap());
        guint32 v = 0;
        if (!arv_device_read_register(Device(), kVersionRegister, &v, nullptr)) return false;
        major = v >> 16;
        minor = v & 0xFFFF;
        return true;
    }

    std::string XmlUrl() override {
        char url[kXmlUrlLength + 1] = {0};
        NodeMapBase::MapLock mapLock(NodeMap());
        if (!arv_device_read_memory(Device(), kXmlUrlRegister, kXmlUrlLength, url, nullptr)) return "";
        return url;
    }

    int64_t PacketSize() override {
        NodeMapBase::MapLock mapLock(NodeMap());
        return arv_gv_device_get_packet_size(Gv(), nullptr);
    }

    unsigned DiscoverMaxPacketSize() override {
        ArvGvDevice* gv = Gv();
        GenApi::impl::ArvNodeMap& map = NodeMap();
        NodeMapBase::MapLock mapLock(map);
        GError* error = nullptr;
        unsigned size = 0;
        ArvGcNode* test = arv_device_get_feature(Device(), "GevSCPSFireTestPacket");
        if (ARV_IS_GC_COMMAND(test) || ARV_IS_GC_BOOLEAN(test)) {
            // The device can send test packets: Aravis finds the largest size
            // that arrives unfragmented, and sets it.
            size = arv_gv_device_auto_packet_size(gv, &error);
        } else {
            // No test packets: keep the size the device uses (known to work),
            // but never above what the host interface's MTU carries (IP and
            // UDP headers take 28 bytes).
            size = arv_gv_device_get_packet_size(gv, &error);
            const int mtu = InterfaceMtu(InterfaceAddressOf(gv));
            if (!error && mtu > 28 && size > static_cast<unsigned>(mtu - 28)) {
                size = static_cast<unsigned>(mtu - 28);
                arv_gv_device_set_packet_size(gv, static_cast<gint>(size), &error);
                if (!error) size = arv_gv_device_get_packet_size(gv, &error);
            }
        }
        map.InvalidateNodes();
        if (error) {
            const std::string message = error->message ? error->message : "";
            g_error_free(error);
            ORV_RAISE(ORVANE_ERR_IO, "camera " + Info().deviceId + ": packet size discovery failed: " + message);
        }
        return size;
    }

private:
    ArvGvDevice* Gv() const { return ARV_GV_DEVICE(Device()); }

    // A device has one message channel: set while a GigEVisionEventChannel
    // holds it (the channel clears it when it closes).
    std::atomic<bool> m_eventChannelOpen{false};
    // When CheckAnswering last asked the device (steady clock, ms).
    std::atomic<int64_t> m_lastAsked{std::numeric_limits<int64_t>::min() / 2};
};

class GigEVisionTransport : public AravisTransport {
public:
    GigEVisionTransport() : AravisTransport(&arv_gv_interface_get_instance) {}

    TransportKind Kind() const override { return TransportKind::GigEVision; }
    std::string DisplayName() const override { return "GigE Vision"; }
    TransportFeatures Features() const override {
        TransportFeatures f;
        f.networkFeatures = true;
        f.xmlLocation = TransportFeatures::XmlLocation::DeviceUrl;
        return f;
    }

    void SendActionCommand(const ActionCommand& command, std::vector<ActionResult>& results) override {
        GvActionRequest request;
        request.deviceKey = command.deviceKey;
        request.groupKey = command.groupKey;
        request.groupMask = command.groupMask;
        request.scheduled = command.scheduled;
        request.actionTime = command.actionTime;
        request.ackRequired = command.acknowledge;
        std::vector<GvActionTarget> targets;
        if (command.unicastAddress.empty()) {
            targets = GvcpActionSender::BroadcastTargets();
        } else {
            uint32_t device = 0;
            if (!ParseIPv4(command.unicastAddress, device) || device == 0)
                ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                          "an action command's device address must be an IPv4 address (a.b.c.d), not \"" +
                              command.unicastAddress + "\"");
            targets.push_back(GvcpActionSender::UnicastTarget(device));
        }
        const GvActionResults sent =
            GvcpActionSender::Send(request, targets, command.acknowledge ? command.timeoutMs : 0);
        for (const GvActionAck& ack : sent.acks) {
            ActionResult result;
            result.address = ack.deviceAddress;
            result.status = ack.status;
            results.push_back(std::move(result));
        }
    }

    std::shared_ptr<DeviceConnection> Open(const DeviceInfo& info) const override {
        // By IP address: opened by its discovered id, Aravis may bind the
        // stream to another host interface than the one the device answers on.
        InstallGvDeviceGuard();
        GError* error = nullptr;
        ArvDevice* device = arv_interface_open_device(Interface(), info.address.c_str(), &error);
        if (!device) RaiseOpenError(ORV_HERE, info, error);
        if (error) g_error_free(error);
        if (!ARV_IS_GV_DEVICE(device)) {
            g_object_unref(device);
            ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE,
                      "camera " + info.deviceId + " at " + info.address + " is not a GigE Vision device");
        }
        return std::make_shared<GigEVisionConnection>(device, info);
    }

protected:
    // The MAC address, unless it is all zeros (as Aravis's fake cameras
    // report), then the IP address.
    std::string UniqueKey(const DeviceInfo& d) const override {
        const bool zeroMac = d.physicalId.empty() || d.physicalId.find_first_not_of("0:") == std::string::npos;
        return zeroMac ? d.address : d.physicalId;
    }
};

} // namespace

std::shared_ptr<Transport> MakeGigEVisionTransport() { return std::make_shared<GigEVisionTransport>(); }

} // namespace internal
} // namespace Orvane
