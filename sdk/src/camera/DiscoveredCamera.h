// DiscoveredCamera: the camera as discovery knows it, behind one
// Orvane::CameraBase: its identity (discovery data), whether the last
// discovery still found it, and its CameraAccess once used. One object per
// device for the life of the process's system: rediscovering the device finds
// the same object again.
#ifndef ORVANE_CAMERA_DISCOVERED_CAMERA_H
#define ORVANE_CAMERA_DISCOVERED_CAMERA_H

#include <atomic>
#include <memory>
#include <mutex>

#include "transport/DeviceInfo.h"
#include "transport/Transport.h"

namespace Orvane {
namespace internal {

// GenTL DeviceAccessStatus values.
enum DeviceAccessStatus {
    AccessStatusUnknown = 0,
    AccessStatusReadWrite = 1,
    AccessStatusReadOnly = 2,
    AccessStatusNoAccess = 3,
    AccessStatusBusy = 4,
    AccessStatusOpenReadWrite = 5,
    AccessStatusOpenReadOnly = 6
};

class CameraAccess;

class DiscoveredCamera {
public:
    // `transport` found the device; the camera opens it through it.
    DiscoveredCamera(DeviceInfo info, std::shared_ptr<Transport> transport);
    virtual ~DiscoveredCamera();

    // Discovery data, refreshed when the device is found again.
    DeviceInfo Info() const;
    void UpdateInfo(const DeviceInfo& info);
    // The transport that found the camera (it opens the device and tells
    // which transport-layer features the camera has).
    Transport& Through() const { return *m_transport; }

    // Whether the last discovery of its interface still found the device.
    bool IsPresent() const { return m_present.load(); }
    void SetPresent(bool present) { m_present.store(present); }

    // Whether the SDK holds the device open (initialised).
    virtual bool IsInitialized() const;
    virtual DeviceAccessStatus AccessStatus() const;

    // Access to the camera's device (Init/DeInit, node maps, port access),
    // created on first use and kept for the camera's life.
    CameraAccess& Access();

private:
    mutable std::mutex m_mutex; // guards m_info
    DeviceInfo m_info;
    const std::shared_ptr<Transport> m_transport;
    std::atomic<bool> m_present{true};
    std::mutex m_accessMutex; // serialises the creation of m_access
    std::unique_ptr<CameraAccess> m_access;
    std::atomic<CameraAccess*> m_accessPtr{nullptr}; // m_access once created, read without locking
};

} // namespace internal
} // namespace Orvane

#endif
