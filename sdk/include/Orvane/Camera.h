// Orvane::CameraBase: one camera, from discovery through control and
// streaming. Obtained from a CameraList; shared between all its holders.
#ifndef ORVANE_CAMERA_H
#define ORVANE_CAMERA_H

#include <cstdint>
#include <memory>

#include "Orvane/BasePtr.h"
#include "Orvane/EventHandler.h"
#include "Orvane/GenApi/Interfaces.h"
#include "Orvane/GenICam/gcstring.h"
#include "Orvane/Image.h"
#include "Orvane/ImageList.h"

namespace Orvane {

class DeviceEventHandler;
class ImageEventHandler;

namespace internal {
class DiscoveredCamera;
}

class ORVANE_API CameraBase {
public:
    explicit CameraBase(std::shared_ptr<internal::DiscoveredCamera> core);
    virtual ~CameraBase();
    CameraBase(const CameraBase&) = delete;
    CameraBase& operator=(const CameraBase&) = delete;

    // Transport-specific id the device was discovered under.
    GenICam::gcstring GetDeviceID() const;
    // An id that stays the same for this device across enumerations and
    // processes: "<transport>:<key>", the key being the serial number for
    // virtual cameras, the MAC address for GigE Vision (the IP address when
    // the device reports none) and the serial number for USB3 Vision (the bus
    // path when the device reports none).
    GenICam::gcstring GetUniqueID() const;
    GenICam::gcstring GetSerialNumber() const;
    GenICam::gcstring GetVendorName() const;
    GenICam::gcstring GetModelName() const;
    // "Virtual", "GigEVision" or "USB3Vision".
    GenICam::gcstring GetTransport() const;
    // IP address for GigE Vision, bus address for USB3 Vision, "local" for virtual cameras.
    GenICam::gcstring GetAddress() const;

    // Opens the device for control: builds its GenApi node map. A no-op on an
    // initialised camera. Raises ORVANE_ERR_NOT_AVAILABLE when the device is
    // gone or does not answer, ORVANE_ERR_RESOURCE_IN_USE when another program
    // holds it, ORVANE_ERR_GENICAM_PROPERTY when its GenICam description
    // cannot be read. A GigE Vision device controlled by another host opens in
    // monitor mode (GetAccessMode gives RO).
    void Init();
    // Closes the device; stops a running acquisition and the device event
    // thread first. The node map of GetNodeMap dies here. A no-op on a camera
    // that is not initialised. Raises ORVANE_ERR_INVALID_STATE in an image
    // or device event handler of this camera (on a thread it would wait for).
    void DeInit();
    bool IsInitialized() const;
    // False once discovery no longer finds the device or control of it is lost.
    bool IsValid() const;
    // True while an acquisition runs (from BeginAcquisition to
    // EndAcquisition or DeInit).
    bool IsStreaming() const;

    // Acquisition ---------------------------------------------------------------
    // Starts streaming: buffers are allocated (StreamBufferCountMode/Manual of
    // the stream node map, each of PayloadSize bytes), the stream's buffer
    // settings and TLParamsLocked are locked, and AcquisitionStart is
    // executed. Raises ORVANE_ERR_CAMERA_NOT_INITIALIZED before Init,
    // ORVANE_ERR_RESOURCE_IN_USE while streaming, ORVANE_ERR_ACCESS_DENIED in
    // monitor mode, ORVANE_ERR_DEVICE_LOST for a lost device.
    void BeginAcquisition();
    // Executes AcquisitionStop, ends the stream and unlocks the settings.
    // Queued images are discarded; images the caller holds stay valid (and
    // should still be released). Callers waiting in GetNextImage get
    // ORVANE_ERR_ABORT. Raises ORVANE_ERR_NOT_STREAMING when not streaming,
    // ORVANE_ERR_INVALID_STATE in an image event handler (on the delivery
    // thread it would wait for).
    void EndAcquisition();
    // The next image of the stream, in the order StreamBufferHandlingMode
    // gives (see the stream node map). grabTimeout is in milliseconds; the
    // default, all ones, waits forever. Raises ORVANE_ERR_NOT_STREAMING when
    // not streaming, ORVANE_ERR_TIMEOUT when no image came in time,
    // ORVANE_ERR_DEVICE_LOST once the device is lost (also while waiting),
    // ORVANE_ERR_ABORT when the acquisition ends while waiting,
    // ORVANE_ERR_OUT_OF_RANGE for a stream other than 0. The image holds one
    // of the stream's buffers until Release (or until the last ImagePtr to it
    // is dropped). While image or image list event handlers are registered,
    // the images go to them: GetNextImage waits (and raises
    // ORVANE_ERR_TIMEOUT) until the handlers are removed.
    ImagePtr GetNextImage(uint64_t grabTimeout = 0xFFFFFFFFFFFFFFFFull, uint64_t streamIndex = 0);
    // One image of every stream (the camera has one), waiting as GetNextImage.
    ImageList GetNextImageSync(uint64_t grabTimeout);

    // The device's GenApi node map: the same object from Init to DeInit.
    // Raises ORVANE_ERR_CAMERA_NOT_INITIALIZED before Init.
    GenApi::INodeMap& GetNodeMap() const;
    // Transport-layer node maps of the device and of its stream; they live as
    // long as the camera and serve before Init. The camera has one stream,
    // index 0; any other index raises ORVANE_ERR_OUT_OF_RANGE.
    GenApi::INodeMap& GetTLDeviceNodeMap() const;
    GenApi::INodeMap& GetTLStreamNodeMap(uint64_t streamIndex = 0) const;

    // RW when opened for control, RO when opened in monitor mode, NA when the
    // device is gone or control was lost; RW before Init while it is present.
    GenApi::EAccessMode GetAccessMode() const;
    // Raw access to the device's address space (at most 4 GiB - 1 bytes at
    // once). Need Init. A write drops every cached value of the node map.
    void ReadPort(uint64_t address, void* buffer, uint64_t length) const;
    void WritePort(uint64_t address, const void* buffer, uint64_t length);
    // The device's GenICam XML text. Needs Init.
    GenICam::gcstring GetGuiXml() const;
    // GigE Vision: finds the largest stream packet size the path carries and
    // sets it (with test packets when the device can send them; otherwise the
    // current size, lowered to what the host interface's MTU carries).
    // Other transports have no packets: 0. Needs Init. A failed discovery
    // raises ORVANE_ERR_IO.
    unsigned int DiscoverMaxPacketSize();

    // Events --------------------------------------------------------------------
    // Registers an ImageEventHandler (stream 0), an ImageListEventHandler or a
    // DeviceEventHandler (every device event) by its class (a handler of
    // several of these classes is registered as each); each header says which
    // thread calls it. Registrations belong to the camera: they stay through
    // DeInit/Init and acquisition restarts. Raises
    // ORVANE_ERR_INVALID_ARGUMENT for a handler of another kind,
    // ORVANE_ERR_RESOURCE_IN_USE when it is registered already. On an
    // initialised camera a device event handler starts the camera's event
    // thread: a transport without device events raises
    // ORVANE_ERR_NOT_IMPLEMENTED and the handler is not registered.
    void RegisterEventHandler(EventHandler& handler);
    // A device event handler for the event of this name only ("ExposureEnd",
    // with or without the "Event" prefix); one handler may be registered for
    // several names, but not for a name and for every event. Raises
    // ORVANE_ERR_INVALID_ARGUMENT for an empty name or a name the camera's
    // node map has no event of (once initialised; before, the name is
    // checked by nothing and an unknown one never hears an event),
    // ORVANE_ERR_RESOURCE_IN_USE when registered for it (or for every event)
    // already.
    void RegisterEventHandler(DeviceEventHandler& handler, const GenICam::gcstring& eventName);
    // An image handler for stream streamIndex (the camera has stream 0 only:
    // other indexes raise ORVANE_ERR_OUT_OF_RANGE).
    void RegisterEventHandler(ImageEventHandler& handler, uint64_t streamIndex);
    // Removes every registration of the handler; waits until it is not running
    // on another thread. Raises ORVANE_ERR_NOT_AVAILABLE when it is not registered.
    void UnregisterEventHandler(EventHandler& handler);

    internal::DiscoveredCamera& Core() const { return *m_core; }
    const std::shared_ptr<internal::DiscoveredCamera>& SharedCore() const { return m_core; }

private:
    std::shared_ptr<internal::DiscoveredCamera> m_core;
};

typedef CameraBase Camera;
typedef BasePtr<CameraBase> CameraPtr;

} // namespace Orvane

#endif
