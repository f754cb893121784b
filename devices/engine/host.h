// What the interface tools need from the machine they run on, as a seam: tests and
// fuzzers supply their own.
#pragma once

struct vlan_ioctl_args;

namespace engine {

struct Host {
    bool (*interfaceExists)(const char *name);
    // True if the kernel can create VLAN sub-interfaces; otherwise they are simulated.
    bool (*kernelHasVlans)();
    // Both return 0 or errno. The first passes a request to the kernel's VLAN support,
    // the second brings a real interface up or down.
    int (*vlanRequest)(vlan_ioctl_args &request);
    int (*interfaceUpSet)(const char *name, bool up);
};

// The real machine. With SWENGINE_VLAN=simulated in the environment it denies having
// VLAN support in the kernel.
extern const Host thisHost;

} // namespace engine
