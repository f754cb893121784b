// Where a module's socket is, and how a service takes it over: one socket and one lock
// file per module in the directory RELAY_DIR.
#pragma once

#include "common/descriptor.h"

#include <sys/un.h>

namespace relay {

// Fills in the address of a module's socket. Returns 0 or -ENAMETOOLONG.
[[nodiscard]] int endpointAddress(int moduleId, struct sockaddr_un &address);

// A module's socket, held by its service.
struct Endpoint {
    Descriptor lock;     // locked for as long as the module is registered
    Descriptor listener; // bound and listening, non-blocking
};

// Creates the directory if necessary and binds the module's socket, replacing one that a
// dead service left behind. Returns 0 or a negative errno, -EADDRINUSE if a running
// service holds the module. Reports the reason on standard error, since the caller of
// relayRegister only learns that it failed.
[[nodiscard]] int endpointOpen(int moduleId, Endpoint &endpoint);

// Checks whether lock and socket are still where clients look for them, and re-creates
// what was removed, unless another process serves the module there by now. Returns 0 if
// everything is there. `previous` is the result of the last check: a persistent fault is
// reported only once.
[[nodiscard]] int endpointRenew(int moduleId, Endpoint &endpoint, int previous);

// Removes socket and lock, if they still belong to this endpoint, and releases the module.
void endpointClose(int moduleId, Endpoint &endpoint);

} // namespace relay
