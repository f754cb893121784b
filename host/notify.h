// Reports the daemon's state to a service manager with the NOTIFY_SOCKET protocol: one
// datagram of "NAME=VALUE" lines to the socket that the variable names.
#pragma once

// Does nothing if the variable is not set. False: the message could not be sent.
bool notifyManager(const char *message);
