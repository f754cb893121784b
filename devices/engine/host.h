// What the interface tools ask of the machine they run on, as a seam: tests and
// fuzzers put a machine of their own here.
#pragma once

struct vlan_ioctl_args;

namespace engine {

struct Host {
    bool (*interfaceExists)(const char *name);
    // True where the kernel makes VLAN sub-interfaces; they are simulated elsewhere.
    bool (*kernelHasVlans)();
    // Both: 0 or errno. The first hands a request to the kernel's VLAN support,
    // the second brings a real interface up or down.
    int (*vlanRequest)(vlan_ioctl_args &request);
    int (*interfaceUpSet)(const char *name, bool up);
};

// The machine itself. SWENGINE_VLAN=simulated in the environment makes it deny
// the kernel's VLAN support.
extern const Host thisHost;

} // namespace engine
