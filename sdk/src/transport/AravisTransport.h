// AravisTransport: the part of the GigE Vision and USB3 Vision transports
// that Aravis's interface objects do for both: discovery (Aravis's device
// list, copied out: its strings are valid only until its next update) and
// the errors of opening a device.
#ifndef ORVANE_TRANSPORT_ARAVIS_TRANSPORT_H
#define ORVANE_TRANSPORT_ARAVIS_TRANSPORT_H

#include <arv.h>

#include <string>
#include <vector>

#include "core/Raise.h"
#include "transport/Transport.h"

namespace Orvane {
namespace internal {

class AravisTransport : public Transport {
public:
    // `instance` gives Aravis's interface object of the transport.
    explicit AravisTransport(ArvInterface* (*instance)()) : m_instance(instance) {}

    std::vector<DeviceInfo> Discover() override;

protected:
    ArvInterface* Interface() const { return m_instance(); }
    // The part of the unique id after "<interface id>:" (stable across
    // discoveries and processes).
    virtual std::string UniqueKey(const DeviceInfo& device) const = 0;
    // Raises the error of a failed arv_interface_open_device (and frees
    // `error`): ORVANE_ERR_RESOURCE_IN_USE for a device another program
    // controls, ORVANE_ERR_GENICAM_PROPERTY for a device without a readable
    // description, ORVANE_ERR_NOT_AVAILABLE otherwise.
    [[noreturn]] static void RaiseOpenError(const SourcePosition& at, const DeviceInfo& info, GError* error);

private:
    ArvInterface* (*m_instance)();
};

} // namespace internal
} // namespace Orvane

#endif
