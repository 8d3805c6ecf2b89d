// Transport: one way of reaching cameras (virtual, GigE Vision, USB3 Vision).
// A transport discovers devices; the camera code opens them (see DiscoveredCamera).
//
// Threads: Discover is called with the owning interface's mutex held, never
// concurrently for one transport.
#ifndef ORVANE_TRANSPORT_TRANSPORT_H
#define ORVANE_TRANSPORT_TRANSPORT_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "transport/DeviceInfo.h"

namespace Orvane {
namespace internal {

class Transport {
public:
    virtual ~Transport() = default;
    // "Virtual", "GigEVision", "USB3Vision": the interface id.
    virtual std::string Id() const = 0;
    virtual std::string DisplayName() const = 0;
    // The devices present now.
    virtual std::vector<DeviceInfo> Discover() = 0;
};

// cameraCount is asked at every discovery.
std::unique_ptr<Transport> MakeVirtualTransport(std::function<int()> cameraCount);
std::unique_ptr<Transport> MakeGigEVisionTransport();
std::unique_ptr<Transport> MakeUSB3VisionTransport();

} // namespace internal
} // namespace Orvane

#endif
