#include "transport/DeviceConnection.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <map>
#include <mutex>

#include "core/Raise.h"
#include "logging/Log.h"
#include "transport/AravisStreamSource.h"
#include "transport/BackgroundRelease.h"

namespace Orvane {
namespace internal {

void DeviceConnection::LossState::Report(const std::string& why) {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    if (lost.load()) return;
    reason = why;
    lost.store(true);
    // A listener may add or remove listeners: run over a copy.
    const std::map<uint64_t, LossListener> current = listeners;
    for (const auto& entry : current) {
        if (listeners.find(entry.first) == listeners.end()) continue; // removed meanwhile
        try {
            entry.second();
        } catch (const std::exception& e) {
            ORV_LOG(kLogCategoryTransport, LOG_LEVEL_ERROR, std::string("device loss listener failed: ") + e.what());
        } catch (...) {
            ORV_LOG(kLogCategoryTransport, LOG_LEVEL_ERROR, "device loss listener failed");
        }
    }
}

namespace {

// Never destroyed: Aravis's threads may report a loss while the process exits.
std::mutex& RegistryMutex() {
    static std::mutex* mutex = new std::mutex;
    return *mutex;
}

template <class State>
std::map<ArvDevice*, std::shared_ptr<State>>& Registry() {
    static auto* registry = new std::map<ArvDevice*, std::shared_ptr<State>>;
    return *registry;
}

} // namespace

void DeviceConnection::RegisterLossState(ArvDevice* device, const std::shared_ptr<LossState>& state) {
    std::lock_guard<std::mutex> lock(RegistryMutex());
    Registry<LossState>()[device] = state;
}

void DeviceConnection::UnregisterLossState(ArvDevice* device) {
    std::lock_guard<std::mutex> lock(RegistryMutex());
    Registry<LossState>().erase(device);
}

std::shared_ptr<DeviceConnection::LossState> DeviceConnection::FindLossState(ArvDevice* device) {
    std::lock_guard<std::mutex> lock(RegistryMutex());
    const auto found = Registry<LossState>().find(device);
    return found == Registry<LossState>().end() ? nullptr : found->second;
}

bool DeviceConnection::IsLostDevice(ArvDevice* device) {
    const std::shared_ptr<LossState> state = FindLossState(device);
    return state && state->lost.load();
}

void DeviceConnection::ReportUnanswered(ArvDevice* device, const std::string& reason) {
    if (const std::shared_ptr<LossState> state = FindLossState(device)) state->Report(reason);
}

bool DeviceConnection::CheckAnswering() { return !ControlLost(); }

void DeviceConnection::OnControlLost(ArvDevice* device, gpointer) {
    // Shared: the connection may end while its listeners run.
    if (const std::shared_ptr<LossState> state = FindLossState(device))
        state->Report("it stopped answering its heartbeat");
}

// The node map's device observer: passes its accesses to the behaviours.
class DeviceConnection::Observer : public GenApi::impl::ArvNodeMap::DeviceObserver {
public:
    explicit Observer(DeviceConnection& connection) : m_connection(connection) {}
    void AfterWrite(uint64_t address, uint64_t length) override { m_connection.NotifyWrite(address, length); }
    void BeforeRead() override { m_connection.NotifyRead(); }
    std::string PortRangeError(uint64_t address, uint64_t length, bool write) override {
        return m_connection.PortRangeError(address, length, write);
    }

private:
    DeviceConnection& m_connection;
};

DeviceConnection::DeviceConnection(ArvDevice* device, const DeviceInfo& info)
    : m_device(device), m_info(info), m_loss(std::make_shared<LossState>()) {
    RegisterLossState(m_device, m_loss);
    m_controlLostHandler = g_signal_connect_data(m_device, "control-lost", G_CALLBACK(&DeviceConnection::OnControlLost),
                                                 nullptr, nullptr, GConnectFlags(0));
    try {
        m_nodeMap = std::make_unique<GenApi::impl::ArvNodeMap>(m_device, "Device");
        // Node accesses fail at once once the device is lost.
        m_nodeMap->SetLossFlag(&m_loss->lost, [this] { return LostMessage(); });
        m_observer = std::make_unique<Observer>(*this);
        m_nodeMap->SetDeviceObserver(m_observer.get());
    } catch (...) {
        m_nodeMap.reset();
        g_signal_handler_disconnect(m_device, m_controlLostHandler);
        UnregisterLossState(m_device);
        g_object_unref(m_device);
        throw;
    }
}

DeviceConnection::~DeviceConnection() {
    m_nodeMap->SetDeviceObserver(nullptr);
    m_behaviours.clear();
    m_nodeMap.reset();
    // A handler running now keeps its own reference on the loss state. A
    // GigE Vision device gives control back when Aravis finalises it; a lost
    // one would make that wait for requests without answer: it is finalised
    // in the background.
    g_signal_handler_disconnect(m_device, m_controlLostHandler);
    const bool lost = m_loss->lost.load();
    UnregisterLossState(m_device);
    if (lost)
        ReleaseInBackground(m_device);
    else
        g_object_unref(m_device);
}

std::shared_ptr<StreamSource> DeviceConnection::CreateStreamSource() {
    return std::make_shared<AravisStreamSource>(shared_from_this());
}

bool DeviceConnection::CurrentIpConfiguration(IpConfiguration&) { return false; }

bool DeviceConnection::ProtocolVersion(uint32_t&, uint32_t&) { return false; }

std::string DeviceConnection::XmlUrl() { return ""; }

int64_t DeviceConnection::PacketSize() { return 0; }

unsigned DeviceConnection::DiscoverMaxPacketSize() { return 0; }

bool DeviceConnection::ControlLost() const { return m_loss->lost.load(); }

std::string DeviceConnection::LostMessage() const {
    // The reason is written once, before `lost` becomes true, and never again.
    if (!m_loss->lost.load()) return "";
    return "camera " + m_info.deviceId + " was lost (" + m_loss->reason + ")";
}

void DeviceConnection::ReportLoss(const std::string& reason) { m_loss->Report(reason); }

uint64_t DeviceConnection::LastAddress(bool) const { return std::numeric_limits<uint64_t>::max(); }

std::string DeviceConnection::PortRangeError(uint64_t address, uint64_t length, bool write) const {
    if (length == 0) return "";
    const uint64_t last = LastAddress(write);
    const char* doing = write ? "writing" : "reading";
    char text[200];
    if (length > std::numeric_limits<uint32_t>::max()) {
        std::snprintf(text, sizeof text, "%s %llu bytes is more than one access can carry (at most %llu)", doing,
                      static_cast<unsigned long long>(length),
                      static_cast<unsigned long long>(std::numeric_limits<uint32_t>::max()));
        return text;
    }
    // The last byte touched is address + length - 1; compared as
    // length - 1 > last - address, which cannot wrap once address <= last.
    if (address <= last && length - 1 <= last - address) return "";
    std::snprintf(text, sizeof text, "%s %llu bytes at 0x%llx is outside the device's %saddress space (0x0 to 0x%llx)",
                  doing, static_cast<unsigned long long>(length), static_cast<unsigned long long>(address),
                  write && last != LastAddress(false) ? "writable " : "", static_cast<unsigned long long>(last));
    return text;
}

uint64_t DeviceConnection::AddLossListener(LossListener listener) {
    if (!listener) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "AddLossListener: no listener");
    std::lock_guard<std::recursive_mutex> lock(m_loss->mutex);
    const uint64_t id = m_loss->nextId++;
    m_loss->listeners.emplace(id, std::move(listener));
    return id;
}

void DeviceConnection::RemoveLossListener(uint64_t id) {
    std::lock_guard<std::recursive_mutex> lock(m_loss->mutex);
    m_loss->listeners.erase(id);
}

std::unique_ptr<DeviceEventChannel> DeviceConnection::OpenEventChannel(DeviceEventSink&) {
    ORV_RAISE(ORVANE_ERR_NOT_IMPLEMENTED,
              "camera " + m_info.deviceId + ": device events are not implemented for its transport yet");
}

const DeviceEventMap& DeviceConnection::EventMap() {
    std::call_once(m_eventMapOnce, [this] {
        std::string xml;
        {
            GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
            size_t size = 0;
            const char* text = arv_device_get_genicam_xml(m_device, &size);
            if (text) xml.assign(text, size);
        }
        m_eventMap = std::make_unique<DeviceEventMap>(xml.data(), xml.size());
    });
    return *m_eventMap;
}

void DeviceConnection::AddBehaviour(std::shared_ptr<DeviceBehaviour> behaviour, bool last) {
    if (!behaviour) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "AddBehaviour: no behaviour");
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    if (last) {
        m_behaviours.push_back(std::move(behaviour));
    } else {
        m_behaviours.insert(m_behaviours.begin() + static_cast<std::ptrdiff_t>(m_firstLast), std::move(behaviour));
        ++m_firstLast;
    }
}

void DeviceConnection::RemoveBehaviour(const DeviceBehaviour* behaviour) {
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    for (size_t i = 0; i < m_behaviours.size(); ++i) {
        if (m_behaviours[i].get() != behaviour) continue;
        m_behaviours.erase(m_behaviours.begin() + static_cast<std::ptrdiff_t>(i));
        if (i < m_firstLast) --m_firstLast;
        return;
    }
}

namespace {

template <class Call>
void RunBehaviours(const std::vector<std::shared_ptr<DeviceBehaviour>>& list, Call&& call) {
    if (list.empty()) return;
    // A behaviour may add or remove behaviours (changing `list`): run over a copy.
    const std::vector<std::shared_ptr<DeviceBehaviour>> behaviours(list.begin(), list.end());
    for (const auto& b : behaviours) {
        try {
            call(*b);
        } catch (const std::exception& e) {
            ORV_LOG(kLogCategoryTransport, LOG_LEVEL_ERROR, std::string("device behaviour failed: ") + e.what());
        }
    }
}

} // namespace

void DeviceConnection::NotifyWrite(uint64_t address, uint64_t length) {
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    RunBehaviours(m_behaviours, [&](DeviceBehaviour& b) { b.OnWrite(address, length); });
}

void DeviceConnection::NotifyRead() {
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    RunBehaviours(m_behaviours, [&](DeviceBehaviour& b) { b.OnRead(); });
}

void DeviceConnection::ClaimCommandRegister(uint64_t address) {
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    if (!IsCommandRegisterClaimed(address)) m_claimed.push_back(address);
}

bool DeviceConnection::IsCommandRegisterClaimed(uint64_t address) const {
    GenApi::impl::NodeMapBase::MapLock lock(*m_nodeMap);
    return std::find(m_claimed.begin(), m_claimed.end(), address) != m_claimed.end();
}

} // namespace internal
} // namespace Orvane
