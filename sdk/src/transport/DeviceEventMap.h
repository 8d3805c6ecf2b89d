// The device events a GenICam XML describes: each <Port> with an <EventID>
// is one event. DeviceEventMap reads them from the XML text (libxml2) and maps
// an event id to the event's name and to the nodes that show its data. It
// serves every transport: an opened device's map is
// DeviceConnection::EventMap, through which the camera's event dispatcher
// names the events it receives and checks the names handlers register for.
//
// Event name:
// 1. an <Integer> node named "Event<Name>" whose constant <Value> equals the
//    EventID (the standard "Event<Name>" feature returning the event's id)
//    gives <Name>, e.g. "ExposureEnd" from EventExposureEnd = 0x9001;
// 2. otherwise the port's name, without a leading "Event" and a trailing
//    "Port" or "Data" (each only when something remains):
//    "EventExposureEndPort" and "ExposureEndData" give "ExposureEnd".
//
// Data nodes: `registers` are the nodes whose <pPort> is the event's port
// (they read the event's data bytes); `nodes` adds, transitively, every node
// that refers to one of them through a p* element (pValue, pVariable,
// pIndex, ...; not pFeature or pSelected, which carry no value). Both keep
// the XML's order; the StructEntry nodes of a StructReg stand for it. After
// an event arrives, these are the nodes whose values changed.
//
// EventID is hexadecimal text ("9001", "0x9001"); ports whose EventID is no
// hexadecimal number are left out. When two ports share an id, the first
// wins for Find.
#ifndef ORVANE_TRANSPORT_DEVICE_EVENT_MAP_H
#define ORVANE_TRANSPORT_DEVICE_EVENT_MAP_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace Orvane {
namespace internal {

struct DeviceEventInfo {
    uint64_t id = 0;
    std::string name;                   // "ExposureEnd"
    std::string port;                   // "EventExposureEndPort"
    std::string idFeature;              // "EventExposureEnd" when rule 1 named it, else empty
    std::vector<std::string> registers; // nodes reading the port
    std::vector<std::string> nodes;     // registers and every node depending on them
};

class DeviceEventMap {
public:
    DeviceEventMap() = default;
    // Parses `xml`; text that is no XML gives an empty map.
    DeviceEventMap(const char* xml, size_t size);

    const DeviceEventInfo* Find(uint64_t eventId) const;
    const DeviceEventInfo* FindByName(const std::string& name) const;
    const std::vector<DeviceEventInfo>& Events() const { return m_events; } // XML order
    bool Empty() const { return m_events.empty(); }

private:
    std::vector<DeviceEventInfo> m_events;
    std::unordered_map<uint64_t, size_t> m_byId;
    std::unordered_map<std::string, size_t> m_byName;
};

} // namespace internal
} // namespace Orvane

#endif
