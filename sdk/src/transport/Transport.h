// Transport: one way of reaching cameras (the virtual cameras, GigE Vision,
// USB3 Vision). Everything the SDK does with a device that depends on how it
// is reached goes through here: discovery, opening (a DeviceConnection, which
// makes the device's streams, event channel and loss reports), action
// commands, and the facts the transport-layer node maps show.
//
// Ownership: a transport is shared (std::shared_ptr) by the interface that
// discovers with it and by every camera it found (cameras open through it);
// it may outlive the system that made it. Only the owning interface calls
// Discover; cameras call only Open and the const members.
//
// Threads: every member may run on any caller thread, and concurrently:
// Discover from each update of the owning interface (before it takes its own
// lock), Open from each camera's Init (with that camera's mutex held: one
// Open per camera at a time, several cameras at once), SendActionCommand from
// any caller.
#ifndef ORVANE_TRANSPORT_TRANSPORT_H
#define ORVANE_TRANSPORT_TRANSPORT_H

#include <memory>
#include <string>
#include <vector>

#include "transport/ActionCommand.h"
#include "transport/DeviceInfo.h"
#include "transport/TransportKind.h"

namespace Orvane {
namespace internal {

class DeviceConnection;

// Which transport-layer features a transport's devices and streams have
// beyond the ones every camera has. The node maps (interface, device, stream)
// add feature groups by these, never by the transport's kind.
struct TransportFeatures {
    // Where the transport-layer device node map's GenICamXMLLocation comes from.
    enum class XmlLocation {
        None,     // the node does not exist
        Host,     // always Host: the SDK holds the description
        DeviceUrl // read from the open device's description URL (DeviceConnection::XmlUrl); NA before Init
    };

    // GigE Vision networking: GevDeviceIPAddress and GevDeviceMACAddress on
    // the interface node map; the GigE Vision category on the device node map
    // (addresses, subnet and gateway, port, protocol version, control
    // privilege, packet size); StreamMode, packet counters and packet resend
    // control on the stream node map.
    bool networkFeatures = false;
    // USB3 Vision bus features of the device node map: DeviceU3VProtocol,
    // DeviceInstanceId, DeviceLocation.
    bool usbFeatures = false;
    XmlLocation xmlLocation = XmlLocation::None;
    // Nothing outside this process can hold the devices: DeviceAccessStatus
    // is ReadWrite before Init (Unknown otherwise).
    bool alwaysAccessible = false;
};

class Transport {
public:
    virtual ~Transport() = default;

    virtual TransportKind Kind() const = 0;
    // The interface id: InterfaceIdText(Kind()).
    std::string Id() const { return InterfaceIdText(Kind()); }
    // The interface's user-readable name.
    virtual std::string DisplayName() const = 0;
    virtual TransportFeatures Features() const = 0;

    // The devices present now.
    virtual std::vector<DeviceInfo> Discover() = 0;

    // Opens a device this transport discovered. Raises
    // ORVANE_ERR_NOT_AVAILABLE when the device does not answer,
    // ORVANE_ERR_RESOURCE_IN_USE when another program holds it,
    // ORVANE_ERR_GENICAM_PROPERTY when it has no readable description.
    virtual std::shared_ptr<DeviceConnection> Open(const DeviceInfo& info) const = 0;

    // Sends an action command to the devices of this transport and collects
    // the acknowledgements it asks for into `results` (one per answering
    // device, appended) until command.timeoutMs has passed; without
    // acknowledgements it returns once the command is sent. Default (a
    // transport without action commands): ORVANE_ERR_NOT_IMPLEMENTED; the
    // system's SendActionCommand passes over such transports.
    // GigE Vision: ACTION_CMD broadcast on every IPv4 interface that is up
    // (or sent to command.unicastAddress); results carry each device's
    // address ("a.b.c.d") and the status of its ACTION_ACK. Only devices
    // with a controlling application act (or those configured for
    // unconditional action). ORVANE_ERR_INVALID_ARGUMENT for a unicast address
    // that is no IPv4 address; ORVANE_ERR_IO when no interface can send.
    virtual void SendActionCommand(const ActionCommand& command, std::vector<ActionResult>& results);

    // How long the device monitor (arrival and removal events) waits after
    // one discovery of this transport's interface before the next, in
    // milliseconds. Default 1000 (a GigE Vision discovery itself takes about
    // a second more).
    virtual unsigned RediscoveryIntervalMs() const { return 1000; }
};

} // namespace internal
} // namespace Orvane

#endif
