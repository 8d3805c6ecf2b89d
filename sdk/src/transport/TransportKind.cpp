#include "transport/TransportKind.h"

namespace Orvane {
namespace internal {

const char* InterfaceIdText(TransportKind kind) {
    switch (kind) {
    case TransportKind::Virtual: return "Virtual";
    case TransportKind::GigEVision: return "GigEVision";
    case TransportKind::USB3Vision: return "USB3Vision";
    }
    return "";
}

TLType TLTypeOf(TransportKind kind) {
    switch (kind) {
    case TransportKind::GigEVision: return TLType::GigEVision;
    case TransportKind::USB3Vision: return TLType::USB3Vision;
    case TransportKind::Virtual: return TLType::Custom;
    }
    return TLType::Custom;
}

const char* TLTypeText(TLType type) {
    switch (type) {
    case TLType::GigEVision: return "GigEVision";
    case TLType::USB3Vision: return "USB3Vision";
    case TLType::Custom: return "Custom";
    case TLType::Mixed: return "Mixed";
    }
    return "";
}

std::vector<std::pair<std::string, int64_t>> TLTypeEntries(TLType last) {
    std::vector<std::pair<std::string, int64_t>> entries;
    for (int64_t v = 0; v <= static_cast<int64_t>(last); ++v)
        entries.emplace_back(TLTypeText(static_cast<TLType>(v)), v);
    return entries;
}

} // namespace internal
} // namespace Orvane
