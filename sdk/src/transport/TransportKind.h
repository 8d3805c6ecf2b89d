// TransportKind: the kinds of transport the SDK reaches cameras through, and
// the texts that stand for them. These functions are the only place the
// texts are made; everything above the transport folder works with the kind.
//
// A new kind (a GenTL producer, a file-replay camera) is added to the
// enumeration, to the text functions in TransportKind.cpp and to the list of
// built-in transports (Transports.cpp).
#ifndef ORVANE_TRANSPORT_TRANSPORT_KIND_H
#define ORVANE_TRANSPORT_TRANSPORT_KIND_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Orvane {
namespace internal {

enum class TransportKind {
    Virtual,    // the SDK's built-in cameras (Aravis fake devices running the SDK's description)
    GigEVision, // GigE Vision over Aravis
    USB3Vision  // USB3 Vision over Aravis
};

// The interface id of a kind, which is also the camera's transport text
// (CameraBase::GetTransport) and the prefix of its unique id: "Virtual",
// "GigEVision", "USB3Vision".
const char* InterfaceIdText(TransportKind kind);

// GenTL transport-layer types, numbered as the transport-layer node maps'
// type enumerations number them (TLType of the system; InterfaceType,
// DeviceType, StreamType). Mixed is the system's type when it covers several.
enum class TLType : int64_t { GigEVision = 0, USB3Vision = 1, Custom = 2, Mixed = 3 };

// The GenTL type of a kind: GigE Vision and USB3 Vision are their own types,
// the virtual cameras are Custom.
TLType TLTypeOf(TransportKind kind);

// The text of a GenTL type, as the node maps show it: "GigEVision",
// "USB3Vision", "Custom", "Mixed".
const char* TLTypeText(TLType type);

// The entries of a type enumeration: every type from GigEVision up to `last`,
// each named by TLTypeText and valued by its number.
std::vector<std::pair<std::string, int64_t>> TLTypeEntries(TLType last);

} // namespace internal
} // namespace Orvane

#endif
