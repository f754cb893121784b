// What is said about frames at a port, and the words for it.
#pragma once

#include "client/view/inspection.h"

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

// A port of a switch that takes part in VLANs.
struct PortName {
    std::string switchName;
    int number = 0;
    Backend backend = Backend::none;
};

// What a frame gets that arrives at a port.
struct FrameFate {
    std::string unknown;             // why it is not known; empty: it is
    std::string dropped;             // why it is; empty: it is not
    int vlanId = 0;                  // that it belongs to, 0: none
    uint32_t to = 0;                 // ports that it leaves through, bit n for port n
    uint32_t bare = 0;               // of them those without tag
    std::vector<std::string> others; // interfaces that it leaves through and no row names
    bool host = false;               // and it reaches the host

    [[nodiscard]] std::string text() const; // "to 1T 2U 4T", "dropped: ..."
};

// How a port takes part in a VLAN: "member, sends tagged".
std::string partText(bool member, bool untagged);

std::string vlanText(int vlanId); // "VLAN 10"

struct PortExplanation {
    PortName port;
    int vlanId = 0;
    std::vector<std::string> rows; // what each row of the VLAN says of the port
    std::string wanted;            // by a fresh start
    std::string held;              // by the chip; of the engine what the log says
    bool read = false;             // `held` was read from the hardware
    std::string basis;             // what the two below are judged by
    FrameFate tagged;              // with the VLAN's id
    FrameFate untagged;
    std::string sends;                // how the VLAN's frames leave the port; empty: never
    std::vector<Difference> differs;  // that touch them
    std::vector<Finding> findings;    // about the VLAN's rows
    std::vector<std::string> reasons; // failed commands and lines of a start's log
    std::vector<std::string> unread;
    std::string remedy; // what gives the port the VLAN; empty: nothing to be had

    [[nodiscard]] bool asWanted() const { return differs.empty() && unread.empty(); }
};

} // namespace swctl
