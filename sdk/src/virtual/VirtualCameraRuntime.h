// VirtualCameraRuntime: the control side of a virtual camera, the behaviour
// (DeviceBehaviour) that makes its plain register memory act like a camera.
// One per open connection of a virtual camera, created by its VirtualDeviceConnection and
// added as a last behaviour; it lives as long as the session.
//
// It composes the parts that each do one thing, and routes the session's
// writes and reads to them:
//   VirtualRegisters         register memory, initial values, change notification
//   VirtualCommands          command registers: execution and completion
//   VirtualConsistencyRules  rules run when watched registers are written
//   VirtualIoLines           user outputs and line status
//   VirtualStatusValues      values computed when read: clock, uptime,
//                            temperature, line status, counters, timers
//   VirtualCameraClock       the timestamp counter
//   VirtualStoredState       DeviceUserID, UserSetDefault, defect table in the storage
//   VirtualUserSets          user sets
//   VirtualFileSystem        the in-memory file system
//   VirtualSequencer         sequencer sets
//   VirtualEventSource       device events
// Here: power-up, DeviceReset and FactoryReset (they involve most parts),
// and which part performs each command.
//
// Commands it performs: UserSetSave/UserSetLoad, TimestampLatch,
// TimestampReset, DeviceReset (power-up state again: initial values, then the
// stored state and the UserSetDefault set), FactoryReset (erases the
// storage), CounterReset, TimerReset, TestEventGenerate (a Test event to the
// event sink), FileOperationExecute, SequencerSetSave/SequencerSetLoad,
// DefectTableSave/DefectTableFactoryRestore, DeviceRegistersStreamingEnd and
// DeviceRegistersCheck (DeviceRegistersValid); the others are completed at
// once unless a behaviour claimed them (the acquisition's: VirtualCommands).
// Every register it changes behind the node map is notified to the map.
//
// Threads and locks: every member runs with the session's node map lock held
// (DeviceBehaviour; the public ones take it), except TimestampNs and the
// event members (lock-free, any thread: see VirtualEventSource.h, whose sink
// runs on the emitting thread, with or without that lock).
#ifndef ORVANE_VIRTUAL_CAMERA_RUNTIME_H
#define ORVANE_VIRTUAL_CAMERA_RUNTIME_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "genapi/NodeMapBase.h"
#include "transport/DeviceBehaviour.h"
#include "virtual/VirtualCameraClock.h"
#include "virtual/VirtualCommands.h"
#include "virtual/VirtualConsistencyRules.h"
#include "virtual/VirtualEventSource.h"
#include "virtual/VirtualFileSystem.h"
#include "virtual/VirtualIoLines.h"
#include "virtual/VirtualRegisters.h"
#include "virtual/VirtualSequencer.h"
#include "virtual/VirtualStatusValues.h"
#include "virtual/VirtualStoredState.h"
#include "virtual/VirtualUserSets.h"

namespace Orvane {
namespace internal {

class VirtualDeviceConnection;
struct VirtualCameraStorage;

class VirtualCameraRuntime : public DeviceBehaviour {
public:
    // Takes a snapshot of the fresh device's memory (its initial values).
    // Raises ORVANE_ERR_INVALID_ARGUMENT when the session is no virtual camera.
    VirtualCameraRuntime(VirtualDeviceConnection& session, const std::string& serialNumber);
    ~VirtualCameraRuntime() override;
    VirtualCameraRuntime(const VirtualCameraRuntime&) = delete;
    VirtualCameraRuntime& operator=(const VirtualCameraRuntime&) = delete;

    // Brings the camera to its power-up state: the stored DeviceUserID, defect
    // table and UserSetDefault, the default user set loaded, clocks from zero.
    // The session calls it once, after adding the runtime.
    void PowerUp();

    void OnWrite(uint64_t address, uint64_t length) override;
    void OnRead() override;

    // The camera's timestamp counter: nanoseconds since power-up or the last
    // TimestampReset. Lock-free; for buffer timestamps and chunk data too.
    uint64_t TimestampNs() const { return m_clock.Ns(); }

    // Current status of the I/O lines, bit n = line n (as LineStatusAll).
    uint32_t LineStatusAll();

    // Device events ------------------------------------------------------------
    // The camera's event source (see VirtualEventSource.h for the event data,
    // threads and locks).
    VirtualEventSource& Events() { return m_events; }
    // Receives the events the camera generates: the event ID and the event
    // data (kEventDataSize bytes: timestamp at 0, frame ID at 8, the event's
    // own fields from 16, big-endian). The bytes live for the call only. Runs
    // on the emitting thread, maybe with the node map's lock held: queue, do
    // not block. Null removes it.
    using EventSink = VirtualEventSource::Sink;
    void SetEventSink(EventSink sink) { m_events.SetSink(std::move(sink)); }
    // Whether EventNotification is On for this event.
    bool IsEventNotificationOn(uint16_t eventId) { return m_events.IsNotificationOn(eventId); }
    // Sends an event to the sink when its notification is On (always when
    // `force`): timestamp now, `frameId`, then `extra` at offset 16.
    void EmitEvent(uint16_t eventId, uint64_t frameId, const uint8_t* extra = nullptr, size_t extraSize = 0,
                   bool force = false);

private:
    // Builds every part with the node map's lock held (`lock`).
    VirtualCameraRuntime(VirtualDeviceConnection& session, const std::string& serialNumber,
                         const GenApi::impl::NodeMapBase::MapLock& lock);

    void Execute(const VirtualCommands::Command& command);
    void DeviceReset();
    void FactoryReset();

    // Parts, in construction order (each uses only those before it).
    std::shared_ptr<VirtualCameraStorage> m_storage;
    VirtualRegisters m_registers;
    VirtualCameraClock m_clock;
    VirtualIoLines m_lines;
    VirtualStatusValues m_status;
    VirtualStoredState m_stored;
    VirtualUserSets m_userSets;
    VirtualFileSystem m_files;
    VirtualSequencer m_sequencer;
    VirtualConsistencyRules m_rules;
    VirtualEventSource m_events;
    VirtualCommands m_commands;
};

} // namespace internal
} // namespace Orvane

#endif
