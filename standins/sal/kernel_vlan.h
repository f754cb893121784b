// Sub-interfaces without running a program: makes the requests to the kernel that vconfig
// and ifconfig make.
#pragma once

#include <cstddef>

// Whether SAL_VLAN asks for this, here and in kernel_bridge.h.
bool kernelVlanWanted();

// Carries out a command line of these forms, with the tool's exit status and its message
// on standard error:
//     [/sbin/]vconfig add IF ID
//     [/sbin/]vconfig rem IF.ID
//     [/sbin/]vconfig set_ingress_map|set_egress_map IF FROM TO
//     [/sbin/]ifconfig IF up
// False, with nothing done, for any other and on a kernel without VLANs: then the program
// must be run.
bool kernelVlanRun(char *const words[], size_t count, int &status);
