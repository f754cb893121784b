// What happens to a frame that arrives at a port, and how that is displayed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

struct FrameFate {
    std::string unknown;             // why the fate is unknown; empty: it is known
    std::string dropped;             // why the frame is dropped; empty: it is not
    int vlanId = 0;                  // its VLAN, 0: none
    uint32_t to = 0;                 // egress ports, bit n for port n
    uint32_t bare = 0;               // those of `to` that send it untagged
    std::vector<std::string> others; // egress interfaces that no row names
    bool host = false;               // it also reaches the host

    [[nodiscard]] std::string text() const; // "to 1T 2U 4T", "dropped: ..."
};

// A port's membership in a VLAN, e.g. "member, sends tagged".
std::string partText(bool member, bool untagged);

std::string vlanText(int vlanId); // "VLAN 10"

// "1T 2T 3U" for two port masks, bit n for port n; "-" if both are empty. T: tagged,
// U: untagged, u: in the untag map without being a member.
std::string membersText(uint32_t members, uint32_t untagged);

} // namespace swctl
