// VirtualCameraRuntime: the control side of a virtual camera, the behaviour
// (DeviceBehaviour) that makes its plain register memory act like a camera.
// One per open session of a virtual camera, created by the DeviceSession and
// added as a last behaviour; it lives as long as the session.
//
// What it does after a write reaches one of these registers:
// - commands: performs the action, then writes 0 to the command's register,
//   which makes IsDone true. UserSetSave/UserSetLoad (the streamable features,
//   every selector slot, to and from the camera's storage; Default loads the
//   initial values), TimestampLatch, TimestampReset, DeviceReset (power-up
//   state again: initial values, then the UserSetDefault set), FactoryReset
//   (erases the storage), CounterReset, TimerReset, SoftwareSignalPulse,
//   TestEventGenerate (a Test event to the event sink), FileOperationExecute
//   (an in-memory file system: UserSetDefault, UserSet0, UserSet1, UserFile1,
//   with FileOperationStatus, FileOperationResult, FileSize),
//   SequencerSetSave/SequencerSetLoad, DefectTableSave/FactoryRestore/Apply,
//   DeviceRegistersStreamingEnd/DeviceRegistersCheck (DeviceRegistersValid),
//   DeviceFeaturePersistence*, DeviceRegistersStreamingStart,
//   GevSCPSFireTestPacket. The acquisition's commands (AcquisitionStart, Stop,
//   Abort, Arm, TriggerSoftware, the Transfer commands) are the acquisition
//   behaviour's: the runtime only writes 0 to their registers when no behaviour
//   claimed them (DeviceSession::ClaimCommandRegister), after every other
//   behaviour saw the write.
// - consistency: UserOutputValue and UserOutputValueAll (through
//   UserOutputValueAllMask), LogicBlockLUTOutputValue and
//   LogicBlockLUTOutputValueAll, registers that overlap another feature's
//   (LUTValueAll over LUTValue), automatic modes set to Once (they converge at
//   once and return to Off), UserSetDefault and DeviceUserID (kept in the
//   storage), CounterValue and TimerValue (rebase the running count).
// - values computed when read (ArvNodeMap::WatchReads, Camera::ReadPort):
//   Timestamp (the camera clock, 1 GHz), DeviceUptime, DeviceTemperature
//   (warms up slowly after power-up; polled every second), LineStatus and
//   LineStatusAll (user outputs through LineSource and LineInverter),
//   CounterValue/CounterStatus (MHzTick counters), TimerValue/TimerStatus.
// Every register it changes behind the node map is notified to the map
// (NotifyChanged of its register node), so no cached value goes stale and the
// callbacks of the changed features fire.
//
// Threads and locks: every member runs with the session's node map lock held
// (DeviceBehaviour), except TimestampNs (lock-free, any thread). The event sink
// runs under that lock too.
#ifndef ORVANE_VIRTUAL_CAMERA_RUNTIME_H
#define ORVANE_VIRTUAL_CAMERA_RUNTIME_H

#include <arv.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "transport/DeviceBehaviour.h"

namespace Orvane {
namespace GenApi {
namespace impl {
class ArvNodeMap;
class Node;
} // namespace impl
} // namespace GenApi

namespace internal {

class VirtualDeviceConnection;
struct VirtualCameraStorage;

class VirtualCameraRuntime : public DeviceBehaviour {
public:
    // Takes a snapshot of the fresh device's memory (its initial values).
    // Raises ORVANE_ERR_INVALID_ARGUMENT when the session is no virtual camera.
    VirtualCameraRuntime(VirtualDeviceConnection& session, const std::string& serialNumber);
    ~VirtualCameraRuntime() override;

    // Brings the camera to its power-up state: the stored DeviceUserID, defect
    // table and UserSetDefault, the default user set loaded, clocks from zero.
    // The session calls it once, after adding the runtime.
    void PowerUp();

    void OnWrite(uint64_t address, uint64_t length) override;
    void OnRead() override;

    // The camera's timestamp counter: nanoseconds since power-up or the last
    // TimestampReset. Lock-free; for buffer timestamps and chunk data too.
    uint64_t TimestampNs() const;

    // Current status of the I/O lines, bit n = line n (as LineStatusAll).
    uint32_t LineStatusAll();

    // Device events ------------------------------------------------------------
    // Receives the events the camera generates: the event ID and the event
    // data (kEventDataSize bytes: timestamp at 0, frame ID at 8, the event's
    // own fields from 16, big-endian). The bytes live for the call only. Runs
    // with the node map's lock held: queue, do not block. Null removes it.
    using EventSink = std::function<void(uint16_t eventId, const uint8_t* data, size_t size)>;
    void SetEventSink(EventSink sink);
    // Whether EventNotification is On for this event.
    bool IsEventNotificationOn(uint16_t eventId);
    // Sends an event to the sink when its notification is On (always when
    // `force`): timestamp now, `frameId`, then `extra` at offset 16.
    void EmitEvent(uint16_t eventId, uint64_t frameId, const uint8_t* extra = nullptr, size_t extraSize = 0,
                   bool force = false);

private:
    struct Run {
        uint32_t address;
        uint32_t length;
    };
    struct FeatureSlots {
        GenApi::impl::Node* node = nullptr; // the feature's register node
        std::vector<Run> slots;             // every selector slot of its register
    };
    enum class Action : unsigned char;
    struct Command {
        uint32_t address;
        uint32_t commandValue;
        Action action;
        int64_t v0, v1; // selector values of the slot
    };
    enum class Rule : unsigned char;
    struct Watch {
        uint32_t begin, end;
        Rule rule;
        int64_t a, b; // rule arguments
    };
    struct Counter {
        std::chrono::steady_clock::time_point start;
        uint64_t base = 0;
    };
    struct Timer {
        std::chrono::steady_clock::time_point start;
        bool active = false;
    };
    enum class FileOp : unsigned char { Open = 1, Close = 2, Read = 3, Write = 4, Delete = 5 };
    struct FileState {
        bool open = false;
        int64_t mode = 0;
    };

    // Memory of the fake camera (big-endian registers).
    uint64_t ReadUInt(uint32_t address, uint32_t length);
    void WriteUInt(uint32_t address, uint32_t length, uint64_t value);
    double ReadDouble(uint32_t address);
    void WriteDouble(uint32_t address, double value);
    void ReadBytes(uint32_t address, uint32_t length, uint8_t* out);
    void WriteBytes(uint32_t address, uint32_t length, const uint8_t* bytes);

    GenApi::impl::Node* RegisterNode(const char* feature) const;
    void Changed(GenApi::impl::Node* node);
    void Changed(const char* feature);
    std::vector<int64_t> SelectorValues(const char* selector) const;
    std::vector<Run> SlotsOf(const char* feature) const;

    void BuildTables();
    void Execute(const Command& command);
    void Apply(const Watch& watch);
    void Refresh();

    // Actions.
    std::vector<uint8_t> SerializeUserSet(bool factory);
    // Writes a user set's registers; false (and nothing written) when the data
    // is damaged. `notify`: notify the changed features to the node map.
    bool LoadUserSet(const std::vector<uint8_t>& data, bool notify);
    void RestoreRuns(const std::vector<Run>& runs, const uint8_t* source);
    void NotifyUserSetFeatures(const std::vector<Run>& changed);
    void UserSetSave(int64_t set);
    void UserSetLoad(int64_t set);
    void DeviceReset();
    void FactoryReset();
    void CounterReset(int64_t counter);
    void TimerReset(int64_t timer);
    void FileOperation(int64_t file, int64_t op);
    void UpdateFileSizes();
    std::vector<uint8_t>* FileContent(int64_t file, std::vector<uint8_t>& scratch, size_t* capacity);
    void SequencerSetSave();
    void SequencerSetLoad();
    void CheckRegisters();
    void SetUserOutputs(uint32_t bits, bool writeAll);
    void WriteStoredState();

    VirtualDeviceConnection& m_session;
    GenApi::impl::ArvNodeMap& m_map;
    ArvFakeCamera* m_fake;
    std::shared_ptr<VirtualCameraStorage> m_storage;
    std::vector<uint8_t> m_factory;  // the memory of the fresh device
    std::vector<Command> m_commands; // sorted by address
    std::vector<Watch> m_watches;
    std::vector<FeatureSlots> m_userSetFeatures;
    std::vector<Run> m_userSetRuns;                           // merged slots of every user set feature
    std::vector<Run> m_defectRuns;                            // the defect table's registers
    std::vector<std::vector<GenApi::impl::Node*>> m_partners; // nodes to notify per Rule::Overlay watch
    std::atomic<int64_t> m_clockEpochNs{0};                   // steady clock at power-up or TimestampReset
    std::chrono::steady_clock::time_point m_powerUp;
    uint32_t m_userOutputs = 0;
    Counter m_counters[2];
    Timer m_timers[2];
    FileState m_files[4];
    std::vector<std::vector<uint8_t>> m_sequencerSets; // per set: saved feature registers, empty: not saved
    std::vector<int64_t> m_temperatureSelectors;
    EventSink m_eventSink;
};

} // namespace internal
} // namespace Orvane

#endif
