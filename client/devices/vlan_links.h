// The VLAN sub-interfaces of this machine, asked of the kernel by netlink, which
// tells them to everybody: the kernel's own listing is the administrator's alone.
#pragma once

#include "client/rehearse/hardware_state.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace swctl {

// Gathers the datagrams in which the kernel lists its interfaces.
class LinkDump {
public:
    static constexpr int more = 1; // another datagram follows
    static constexpr int complete = 0;

    // `more`, `complete`, or a negative errno: -EINTR when an interface came or went
    // meanwhile, so that the list has to be asked for again, -EPROTO for no list.
    int take(std::string_view datagram);

    // By name. A parent that lies in another name space is empty.
    [[nodiscard]] std::map<std::string, SubInterface> subInterfaces() const;

private:
    struct Link {
        std::string name;
        int parent = 0; // index of its interface, 0 for none
        bool isVlan = false;
        SubInterface sub; // of a VLAN only
    };

    static void takeAttributes(std::string_view bytes, Link &link);

    std::map<int, Link> links; // by index
    bool changed = false;      // the kernel said so of a datagram
};

// All of them; without uptime records.
Part<Kernel> vlanLinksRead();

} // namespace swctl
