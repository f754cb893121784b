// Where devices, interfaces and files are. On the gateway itself, the rows and the kernel
// determine that; a simulated gateway or a workstation overrides it in a file site.json.
#pragma once

#include "client/rehearse/rehearsal.h"

#include <optional>
#include <string>

namespace swctl {

struct Site {
    std::map<std::string, std::string> devices; // node as in the rows: path to open instead
    std::optional<Interfaces> interfaces;       // none: use those of this machine
    std::string engineState; // file that holds the sub-interfaces; empty: the kernel does
    std::string uptimeFolder = "/var";

    // The path to open for a row's device node.
    [[nodiscard]] std::string devicePath(const std::string &device) const;
};

// Reads the first of `explicitFile`, $SWMGR_SITE, site.json beside the database, and
// site.json beside the messaging directory. Throws if that file is not a valid site.
Site findSite(const std::string &databasePath, const std::string &explicitFile);

// The site's interfaces, or else those of this machine now.
Interfaces interfacesOf(const Site &site);

} // namespace swctl
