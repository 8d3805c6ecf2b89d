#include "camera/CameraEvents.h"

#include <string>
#include <utility>
#include <vector>

#include "Orvane/ImageList.h"
#include "Orvane/Logging.h"
#include "camera/CameraAccess.h"
#include "camera/DeviceEventDispatcher.h"
#include "camera/DiscoveredCamera.h"
#include "core/EventPayloadScope.h"
#include "core/Raise.h"
#include "transport/DeviceConnection.h"
#include "transport/DeviceEventMap.h"

namespace Orvane {
namespace internal {

namespace {

constexpr char kEventPrefix[] = "Event";

bool HasEventPrefix(const std::string& name) { return name.size() > 5 && name.compare(0, 5, kEventPrefix) == 0; }

// Runs a handler; what it throws is logged (`camera` gives the camera's name
// then, so that a call that succeeds costs nothing more).
template <class Name, class Call>
void Guarded(const Name& camera, const char* kind, Call&& call) {
    try {
        call();
    } catch (const std::exception& e) {
        LoggerWrapper::LoggingError(("camera " + camera() + ": " + kind + " handler failed: " + e.what()).c_str(),
                                    "CameraEvents");
    } catch (...) {
        LoggerWrapper::LoggingError(("camera " + camera() + ": " + kind + " handler failed").c_str(), "CameraEvents");
    }
}

} // namespace

CameraEvents::CameraEvents(CameraAccess& access) : m_access(access) {}

CameraEvents::~CameraEvents() {
    std::unique_ptr<DeviceEventDispatcher> dispatcher;
    {
        std::lock_guard<std::mutex> lock(m_dispatcherMutex);
        dispatcher.swap(m_dispatcher);
    }
    // Stopped by its destructor, here.
}

std::string CameraEvents::Name() const { return m_access.Camera().Info().deviceId; }

// Registration ----------------------------------------------------------------------

bool CameraEvents::DeviceRegisteredLocked(DeviceEventHandler& handler) const {
    if (m_allDevice.Contains(handler)) return true;
    for (const auto& entry : m_byName)
        if (entry.second->Contains(handler)) return true;
    return false;
}

void CameraEvents::RecountLocked() {
    m_frameHandlers.store(!m_images.Empty() || !m_imageLists.Empty(), std::memory_order_release);
    bool device = !m_allDevice.Empty();
    for (const auto& entry : m_byName) device = device || !entry.second->Empty();
    m_deviceHandlers.store(device, std::memory_order_release);
}

void CameraEvents::Register(EventHandler& handler) {
    auto* image = dynamic_cast<ImageEventHandler*>(&handler);
    auto* list = dynamic_cast<ImageListEventHandler*>(&handler);
    auto* device = dynamic_cast<DeviceEventHandler*>(&handler);
    if (!image && !list && !device)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  "camera " + Name() +
                      ": RegisterEventHandler takes an ImageEventHandler, ImageListEventHandler or "
                      "DeviceEventHandler (arrival and removal handlers go to the system or an interface)");
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if ((image && m_images.Contains(*image)) || (list && m_imageLists.Contains(*list)) ||
            (device && DeviceRegisteredLocked(*device)))
            ORV_RAISE(ORVANE_ERR_RESOURCE_IN_USE, "camera " + Name() + ": the event handler is registered already");
        if (image) m_images.Add(*image);
        if (list) m_imageLists.Add(*list);
        if (device) m_allDevice.Add(*device);
        RecountLocked();
    }
    if (!device) return;
    try {
        Update(true);
    } catch (...) {
        Rollback(*device);
        throw;
    }
}

void CameraEvents::Register(DeviceEventHandler& handler, const std::string& eventName) {
    if (eventName.empty())
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "camera " + Name() + ": a device event handler needs an event name");
    std::string name = eventName;
    if (const std::shared_ptr<DeviceConnection> connection = m_access.Connection()) {
        const DeviceEventMap& map = connection->EventMap();
        if (!map.FindByName(name)) {
            if (HasEventPrefix(name) && map.FindByName(name.substr(5)))
                name = name.substr(5);
            else
                ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                          "camera " + Name() + " has no device event named '" + eventName + "'");
        }
    } else if (HasEventPrefix(name)) {
        name = name.substr(5); // checked when the camera is initialised
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::unique_ptr<DeviceRegistry>& registry = m_byName[name];
        if (!registry) registry = std::make_unique<DeviceRegistry>();
        if (m_allDevice.Contains(handler) || registry->Contains(handler))
            ORV_RAISE(ORVANE_ERR_RESOURCE_IN_USE,
                      "camera " + Name() + ": the device event handler is registered " +
                          (registry->Contains(handler) ? "for " + name : "for every event") + " already");
        registry->Add(handler);
        RecountLocked();
    }
    try {
        Update(true);
    } catch (...) {
        Rollback(handler);
        throw;
    }
}

void CameraEvents::Register(ImageEventHandler& handler, uint64_t streamIndex) {
    if (streamIndex != 0)
        ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE, "camera " + Name() + " has one stream (index 0); stream " +
                                               std::to_string(streamIndex) + " does not exist");
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_images.Add(handler))
        ORV_RAISE(ORVANE_ERR_RESOURCE_IN_USE, "camera " + Name() + ": the image event handler is registered already");
    RecountLocked();
}

void CameraEvents::Rollback(DeviceEventHandler& handler) {
    std::vector<DeviceRegistry*> registries{&m_allDevice};
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (auto& entry : m_byName) registries.push_back(entry.second.get());
    }
    for (DeviceRegistry* r : registries) r->Remove(handler);
    std::lock_guard<std::mutex> lock(m_mutex);
    RecountLocked();
}

void CameraEvents::Unregister(EventHandler& handler) {
    bool found = false;
    bool device = false;
    // Without m_mutex: Remove waits for calls of the handler on other threads,
    // which may register or unregister handlers themselves.
    if (auto* image = dynamic_cast<ImageEventHandler*>(&handler)) found = m_images.Remove(*image) || found;
    if (auto* list = dynamic_cast<ImageListEventHandler*>(&handler)) found = m_imageLists.Remove(*list) || found;
    if (auto* d = dynamic_cast<DeviceEventHandler*>(&handler)) {
        std::vector<DeviceRegistry*> registries{&m_allDevice};
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            for (auto& entry : m_byName) registries.push_back(entry.second.get());
        }
        for (DeviceRegistry* r : registries) device = r->Remove(*d) || device;
        found = found || device;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        RecountLocked();
    }
    if (!found) ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE, "camera " + Name() + ": the event handler is not registered on it");
    if (device) Update(false);
}

// Device events ------------------------------------------------------------------------

bool CameraEvents::OnEventThread() const { return DeviceEventDispatcher::OnEventThread(this); }

uint64_t CameraEvents::DroppedEvents() const {
    std::lock_guard<std::mutex> lock(m_dispatcherMutex);
    return m_dispatcher ? m_dispatcher->Dropped() : 0;
}

void CameraEvents::Update(bool raise) {
    // The event thread cannot stop or replace itself: it keeps running until
    // an Update from another thread (or DeInit) settles the state.
    if (OnEventThread()) return;
    std::lock_guard<std::mutex> lifecycle(m_lifecycleMutex);
    const std::shared_ptr<DeviceConnection> connection = m_access.Connection();
    const bool wanted = connection && m_deviceHandlers.load(std::memory_order_acquire);
    std::unique_ptr<DeviceEventDispatcher> old;
    {
        std::lock_guard<std::mutex> lock(m_dispatcherMutex);
        if (m_dispatcher && wanted && m_dispatcher->Connection() == connection) return; // running as it should
        old.swap(m_dispatcher);
    }
    // Joins the old event thread; it never takes m_lifecycleMutex (Update
    // returns at once there).
    if (old) old->Stop();
    old.reset();
    if (!wanted) return;
    const std::string name = Name();
    auto dispatcher = std::make_unique<DeviceEventDispatcher>(
        connection, this, name, [this](uint64_t id, const std::string& event, const uint8_t* data, size_t size) {
            DispatchDevice(id, event, data, size);
        });
    try {
        dispatcher->Start();
    } catch (const std::exception& e) {
        if (raise) throw;
        LoggerWrapper::LoggingWarning(
            ("camera " + name + ": its device event handlers get no events: " + e.what()).c_str(), "CameraEvents");
        return;
    }
    std::lock_guard<std::mutex> lock(m_dispatcherMutex);
    m_dispatcher = std::move(dispatcher);
}

void CameraEvents::DispatchDevice(uint64_t eventId, const std::string& name, const uint8_t* data, size_t size) {
    // Event thread only: one snapshot per registry kind, reused.
    thread_local DeviceRegistry::Snapshot snapshot;
    const GenICam::gcstring eventName(name.c_str());
    const auto camera = [this] { return Name(); };
    auto call = [&](DeviceEventHandler& h) {
        EventPayloadScope payload(h, eventId, data, size);
        Guarded(camera, "a device event", [&] { h.OnDeviceEvent(eventName); });
    };
    m_allDevice.Dispatch(snapshot, call);
    if (name.empty()) return;
    DeviceRegistry* byName = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = m_byName.find(name);
        if (it != m_byName.end()) byName = it->second.get();
    }
    if (byName) byName->Dispatch(snapshot, call);
}

// Frames ---------------------------------------------------------------------------------

void CameraEvents::DispatchFrame(const ImagePtr& image) {
    // Delivery thread only: the snapshots keep their capacity from frame to frame.
    thread_local HandlerRegistry<ImageEventHandler>::Snapshot images;
    thread_local HandlerRegistry<ImageListEventHandler>::Snapshot lists;
    const auto camera = [this] { return Name(); };
    m_images.Dispatch(images,
                      [&](ImageEventHandler& h) { Guarded(camera, "an image event", [&] { h.OnImageEvent(image); }); });
    if (m_imageLists.Empty()) return;
    ImageList list;
    list.PushBack(image);
    m_imageLists.Dispatch(lists, [&](ImageListEventHandler& h) {
        Guarded(camera, "an image list event", [&] { h.OnImageListEvent(list); });
    });
}

} // namespace internal
} // namespace Orvane
