// CameraEvents: the event handlers registered on one camera (image, image
// list and device event handlers) and the camera's device event thread.
//
// Registrations belong to the camera: they survive Init/DeInit and
// acquisition restarts, and are checked as Camera.h says (kind by
// dynamic_cast, duplicates, stream index, event names).
//
// Image and image list handlers: the running acquisition's delivery thread
// asks HasFrameHandlers for each frame (one atomic load) and, when true, hands
// the frame to DispatchFrame instead of the GetNextImage queue
// (acquisition/StreamRun.h). DispatchFrame calls every image handler, then
// every image list handler with a list holding the image, in registration
// order, with no lock held; it allocates nothing for image handlers once each
// has been called once (an image list is one small allocation per call).
//
// Device event handlers: while the camera is initialised and at least one is
// registered, a DeviceEventDispatcher runs (the camera's event thread, see
// DeviceEventDispatcher.h); Update starts or stops it and is called after
// every change of the device handlers, after Init and after DeInit took the
// connection away. Handlers for every event come first, then those for the
// event's name. Names are the SFNC event names the device's XML gives
// ("ExposureEnd"); a name given with the "Event" prefix is taken without it.
//
// Owner: the camera's CameraAccess (shared with the running acquisition, which
// only dispatches frames), for the camera's life.
//
// Threads and locks:
//   - Register, Unregister and Update run on any thread. m_mutex guards the
//     registration decisions and the by-name table; it is never held while a
//     handler runs or while waiting for one. Unregister waits until the
//     handler is not running on another thread (HandlerRegistry).
//   - m_lifecycleMutex serialises the starts and stops of the event thread;
//     Update on the event thread itself does nothing (it cannot stop or
//     replace itself), so a device event handler may register and unregister
//     handlers; the event thread keeps running until the next Update from
//     another thread or DeInit.
//   - Device event handlers run on the event thread, image and image list
//     handlers on the delivery thread.
#ifndef ORVANE_CAMERA_CAMERA_EVENTS_H
#define ORVANE_CAMERA_CAMERA_EVENTS_H

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "Orvane/DeviceEventHandler.h"
#include "Orvane/EventHandler.h"
#include "Orvane/Image.h"
#include "Orvane/ImageEventHandler.h"
#include "Orvane/ImageListEventHandler.h"
#include "core/HandlerRegistry.h"

namespace Orvane {
namespace internal {

class CameraAccess;
class DeviceEventDispatcher;

class CameraEvents {
public:
    explicit CameraEvents(CameraAccess& access);
    ~CameraEvents();
    CameraEvents(const CameraEvents&) = delete;
    CameraEvents& operator=(const CameraEvents&) = delete;

    // Registration (CameraBase) -------------------------------------------
    // An image handler (stream 0), image list handler or device handler
    // (every event); a handler of several of these kinds is registered as
    // each. ORVANE_ERR_INVALID_ARGUMENT: none of them;
    // ORVANE_ERR_RESOURCE_IN_USE: registered already. A device handler on an
    // initialised camera starts the event thread: what that raises
    // (ORVANE_ERR_NOT_IMPLEMENTED for a transport without device events)
    // undoes the registration.
    void Register(EventHandler& handler);
    // A device handler for one event. ORVANE_ERR_INVALID_ARGUMENT: an empty
    // name, or (initialised camera) a name its XML has no event of.
    void Register(DeviceEventHandler& handler, const std::string& eventName);
    // ORVANE_ERR_OUT_OF_RANGE: a stream other than 0.
    void Register(ImageEventHandler& handler, uint64_t streamIndex);
    // Every registration of the handler. ORVANE_ERR_NOT_AVAILABLE: none.
    void Unregister(EventHandler& handler);

    // Device events ------------------------------------------------------
    // Starts, replaces or stops the event thread as the camera's connection
    // and device handlers require. With `raise`, a failure to start is
    // raised; without, it is logged.
    void Update(bool raise);
    // Whether the calling thread is this camera's device event thread.
    bool OnEventThread() const;
    // Events dropped by the running event thread (0 when none runs).
    uint64_t DroppedEvents() const;

    // Frames (the acquisition's delivery thread) ------------------------------
    bool HasFrameHandlers() const { return m_frameHandlers.load(std::memory_order_acquire); }
    void DispatchFrame(const ImagePtr& image);

private:
    using DeviceRegistry = HandlerRegistry<DeviceEventHandler>;

    std::string Name() const;
    // m_mutex held: the handler has a device registration (every event or by name).
    bool DeviceRegisteredLocked(DeviceEventHandler& handler) const;
    // m_mutex held: the counts HasFrameHandlers and Update read.
    void RecountLocked();
    // Undoes a device registration whose event thread could not start.
    void Rollback(DeviceEventHandler& handler);
    void DispatchDevice(uint64_t eventId, const std::string& name, const uint8_t* data, size_t size);

    CameraAccess& m_access;

    mutable std::mutex m_mutex; // see the header comment
    HandlerRegistry<ImageEventHandler> m_images;
    HandlerRegistry<ImageListEventHandler> m_imageLists;
    DeviceRegistry m_allDevice;
    // By event name; entries are never removed, so a registry found under
    // m_mutex may be used after releasing it.
    std::map<std::string, std::unique_ptr<DeviceRegistry>> m_byName;
    std::atomic<bool> m_frameHandlers{false};
    std::atomic<bool> m_deviceHandlers{false};

    std::mutex m_lifecycleMutex;          // see the header comment
    mutable std::mutex m_dispatcherMutex; // guards m_dispatcher (the pointer)
    std::unique_ptr<DeviceEventDispatcher> m_dispatcher;
};

} // namespace internal
} // namespace Orvane

#endif
