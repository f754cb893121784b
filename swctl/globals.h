// Options that hold for every command.
#pragma once

#include <string>

namespace swctl {

constexpr const char *defaultDatabase = "/etc/swmgr/config.db";

struct Globals {
    std::string database = defaultDatabase; // file of the configuration database
    std::string relayDirectory;             // of the service's sockets; empty: RELAY_DIR
    std::string site;                       // file that says where things are; empty: found
    int wait = 10;                          // s, for another swctl to finish
    bool json = false;                      // print JSON instead of text
};

} // namespace swctl
