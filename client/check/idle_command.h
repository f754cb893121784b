// Whether a switch command would have any effect, determined by a rehearsal that starts from
// the database and then sends the command.
#pragma once

#include "client/gateway/gateway_view.h"

#include <string>
#include <string_view>

namespace swctl {

// Throws with exitRefused if nothing would act on the command, or if the service, a tool or
// the driver would reject it.
void refuseIdleCommand(GatewayView &gateway, const std::string &switchName, int command,
                       std::string_view request);

} // namespace swctl
