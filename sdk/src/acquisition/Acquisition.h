// Acquisition: the streaming side of one camera (BeginAcquisition,
// EndAcquisition, GetNextImage, GetNextImageSync, IsStreaming).
//
// Owner: the camera's CameraAccess (CameraAccess::Acquisition), for the
// camera's life; the object registers itself as the camera's
// AcquisitionHooks, so IsStreaming asks it and DeInit ends a running
// acquisition through Stop.
//
// BeginAcquisition, in order: reads the stream settings (buffer count and
// handling mode) and locks them (StreamState::locked; the stream node map's
// buffer features turn RO); sets TLParamsLocked to 1; reads PayloadSize and
// the image format; has the opened device make the stream source
// (DeviceConnection::CreateStreamSource); allocates the buffers (StreamRun);
// starts the source (the device side opens, the transport's stream is
// created) and queues every buffer; starts the delivery thread; executes
// AcquisitionStart. EndAcquisition undoes it: AcquisitionStop, the
// delivery thread joined, the stream destroyed, TLParamsLocked 0, the
// settings unlocked. Images the caller still holds stay valid after it (they
// own their buffers) and may be released at any time.
//
// Image events: the run gets the camera's event handlers (CameraEvents) and
// hands them the frames while image handlers are registered (StreamRun.h).
// EndAcquisition and DeInit called from such a handler, on the delivery
// thread they would wait for, raise ORVANE_ERR_INVALID_STATE.
//
// Errors: BeginAcquisition raises ORVANE_ERR_CAMERA_NOT_INITIALIZED before
// Init, ORVANE_ERR_RESOURCE_IN_USE while streaming, ORVANE_ERR_ACCESS_DENIED
// in monitor mode, ORVANE_ERR_DEVICE_LOST for a lost device, and the errors
// of the features it writes. EndAcquisition raises ORVANE_ERR_NOT_STREAMING
// when no acquisition runs; with a lost device it ends the acquisition
// without writing to it. GetNextImage raises ORVANE_ERR_NOT_STREAMING when no
// acquisition runs, ORVANE_ERR_OUT_OF_RANGE for a stream index other than 0,
// and the errors of StreamRun::Next.
//
// Threads and locks:
//   - m_beginEnd serialises BeginAcquisition and EndAcquisition (and Stop);
//     held across their device writes (with the node map's lock taken inside
//     it, never the other way round);
//   - m_runMutex guards m_run, so that GetNextImage picks up the running
//     acquisition without waiting for a Begin or End in progress;
//   - the delivery thread belongs to the run (StreamRun), the receiving
//     thread to the transport's stream (StreamSource).
#ifndef ORVANE_ACQUISITION_ACQUISITION_H
#define ORVANE_ACQUISITION_ACQUISITION_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "Orvane/ImageList.h"
#include "camera/CameraAccess.h"

namespace Orvane {
namespace internal {

class StreamRun;
class StreamSource;
class ImageLeasePool;
class DeviceChunkDecoder;

class Acquisition : public AcquisitionHooks {
public:
    // The acquisition object of a camera (created on first use).
    static Acquisition& Of(CameraAccess& access);

    explicit Acquisition(CameraAccess& access);
    ~Acquisition() override;

    void Begin();
    void End();
    ImagePtr Next(uint64_t timeoutMs, uint64_t streamIndex);
    ImageList NextSync(uint64_t timeoutMs);
    // A signal reached the camera (a [signals] register value of the virtual
    // camera's description, e.g. Action0 from an action command): passed to
    // the running stream's source (StreamSource::Signal; a virtual camera
    // fires the triggers whose source it is). Nothing while no acquisition
    // runs (triggers need a running acquisition anyway).
    void Signal(uint32_t signal);

    // AcquisitionHooks
    bool IsStreaming() const override;
    // Raises ORVANE_ERR_INVALID_STATE on the delivery thread (it would wait
    // for itself), as End does.
    void Stop() override;
    bool OnDeliveryThread() const override;

private:
    std::shared_ptr<StreamRun> CurrentRun() const;
    // Raises ORVANE_ERR_INVALID_STATE on this camera's delivery thread.
    void RefuseOnDeliveryThread(const SourcePosition& at, const char* operation) const;
    // Ends the run (m_beginEnd held); returns the text of the log record
    // saying so, for the caller to write once m_beginEnd is released.
    std::string EndLocked(const std::shared_ptr<StreamRun>& run);

    CameraAccess& m_access;
    std::mutex m_beginEnd; // serialises Begin and End (see the header comment)
    mutable std::mutex m_runMutex;
    std::shared_ptr<StreamRun> m_run;
    std::shared_ptr<StreamSource> m_runSource;         // the stream source of the running acquisition
    std::shared_ptr<DeviceConnection> m_runConnection; // the connection of the running acquisition
    std::shared_ptr<ImageLeasePool> m_pool;            // the camera's pooled images
    std::shared_ptr<DeviceChunkDecoder> m_decoder;     // the chunk decoder of the current connection
};

} // namespace internal
} // namespace Orvane

#endif
