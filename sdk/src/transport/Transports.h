// The transports built into the SDK, in one list, and their factories. The
// system makes its interfaces from this list; nothing above the transport
// folder names a transport otherwise.
#ifndef ORVANE_TRANSPORT_TRANSPORTS_H
#define ORVANE_TRANSPORT_TRANSPORTS_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "transport/Transport.h"

namespace Orvane {
namespace internal {

// What the system gives the transports it makes. The functions are called at
// discovery, on the discovering thread; they must outlive the transport's
// interface (not its cameras: cameras never discover).
struct TransportOptions {
    std::function<int()> virtualCameraCount; // how many virtual cameras exist
};

struct BuiltInTransport {
    TransportKind kind;
    // Its name in the ORVANE_TRANSPORTS list ("virtual", "gige", "usb3").
    const char* keyword;
    // Whether discovery covers it unless the user says otherwise.
    bool enabledByDefault;
};

// Every built-in transport, in the order the system lists their interfaces.
const std::vector<BuiltInTransport>& BuiltInTransports();

// The kinds named by an ORVANE_TRANSPORTS list: comma-separated keywords of
// BuiltInTransports, or "all" for every one; unknown words are ignored.
std::vector<TransportKind> ParseTransportList(const std::string& list);

// A new transport of a built-in kind.
std::shared_ptr<Transport> MakeTransport(TransportKind kind, const TransportOptions& options);

// The factories of the individual transports. MakeVirtualTransport is
// defined with the virtual cameras (virtual/VirtualTransport.cpp); the
// transport folder only declares it. cameraCount is asked at every discovery.
std::shared_ptr<Transport> MakeVirtualTransport(std::function<int()> cameraCount);
std::shared_ptr<Transport> MakeGigEVisionTransport();
std::shared_ptr<Transport> MakeUSB3VisionTransport();

} // namespace internal
} // namespace Orvane

#endif
