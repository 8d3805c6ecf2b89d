// Action commands inside the OrvaneC module: the one call shape of the system's
// and the interface's orv*SendActionCommand.
#ifndef ORVANE_C_ACTION_COMMAND_H
#define ORVANE_C_ACTION_COMMAND_H

#include <cstring>

#include "Orvane/ActionCommand.h"
#include "OrvaneCModule.h"

static_assert(sizeof(orvActionCommandResult) == sizeof(Orvane::ActionCommandResult) &&
                  sizeof(orvActionCommandResult) == 8,
              "orvActionCommandResult mirrors Orvane::ActionCommandResult byte for byte");

namespace {

// Sender null, results null when resultSize is given, sender type; then
// send(&count, scratch) with count = the caller's capacity (0 without
// resultSize) and a zeroed scratch array of that many records (none for 0).
// A capacity query (*resultSize 0) reports the count only; otherwise the
// caller's number of records is copied from the scratch array and the count
// reported. When the send fails, the scratch array is left allocated.
template <class Send>
orvError SendActionCommand(void* sender, orvHandleType senderTag, unsigned int* resultSize,
                           orvActionCommandResult* results, Send&& send) {
    return OrvaneCFrame([&] {
        CheckNullHandle(sender);
        if (resultSize) CheckNullParam(results);
        checkObjectType(senderTag, sender);
        unsigned int count = resultSize ? *resultSize : 0;
        Orvane::ActionCommandResult* scratch = count ? new Orvane::ActionCommandResult[count]() : nullptr;
        try {
            send(&count, scratch);
        } catch (...) {
            if (scratch) Abandon(scratch);
            throw;
        }
        if (!resultSize) return ORV_OK;
        if (*resultSize == 0) {
            *resultSize = count;
            return ORV_OK;
        }
        std::memcpy(results, scratch, *resultSize * sizeof(Orvane::ActionCommandResult));
        delete[] scratch;
        *resultSize = count;
        return ORV_OK;
    });
}

} // namespace

#endif
