// What becomes of a frame that arrives at a port, and the words for it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

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

// "1T 2T 3U" for ports of masks, bit n for port n; "-" for none, u: untagged, no member.
std::string membersText(uint32_t members, uint32_t untagged);

} // namespace swctl
