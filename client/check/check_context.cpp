#include "client/check/check_context.h"

namespace swctl {

CheckContext checkContextOf(const GatewayView &gateway)
{
    CheckContext context;
    context.interfaces.emplace();
    for (const auto &[name, address] : gateway.interfaces())
        context.interfaces->insert(name);
    if (gateway.site().engineState.empty())
        context.bridgesFilter = bridgesFilter();
    return context;
}

} // namespace swctl
