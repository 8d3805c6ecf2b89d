// GvDeviceGuard: every control request Aravis sends to a GigE Vision device
// of an open connection passes here (register and memory reads and writes:
// GenICam feature evaluation, port accesses, the stream's own requests).
//
// Aravis 0.8 waits for an answer 5 times 500 ms per request and offers no way
// to shorten that, nor to stop sending to a device known dead: a feature
// reading three registers of a dead camera waited three timeouts, and so did
// every access until the heartbeat decided (about 5.5 s after the death, later
// while other requests kept its own waiting). The guard therefore
//  - declares the device lost (DeviceConnection::ReportUnanswered) when a
//    request got no answer in its whole timeout; a write refused in monitor
//    mode (the device drops it, it times out) does not count;
//  - answers every request to a device known lost at once, with an
//    ARV_DEVICE_ERROR_NOT_CONNECTED error, without sending it.
// Requests to devices without an open connection pass unchanged.
//
// Installed once per process, before the first GigE Vision device is opened
// (GigEVisionTransport::Open): it takes the place of the device class's four
// request functions and calls the originals. Runs on the thread of each
// request; a loss it declares runs the connection's loss listeners there.
#ifndef ORVANE_TRANSPORT_GIGE_GV_DEVICE_GUARD_H
#define ORVANE_TRANSPORT_GIGE_GV_DEVICE_GUARD_H

namespace Orvane {
namespace internal {

// Idempotent, thread-safe.
void InstallGvDeviceGuard();

} // namespace internal
} // namespace Orvane

#endif
