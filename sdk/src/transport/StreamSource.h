// StreamSource: the device side of one acquisition's stream, made by the
// opened device (DeviceConnection::CreateStreamSource) when the acquisition
// begins: the transport's stream that fills the acquisition's buffers (an
// Aravis stream for GigE Vision and USB3 Vision; for virtual cameras the fake
// device's stream, filled by the camera's stream engine). The acquisition
// (StreamRun) owns the buffers and never asks which transport it streams
// from: what differs between transports is here.
//
// Buffers are StreamSlot buffers (StreamSlot.h). A buffer handed to Push
// carries the reference the stream holds (the caller adds it); Pop and the
// completion callback give that reference back.
//
// Life of a source, all calls from the acquisition:
//   Start -> Push (any thread) ... completions -> Stop -> Destroy.
// Threads:
//   - the completion callback runs on the transport's receiving thread (the
//     stream's thread), unless CompletesSilently(): then buffers come out
//     only through Pop, which the acquisition's delivery thread calls;
//   - Pop, ReadCounters: the delivery thread; Describe: the thread running
//     the completion (receiving or delivery thread);
//   - Push: any thread, under the acquisition's queue mutex (it only queues);
//   - Start, Stop, Destroy: the thread beginning or ending the acquisition;
//     Start and Destroy take the node map's lock themselves;
//   - Signal: any thread.
#ifndef ORVANE_TRANSPORT_STREAM_SOURCE_H
#define ORVANE_TRANSPORT_STREAM_SOURCE_H

#include <arv.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "transport/StreamSlot.h"

namespace Orvane {
namespace internal {

struct StreamSourceOptions {
    size_t payloadSize = 0; // bytes of each buffer
    // The image format when the acquisition started (metadata of frames that
    // lost their leader).
    FrameRecord expected;
    // Transports with packets: ask for lost packets again, and how long to
    // wait for a packet before asking.
    bool packetResend = true;
    int64_t packetTimeoutMs = 20;
    std::string cameraName; // for messages
};

// The transport's own counters of a stream (packets), since it started.
struct StreamCounters {
    uint64_t receivedPackets = 0;
    uint64_t missingPackets = 0;
    uint64_t resendRequests = 0;
    uint64_t resentPackets = 0;
    uint64_t duplicatedPackets = 0;
    uint64_t timeouts = 0; // resend requests that timed out
};

class StreamSource {
public:
    // A completed buffer, with the stream's reference. `context` is Start's.
    using Completion = void (*)(void* context, ArvBuffer* buffer);

    virtual ~StreamSource() = default;

    // Creates the transport's stream (the device side gets ready first: a
    // virtual camera reads its settings) and from now on reports completed
    // buffers to `completed`. Takes the node map's lock. Raises ORVANE_ERR_IO
    // when the stream cannot be created.
    virtual void Start(const StreamSourceOptions& options, Completion completed, void* context) = 0;
    // Whether completed buffers come out only through Pop (the completion
    // callback never runs). Known after Start.
    virtual bool CompletesSilently() const = 0;
    // Gives the stream an empty buffer to fill (with the stream's reference).
    virtual void Push(ArvBuffer* buffer) = 0;
    // A completed buffer the stream holds, waiting up to `waitUs`
    // microseconds for one (0: no wait); null when none.
    virtual ArvBuffer* Pop(uint64_t waitUs) = 0;
    // Writes what is known of the frame in a completed buffer into its
    // slot's record. Sources that write the record while filling the buffer
    // (virtual cameras) leave it as it is.
    virtual void Describe(ArvBuffer* buffer, StreamSlot& slot) = 0;
    // Whether frames can be lost between the device and the host, so that a
    // gap in the frame IDs is frames that never arrived. (A virtual camera
    // waits for buffers instead and numbers its frames without gaps.)
    virtual bool LosesFrames() const = 0;
    // The transport's counters; false when it keeps none.
    virtual bool ReadCounters(StreamCounters& counters) = 0;
    // Ends the device side: no buffer is filled after it (a virtual camera's
    // fill returns at once, leaving buffers without a frame). Called once
    // the acquisition stopped delivering, before Destroy; also when Start
    // was never called.
    virtual void Stop() = 0;
    // Destroys the transport's stream, joining its thread; no Push after it.
    // Idempotent.
    virtual void Destroy() = 0;
    // A signal reached the device (an action command's Action0, ...): a
    // virtual camera fires the triggers whose source it is. Default: nothing.
    virtual void Signal(uint32_t) {}
};

} // namespace internal
} // namespace Orvane

#endif
