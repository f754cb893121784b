// Where a module's socket lies, and how a service takes possession of it: one
// socket and one lock file per module in the directory RELAY_DIR.
#pragma once

#include "common/descriptor.h"

#include <sys/un.h>

namespace relay {

// Fills the address of a module's socket. Returns 0 or -ENAMETOOLONG.
[[nodiscard]] int endpointAddress(int moduleId, struct sockaddr_un &address);

// A module's socket in the hands of its service.
struct Endpoint {
    Descriptor lock;     // locked for as long as the module is registered
    Descriptor listener; // bound and listening, non-blocking
};

// Creates the directory if need be and binds the module's socket; a socket that
// a dead service left behind is replaced. Returns 0 or a negative errno,
// -EADDRINUSE when a living service holds the module. Says on standard error
// what is wrong, since the caller of relayRegister only learns that it failed.
[[nodiscard]] int endpointOpen(int moduleId, Endpoint &endpoint);

// Looks whether lock and socket are still where clients look for them, and makes
// anew what was removed, unless another process serves the module there by now.
// Returns 0 when all is there. `previous` is what the last look returned: a fault
// that lasts is said once.
[[nodiscard]] int endpointRenew(int moduleId, Endpoint &endpoint, int previous);

// Removes socket and lock, if they are still this endpoint's, and gives up the module.
void endpointClose(int moduleId, Endpoint &endpoint);

} // namespace relay
