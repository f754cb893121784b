// Peer credentials of a Unix socket, checked against those of this process.
#include "standins/relay/peer.h"

#include <sys/socket.h>
#include <unistd.h>

#ifndef SO_PEERGROUPS
#define SO_PEERGROUPS 59 // since Linux 4.13, missing from older C libraries
#endif

namespace relay {

namespace {

constexpr size_t maxGroups = 1024;

bool inSupplementaryGroup(int connection, gid_t group)
{
    gid_t groups[maxGroups];
    socklen_t length = sizeof(groups);
    if (getsockopt(connection, SOL_SOCKET, SO_PEERGROUPS, groups, &length) != 0)
        return false;
    for (size_t i = 0; i < length / sizeof(groups[0]); ++i)
        if (groups[i] == group)
            return true;
    return false;
}

} // namespace

bool peerAdmitted(int connection)
{
    struct ucred peer = {};
    socklen_t length = sizeof(peer);
    if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0)
        return false;
    const gid_t group = getegid();
    return peer.uid == 0 || peer.uid == geteuid() || peer.gid == group ||
           inSupplementaryGroup(connection, group);
}

} // namespace relay
