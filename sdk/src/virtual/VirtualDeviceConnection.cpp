#include "virtual/VirtualDeviceConnection.h"

#include "core/Raise.h"
#include "transport/AravisStreamSource.h"
#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraRuntime.h"
#include "virtual/VirtualStreamEngine.h"

namespace Orvane {
namespace internal {

using GenApi::impl::NodeMapBase;

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

} // namespace internal
} // namespace Orvane
