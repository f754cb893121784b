// How the service's host publishes which database it serves: in a file next to the messaging
// sockets, locked with flock while the host serves. It has one line with device and inode of
// the database in decimal and its path, separated by blanks. It is owned by the service's user.
#pragma once

#include <cstdlib>

constexpr const char *servedFileName = "103.database"; // for the switch manager's module
constexpr const char *servedFileFormat = "%ju %ju %s\n";

// The directory of the messaging sockets.
inline const char *relayDirectory()
{
    const char *name = getenv("RELAY_DIR");
    return name != nullptr && name[0] != '\0' ? name : "/run/relay";
}
