// The state a camera's stream shares between its transport-layer stream node
// map and the acquisition code.
//
// StreamSettings: what the user chose through the stream node map (buffer
// count and handling, resend). Written by node map setters (under the stream
// node map's lock and StreamState::mutex); the acquisition code reads a copy
// with StreamState::Settings() when it starts a stream and may refuse changes
// while streaming through StreamState::locked (then the nodes are RO).
//
// StreamStatistics: counters the acquisition code fills while streaming
// (relaxed atomics: any thread may read them at any time). The stream node
// map only reads them. Reset() at each acquisition start is the acquisition
// code's call.
#ifndef ORVANE_CAMERA_STREAM_SETTINGS_H
#define ORVANE_CAMERA_STREAM_SETTINGS_H

#include <atomic>
#include <cstdint>
#include <mutex>

#include "transport/StreamSlot.h"

namespace Orvane {
namespace internal {

// Values are the node map's entry values (StreamBufferHandlingMode).
enum class BufferHandlingMode : int64_t {
    OldestFirst = 0,          // queue in arrival order; a full queue blocks the stream (frames dropped at the source)
    OldestFirstOverwrite = 1, // queue in arrival order; a full queue drops its oldest frame
    NewestOnly = 2,           // keep only the newest frame
    NewestFirst = 3           // newest frame first (LIFO); a full queue drops the oldest
};

// Values are the node map's entry values (StreamBufferCountMode).
enum class BufferCountMode : int64_t { Manual = 0, Auto = 1 };

struct StreamSettings {
    static constexpr int64_t kBufferCountMin = 1;    // StreamAnnounceBufferMinimum
    static constexpr int64_t kBufferCountMax = 1000; // StreamBufferCountMax
    static constexpr int64_t kAutoBufferCount = 10;  // the count Auto mode uses unless acquisition decides otherwise
    static constexpr int64_t kBufferAlignment = static_cast<int64_t>(kStreamBufferAlignment); // bytes

    BufferCountMode bufferCountMode = BufferCountMode::Manual;
    int64_t bufferCountManual = 10;
    BufferHandlingMode handlingMode = BufferHandlingMode::OldestFirst;
    bool crcCheckEnable = false;
    // GigE Vision only (Aravis's "packet-resend", "packet-timeout" and
    // resend limits of its GVSP receiver).
    bool packetResendEnable = true;
    int64_t packetResendTimeoutMs = 20;
    int64_t packetResendMaxRequests = 100;

    // The number of buffers an acquisition uses under these settings.
    int64_t BufferCount() const {
        return bufferCountMode == BufferCountMode::Manual ? bufferCountManual : kAutoBufferCount;
    }
};

struct StreamStatistics {
    std::atomic<bool> grabbing{false};         // StreamIsGrabbing
    std::atomic<int64_t> announcedBuffers{0};  // StreamAnnouncedBufferCount
    std::atomic<int64_t> inputBuffers{0};      // StreamInputBufferCount: queued for filling
    std::atomic<int64_t> outputBuffers{0};     // StreamOutputBufferCount: filled, awaiting the user
    std::atomic<uint64_t> startedFrames{0};    // StreamStartedFrameCount
    std::atomic<uint64_t> deliveredFrames{0};  // StreamDeliveredFrameCount: handed to the user
    std::atomic<uint64_t> receivedFrames{0};   // StreamReceivedFrameCount: completed by the transport
    std::atomic<uint64_t> incompleteFrames{0}; // StreamIncompleteFrameCount
    std::atomic<uint64_t> lostFrames{0};       // StreamLostFrameCount: never received (no buffer, gaps in ids)
    std::atomic<uint64_t> droppedFrames{0};    // StreamDroppedFrameCount: discarded by the handling mode
    // GigE Vision packet counters.
    std::atomic<uint64_t> receivedPackets{0};        // StreamReceivedPacketCount
    std::atomic<uint64_t> missedPackets{0};          // StreamMissedPacketCount
    std::atomic<uint64_t> resendRequests{0};         // StreamPacketResendRequestCount
    std::atomic<uint64_t> resendRequestTimeouts{0};  // StreamPacketResendRequestTimeoutCount
    std::atomic<uint64_t> resendRequestedPackets{0}; // StreamPacketResendRequestedPacketCount
    std::atomic<uint64_t> resendReceivedPackets{0};  // StreamPacketResendReceivedPacketCount
    std::atomic<uint64_t> duplicatedPackets{0};      // StreamPacketsDuplicatedCount

    void Reset();
};

// One stream's settings and statistics; owned by the camera (CameraAccess)
// for the camera's life, so they survive DeInit like the stream node map.
class StreamState {
public:
    StreamSettings Settings() const {
        std::lock_guard<std::mutex> lock(mutex);
        return settings;
    }

    mutable std::mutex mutex; // guards settings and locked
    StreamSettings settings;
    bool locked = false; // true while an acquisition runs: buffer settings are RO
    StreamStatistics statistics;
};

inline void StreamStatistics::Reset() {
    for (auto* c : {&startedFrames, &deliveredFrames, &receivedFrames, &incompleteFrames, &lostFrames, &droppedFrames,
                    &receivedPackets, &missedPackets, &resendRequests, &resendRequestTimeouts, &resendRequestedPackets,
                    &resendReceivedPackets, &duplicatedPackets})
        c->store(0, std::memory_order_relaxed);
    announcedBuffers.store(0);
    inputBuffers.store(0);
    outputBuffers.store(0);
}

} // namespace internal
} // namespace Orvane

#endif
