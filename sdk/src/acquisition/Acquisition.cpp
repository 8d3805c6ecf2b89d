#include "acquisition/Acquisition.h"

#include <string>

#include "Orvane/GenApi/GenApi.h"
#include "acquisition/DeviceChunkDecoder.h"
#include "acquisition/ImageLeasePool.h"
#include "acquisition/StreamRun.h"
#include "camera/DiscoveredCamera.h"
#include "core/Raise.h"
#include "logging/Log.h"
#include "transport/DeviceConnection.h"
#include "transport/StreamSource.h"

namespace Orvane {
namespace internal {

using GenApi::impl::NodeMapBase;

namespace {

GenApi::INode* NodeOf(GenApi::INodeMap& map, const char* name) { return map.GetNode(name); }

bool Readable(GenApi::INode* node) {
    return node && (node->GetAccessMode() == GenApi::RO || node->GetAccessMode() == GenApi::RW);
}

bool Writable(GenApi::INode* node) {
    return node && (node->GetAccessMode() == GenApi::WO || node->GetAccessMode() == GenApi::RW);
}

// An integer or enumeration feature's value, or `fallback` when the camera
// has none readable.
int64_t IntegerOf(GenApi::INodeMap& map, const char* name, int64_t fallback) {
    GenApi::INode* node = NodeOf(map, name);
    if (!Readable(node)) return fallback;
    if (auto* e = dynamic_cast<GenApi::IEnumeration*>(node)) return e->GetIntValue();
    if (auto* i = dynamic_cast<GenApi::IInteger*>(node)) return i->GetValue();
    return fallback;
}

// Sets TLParamsLocked when the camera has it.
void SetParamsLocked(GenApi::INodeMap& map, int64_t value) {
    GenApi::INode* node = NodeOf(map, "TLParamsLocked");
    auto* i = dynamic_cast<GenApi::IInteger*>(node);
    if (i && Writable(node)) i->SetValue(value);
}

void Execute(GenApi::INodeMap& map, const char* name, const std::string& camera) {
    auto* command = dynamic_cast<GenApi::ICommand*>(NodeOf(map, name));
    if (!command) ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, "camera " + camera + " has no " + name + " command");
    command->Execute();
}

const char* HandlingModeName(BufferHandlingMode mode) {
    switch (mode) {
    case BufferHandlingMode::OldestFirst: return "OldestFirst";
    case BufferHandlingMode::OldestFirstOverwrite: return "OldestFirstOverwrite";
    case BufferHandlingMode::NewestOnly: return "NewestOnly";
    case BufferHandlingMode::NewestFirst: return "NewestFirst";
    }
    return "?";
}

void LogFailure(const std::string& camera, const char* what, const std::exception& e) {
    ORV_LOG(kLogCategoryAcquisition, LOG_LEVEL_WARN,
            "camera " + camera + ": " + what + " failed while ending the acquisition: " + e.what());
}

} // namespace

Acquisition& Acquisition::Of(CameraAccess& access) {
    return static_cast<Acquisition&>(
        access.Acquisition([](CameraAccess& c) { return std::unique_ptr<AcquisitionHooks>(new Acquisition(c)); }));
}

Acquisition::Acquisition(CameraAccess& access) : m_access(access), m_pool(ImageLeasePool::Create()) {
    m_access.SetAcquisitionHooks(this);
}

Acquisition::~Acquisition() {
    try {
        Stop();
    } catch (...) {
        // Ending never throws past the camera's end.
    }
    m_access.SetAcquisitionHooks(nullptr);
}

std::shared_ptr<StreamRun> Acquisition::CurrentRun() const {
    std::lock_guard<std::mutex> lock(m_runMutex);
    return m_run;
}

bool Acquisition::IsStreaming() const { return static_cast<bool>(CurrentRun()); }

void Acquisition::Begin() {
    std::unique_lock<std::mutex> guard(m_beginEnd);
    const std::string name = m_access.Camera().Info().deviceId;
    if (CurrentRun()) ORV_RAISE(ORVANE_ERR_RESOURCE_IN_USE, "camera " + name + " is already streaming");
    std::shared_ptr<DeviceConnection> connection = m_access.Connection();
    if (!connection)
        ORV_RAISE(ORVANE_ERR_CAMERA_NOT_INITIALIZED, "camera " + name + " is not initialized (call Init first)");
    if (connection->ControlLost()) ORV_RAISE(ORVANE_ERR_DEVICE_LOST, "camera " + name + " was lost");
    if (!connection->IsController())
        ORV_RAISE(ORVANE_ERR_ACCESS_DENIED,
                  "camera " + name + " is open in monitor mode (another host controls it): it cannot stream");

    StreamState& state = m_access.Stream();
    StreamSettings settings;
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        settings = state.settings;
        state.locked = true;
    }
    GenApi::impl::ArvNodeMap& map = connection->NodeMap();
    std::shared_ptr<StreamRun> run;
    std::shared_ptr<StreamSource> source;
    bool paramsLocked = false;
    size_t payloadSize = 0;
    try {
        StreamRunConfig config;
        {
            NodeMapBase::MapLock lock(map);
            SetParamsLocked(map, 1);
            paramsLocked = true;
            FrameRecord& e = config.expected;
            e.width = static_cast<uint32_t>(IntegerOf(map, "Width", 0));
            e.height = static_cast<uint32_t>(IntegerOf(map, "Height", 0));
            e.offsetX = static_cast<uint32_t>(IntegerOf(map, "OffsetX", 0));
            e.offsetY = static_cast<uint32_t>(IntegerOf(map, "OffsetY", 0));
            e.pixelFormat = static_cast<uint32_t>(IntegerOf(map, "PixelFormat", 0));
            const int64_t computed = int64_t(e.width) * e.height * ((e.pixelFormat >> 16) & 0xFF) / 8;
            const int64_t payload = IntegerOf(map, "PayloadSize", computed);
            if (payload <= 0)
                ORV_RAISE(ORVANE_ERR_INVALID_STATE,
                          "camera " + name + " announces a payload of " + std::to_string(payload) + " bytes");
            config.payloadSize = static_cast<size_t>(payload);
        }
        source = connection->CreateStreamSource();
        if (!m_decoder || !m_decoder->Serves(connection.get()))
            m_decoder = std::make_shared<DeviceChunkDecoder>(connection, name);

        config.connection = connection;
        config.source = source;
        config.state = &state;
        config.bufferCount = settings.BufferCount();
        config.handlingMode = settings.handlingMode;
        config.packetResend = settings.packetResendEnable;
        config.packetTimeoutMs = settings.packetResendTimeoutMs;
        config.pool = m_pool;
        config.chunkDecoder = m_decoder;
        if (settings.crcCheckEnable) config.crcChecker = m_decoder;
        config.cameraName = name;
        config.events = m_access.Events();
        config.owner = this;
        payloadSize = config.payloadSize;
        run = StreamRun::Create(std::move(config));
        state.statistics.Reset();
        run->Open();
        Execute(map, "AcquisitionStart", name);
    } catch (...) {
        if (run)
            run->Close();
        else if (source)
            source->Stop();
        if (paramsLocked) {
            try {
                SetParamsLocked(map, 0);
            } catch (...) {
                // The first failure is the one to report.
            }
        }
        std::lock_guard<std::mutex> lock(state.mutex);
        state.locked = false;
        throw;
    }
    state.statistics.grabbing.store(true);
    {
        std::lock_guard<std::mutex> lock(m_runMutex);
        m_run = run;
        m_runSource = source;
        m_runConnection = connection;
    }
    guard.unlock(); // log handlers may call back into the camera
    ORV_LOG(kLogCategoryAcquisition, LOG_LEVEL_INFO,
            "camera " + name + ": acquisition started (" + std::to_string(settings.BufferCount()) + " buffers of " +
                std::to_string(payloadSize) + " bytes, buffer handling " + HandlingModeName(settings.handlingMode) +
                ")");
}

void Acquisition::RefuseOnDeliveryThread(const SourcePosition& at, const char* operation) const {
    if (StreamRun::OnDeliveryThread(this))
        Raise(at, ORVANE_ERR_INVALID_STATE,
              "camera " + m_access.Camera().Info().deviceId + ": " + operation +
                  " cannot run on the camera's delivery thread (in an image event handler): it waits for that thread");
}

bool Acquisition::OnDeliveryThread() const { return StreamRun::OnDeliveryThread(this); }

void Acquisition::End() {
    RefuseOnDeliveryThread(ORV_HERE, "EndAcquisition");
    std::unique_lock<std::mutex> guard(m_beginEnd);
    std::shared_ptr<StreamRun> run = CurrentRun();
    if (!run) ORV_RAISE(ORVANE_ERR_NOT_STREAMING, "camera " + m_access.Camera().Info().deviceId + " is not streaming");
    const std::string record = EndLocked(run);
    guard.unlock(); // log handlers may call back into the camera
    ORV_LOG(kLogCategoryAcquisition, LOG_LEVEL_INFO, record);
}

void Acquisition::Stop() {
    RefuseOnDeliveryThread(ORV_HERE, "DeInit");
    std::unique_lock<std::mutex> guard(m_beginEnd);
    std::shared_ptr<StreamRun> run = CurrentRun();
    if (!run) return;
    const std::string record = EndLocked(run);
    guard.unlock();
    ORV_LOG(kLogCategoryAcquisition, LOG_LEVEL_INFO, record);
}

std::string Acquisition::EndLocked(const std::shared_ptr<StreamRun>& run) {
    std::shared_ptr<DeviceConnection> connection;
    std::shared_ptr<StreamSource> source;
    {
        std::lock_guard<std::mutex> lock(m_runMutex);
        connection.swap(m_runConnection);
        source.swap(m_runSource);
        m_run.reset();
    }
    const std::string name = m_access.Camera().Info().deviceId;
    bool lost = connection->ControlLost();
    GenApi::impl::ArvNodeMap& map = connection->NodeMap();
    if (!lost) {
        try {
            Execute(map, "AcquisitionStop", name);
        } catch (const std::exception& e) {
            LogFailure(name, "AcquisitionStop", e);
        }
    }
    run->Close();
    // AcquisitionStop may have found the device lost.
    lost = connection->ControlLost();
    if (!lost) {
        try {
            SetParamsLocked(map, 0);
        } catch (const std::exception& e) {
            LogFailure(name, "unlocking TLParamsLocked", e);
        }
    }
    StreamState& state = m_access.Stream();
    state.statistics.grabbing.store(false);
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        state.locked = false;
    }
    const StreamStatistics& s = state.statistics;
    return "camera " + name + ": acquisition stopped" + (lost ? " (the camera was lost)" : "") + " (" +
           std::to_string(s.deliveredFrames.load()) + " images delivered, " + std::to_string(s.lostFrames.load()) +
           " frames lost, " + std::to_string(s.incompleteFrames.load()) + " incomplete, " +
           std::to_string(s.droppedFrames.load()) + " dropped by the buffer handling)";
}

ImagePtr Acquisition::Next(uint64_t timeoutMs, uint64_t streamIndex) {
    if (streamIndex != 0)
        ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE, "camera " + m_access.Camera().Info().deviceId +
                                               " has one stream (index 0); stream " + std::to_string(streamIndex) +
                                               " does not exist");
    std::shared_ptr<StreamRun> run = CurrentRun();
    if (!run)
        ORV_RAISE(ORVANE_ERR_NOT_STREAMING,
                  "camera " + m_access.Camera().Info().deviceId + " is not streaming (call BeginAcquisition first)");
    return run->Next(timeoutMs);
}

void Acquisition::Signal(uint32_t signal) {
    std::shared_ptr<StreamSource> source;
    {
        std::lock_guard<std::mutex> lock(m_runMutex);
        source = m_runSource;
    }
    if (source) source->Signal(signal);
}

ImageList Acquisition::NextSync(uint64_t timeoutMs) {
    ImageList list;
    list.PushBack(Next(timeoutMs, 0));
    return list;
}

} // namespace internal
} // namespace Orvane
