// AravisStreamSource: a stream source over the opened device's Aravis stream
// (arv_device_create_stream). Its completion callback (Aravis's BUFFER_DONE,
// on the stream's thread) pops the buffer Aravis just completed and hands it
// on; frames are described from the buffer's own data (leader, parts,
// payload type). Transports derive from it for their stream's own settings
// (Configure) or behaviour (CompletesSilently, the virtual camera's engine).
//
// Ownership: shares the connection, so the device stays open while the
// acquisition holds the source; the acquisition drops the source when it
// ends.
#ifndef ORVANE_TRANSPORT_ARAVIS_STREAM_SOURCE_H
#define ORVANE_TRANSPORT_ARAVIS_STREAM_SOURCE_H

#include <arv.h>

#include <atomic>
#include <memory>

#include "transport/StreamSource.h"

namespace Orvane {
namespace internal {

class DeviceConnection;

class AravisStreamSource : public StreamSource {
public:
    explicit AravisStreamSource(std::shared_ptr<DeviceConnection> connection);
    ~AravisStreamSource() override;

    void Start(const StreamSourceOptions& options, Completion completed, void* context) override;
    bool CompletesSilently() const override { return false; }
    void Push(ArvBuffer* buffer) override;
    ArvBuffer* Pop(uint64_t waitUs) override;
    void Describe(ArvBuffer* buffer, StreamSlot& slot) override;
    bool LosesFrames() const override { return true; }
    bool ReadCounters(StreamCounters& counters) override;
    void Stop() override {}
    void Destroy() override;

protected:
    // Sets the transport's own properties of a new stream, with the node
    // map's lock held, before any buffer is pushed. Default: nothing.
    virtual void Configure(ArvStream* stream, const StreamSourceOptions& options);
    DeviceConnection& Connection() const { return *m_connection; }

private:
    static void StreamCallback(void* source, ArvStreamCallbackType type, ArvBuffer* buffer);

    std::shared_ptr<DeviceConnection> m_connection;
    StreamSourceOptions m_options;
    Completion m_completed = nullptr;
    void* m_context = nullptr;
    bool m_silent = false;                     // CompletesSilently, fixed by Start
    std::atomic<ArvStream*> m_stream{nullptr}; // owned; created by Start, destroyed by Destroy

    // Aravis statistics of the stream (ids of its infos; -1 when absent).
    enum Info {
        InfoReceivedPackets,
        InfoMissingPackets,
        InfoResendRequests,
        InfoResentPackets,
        InfoDuplicatedPackets,
        InfoTimeouts,
        InfoTransferredBytes,
        InfoCount
    };
    int m_infoIds[InfoCount];
    // What the stream had received when Describe last ran (its thread only):
    // bytes and packets since then arrived for the buffer it describes next.
    uint64_t m_describedBytes = 0;
    uint64_t m_describedPackets = 0;
};

} // namespace internal
} // namespace Orvane

#endif
