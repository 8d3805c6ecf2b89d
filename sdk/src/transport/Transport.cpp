#include "transport/Transport.h"

#include "core/Raise.h"

namespace Orvane {
namespace internal {

void Transport::SendActionCommand(const ActionCommand&, std::vector<ActionResult>&) {
    ORV_RAISE(ORVANE_ERR_NOT_IMPLEMENTED,
              "action commands are not implemented for the " + DisplayName() + " transport");
}

} // namespace internal
} // namespace Orvane
