// Who may talk to a service: root, the service's user, and members of the service's
// group. Checked once for each connection, when it is accepted.
#pragma once

namespace relay {

// The credentials come from the kernel, as they were when the peer connected. For a peer
// with more than 1024 supplementary groups, only its primary group counts.
bool peerAdmitted(int connection);

} // namespace relay
