// The VLAN sub-interfaces of this machine, read over netlink, which needs no privileges: the
// kernel's listing in /proc/net/vlan is readable by root only.
#pragma once

#include "client/rehearse/hardware_state.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace swctl {

// Parses the datagrams of the kernel's interface dump.
class LinkDump {
public:
    static constexpr int more = 1; // another datagram follows
    static constexpr int complete = 0;

    // Returns `more`, `complete`, or a negative errno: -EINTR if the interfaces changed during
    // the dump, so that it must be repeated; -EPROTO if the datagram is malformed.
    int take(std::string_view datagram);

    // By name. A parent in another network namespace is left empty.
    [[nodiscard]] std::map<std::string, SubInterface> subInterfaces() const;

private:
    struct Link {
        std::string name;
        int parent = 0; // interface index, 0 for none
        bool isVlan = false;
        SubInterface sub; // VLANs only
    };

    static void takeAttributes(std::string_view bytes, Link &link);

    std::map<int, Link> links; // by index
    bool changed = false;      // a datagram had NLM_F_DUMP_INTR set
};

// Reads all of them; leaves the uptime records empty.
Part<Kernel> vlanLinksRead();

} // namespace swctl
