// Event registration and action commands of System and Interface.
// Not delivered yet: every call raises ORVANE_ERR_NOT_IMPLEMENTED, so that
// programs built against the event API fail clearly instead of waiting for
// events that never come.
#include "Orvane/Interface.h"
#include "Orvane/System.h"
#include "core/Raise.h"

namespace Orvane {

namespace {

[[noreturn]] void NotYet(const char* function) {
    Raise(__LINE__, __FILE__, function, ORVANE_ERR_NOT_IMPLEMENTED,
          std::string(function) + " is not available in this build");
}

} // namespace

void System::RegisterEventHandler(EventHandler&, bool) { NotYet("RegisterEventHandler"); }
void System::UnregisterEventHandler(EventHandler&) { NotYet("UnregisterEventHandler"); }
void System::SendActionCommand(unsigned int, unsigned int, unsigned int, unsigned long long, bool, unsigned int*,
                               ActionCommandResult*) {
    NotYet("SendActionCommand");
}

void Interface::RegisterEventHandler(EventHandler&) { NotYet("RegisterEventHandler"); }
void Interface::UnregisterEventHandler(EventHandler&) { NotYet("UnregisterEventHandler"); }
void Interface::SendActionCommand(unsigned int, unsigned int, unsigned int, unsigned long long, bool, unsigned int*,
                                  ActionCommandResult*) {
    NotYet("SendActionCommand");
}

} // namespace Orvane
