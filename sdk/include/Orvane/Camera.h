// Orvane::CameraBase: one camera, from discovery through control and
// streaming. Obtained from a CameraList; shared between all its holders.
#ifndef ORVANE_CAMERA_H
#define ORVANE_CAMERA_H

#include <memory>

#include "Orvane/BasePtr.h"
#include "Orvane/GenApi/Interfaces.h"
#include "Orvane/GenICam/gcstring.h"

namespace Orvane {

namespace internal {
class CameraCore;
}

class ORVANE_API CameraBase {
public:
    explicit CameraBase(std::shared_ptr<internal::CameraCore> core);
    virtual ~CameraBase();
    CameraBase(const CameraBase&) = delete;
    CameraBase& operator=(const CameraBase&) = delete;

    // Transport-specific id the device was discovered under.
    GenICam::gcstring GetDeviceID() const;
    // An id that stays the same for this device across enumerations and
    // processes: "<transport>:<serial number or address>".
    GenICam::gcstring GetUniqueID() const;
    GenICam::gcstring GetSerialNumber() const;
    GenICam::gcstring GetVendorName() const;
    GenICam::gcstring GetModelName() const;
    // "Virtual", "GigEVision" or "USB3Vision".
    GenICam::gcstring GetTransport() const;
    // IP address for GigE Vision, bus address for USB3 Vision, "local" for virtual cameras.
    GenICam::gcstring GetAddress() const;

    internal::CameraCore& Core() const { return *m_core; }
    const std::shared_ptr<internal::CameraCore>& SharedCore() const { return m_core; }

private:
    std::shared_ptr<internal::CameraCore> m_core;
};

typedef CameraBase Camera;
typedef BasePtr<CameraBase> CameraPtr;

} // namespace Orvane

#endif
