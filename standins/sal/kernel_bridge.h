// VLANs of a bridge without running a program: sends the message that "bridge vlan" sends
// to the kernel. The program first reads all interfaces, which takes longer the more
// sub-interfaces there are.
#pragma once

#include <cstddef>

// Carries out a command line of these forms:
//     bridge vlan add dev IF vid ID [pvid untagged | self]
//     bridge vlan del dev IF vid ID [self]
// False for any other, and if the kernel refuses it or its answer is lost: then the program
// must be run, so that the error message is its own; carrying out a line twice does no
// harm. For a process with a single thread, which keeps the socket.
bool kernelBridgeRun(char *const words[], size_t count);
