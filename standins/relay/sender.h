// What the sending side needs to know of a registration.
#pragma once

#include "standins/relay/exported.h"

namespace relay {

// Module id that goes into outgoing messages, 0 without a registration.
uint32_t senderId(const RelayCtx *ctx);

// Gives back the memory of posts that were all received.
void postsTidy();

} // namespace relay
