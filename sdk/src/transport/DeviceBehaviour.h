// DeviceBehaviour: code that gives a device behaviour behind its registers.
// The virtual cameras are Aravis fake devices whose memory is plain RAM; what
// a real camera does when a register is written (execute a command, keep
// duplicated state consistent, stream) is done by behaviours registered on the
// camera's DeviceConnection (DeviceConnection::AddBehaviour).
//
// Threads and locks: every call runs on the thread that made the access, with
// the device node map's lock held (recursive), while the access that caused it
// is still in progress. A behaviour must not block, and must not call Init,
// DeInit or anything that waits for another thread holding that lock.
//
// What a behaviour may do there: read and write device memory directly
// (DeviceConnection::Device() with arv_device_read/write_memory, or the fake
// camera's memory), which does not come back to the behaviours; then it must
// drop what the node map caches about the registers it changed, with
// NodeMap().NotifyChanged(node) on their register nodes (this also fires the
// node callbacks of everything reading them, after the outermost lock is
// released) or NodeMap().InvalidateNodes(). Writing features through the node
// map from a behaviour works (the lock is recursive) but re-enters every
// behaviour: avoid it.
//
// Exceptions a behaviour throws are logged by the connection and go no further:
// the write that caused the call has already reached the device.
#ifndef ORVANE_TRANSPORT_DEVICE_BEHAVIOUR_H
#define ORVANE_TRANSPORT_DEVICE_BEHAVIOUR_H

#include <cstdint>

namespace Orvane {
namespace internal {

class DeviceBehaviour {
public:
    virtual ~DeviceBehaviour() = default;

    // `length` bytes at `address` of the device's register memory were
    // written: by the node map (a feature's register, once per register the
    // write reached; a command's register; a port node's Write) or by
    // Camera::WritePort. The memory already holds the new bytes.
    virtual void OnWrite(uint64_t address, uint64_t length) = 0;

    // The node map is about to read a register that a behaviour marked with
    // ArvNodeMap::WatchReads (status values computed on demand: clocks,
    // temperatures, line status), or Camera::ReadPort is about to read device
    // memory: refresh what changes with time. Default: nothing.
    virtual void OnRead() {}
};

} // namespace internal
} // namespace Orvane

#endif
