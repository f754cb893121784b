// Options common to every command.
#pragma once

#include <string>

namespace swctl {

constexpr const char *defaultDatabase = "/etc/swmgr/config.db";

struct Globals {
    std::string database = defaultDatabase; // configuration database file
    std::string relayDirectory;             // of the service's sockets; if empty, RELAY_DIR applies
    std::string site;  // site description file; if empty, the devices are searched for
    int wait = 10;     // s, for another swctl to finish
    bool json = false; // JSON output instead of text
};

} // namespace swctl
