// Whether a switch command would do anything: the library is asked, in a rehearsal
// that starts from the database and then gets the command.
#pragma once

#include "client/gateway/gateway_view.h"

#include <string>
#include <string_view>

namespace swctl {

// Throws with exitRefused when nothing would act on the command, when it would be
// refused, or when a tool or the driver would not take its values.
void refuseIdleCommand(GatewayView &gateway, const std::string &switchName, int command,
                       std::string_view request);

} // namespace swctl
