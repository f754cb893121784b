// What the sending side needs to know about a registration.
#pragma once

#include "standins/relay/exported.h"

namespace relay {

// Module id for outgoing messages, 0 without a registration.
uint32_t senderId(const RelayCtx *ctx);

// Gives back the memory of rings whose posts have all been received.
void postsTidy();

} // namespace relay
