// VirtualStreamEngine: the streaming side of one virtual camera (an Aravis
// fake device running the SDK's description): acquisition gating, frame
// pacing, test patterns, 64-bit frame IDs, device timestamps and chunk data.
//
// How frames are made. The fake device's stream thread pops a queued buffer
// at the pace of the fake's frame period register and calls the fake camera's
// fill hook, which is this engine's Fill. Fill is the camera's shutter: it
// blocks until the camera may take a frame, then writes the frame straight
// into the buffer (test pattern, then the chunk layout when ChunkModeActive is
// on) and describes it in the buffer's StreamSlot record. So no buffer is
// filled before AcquisitionStart, nor beyond the frame count of SingleFrame
// (1) or MultiFrame (AcquisitionFrameCount), nor without a trigger when a
// trigger is on, and a camera without free buffers simply waits (it loses no
// frame and its frame IDs have no gaps).
//
// When a frame may start:
//   - the acquisition runs: AcquisitionStart was executed (and, with the
//     AcquisitionStart trigger on, that trigger came), and neither
//     AcquisitionStop nor AcquisitionAbort since; SingleFrame and MultiFrame
//     end the acquisition by themselves after their last frame;
//   - FrameStart trigger on: one frame per trigger received while the
//     acquisition runs and the host streams (triggers before that do
//     nothing); FrameBurstStart trigger on: AcquisitionBurstFrameCount frames
//     per trigger. A trigger's source is Software (TriggerSoftware) or any
//     signal passed to Signal (action commands);
//   - pacing: free-running frames start one frame period apart, the period
//     being the larger of the AcquisitionFrameRate period and the exposure
//     time when AcquisitionFrameRateEnable is on, else the exposure time
//     (1 ms at least); triggered frames start at least one exposure time
//     apart. Frames keep to a schedule (no drift), each starting at most an
//     eighth of a period before its time.
// AcquisitionStop lets the frame being made finish; AcquisitionAbort discards
// it. Both, like AcquisitionStart, clear the AcquisitionStart register (the
// fake camera's acquisition register) and their own register.
//
// Trigger overlap (TriggerOverlap of the FrameStart trigger): PreviousFrame
// (the camera's default) latches every trigger: each one gives a frame, at
// the pace above. Off and ReadOut accept a FrameStart trigger only when no
// frame is exposing and none is waiting to start (the virtual camera reads
// its sensor out at once, so both mean the same here); a trigger arriving
// earlier is missed.
//
// Device events (VirtualEventSource; each goes out only while its
// EventNotification is On): AcquisitionStart when the acquisition starts
// (frame ID: its first frame, 1), AcquisitionEnd when it ends (AcquisitionStop,
// AcquisitionAbort, or the last frame of SingleFrame and MultiFrame; frame ID:
// its last frame); per frame FrameStart and ExposureStart (timestamp: the
// frame's), ExposureEnd (the frame's timestamp plus the exposure time) and
// FrameEnd (when the frame is complete); FrameTriggerMissed for each
// FrameStart or FrameBurstStart trigger the camera discards: one that arrives
// while no acquisition runs or the host does not stream, or a FrameStart
// trigger missed by the overlap rule (frame ID: the last frame started).
//
// The engine claims these command registers
// (DeviceConnection::ClaimCommandRegister) and completes them itself. While AcquisitionFrameRateEnable is off,
// AcquisitionFrameRate is not available and the engine sets the fake
// camera's frame period register (which is AcquisitionFrameRate's) to 1 ms so
// that the fake's own pacing never holds back an exposure-paced frame; it
// puts the user's value back when the feature is enabled again.
//
// Frame IDs count from 1 at each AcquisitionStart, 64-bit, one per frame
// made. Timestamps are the camera clock (VirtualCameraRuntime::TimestampNs,
// ns) when the frame started.
//
// Threads and locks (owner: the camera's VirtualDeviceConnection, which
// attaches the engine when its first stream source is made and keeps it, as
// does its behaviour list; a running acquisition's stream source holds it
// too):
//   - Fill runs on the fake stream's thread; it never takes the node map's
//     lock (the acquisition destroys streams with that lock held); its events
//     go through the event source's lock-free notification snapshot;
//   - OnWrite and OpenStream run on the thread that changed the camera, with
//     the node map's lock held (they read and clear registers); Signal and
//     CloseStream on any thread;
//   - m_mutex guards the acquisition state and the settings snapshot; it is
//     never held while filling pixels or calling out of the engine, except
//     that AcquisitionStart and AcquisitionEnd go out under it (so that they
//     come before and after the acquisition's frame events). Lock order: node
//     map lock, then m_mutex, then the event source's sink mutex.
#ifndef ORVANE_VIRTUAL_VIRTUAL_STREAM_ENGINE_H
#define ORVANE_VIRTUAL_VIRTUAL_STREAM_ENGINE_H

#include <arv.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

#include "transport/DeviceBehaviour.h"
#include "virtual/TestPattern.h"
#include "virtual/VirtualChunks.h"

namespace Orvane {
namespace internal {

class DeviceConnection;
class VirtualCameraRuntime;
class VirtualDeviceConnection;

class VirtualStreamEngine : public DeviceBehaviour {
public:
    // Makes the engine of a virtual camera's connection: adds it to the
    // connection's behaviours, claims the acquisition's command registers and
    // installs it as the fake camera's fill hook. Takes the node map's lock.
    static std::shared_ptr<VirtualStreamEngine> Attach(VirtualDeviceConnection& connection);
    // Restores the fake camera's own fill. No stream may exist any more.
    ~VirtualStreamEngine() override;
    VirtualStreamEngine(const VirtualStreamEngine&) = delete;
    VirtualStreamEngine& operator=(const VirtualStreamEngine&) = delete;

    // Host side: the acquisition opens its stream (before creating it) and
    // closes it (before destroying it). While closed, Fill returns at once
    // and its buffers carry no frame. OpenStream reads the camera's settings
    // (node map lock held).
    void OpenStream();
    void CloseStream();

    // Device side (DeviceBehaviour): `length` bytes at `address` were
    // written (node map lock held). Executes AcquisitionStart,
    // AcquisitionStop, AcquisitionAbort and TriggerSoftware, and takes note of
    // the settings that shape frames.
    void OnWrite(uint64_t address, uint64_t length) override;
    // A signal fired (a [signals] register value, e.g. Action0): every trigger
    // whose source it is fires.
    void Signal(uint32_t signal);

    // The camera clock, ns.
    uint64_t Now() const;
    // Whether the acquisition runs (for tests).
    bool Acquiring() const;

private:
    struct Settings {
        int64_t acquisitionMode = 3;
        uint32_t frameCount = 1, burstCount = 1;
        bool frameRateEnable = true;
        uint32_t framePeriodUs = 33333;
        uint32_t exposureUs = 10000;
        uint32_t gainRaw = 0;
        bool triggerOn[3] = {false, false, false}; // by TriggerSelector value
        uint32_t triggerSource[3] = {0, 0, 0};
        int64_t triggerOverlap = 1; // of the FrameStart trigger (PreviousFrame)
        int64_t patternSensor = 0, patternPipeline = 0;
        bool chunkMode = false;
        uint64_t chunkMask = 0; // bit i: vcam::kChunks[i] enabled
        uint32_t blackLevelRaw = 0;
        uint32_t lineStatusAll = 0;
        uint64_t counterValue[2] = {0, 0};
        double timerValue[2] = {0, 0};
        uint32_t sequencerSetActive = 0;
        uint64_t timestampLatchValue = 0;
    };

    VirtualStreamEngine(DeviceConnection& connection, VirtualCameraRuntime& runtime, ArvFakeCamera* camera);
    static void FillHook(ArvBuffer* buffer, void* engine, guint32 exposureUs, guint32 gain, ArvPixelFormat format);
    void Fill(ArvBuffer* buffer, guint32 pixelFormat);
    // With m_mutex held.
    bool FrameMayStartLocked() const;
    std::chrono::steady_clock::duration PeriodLocked() const;
    // A trigger of this selector fired; false when the camera discards it.
    bool FireLocked(int selector);
    // Raises the FrameTriggerMissed events of `count` discarded triggers
    // (without m_mutex).
    void EmitMissed(int count, uint64_t frameId);
    // Node map lock held: reads every setting into a new snapshot.
    Settings ReadSettings() const;
    uint32_t Reg32(uint32_t address) const;
    uint64_t Reg64(uint32_t address) const;
    double RegDouble(uint32_t address) const;
    // Node map lock held: writes 0 to a command register and tells the map.
    void Clear(uint32_t address, const char* registerNode) const;
    // Node map lock held: the fake's frame period while AcquisitionFrameRateEnable is off.
    void SyncFramePeriod();

    DeviceConnection& m_connection;
    VirtualCameraRuntime& m_runtime;
    ArvFakeCamera* m_camera;         // a reference of our own
    uint32_t m_savedFramePeriod = 0; // node map lock: the user's period while the engine holds the register

    mutable std::mutex m_mutex; // see the header comment
    std::condition_variable m_changed;
    Settings m_settings;
    bool m_streamOpen = false;
    bool m_acquiring = false;
    bool m_armed = false;        // the AcquisitionStart trigger came (or is off)
    uint64_t m_framesLeft = 0;   // UINT64_MAX in Continuous mode
    uint64_t m_frameCredits = 0; // FrameStart triggers not used yet
    uint64_t m_burstCredits = 0; // frames left of FrameBurstStart triggers
    uint64_t m_abortGeneration = 0;
    uint64_t m_frameCounter = 0;
    std::chrono::steady_clock::time_point m_nextDue{};     // earliest start of the next frame (none: at once)
    std::chrono::steady_clock::time_point m_exposureEnd{}; // end of the last frame's exposure

    PatternScratch m_scratch; // Fill only (one stream thread at a time)
};

} // namespace internal
} // namespace Orvane

#endif
