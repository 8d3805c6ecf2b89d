// The Virtual transport: the SDK's built-in cameras. Discovery costs nothing:
// the cameras exist by configuration (VirtualCameraCount). Lowering the count
// unplugs the cameras above it: a discovery that no longer lists an open
// camera unplugs its connection (VirtualDeviceConnection::Unplug), so it is
// lost as a GigE Vision camera that stops answering is. Action commands go to
// the open cameras (VirtualActions.h).
//
// Locking: m_mutex guards the list of open connections (weak references,
// pruned as they expire); it is never held while a connection is unplugged
// or receives an action.
#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdio>
#include <mutex>

#include "core/Raise.h"
#include "transport/Transports.h"
#include "virtual/VirtualActions.h"
#include "virtual/VirtualCameraIdentity.h"
#include "virtual/VirtualDevice.h"
#include "virtual/VirtualDeviceConnection.h"

namespace Orvane {
namespace internal {

namespace {

class VirtualTransport : public Transport {
public:
    explicit VirtualTransport(std::function<int()> count) : m_count(std::move(count)) {}

    TransportKind Kind() const override { return TransportKind::Virtual; }
    std::string DisplayName() const override { return "Orvane virtual cameras"; }
    TransportFeatures Features() const override {
        TransportFeatures f;
        f.xmlLocation = TransportFeatures::XmlLocation::Host;
        f.alwaysAccessible = true;
        return f;
    }
    // Discovery is free; plugging is seen at the next one.
    unsigned RediscoveryIntervalMs() const override { return 200; }

    std::vector<DeviceInfo> Discover() override {
        const int n = std::max(0, m_count());
        m_plugged.store(n);
        for (const std::shared_ptr<VirtualDeviceConnection>& c : OpenCameras())
            if (c->Info().index >= n && !c->ControlLost())
                c->Unplug("unplugged: VirtualCameraCount is " + std::to_string(n));
        std::vector<DeviceInfo> devices;
        devices.reserve(static_cast<size_t>(n));
        for (int i = 0; i < n; ++i) devices.push_back(VirtualCameraInfo(i));
        return devices;
    }

    std::shared_ptr<DeviceConnection> Open(const DeviceInfo& info) const override {
        const int plugged = m_plugged.load();
        if (info.index >= plugged)
            ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE, "camera " + info.deviceId + " is unplugged (VirtualCameraCount is " +
                                                    std::to_string(plugged) + ")");
        auto connection = std::make_shared<VirtualDeviceConnection>(OpenVirtualDevice(info), info);
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            Prune();
            m_open.push_back(connection);
        }
        // Unplugged meanwhile? A discovery that stored the new count before
        // this connection was listed did not see it: refuse it here.
        if (info.index >= m_plugged.load())
            ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE, "camera " + info.deviceId + " was unplugged while it opened");
        return connection;
    }

    void SendActionCommand(const ActionCommand& command, std::vector<ActionResult>& results) override {
        m_actions.Send(OpenCameras(), command, results);
    }

private:
    // The open connections, by instance number.
    std::vector<std::shared_ptr<VirtualDeviceConnection>> OpenCameras() const {
        std::vector<std::shared_ptr<VirtualDeviceConnection>> out;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            Prune();
            for (const auto& weak : m_open)
                if (auto c = weak.lock()) out.push_back(std::move(c));
        }
        std::stable_sort(out.begin(), out.end(),
                         [](const auto& a, const auto& b) { return a->Info().index < b->Info().index; });
        return out;
    }
    // m_mutex held.
    void Prune() const {
        m_open.erase(std::remove_if(m_open.begin(), m_open.end(), [](const auto& w) { return w.expired(); }),
                     m_open.end());
    }

    std::function<int()> m_count;        // asked at discovery only (see TransportOptions)
    std::atomic<int> m_plugged{INT_MAX}; // the count of the last discovery
    mutable std::mutex m_mutex;
    mutable std::vector<std::weak_ptr<VirtualDeviceConnection>> m_open;
    VirtualActions m_actions;
};

} // namespace

DeviceInfo VirtualCameraInfo(int index) {
    char serial[16];
    std::snprintf(serial, sizeof serial, "VC%04d", index + 1);
    DeviceInfo d;
    d.kind = TransportKind::Virtual;
    d.protocol = InterfaceIdText(d.kind);
    d.serialNumber = serial;
    d.deviceId = std::string("Orvane-VirtualCamera-") + serial;
    d.uniqueId = std::string(InterfaceIdText(d.kind)) + ":" + serial;
    d.vendorName = kVirtualVendorName;
    d.modelName = kVirtualModelName;
    d.manufacturerInfo = "Built-in camera of the Orvane SDK";
    d.deviceVersion = kVirtualDeviceVersion;
    d.address = "local";
    d.physicalId = "virtual-" + std::to_string(index);
    d.index = index;
    return d;
}

std::shared_ptr<Transport> MakeVirtualTransport(std::function<int()> cameraCount) {
    return std::make_shared<VirtualTransport>(std::move(cameraCount));
}

} // namespace internal
} // namespace Orvane
