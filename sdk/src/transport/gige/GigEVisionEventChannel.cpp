#include "transport/gige/GigEVisionEventChannel.h"

#include <arv.h>

#include <cstdio>
#include <limits>
#include <string>

#include "core/Raise.h"
#include "genapi/NodeMapBase.h"
#include "transport/gige/GvcpProtocol.h"

namespace Orvane {
namespace internal {

namespace {

const char* RegisterName(uint32_t address) {
    switch (address) {
    case gvcp::kRegMessageChannelPort: return "MCP";
    case gvcp::kRegMessageChannelAddress: return "MCDA";
    case gvcp::kRegMessageChannelTimeout: return "MCTT";
    case gvcp::kRegMessageChannelRetryCount: return "MCRC";
    default: return "register";
    }
}

} // namespace

GigEVisionEventChannel::GigEVisionEventChannel(std::shared_ptr<DeviceConnection> connection, DeviceEventSink& sink,
                                               const Setup& setup)
    : m_connection(std::move(connection)), m_sink(sink), m_setup(setup) {
    GvcpMessageChannel::Options options;
    options.hostAddress = setup.hostAddress;
    m_channel.Start(
        setup.deviceAddress, [this](uint32_t address, uint32_t value) { WriteRegister(address, value); },
        [this](const GvEventMessage& message) { Deliver(message); }, options);
    // A loss is reported on Aravis's heartbeat thread, which must not wait:
    // the receiver thread is told to end, the destructor joins it.
    m_lossListener = m_connection->AddLossListener([this] { m_channel.Abandon(); });
    if (m_connection->ControlLost()) m_channel.Abandon(); // lost before the listener was there
}

GigEVisionEventChannel::~GigEVisionEventChannel() {
    m_connection->RemoveLossListener(m_lossListener);
    try {
        m_channel.Stop(!m_connection->ControlLost());
    } catch (...) {
        // Stop raises only when called from the receiver thread, which the
        // contract forbids; the channel's destructor stops it anyway.
    }
    if (m_setup.openFlag) m_setup.openFlag->store(false);
}

DeviceEventChannelStatistics GigEVisionEventChannel::Statistics() const {
    const GvcpMessageChannel::Statistics s = m_channel.GetStatistics();
    DeviceEventChannelStatistics out;
    out.events = s.events;
    out.acknowledged = s.acknowledged;
    out.duplicates = s.duplicates;
    out.malformed = s.malformed;
    out.foreign = s.foreign;
    out.sinkErrors = s.sinkErrors;
    return out;
}

uint64_t GigEVisionEventChannel::TicksToNanoseconds(uint64_t ticks, uint64_t tickFrequency) {
    if (tickFrequency == 0 || tickFrequency == 1000000000u) return ticks;
    __extension__ typedef unsigned __int128 Wide;
    const Wide ns = static_cast<Wide>(ticks) * 1000000000u / tickFrequency;
    const uint64_t largest = std::numeric_limits<uint64_t>::max();
    return ns > largest ? largest : static_cast<uint64_t>(ns);
}

void GigEVisionEventChannel::WriteRegister(uint32_t address, uint32_t value) {
    DeviceConnection& connection = *m_connection;
    char where[64];
    std::snprintf(where, sizeof where, "register 0x%04X (%s)", address, RegisterName(address));
    const std::string camera = "camera " + connection.Info().deviceId;
    if (connection.ControlLost())
        ORV_RAISE(ORVANE_ERR_DEVICE_LOST, camera + " was lost: its message channel " + where + " cannot be written");
    GError* error = nullptr;
    bool ok;
    {
        GenApi::impl::NodeMapBase::MapLock lock(connection.NodeMap());
        ok = arv_device_write_register(connection.Device(), address, value, &error);
    }
    if (ok) {
        if (error) g_error_free(error);
        return;
    }
    int code = ORVANE_ERR_IO;
    std::string what = error && error->message ? error->message : "no answer";
    if (error && error->domain == ARV_DEVICE_ERROR) {
        if (error->code == ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED) code = ORVANE_ERR_ACCESS_DENIED;
        if (error->code == ARV_DEVICE_ERROR_TIMEOUT && connection.ControlLost()) code = ORVANE_ERR_DEVICE_LOST;
    }
    if (error) g_error_free(error);
    ORV_RAISE(code, camera + ": writing its message channel " + where + " failed: " + what);
}

void GigEVisionEventChannel::Deliver(const GvEventMessage& message) {
    DeviceEvent event;
    event.eventId = message.eventId;
    event.timestamp = TicksToNanoseconds(message.timestamp, m_setup.tickFrequency);
    event.hasStreamChannel = message.streamChannel != 0xFFFF;
    event.streamChannel = event.hasStreamChannel ? message.streamChannel : 0;
    event.hasBlockId = message.blockId != 0;
    event.blockId = message.blockId;
    if (message.hasData && !message.data.empty()) {
        event.data = message.data.data();
        event.size = message.data.size();
    }
    m_sink.OnDeviceEvent(event);
}

} // namespace internal
} // namespace Orvane
