#include "client/check/check_context.h"

namespace swctl {

CheckContext checkContextOf(const GatewayView &gateway)
{
    CheckContext context;
    context.where.interfaces.emplace();
    for (const auto &[name, address] : gateway.interfaces())
        context.where.interfaces->insert(name);
    if (gateway.site().engineState.empty())
        context.where.unsupported = unsupportedHere();
    return context;
}

} // namespace swctl
