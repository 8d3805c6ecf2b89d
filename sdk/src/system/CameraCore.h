// CameraCore: the state behind one Orvane::CameraBase. One object per device
// for the life of the process's system: rediscovering the device finds the
// same object again.
#ifndef ORVANE_SYSTEM_CAMERA_CORE_H
#define ORVANE_SYSTEM_CAMERA_CORE_H

#include <atomic>
#include <memory>
#include <mutex>

#include "system/DeviceInfo.h"

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

class CameraControl;

class CameraCore {
public:
    explicit CameraCore(DeviceInfo info);
    virtual ~CameraCore();

    // Discovery data, refreshed when the device is found again.
    DeviceInfo Info() const;
    void UpdateInfo(const DeviceInfo& info);

    // Whether the last discovery of its interface still found the device.
    bool IsPresent() const { return m_present.load(); }
    void SetPresent(bool present) { m_present.store(present); }

    // Whether the SDK holds the device open (initialised).
    virtual bool IsInitialized() const;
    virtual DeviceAccessStatus AccessStatus() const;

    // The camera's control side (Init, node maps, port access), created on
    // first use and kept for the camera's life.
    CameraControl& Control();

private:
    mutable std::mutex m_mutex; // guards m_info
    DeviceInfo m_info;
    std::atomic<bool> m_present{true};
    std::mutex m_controlMutex; // serialises the creation of m_control
    std::unique_ptr<CameraControl> m_control;
    std::atomic<CameraControl*> m_controlPtr{nullptr}; // m_control once created, read without locking
};

} // namespace internal
} // namespace Orvane

#endif
