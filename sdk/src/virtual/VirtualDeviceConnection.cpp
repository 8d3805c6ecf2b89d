#include "virtual/VirtualDeviceConnection.h"

#include "transport/AravisStreamSource.h"
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

} // namespace internal
} // namespace Orvane
