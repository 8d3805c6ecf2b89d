// The transport-layer stream node map of a camera (stream 0): buffer
// settings stored in the camera's StreamState for the acquisition code, and
// the counters it fills. Packet features exist for packet transports only
// (TransportFeatures::networkFeatures: GigE Vision).
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"

namespace Orvane {
namespace internal {

using namespace GenApi;
using namespace GenApi::impl;

void CameraAccess::BuildTLStreamNodeMap() {
    NativeNodeMap& m = m_tlStream;
    // Packet transports (GigE Vision) have packet counters and resend control.
    const bool packets = m_camera.Through().Features().networkFeatures;
    StreamState& s = m_stream;
    StreamStatistics& st = s.statistics;
    // Buffer settings are fixed while an acquisition runs.
    auto settable = [&s] {
        std::lock_guard<std::mutex> lock(s.mutex);
        return s.locked ? RO : RW;
    };
    auto counter = [&m](const char* name, const char* tip, std::atomic<uint64_t>& c) {
        m.AddInteger(MakeInfo(name, tip, Expert),
                     {[&c] { return static_cast<int64_t>(c.load(std::memory_order_relaxed)); }});
    };

    std::vector<std::string> information = {"StreamID", "StreamType"};
    if (packets) information.push_back("StreamMode");
    std::vector<std::string> diagnostics = {"StreamStartedFrameCount",  "StreamDeliveredFrameCount",
                                            "StreamReceivedFrameCount", "StreamIncompleteFrameCount",
                                            "StreamLostFrameCount",     "StreamDroppedFrameCount"};
    if (packets)
        diagnostics.insert(diagnostics.end(),
                           {"StreamReceivedPacketCount", "StreamMissedPacketCount", "StreamPacketResendRequestCount",
                            "StreamPacketResendRequestTimeoutCount", "StreamPacketResendRequestedPacketCount",
                            "StreamPacketResendReceivedPacketCount", "StreamPacketsDuplicatedCount"});
    std::vector<std::string> control = {
        "StreamBufferCountMode",      "StreamBufferCountManual",  "StreamBufferCountResult",
        "StreamBufferCountMax",       "StreamBufferHandlingMode", "StreamAnnounceBufferMinimum",
        "StreamAnnouncedBufferCount", "StreamInputBufferCount",   "StreamOutputBufferCount",
        "StreamIsGrabbing",           "StreamBufferAlignment",    "StreamCRCCheckEnable"};
    std::vector<std::string> root = {"StreamInformation", "BufferHandlingControl", "StreamDiagnostics"};
    if (packets) root.push_back("PacketResendControl");
    m.AddCategory(MakeInfo("Root", "The stream's transport-layer features."), root);
    m.AddCategory(MakeInfo("StreamInformation", "Identity of the stream."), information);
    m.AddCategory(MakeInfo("BufferHandlingControl", "Buffers of the stream and how they are queued."), control);
    m.AddCategory(MakeInfo("StreamDiagnostics", "Counters of the stream since its acquisition started."), diagnostics);

    m.AddString(MakeInfo("StreamID", "Identifier of the stream."), {[] { return std::string("Stream0"); }});
    const int64_t type = static_cast<int64_t>(TLTypeOf(m_camera.Through().Kind()));
    m.AddEnumeration(MakeInfo("StreamType", "Transport layer type of the stream."),
                     {[type] { return type; }, nullptr, TLTypeEntries(TLType::Custom)});
    if (packets)
        m.AddEnumeration(MakeInfo("StreamMode", "How the stream receives its data."),
                         {[] { return int64_t(0); }, nullptr, {{"Socket", 0}}});

    m.AddEnumeration(MakeInfo("StreamBufferCountMode", "Whether the buffer count is chosen by the user or the SDK."),
                     {[&s] {
                          std::lock_guard<std::mutex> lock(s.mutex);
                          return static_cast<int64_t>(s.settings.bufferCountMode);
                      },
                      [&s](int64_t v) {
                          std::lock_guard<std::mutex> lock(s.mutex);
                          s.settings.bufferCountMode = static_cast<BufferCountMode>(v);
                      },
                      {{"Manual", 0}, {"Auto", 1}},
                      settable});
    m.AddInteger(MakeInfo("StreamBufferCountManual", "Number of buffers when the count mode is Manual."),
                 {[&s] {
                      std::lock_guard<std::mutex> lock(s.mutex);
                      return s.settings.bufferCountManual;
                  },
                  [&s](int64_t v) {
                      std::lock_guard<std::mutex> lock(s.mutex);
                      s.settings.bufferCountManual = v;
                  },
                  [] { return StreamSettings::kBufferCountMin; }, [] { return StreamSettings::kBufferCountMax; }, 1,
                  PureNumber, "", settable});
    m.AddInteger(MakeInfo("StreamBufferCountResult", "Number of buffers the acquisition uses."),
                 {[&s, &st]() -> int64_t {
                     if (st.grabbing.load()) return st.announcedBuffers.load();
                     std::lock_guard<std::mutex> lock(s.mutex);
                     return s.settings.BufferCount();
                 }});
    m.AddInteger(MakeInfo("StreamBufferCountMax", "Largest number of buffers the stream accepts."),
                 {[] { return StreamSettings::kBufferCountMax; }});
    m.AddEnumeration(MakeInfo("StreamBufferHandlingMode", "Order in which filled buffers reach the user."),
                     {[&s] {
                          std::lock_guard<std::mutex> lock(s.mutex);
                          return static_cast<int64_t>(s.settings.handlingMode);
                      },
                      [&s](int64_t v) {
                          std::lock_guard<std::mutex> lock(s.mutex);
                          s.settings.handlingMode = static_cast<BufferHandlingMode>(v);
                      },
                      {{"OldestFirst", 0}, {"OldestFirstOverwrite", 1}, {"NewestOnly", 2}, {"NewestFirst", 3}},
                      settable});
    m.AddInteger(MakeInfo("StreamAnnounceBufferMinimum", "Smallest number of buffers an acquisition needs."),
                 {[] { return StreamSettings::kBufferCountMin; }});
    m.AddInteger(MakeInfo("StreamAnnouncedBufferCount", "Number of buffers allocated for the acquisition.", Expert),
                 {[&st] { return st.announcedBuffers.load(); }});
    m.AddInteger(MakeInfo("StreamInputBufferCount", "Number of buffers waiting to be filled.", Expert),
                 {[&st] { return st.inputBuffers.load(); }});
    m.AddInteger(MakeInfo("StreamOutputBufferCount", "Number of filled buffers waiting for the user.", Expert),
                 {[&st] { return st.outputBuffers.load(); }});
    m.AddBoolean(MakeInfo("StreamIsGrabbing", "Whether an acquisition runs on this stream."),
                 {[&st] { return st.grabbing.load(); }});
    m.AddInteger(MakeInfo("StreamBufferAlignment", "Alignment of buffer memory, in bytes.", Expert),
                 {[] { return StreamSettings::kBufferAlignment; }});
    m.AddBoolean(MakeInfo("StreamCRCCheckEnable", "Whether received frames are checked against their CRC.", Expert),
                 {[&s] {
                      std::lock_guard<std::mutex> lock(s.mutex);
                      return s.settings.crcCheckEnable;
                  },
                  [&s](bool v) {
                      std::lock_guard<std::mutex> lock(s.mutex);
                      s.settings.crcCheckEnable = v;
                  },
                  settable});

    counter("StreamStartedFrameCount", "Frames whose reception started.", st.startedFrames);
    counter("StreamDeliveredFrameCount", "Frames handed to the user.", st.deliveredFrames);
    counter("StreamReceivedFrameCount", "Frames the transport completed.", st.receivedFrames);
    counter("StreamIncompleteFrameCount", "Frames that arrived incomplete.", st.incompleteFrames);
    counter("StreamLostFrameCount", "Frames that never arrived (no buffer, gaps in frame ids).", st.lostFrames);
    counter("StreamDroppedFrameCount", "Frames discarded by the buffer handling mode.", st.droppedFrames);

    if (packets) {
        counter("StreamReceivedPacketCount", "Stream packets received.", st.receivedPackets);
        counter("StreamMissedPacketCount", "Stream packets missed.", st.missedPackets);
        counter("StreamPacketResendRequestCount", "Resend requests sent.", st.resendRequests);
        counter("StreamPacketResendRequestTimeoutCount", "Resend requests that timed out.", st.resendRequestTimeouts);
        counter("StreamPacketResendRequestedPacketCount", "Packets asked for again.", st.resendRequestedPackets);
        counter("StreamPacketResendReceivedPacketCount", "Resent packets received.", st.resendReceivedPackets);
        counter("StreamPacketsDuplicatedCount", "Packets received twice.", st.duplicatedPackets);
        m.AddCategory(MakeInfo("PacketResendControl", "Requests to resend lost stream packets."),
                      {"StreamPacketResendEnable", "StreamPacketResendTimeout", "StreamPacketResendMaxRequests"});
        m.AddBoolean(MakeInfo("StreamPacketResendEnable", "Whether lost packets are asked for again."),
                     {[&s] {
                          std::lock_guard<std::mutex> lock(s.mutex);
                          return s.settings.packetResendEnable;
                      },
                      [&s](bool v) {
                          std::lock_guard<std::mutex> lock(s.mutex);
                          s.settings.packetResendEnable = v;
                      },
                      settable});
        m.AddInteger(
            MakeInfo("StreamPacketResendTimeout", "Time to wait for a packet before asking for it again.", Expert),
            {[&s] {
                 std::lock_guard<std::mutex> lock(s.mutex);
                 return s.settings.packetResendTimeoutMs;
             },
             [&s](int64_t v) {
                 std::lock_guard<std::mutex> lock(s.mutex);
                 s.settings.packetResendTimeoutMs = v;
             },
             [] { return int64_t(1); }, [] { return int64_t(10000); }, 1, PureNumber, "ms", settable});
        m.AddInteger(MakeInfo("StreamPacketResendMaxRequests", "Largest number of resend requests per packet.", Expert),
                     {[&s] {
                          std::lock_guard<std::mutex> lock(s.mutex);
                          return s.settings.packetResendMaxRequests;
                      },
                      [&s](int64_t v) {
                          std::lock_guard<std::mutex> lock(s.mutex);
                          s.settings.packetResendMaxRequests = v;
                      },
                      [] { return int64_t(0); }, [] { return int64_t(1000); }, 1, PureNumber, "", settable});
    }
    m.Depends("StreamBufferCountResult", "StreamBufferCountMode");
    m.Depends("StreamBufferCountResult", "StreamBufferCountManual");
    m.Finish();
}

} // namespace internal
} // namespace Orvane
