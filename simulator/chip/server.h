// The chip as a device that processes open: a SOCK_SEQPACKET socket instead of a device
// node. One thread serves all openers, and a slow one does not hold up the others.
#pragma once

#include "devices/chip/chip_model.h"

#include <string>

namespace chip {

struct ServerOptions {
    std::string socketPath;
    std::string tracePath; // where each request is written; empty for nowhere
};

// Serves until SIGTERM or SIGINT. Returns 0 after such a stop, 1 if the socket or the
// trace cannot be opened, with the reason on standard error.
int serve(Model &model, const ServerOptions &options);

// Prints the state of the chip behind `socketPath`. Returns 0, or 1 with the
// reason on standard error.
int show(const std::string &socketPath, bool json);

// Opens a connection to the chip behind `socketPath`; -1 with errno set.
int connectTo(const std::string &socketPath);

} // namespace chip
