// Sub-interfaces without a program: what vconfig and ifconfig do by one word to the
// kernel, done here.
#pragma once

#include <cstddef>

// Whether SAL_VLAN asks for it, here and in kernel_bridge.h.
bool kernelVlanWanted();

// Carries out a command line of these shapes, with the tool's exit status and its
// words on standard error:
//     [/sbin/]vconfig add IF ID
//     [/sbin/]vconfig rem IF.ID
//     [/sbin/]vconfig set_ingress_map|set_egress_map IF FROM TO
//     [/sbin/]ifconfig IF up
// False, and nothing done, for any other and on a kernel without VLANs: then the
// program is to be run.
bool kernelVlanRun(char *const words[], size_t count, int &status);
