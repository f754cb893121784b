// Tells a service manager how the daemon stands, by the NOTIFY_SOCKET protocol:
// one datagram of "NAME=VALUE" lines to the socket that the variable names.
#pragma once

// Does nothing when nobody wants to know. False: the message could not be sent.
bool notifyManager(const char *message);
