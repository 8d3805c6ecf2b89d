#include "virtual/VirtualStreamEngine.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "image/ChunkLayout.h"
#include "image/PixelFormatInfo.h"
#include "transport/StreamSlot.h"
#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualCameraRuntime.h"
#include "virtual/VirtualDeviceConnection.h"
#include "virtual/VirtualEventSource.h"

namespace Orvane {
namespace internal {

namespace {

using Clock = std::chrono::steady_clock;
constexpr uint64_t kContinuous = std::numeric_limits<uint64_t>::max();
constexpr int kSelectors = 3;        // TriggerSelector values FrameStart 0, AcquisitionStart 1, FrameBurstStart 2
constexpr uint32_t kSoftware = 0x01; // the Software signal (TriggerSource entry value)
// The fake stream's thread polls at this rate for buffers while the camera is
// in trigger mode (the fake's own pacing there); the engine decides when frames start.
constexpr double kTriggerPollHz = 10000.0;

namespace reg = vcam::reg;
namespace value = vcam::value;

uint32_t TriggerModeAddress(int s) { return reg::TriggerMode.At(s); }
uint32_t TriggerSourceAddress(int s) { return reg::TriggerSource.At(s); }
uint32_t TriggerSoftwareAddress(int s) { return reg::TriggerSoftware.At(s); }

bool Overlaps(uint64_t address, uint64_t length, uint32_t reg, uint32_t regLength) {
    return address < uint64_t(reg) + regLength && reg < address + length;
}

// The fake's frame period while AcquisitionFrameRateEnable is off, us.
constexpr uint32_t kUnlimitedPeriodUs = 1000;

} // namespace

std::shared_ptr<VirtualStreamEngine> VirtualStreamEngine::Attach(VirtualDeviceConnection& connection) {
    ArvFakeCamera* camera = connection.FakeCamera();
    std::shared_ptr<VirtualStreamEngine> engine(new VirtualStreamEngine(connection, connection.Runtime(), camera));
    GenApi::impl::NodeMapBase::MapLock lock(connection.NodeMap());
    connection.ClaimCommandRegister(reg::AcquisitionStart.address);
    connection.ClaimCommandRegister(reg::AcquisitionStop.address);
    connection.ClaimCommandRegister(reg::AcquisitionAbort.address);
    for (int sel = 0; sel < kSelectors; ++sel) connection.ClaimCommandRegister(TriggerSoftwareAddress(sel));
    connection.AddBehaviour(engine);
    arv_fake_camera_set_trigger_frequency(camera, kTriggerPollHz);
    arv_fake_camera_set_fill_pattern(camera, &VirtualStreamEngine::FillHook, engine.get());
    engine->SyncFramePeriod();
    return engine;
}

VirtualStreamEngine::VirtualStreamEngine(DeviceConnection& connection, VirtualCameraRuntime& runtime,
                                         ArvFakeCamera* camera)
    : m_connection(connection), m_runtime(runtime), m_camera(ARV_FAKE_CAMERA(g_object_ref(camera))) {}

VirtualStreamEngine::~VirtualStreamEngine() {
    arv_fake_camera_set_fill_pattern(m_camera, nullptr, nullptr);
    g_object_unref(m_camera);
}

uint64_t VirtualStreamEngine::Now() const { return m_runtime.TimestampNs(); }

bool VirtualStreamEngine::Acquiring() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_acquiring;
}

// Registers -------------------------------------------------------------------

uint32_t VirtualStreamEngine::Reg32(uint32_t address) const {
    uint8_t b[4] = {0, 0, 0, 0};
    arv_fake_camera_read_memory(m_camera, address, 4, b);
    return LoadBigEndian32(b);
}

uint64_t VirtualStreamEngine::Reg64(uint32_t address) const {
    uint8_t b[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    arv_fake_camera_read_memory(m_camera, address, 8, b);
    return LoadBigEndian(b, 8);
}

double VirtualStreamEngine::RegDouble(uint32_t address) const {
    uint8_t b[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    arv_fake_camera_read_memory(m_camera, address, 8, b);
    return LoadBigEndianDouble(b);
}

void VirtualStreamEngine::Clear(uint32_t address, const char* registerNode) const {
    arv_fake_camera_write_register(m_camera, address, 0);
    if (GenApi::impl::Node* node = m_connection.NodeMap().FindNode(registerNode))
        m_connection.NodeMap().NotifyChanged(*node);
}

void VirtualStreamEngine::SyncFramePeriod() {
    const bool enabled = Reg32(reg::AcquisitionFrameRateEnable.address) != 0;
    const uint32_t period = Reg32(reg::AcquisitionFrameRate.address);
    uint32_t next = period;
    if (!enabled && m_savedFramePeriod == 0) {
        m_savedFramePeriod = period ? period : 1000000;
        next = kUnlimitedPeriodUs;
    } else if (enabled && m_savedFramePeriod != 0) {
        // Put the user's period back, unless something else (a user set)
        // wrote a period of its own meanwhile.
        if (period == kUnlimitedPeriodUs) next = m_savedFramePeriod;
        m_savedFramePeriod = 0;
    }
    if (next != period) {
        arv_fake_camera_write_register(m_camera, reg::AcquisitionFrameRate.address, next);
        if (GenApi::impl::Node* node = m_connection.NodeMap().FindNode("AcquisitionFrameRateReg"))
            m_connection.NodeMap().NotifyChanged(*node);
    }
}

VirtualStreamEngine::Settings VirtualStreamEngine::ReadSettings() const {
    Settings s;
    s.acquisitionMode = Reg32(reg::AcquisitionMode.address);
    s.frameCount = std::max<uint32_t>(1, Reg32(reg::AcquisitionFrameCount.address));
    s.burstCount = std::max<uint32_t>(1, Reg32(reg::AcquisitionBurstFrameCount.address));
    s.frameRateEnable = Reg32(reg::AcquisitionFrameRateEnable.address) != 0;
    s.framePeriodUs = Reg32(reg::AcquisitionFrameRate.address);
    s.exposureUs = Reg32(reg::ExposureTime.address);
    s.gainRaw = Reg32(reg::Gain.address);
    for (int sel = 0; sel < kSelectors; ++sel) {
        s.triggerOn[sel] = Reg32(TriggerModeAddress(sel)) == value::TriggerMode::On;
        s.triggerSource[sel] = Reg32(TriggerSourceAddress(sel));
    }
    s.triggerOverlap = Reg32(reg::TriggerOverlap.At(value::TriggerSelector::FrameStart));
    s.patternSensor = Reg32(reg::TestPattern.At(value::TestPatternGeneratorSelector::Sensor));
    s.patternPipeline = Reg32(reg::TestPattern.At(value::TestPatternGeneratorSelector::PipelineStart));
    s.chunkMode = Reg32(reg::ChunkModeActive.address) != 0;
    s.chunkMask = 1; // the image chunk
    for (size_t i = 0; i < std::size(vcam::kChunks); ++i)
        if (vcam::kChunks[i].id != vcam::chunk::Image &&
            Reg32(reg::ChunkEnable.At(vcam::kChunks[i].selectorValue)) != 0)
            s.chunkMask |= uint64_t(1) << i;
    s.blackLevelRaw = Reg32(reg::BlackLevelRaw.At(value::BlackLevelSelector::All));
    s.lineStatusAll = m_runtime.LineStatusAll();
    for (int i = 0; i < 2; ++i) {
        s.counterValue[i] = Reg64(reg::CounterValue.At(i));
        s.timerValue[i] = RegDouble(reg::TimerValue.At(i));
    }
    s.sequencerSetActive = Reg32(reg::SequencerSetActive.address);
    s.timestampLatchValue = Reg64(reg::TimestampLatchValue.address);
    return s;
}

// Host side ---------------------------------------------------------------------

void VirtualStreamEngine::OpenStream() {
    m_connection.NotifyRead(); // counters, timers and lines up to date
    SyncFramePeriod();
    const Settings settings = ReadSettings();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_settings = settings;
        m_streamOpen = true;
    }
    m_changed.notify_all();
}

void VirtualStreamEngine::CloseStream() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_streamOpen = false;
        m_frameCredits = 0;
        m_burstCredits = 0;
    }
    m_changed.notify_all();
}

// Device side ---------------------------------------------------------------------

void VirtualStreamEngine::OnWrite(uint64_t address, uint64_t length) {
    if (Overlaps(address, length, reg::AcquisitionFrameRateEnable.address, 4)) SyncFramePeriod();
    const bool start =
        Overlaps(address, length, reg::AcquisitionStart.address, 4) && Reg32(reg::AcquisitionStart.address) != 0;
    const bool stop =
        Overlaps(address, length, reg::AcquisitionStop.address, 4) && Reg32(reg::AcquisitionStop.address) != 0;
    const bool abort =
        Overlaps(address, length, reg::AcquisitionAbort.address, 4) && Reg32(reg::AcquisitionAbort.address) != 0;
    bool software[kSelectors] = {false, false, false};
    for (int sel = 0; sel < kSelectors; ++sel)
        software[sel] =
            Overlaps(address, length, TriggerSoftwareAddress(sel), 4) && Reg32(TriggerSoftwareAddress(sel)) != 0;
    bool streamOpen = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        streamOpen = m_streamOpen;
    }
    // The snapshot only matters to a stream (OpenStream reads it afresh).
    const bool command = start || stop || abort || software[0] || software[1] || software[2];
    Settings settings;
    if (streamOpen || command) settings = ReadSettings();
    int missed = 0;
    uint64_t lastFrame = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_streamOpen || command) m_settings = settings;
        if (start && !m_acquiring) {
            m_acquiring = true;
            m_armed = !settings.triggerOn[value::TriggerSelector::AcquisitionStart];
            m_framesLeft = settings.acquisitionMode == value::AcquisitionMode::SingleFrame  ? 1
                           : settings.acquisitionMode == value::AcquisitionMode::MultiFrame ? settings.frameCount
                                                                                            : kContinuous;
            m_frameCredits = 0;
            m_burstCredits = 0;
            m_frameCounter = 0;
            m_nextDue = Clock::time_point{};
            m_exposureEnd = Clock::time_point{};
            // Under m_mutex: no frame of this acquisition can start (and
            // send FrameStart) before the event went out.
            m_runtime.Events().Emit(vcam::event::AcquisitionStart, 1);
        }
        if ((stop || abort) && m_acquiring) m_runtime.Events().Emit(vcam::event::AcquisitionEnd, m_frameCounter);
        if (stop || abort) {
            m_acquiring = false;
            m_frameCredits = 0;
            m_burstCredits = 0;
        }
        if (abort) ++m_abortGeneration;
        for (int sel = 0; sel < kSelectors; ++sel)
            if (software[sel] && settings.triggerOn[sel] && settings.triggerSource[sel] == kSoftware &&
                !FireLocked(sel) && sel != value::TriggerSelector::AcquisitionStart)
                ++missed;
        lastFrame = m_frameCounter;
    }
    // Commands are done once acted on; AcquisitionStop and Abort also clear
    // the acquisition register.
    if (start || stop || abort) Clear(reg::AcquisitionStart.address, "AcquisitionStartReg");
    if (stop) Clear(reg::AcquisitionStop.address, "AcquisitionStopReg");
    if (abort) Clear(reg::AcquisitionAbort.address, "AcquisitionAbortReg");
    for (int sel = 0; sel < kSelectors; ++sel)
        if (software[sel]) Clear(TriggerSoftwareAddress(sel), "TriggerSoftwareReg");
    m_changed.notify_all();
    EmitMissed(missed, lastFrame);
}

void VirtualStreamEngine::Signal(uint32_t signal) {
    int missed = 0;
    uint64_t lastFrame = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (int sel = 0; sel < kSelectors; ++sel)
            if (m_settings.triggerOn[sel] && m_settings.triggerSource[sel] == signal && !FireLocked(sel) &&
                sel != value::TriggerSelector::AcquisitionStart)
                ++missed;
        lastFrame = m_frameCounter;
    }
    m_changed.notify_all();
    EmitMissed(missed, lastFrame);
}

bool VirtualStreamEngine::FireLocked(int selector) {
    // A trigger does something only while the acquisition runs and the host streams.
    if (!m_acquiring || !m_streamOpen) return false;
    switch (selector) {
    case value::TriggerSelector::FrameStart:
        if (m_settings.triggerOverlap != value::TriggerOverlap::PreviousFrame &&
            (m_frameCredits > 0 || Clock::now() < m_exposureEnd))
            return false; // no overlap: a frame is exposing or about to
        ++m_frameCredits;
        break;
    case value::TriggerSelector::AcquisitionStart: m_armed = true; break;
    case value::TriggerSelector::FrameBurstStart: m_burstCredits += m_settings.burstCount; break;
    default: break;
    }
    return true;
}

void VirtualStreamEngine::EmitMissed(int count, uint64_t frameId) {
    for (int i = 0; i < count; ++i) m_runtime.Events().Emit(vcam::event::FrameTriggerMissed, frameId);
}

// Frames ---------------------------------------------------------------------------

bool VirtualStreamEngine::FrameMayStartLocked() const {
    if (!m_acquiring || !m_armed || m_framesLeft == 0) return false;
    if (m_settings.triggerOn[value::TriggerSelector::FrameStart] && m_frameCredits == 0) return false;
    if (m_settings.triggerOn[value::TriggerSelector::FrameBurstStart] && m_burstCredits == 0) return false;
    return true;
}

Clock::duration VirtualStreamEngine::PeriodLocked() const {
    const Settings& s = m_settings;
    const bool triggered =
        s.triggerOn[value::TriggerSelector::FrameStart] || s.triggerOn[value::TriggerSelector::FrameBurstStart];
    uint64_t us = s.exposureUs;
    if (!triggered) {
        if (s.frameRateEnable)
            us = std::max<uint64_t>(us, s.framePeriodUs ? s.framePeriodUs : 1000000);
        else
            us = std::max<uint64_t>(us, 1000);
    }
    return std::chrono::microseconds(us);
}

void VirtualStreamEngine::FillHook(ArvBuffer* buffer, void* engine, guint32, guint32, ArvPixelFormat format) {
    static_cast<VirtualStreamEngine*>(engine)->Fill(buffer, static_cast<guint32>(format));
}

void VirtualStreamEngine::Fill(ArvBuffer* buffer, guint32 pixelFormat) {
    StreamSlot* slot = StreamSlot::Of(buffer);
    if (!slot) return; // not a buffer of the SDK's acquisition: nothing to make
    slot->HandOff();   // the buffer is the camera's now
    Settings settings;
    uint64_t frameId = 0, generation = 0;
    bool lastOfAcquisition = false;
    Clock::time_point start;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            if (!m_streamOpen) {
                slot->record.produced = false;
                slot->HandOff();
                return;
            }
            if (FrameMayStartLocked()) {
                const Clock::time_point now = Clock::now();
                // A frame may start up to an eighth of a period early (the
                // schedule keeps the average rate exact): the fake stream's
                // own wait has usually brought it close enough, and a second
                // sleep would cost more than it gains.
                if (m_nextDue == Clock::time_point{} || now + PeriodLocked() / 8 >= m_nextDue) {
                    start = now;
                    break;
                }
                m_changed.wait_until(lock, m_nextDue);
            } else {
                m_changed.wait(lock);
            }
        }
        settings = m_settings;
        generation = m_abortGeneration;
        frameId = ++m_frameCounter;
        // Frames keep to their schedule (no drift from wake-up delays); a
        // frame later than one period restarts it.
        const Clock::duration period = PeriodLocked();
        m_nextDue =
            (m_nextDue == Clock::time_point{} || start - m_nextDue >= period) ? start + period : m_nextDue + period;
        if (m_framesLeft != kContinuous && --m_framesLeft == 0) {
            m_acquiring = false;
            lastOfAcquisition = true;
        }
        m_exposureEnd = start + std::chrono::microseconds(m_settings.exposureUs);
        if (m_settings.triggerOn[value::TriggerSelector::FrameStart] && m_frameCredits) --m_frameCredits;
        if (m_settings.triggerOn[value::TriggerSelector::FrameBurstStart] && m_burstCredits) --m_burstCredits;
    }
    const uint64_t timestamp = m_runtime.TimestampNs();
    VirtualEventSource& events = m_runtime.Events();
    events.EmitAt(vcam::event::FrameStart, timestamp, frameId);
    events.EmitAt(vcam::event::ExposureStart, timestamp, frameId);

    const uint32_t width = static_cast<uint32_t>(arv_buffer_get_part_width(buffer, 0));
    const uint32_t height = static_cast<uint32_t>(arv_buffer_get_part_height(buffer, 0));
    const uint32_t offsetX = static_cast<uint32_t>(arv_buffer_get_part_x(buffer, 0));
    const uint32_t offsetY = static_cast<uint32_t>(arv_buffer_get_part_y(buffer, 0));
    uint8_t* const data = slot->Data();
    const size_t capacity = slot->Capacity();

    PatternFrame frame;
    frame.data = data;
    frame.capacity = capacity;
    frame.width = width;
    frame.height = height;
    frame.offsetX = offsetX;
    frame.offsetY = offsetY;
    frame.pixelFormat = pixelFormat;
    frame.pattern =
        settings.patternPipeline != value::TestPattern::Off ? settings.patternPipeline : settings.patternSensor;
    frame.frameId = frameId;
    const size_t imageSize = FillTestPattern(frame, m_scratch);

    size_t payload = imageSize;
    uint64_t layoutId = 0;
    if (imageSize && settings.chunkMode) {
        const PixelFormatInfo* info = FindPixelFormatByPfnc(pixelFormat);
        VirtualChunkValues v;
        v.frameId = frameId;
        v.timestamp = timestamp;
        v.width = width;
        v.height = height;
        v.offsetX = offsetX;
        v.offsetY = offsetY;
        v.pixelFormat = pixelFormat;
        v.linePitch = height ? static_cast<uint32_t>(imageSize / height) : 0;
        v.exposureTime = settings.exposureUs;
        v.gain = settings.gainRaw / 100.0;
        v.blackLevel = settings.blackLevelRaw / 16.0;
        v.dynamicRangeMin = 0;
        v.dynamicRangeMax = info ? (1u << info->bitsPerComponent) - 1 : 0;
        v.lineStatusAll = settings.lineStatusAll;
        v.exposureEndLineStatusAll = settings.lineStatusAll;
        v.counterValue[0] = settings.counterValue[0];
        v.counterValue[1] = settings.counterValue[1];
        v.timerValue[0] = settings.timerValue[0];
        v.timerValue[1] = settings.timerValue[1];
        v.sequencerSetActive = settings.sequencerSetActive;
        v.timestampLatchValue = settings.timestampLatchValue;
        payload = WriteVirtualChunks(data, imageSize, capacity, settings.chunkMask, v);
        if (payload) layoutId = ChunkLayoutId(data, payload);
    }

    arv_buffer_set_frame_id(buffer, frameId);
    arv_buffer_set_timestamp(buffer, timestamp);
    arv_buffer_set_system_timestamp(buffer, timestamp);

    bool keep = true;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        keep = m_streamOpen && m_abortGeneration == generation;
    }
    FrameRecord& r = slot->record;
    r = FrameRecord{};
    r.produced = keep;
    r.frameId = frameId;
    r.timestamp = timestamp;
    r.width = width;
    r.height = height;
    r.offsetX = offsetX;
    r.offsetY = offsetY;
    r.pixelFormat = pixelFormat;
    if (imageSize == 0) {
        // A format the virtual camera cannot draw, or a buffer too small.
        r.status = IMAGE_STATUS_SIZE_MISMATCH;
        r.payloadType = 0x0001;
        r.payloadSize = capacity;
        r.validPayloadSize = 0;
    } else if (payload > imageSize) {
        r.payloadType = 0x4001;
        r.payloadSize = payload;
        r.validPayloadSize = payload;
        r.chunkLayoutId = layoutId;
    } else {
        r.payloadType = 0x0001;
        r.payloadSize = imageSize;
        r.validPayloadSize = imageSize;
    }
    events.EmitAt(vcam::event::ExposureEnd, timestamp + uint64_t(settings.exposureUs) * 1000, frameId);
    events.Emit(vcam::event::FrameEnd, frameId);
    if (lastOfAcquisition) events.Emit(vcam::event::AcquisitionEnd, frameId);
    slot->HandOff(); // the buffer goes back to the stream, then the delivery thread
}

} // namespace internal
} // namespace Orvane
