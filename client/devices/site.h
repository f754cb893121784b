// Where things are. On the gateway itself they are where the rows and the kernel
// say; a simulated gateway, or a desk, has a file site.json that tells otherwise.
#pragma once

#include "client/rehearse/rehearsal.h"

#include <optional>
#include <string>

namespace swctl {

struct Site {
    std::map<std::string, std::string> devices; // node as in the rows: path that leads to it
    std::optional<Interfaces> interfaces;       // none: those of this machine
    std::string engineState;                    // keeps the sub-interfaces; empty: the kernel does
    std::string uptimeFolder = "/var";

    // What to open for a device of a row.
    [[nodiscard]] std::string devicePath(const std::string &device) const;
};

// Looks for the file: `explicitFile`, SWMGR_SITE, site.json beside the database or
// beside the messaging's directory. Throws when a file that is there is no site.
Site findSite(const std::string &databasePath, const std::string &explicitFile);

// The interfaces of the site, or those that this machine has now.
Interfaces interfacesOf(const Site &site);

} // namespace swctl
