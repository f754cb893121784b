#include "standins/sal/kernel_bridge.h"

#include "standins/sal/kernel_words.h"

#include <cstdint>
#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr unsigned vlanIds = 4096;
constexpr size_t plainWords = 7; // "bridge vlan add dev lan1 vid 10"

// What may follow those.
struct Ending {
    size_t count;
    const char *words[2];
    uint16_t bridge; // flags of the message
    uint16_t vlan;   // flags of the VLAN
};

constexpr Ending endings[] = {
    {0, {}, 0, 0},
    {1, {"self"}, BRIDGE_FLAGS_SELF, 0},
    {2, {"pvid", "untagged"}, 0, BRIDGE_VLAN_INFO_PVID | BRIDGE_VLAN_INFO_UNTAGGED},
};

// The message, and the length of each attribute with its header.
struct Request {
    nlmsghdr head;
    ifinfomsg link;
    rtattr ofBridge; // contains the others
    rtattr flagsHead;
    uint16_t flags; // addressee; 0: the bridge that the interface is a port of
    uint16_t padding;
    rtattr vlanHead;
    bridge_vlan_info vlan;
};
constexpr uint16_t flagsLength = 6;
constexpr uint16_t vlanLength = 8;
constexpr uint16_t ofBridgeLength = 20;
static_assert(sizeof(Request) == sizeof(nlmsghdr) + sizeof(ifinfomsg) + ofBridgeLength);

// The socket for messages, opened by the first one and kept, and the last one's number.
constinit int kernel = -1;
constinit uint32_t sequence = 0;

bool kernelSocket()
{
    if (kernel < 0)
        kernel = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    return kernel >= 0;
}

// Whether the kernel carried out the message. It answers before send() returns.
bool done(const Request &request)
{
    struct {
        nlmsghdr head;
        nlmsgerr outcome;
    } answer = {}; // the rest is cut off
    const bool answered = send(kernel, &request, sizeof(request), 0) == sizeof(request) &&
                          recv(kernel, &answer, sizeof(answer), MSG_DONTWAIT) == sizeof(answer) &&
                          answer.head.nlmsg_type == NLMSG_ERROR &&
                          answer.head.nlmsg_seq == request.head.nlmsg_seq;
    if (!answered) { // a late answer must not be taken for another's
        close(kernel);
        kernel = -1;
    }
    return answered && answer.outcome.error == 0;
}

const Ending *endingOf(char *const words[], size_t count)
{
    for (const Ending &ending : endings) {
        bool same = ending.count == count;
        for (size_t i = 0; same && i < count; ++i)
            same = strcmp(words[i], ending.words[i]) == 0;
        if (same)
            return &ending;
    }
    return nullptr;
}

} // namespace

bool kernelBridgeRun(char *const words[], size_t count)
{
    if (count < plainWords || strcmp(words[0], "bridge") != 0 || strcmp(words[1], "vlan") != 0 ||
        strcmp(words[3], "dev") != 0 || strcmp(words[5], "vid") != 0)
        return false;
    const bool remove = strcmp(words[2], "del") == 0;
    const Ending *ending = endingOf(words + plainWords, count - plainWords);
    unsigned vlanId = 0;
    ifreq interface = {};
    if ((!remove && strcmp(words[2], "add") != 0) || ending == nullptr ||
        (remove && ending->vlan != 0) || !numberRead(words[6], vlanIds, vlanId) ||
        !nameCopy(interface.ifr_name, words[4]))
        return false;
    if (!kernelSocket() || ioctl(kernel, SIOCGIFINDEX, &interface) < 0)
        return false;
    Request request = {};
    request.head = {sizeof(request), RTM_SETLINK, NLM_F_REQUEST | NLM_F_ACK, ++sequence, 0};
    if (remove)
        request.head.nlmsg_type = RTM_DELLINK;
    request.link.ifi_family = AF_BRIDGE;
    request.link.ifi_index = interface.ifr_ifindex;
    request.ofBridge = {ofBridgeLength, IFLA_AF_SPEC};
    request.flagsHead = {flagsLength, IFLA_BRIDGE_FLAGS};
    request.flags = ending->bridge;
    request.vlanHead = {vlanLength, IFLA_BRIDGE_VLAN_INFO};
    request.vlan = {ending->vlan, static_cast<uint16_t>(vlanId)};
    return done(request);
}
