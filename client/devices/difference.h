// A deviation from what a fresh start from the database would produce.
#pragma once

#include <string>
#include <vector>

namespace swctl {

enum class DifferenceKind {
    entry,        // the ports of a VLAN in a device
    defaultTag,   // the VLAN of a port's untagged frames
    subInterface, // in the kernel: missing, stale, down, or with other priority maps
    link,         // an interface of a device: missing, not attached to it, down
    setting,      // of a switch or of a port, such as a rate limit
};

// What fixes a difference.
enum class Remedy {
    repair,  // announce the VLAN again
    restart, // restart the service
    rows,    // a start stops at a row: until that row is fixed, nothing else can be
    file     // none: the service uses another database
};

struct Difference {
    DifferenceKind kind{};
    const char *part = ""; // of the gateway, e.g. "chip"; set for an entry or a link
    bool byQuery = true;   // false: inferred from a failed write in the log
    int vlanId = 0;        // 0: none
    int port = -1;         // for a default tag; -1: none
    std::string wanted{};  // for display, e.g. "1T 2T 3U"
    std::string found{};   // likewise
    bool counts = true;    // false: no effect on any frame
    bool inRows = true;    // a row of the database has this VLAN
    std::string parent{};  // of a sub-interface; for a link, its own name
    Remedy remedy = Remedy::repair;
    std::string firstStep{}; // to be done before `remedy`; empty: nothing
    std::string setting{};   // "rate limit of engine port 1"; empty: `found` says it all
    std::string source{};    // where `found` comes from, if not from the device itself
    bool everyVlan = false;  // a setting that affects the frames of all VLANs

    // A setting of that part that affects frames at the port.
    [[nodiscard]] bool isSettingOf(const char *which, int atPort) const;

    // Whether both describe the same deviation of the same object.
    [[nodiscard]] bool sameAs(const Difference &other) const;
    [[nodiscard]] std::string key() const;  // e.g. "chip-entry"
    [[nodiscard]] std::string text() const; // one line
    [[nodiscard]] std::string mend() const; // what to run or do to fix it
};

// Only those that affect frames.
std::vector<Difference> counting(std::vector<Difference> all);

} // namespace swctl
