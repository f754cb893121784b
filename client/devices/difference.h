// Something that is otherwise than a fresh start from the database would have it.
#pragma once

#include <string>
#include <vector>

namespace swctl {

enum class DifferenceKind {
    entry,        // a VLAN's ports in a device
    defaultTag,   // VLAN of a port's untagged frames
    subInterface, // of the kernel: missing, left over, down, other maps
    link,         // an interface of a device: not there, not in it, down
    setting,      // that the service takes only at its start
};

// What mends a difference.
enum class Remedy {
    repair,  // announcing the VLAN again
    restart, // of the service
    rows,    // a start stops at one of them: until that is mended nothing else can be
    file     // none: the service uses another database
};

struct Difference {
    DifferenceKind kind{};
    const char *part = ""; // of the gateway, as "chip"; of an entry or a link
    bool byQuery = true;   // false: the log says that writing it failed
    int vlanId = 0;        // 0: none
    int port = -1;         // of a default tag; -1: none
    std::string wanted{};  // in the words of the network, as "1T 2T 3U"
    std::string found{};   //
    bool counts = true;    // false: has no effect on any frame
    bool inRows = true;    // a row of the database has this VLAN
    std::string parent{};  // of a sub-interface; of a link its own name
    Remedy remedy = Remedy::repair;
    std::string firstStep{}; // what has to be done before `remedy`; empty: nothing

    // The same thing is different in the same way.
    [[nodiscard]] bool sameAs(const Difference &other) const;
    [[nodiscard]] std::string key() const;  // as "chip-entry"
    [[nodiscard]] std::string text() const; // one line
    [[nodiscard]] std::string mend() const; // the command that mends it
};

// Those that have an effect on frames.
std::vector<Difference> counting(std::vector<Difference> all);

} // namespace swctl
