// Who may talk to a service: root, the service's user, and members of the
// service's group. Asked once for each connection, when it is accepted.
#pragma once

namespace relay {

// The credentials are the kernel's, as they were when the peer connected. A
// peer with more than 1024 supplementary groups counts by its first group only.
bool peerAdmitted(int connection);

} // namespace relay
