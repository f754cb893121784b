// VLANs of a bridge without a program: what "bridge vlan" does by one message to the
// kernel, done here. The program reads all interfaces before, which takes the longer the
// more sub-interfaces there are.
#pragma once

#include <cstddef>

// Carries out a command line of these shapes:
//     bridge vlan add dev IF vid ID [pvid untagged | self]
//     bridge vlan del dev IF vid ID [self]
// False for any other, and where the kernel refuses it or its answer is lost: then the
// program is to be run, which finds the words about it; a line done twice is as done once.
// For a process of one thread, which keeps the socket.
bool kernelBridgeRun(char *const words[], size_t count);
