// Action commands sent by System::SendActionCommand (every enabled interface)
// and Interface::SendActionCommand (one interface): the command built from
// the public arguments, sent through each interface's transport, and the
// acknowledgements reported as ActionCommandResult records.
#ifndef ORVANE_SYSTEM_ACTION_COMMANDS_H
#define ORVANE_SYSTEM_ACTION_COMMANDS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Orvane/ActionCommand.h"
#include "core/Raise.h"
#include "transport/ActionCommand.h"

namespace Orvane {
namespace internal {

class InterfaceCore;

// The command of the public arguments: actionTime 0 acts at once, any other
// value is a scheduled action at that device time.
ActionCommand MakeActionCommand(unsigned int deviceKey, unsigned int groupKey, unsigned int groupMask,
                                unsigned long long actionTime, bool requestAcknowledgement);

// A device's address text as ActionCommandResult::DeviceAddress: dotted IPv4
// ("0.0.0.3" for virtual camera 3) in host byte order; 0 when it is no IPv4
// address.
uint32_t ActionResultAddress(const std::string& text);

// Sends `command` through every interface, in order, and reports the
// acknowledgements: *resultCount (when not null) is the capacity of
// `results` on entry and the number of acknowledgements on return; the first
// min(capacity, count) are written. `skipUnsupported`: interfaces whose
// transport has no action commands are passed over (the system's way);
// otherwise their ORVANE_ERR_NOT_IMPLEMENTED is raised. An interface that
// fails otherwise does not keep the command from the next ones: the first
// failure is raised after all were tried (nothing is reported then).
// `function` names the caller in errors.
void SendActionCommands(const std::vector<std::shared_ptr<InterfaceCore>>& interfaces, bool skipUnsupported,
                        const ActionCommand& command, unsigned int* resultCount, ActionCommandResult* results,
                        const SourcePosition& at);

} // namespace internal
} // namespace Orvane

#endif
