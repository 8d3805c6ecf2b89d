#include "system/ActionCommands.h"

#include <cstdio>
#include <exception>

#include "core/Raise.h"
#include "system/InterfaceCore.h"

namespace Orvane {
namespace internal {

ActionCommand MakeActionCommand(unsigned int deviceKey, unsigned int groupKey, unsigned int groupMask,
                                unsigned long long actionTime, bool requestAcknowledgement) {
    ActionCommand c;
    c.deviceKey = deviceKey;
    c.groupKey = groupKey;
    c.groupMask = groupMask;
    c.scheduled = actionTime != ActionTimeImmediate;
    c.actionTime = actionTime;
    c.acknowledge = requestAcknowledgement;
    return c;
}

uint32_t ActionResultAddress(const std::string& text) {
    unsigned b[4] = {0, 0, 0, 0};
    char extra = 0;
    if (std::sscanf(text.c_str(), "%u.%u.%u.%u%c", &b[0], &b[1], &b[2], &b[3], &extra) != 4) return 0;
    for (unsigned v : b)
        if (v > 255) return 0;
    return (uint32_t(b[0]) << 24) | (uint32_t(b[1]) << 16) | (uint32_t(b[2]) << 8) | uint32_t(b[3]);
}

void SendActionCommands(const std::vector<std::shared_ptr<InterfaceCore>>& interfaces, bool skipUnsupported,
                        const ActionCommand& command, unsigned int* resultCount, ActionCommandResult* results,
                        const SourcePosition& at) {
    const unsigned int capacity = resultCount ? *resultCount : 0;
    if (capacity > 0 && !results)
        Raise(at, ORVANE_ERR_INVALID_ARGUMENT,
              "room for " + std::to_string(capacity) + " action command results, but no results array");
    std::vector<ActionResult> acknowledged;
    std::exception_ptr failure;
    std::string passedOver; // interfaces without action commands
    size_t sent = 0;
    for (const std::shared_ptr<InterfaceCore>& i : interfaces) {
        try {
            i->SendActionCommand(command, acknowledged);
            ++sent;
        } catch (const Exception& e) {
            if (skipUnsupported && e.GetError() == ORVANE_ERR_NOT_IMPLEMENTED)
                passedOver += (passedOver.empty() ? "" : ", ") + i->Id();
            else if (!failure)
                failure = std::current_exception();
        } catch (...) {
            if (!failure) failure = std::current_exception();
        }
    }
    if (failure) std::rethrow_exception(failure);
    if (interfaces.empty())
        Raise(at, ORVANE_ERR_NOT_AVAILABLE, "no interface is enabled: the action command went nowhere");
    if (sent == 0)
        Raise(at, ORVANE_ERR_NOT_IMPLEMENTED,
              "none of the enabled interfaces (" + passedOver + ") sends action commands");
    if (!resultCount) return;
    const size_t n = std::min<size_t>(capacity, acknowledged.size());
    for (size_t k = 0; k < n; ++k)
        results[k] = ActionCommandResult{ActionResultAddress(acknowledged[k].address), acknowledged[k].status};
    *resultCount = static_cast<unsigned int>(acknowledged.size());
}

} // namespace internal
} // namespace Orvane
