#include "virtual/VirtualDeviceConnection.h"

#include "core/Raise.h"
#include "transport/AravisStreamSource.h"
#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualCameraRuntime.h"
#include "virtual/VirtualStreamEngine.h"

namespace Orvane {
namespace internal {

using GenApi::impl::NodeMapBase;

static_assert(vcam::value::TriggerSource::Action1 == vcam::value::TriggerSource::Action0 + 1,
              "the signals Action<n> are consecutive");

namespace {

// The fake device's stream, whose buffers the camera's stream engine fills
// (the engine writes each frame's record itself and makes no gaps in its
// frame IDs; the fake stream's counters tell nothing of the camera).
class VirtualStreamSource : public AravisStreamSource {
public:
    VirtualStreamSource(std::shared_ptr<DeviceConnection> connection, std::shared_ptr<VirtualStreamEngine> engine)
        : AravisStreamSource(std::move(connection)), m_engine(std::move(engine)) {}

    void Start(const StreamSourceOptions& options, Completion completed, void* context) override {
        {
            NodeMapBase::MapLock lock(Connection().NodeMap());
            m_engine->OpenStream();
        }
        AravisStreamSource::Start(options, completed, context);
    }
    void Describe(ArvBuffer*, StreamSlot&) override {}
    bool LosesFrames() const override { return false; }
    bool ReadCounters(StreamCounters&) override { return false; }
    void Stop() override { m_engine->CloseStream(); }
    void Signal(uint32_t signal) override { m_engine->Signal(signal); }

private:
    std::shared_ptr<VirtualStreamEngine> m_engine;
};

} // namespace

// The open event channel: the runtime's event sink while it lives.
class VirtualDeviceConnection::EventChannel : public DeviceEventChannel {
public:
    EventChannel(std::shared_ptr<VirtualCameraRuntime> runtime, std::shared_ptr<std::atomic<bool>> open,
                 DeviceEventSink& sink)
        : m_runtime(std::move(runtime)), m_open(std::move(open)) {
        m_runtime->SetEventSink([&sink](uint16_t id, const uint8_t* data, size_t size) {
            DeviceEvent event;
            event.eventId = id;
            event.timestamp = size >= 8 ? LoadBigEndian(data, 8) : 0;
            const uint64_t frameId = size >= 16 ? LoadBigEndian(data + 8, 8) : 0;
            event.hasBlockId = frameId != 0;
            event.blockId = frameId;
            event.data = data;
            event.size = size;
            sink.OnDeviceEvent(event);
        });
    }
    ~EventChannel() override {
        m_runtime->SetEventSink(nullptr); // when it returns, the sink is no longer running
        m_open->store(false);
    }

private:
    std::shared_ptr<VirtualCameraRuntime> m_runtime;
    std::shared_ptr<std::atomic<bool>> m_open;
};

VirtualDeviceConnection::VirtualDeviceConnection(ArvDevice* device, const DeviceInfo& info)
    : DeviceConnection(device, info), m_fake(arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(device))) {
    size_t xmlSize = 0;
    arv_fake_camera_get_genicam_xml(m_fake, &xmlSize);
    m_xmlSize = xmlSize;
    m_runtime = std::make_shared<VirtualCameraRuntime>(*this, info.serialNumber);
    AddBehaviour(m_runtime, true);
    m_runtime->PowerUp();
}

VirtualDeviceConnection::~VirtualDeviceConnection() = default;

std::shared_ptr<StreamSource> VirtualDeviceConnection::CreateStreamSource() {
    std::shared_ptr<VirtualStreamEngine> engine;
    {
        std::lock_guard<std::mutex> lock(m_engineMutex);
        if (!m_engine) m_engine = VirtualStreamEngine::Attach(*this);
        engine = m_engine;
    }
    return std::make_shared<VirtualStreamSource>(shared_from_this(), std::move(engine));
}

uint64_t VirtualDeviceConnection::LastAddress(bool write) const {
    return ARV_FAKE_CAMERA_MEMORY_SIZE - 1 + (write ? 0 : m_xmlSize);
}

std::unique_ptr<DeviceEventChannel> VirtualDeviceConnection::OpenEventChannel(DeviceEventSink& sink) {
    if (m_channelOpen->exchange(true))
        ORV_RAISE(ORVANE_ERR_RESOURCE_IN_USE, "camera " + Info().deviceId + ": its event channel is open already");
    try {
        return std::make_unique<EventChannel>(m_runtime, m_channelOpen, sink);
    } catch (...) {
        m_channelOpen->store(false);
        throw;
    }
}

void VirtualDeviceConnection::Unplug(const std::string& reason) {
    std::shared_ptr<VirtualStreamEngine> engine;
    {
        std::lock_guard<std::mutex> lock(m_engineMutex);
        engine = m_engine;
    }
    if (engine) engine->CloseStream();
    ReportLoss(reason);
}

uint32_t VirtualDeviceConnection::MatchActions(uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask) {
    namespace reg = vcam::reg;
    if (ControlLost()) return 0;
    auto read32 = [this](uint32_t address) {
        uint8_t b[4] = {0, 0, 0, 0};
        arv_fake_camera_read_memory(m_fake, address, 4, b);
        return LoadBigEndian32(b);
    };
    // The registers change only through the node map, under its lock.
    NodeMapBase::MapLock lock(NodeMap());
    if (read32(reg::ActionDeviceKey.address) != deviceKey) return 0;
    uint32_t actions = 0;
    for (uint32_t n = 0; n < kActions; ++n)
        if (read32(reg::ActionGroupKey.At(n)) == groupKey && (read32(reg::ActionGroupMask.At(n)) & groupMask) != 0)
            actions |= 1u << n;
    return actions;
}

void VirtualDeviceConnection::FireActions(uint32_t actions) {
    if (ControlLost() || actions == 0) return;
    std::shared_ptr<VirtualStreamEngine> engine;
    {
        std::lock_guard<std::mutex> lock(m_engineMutex);
        engine = m_engine;
    }
    if (!engine) return; // never streamed: no trigger can use the signal
    for (uint32_t n = 0; n < kActions; ++n)
        if (actions & (1u << n)) engine->Signal(static_cast<uint32_t>(vcam::value::TriggerSource::Action0 + n));
}

void VirtualDeviceConnection::ReportLateAction() {
    if (!ControlLost()) m_runtime->EmitEvent(vcam::event::ActionLate, 0);
}

} // namespace internal
} // namespace Orvane
