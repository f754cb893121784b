// What a check of this gateway's rows needs to know of the gateway.
#pragma once

#include "client/check/check.h"
#include "client/gateway/gateway_view.h"

namespace swctl {

// Its interfaces and what its kernel can do. No start is rehearsed.
CheckContext checkContextOf(const GatewayView &gateway);

} // namespace swctl
