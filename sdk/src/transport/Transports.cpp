#include "transport/Transports.h"

#include <sstream>

namespace Orvane {
namespace internal {

const std::vector<BuiltInTransport>& BuiltInTransports() {
    static const std::vector<BuiltInTransport> list = {
        {TransportKind::Virtual, "virtual", true},
        {TransportKind::GigEVision, "gige", false},
        {TransportKind::USB3Vision, "usb3", false},
    };
    return list;
}

std::vector<TransportKind> ParseTransportList(const std::string& list) {
    std::vector<TransportKind> kinds;
    auto add = [&kinds](TransportKind kind) {
        for (TransportKind k : kinds)
            if (k == kind) return;
        kinds.push_back(kind);
    };
    std::stringstream items(list);
    std::string item;
    while (std::getline(items, item, ',')) {
        for (const BuiltInTransport& t : BuiltInTransports())
            if (item == "all" || item == t.keyword) add(t.kind);
    }
    return kinds;
}

std::shared_ptr<Transport> MakeTransport(TransportKind kind, const TransportOptions& options) {
    switch (kind) {
    case TransportKind::Virtual: return MakeVirtualTransport(options.virtualCameraCount);
    case TransportKind::GigEVision: return MakeGigEVisionTransport();
    case TransportKind::USB3Vision: return MakeUSB3VisionTransport();
    }
    return nullptr;
}

} // namespace internal
} // namespace Orvane
