// How the service's host tells clients which database it serves: a file beside the
// messaging's sockets, locked with flock by the host for as long as it serves. It holds
// device and inode of the database in decimal, and its path, parted by blanks, and a line
// end. It is owned by the service's user.
#pragma once

#include <cstdlib>

constexpr const char *servedFileName = "103.database"; // of the switch manager's module
constexpr const char *servedFileFormat = "%ju %ju %s\n";

// Where the messaging keeps its sockets.
inline const char *relayDirectory()
{
    const char *name = getenv("RELAY_DIR");
    return name != nullptr && name[0] != '\0' ? name : "/run/relay";
}
