// swframes: sends a request from every interface of every host to the address of every
// other, while listening on the hosts' cables. The demonstration and the proof of a switch
// that Linux drives use it to observe what frames do instead of computing it.
#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/if_ether.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr char usage[] =
    R"(usage: swframes PLACE... [ADDRESS...]
       swframes --help | --version

Each PLACE is NAMESPACE:INTERFACE=ADDRESS, an interface in a network name space of
'ip netns' and its IPv4 address. From each of them an ARP request goes out for the
address of every place in another name space and for every ADDRESS alone. Prints
once it has been quiet for 0.3 s, sorted and each line once:

  answer NAMESPACE INTERFACE ADDRESS   that address answered at that interface
  heard NAMESPACE TAG ADDRESS          an ARP frame of that sender arrived there, at
                                       the interface without a dot in its name; TAG
                                       is its VLAN, 0 for a frame without a tag

Exit status: 0 everything was sent, 1 not (a reason on standard error), 2 wrong usage.
)";

constexpr int quietTime = 300;                  // ms
constexpr std::chrono::seconds longestTime{10}; // if frames keep coming

// An ARP packet for IPv4 over Ethernet.
struct Arp {
    arphdr head;
    uint8_t senderHardware[ETH_ALEN];
    uint8_t sender[4];
    uint8_t targetHardware[ETH_ALEN];
    uint8_t target[4];
};
static_assert(sizeof(Arp) == 28);

struct Place {
    std::string space, interface;
    in_addr address{};
    int index = 0; // of the interface, in its namespace
    uint8_t hardware[ETH_ALEN] = {};
    int asking = -1;    // socket on the interface
    int listening = -1; // on the cable; -1: this is not a cable
};

std::string textOf(const void *address)
{
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, address, text, sizeof(text));
}

[[noreturn]] void fail(const std::string &what)
{
    fprintf(stderr, "swframes: %s: %s\n", what.c_str(), strerror(errno));
    exit(1);
}

bool placeRead(std::string_view text, Place &place)
{
    const size_t colon = text.find(':');
    const size_t equal = text.find('=');
    if (colon == std::string_view::npos || equal == std::string_view::npos || equal < colon)
        return false;
    place.space = text.substr(0, colon);
    place.interface = text.substr(colon + 1, equal - colon - 1);
    return !place.space.empty() && place.space.find('/') == std::string::npos &&
           !place.interface.empty() && place.interface.size() < IFNAMSIZ &&
           inet_pton(AF_INET, std::string(text.substr(equal + 1)).c_str(), &place.address) == 1;
}

int socketAt(const Place &place, int type, int protocol)
{
    const int fd = socket(AF_PACKET, type | SOCK_CLOEXEC, 0); // receives nothing yet
    const int size = 1 << 20;
    sockaddr_ll at = {};
    at.sll_family = AF_PACKET;
    at.sll_protocol = htons(static_cast<uint16_t>(protocol));
    at.sll_ifindex = place.index;
    // Only the machine's administrator may have a larger buffer than usual.
    if (fd >= 0 && setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof(size)) != 0)
        setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size));
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr *>(&at), sizeof(at)) != 0)
        fail("a socket at " + place.interface + " of " + place.space);
    return fd;
}

// A socket stays in the namespace in which it was created.
void open(Place &place)
{
    const std::string file = "/run/netns/" + place.space;
    const int space = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (space < 0 || setns(space, CLONE_NEWNET) != 0)
        fail(file);
    close(space);
    place.index = static_cast<int>(if_nametoindex(place.interface.c_str()));
    if (place.index == 0)
        fail(place.interface + " of " + place.space);
    place.asking = socketAt(place, SOCK_DGRAM, ETH_P_ARP);
    ifreq request = {};
    memcpy(request.ifr_name, place.interface.c_str(), place.interface.size());
    if (ioctl(place.asking, SIOCGIFHWADDR, &request) != 0)
        fail(place.interface);
    memcpy(place.hardware, request.ifr_hwaddr.sa_data, ETH_ALEN);
    if (place.interface.find('.') != std::string::npos)
        return;
    place.listening = socketAt(place, SOCK_RAW, ETH_P_ALL);
    const int on = 1;
    if (setsockopt(place.listening, SOL_PACKET, PACKET_AUXDATA, &on, sizeof(on)) != 0)
        fail("tags at " + place.interface);
}

void ask(const Place &place, const in_addr &target)
{
    Arp arp = {};
    arp.head = {htons(ARPHRD_ETHER), htons(ETH_P_IP), ETH_ALEN, sizeof(in_addr),
                htons(ARPOP_REQUEST)};
    memcpy(arp.senderHardware, place.hardware, ETH_ALEN);
    memcpy(arp.sender, &place.address, sizeof(arp.sender));
    memcpy(arp.target, &target, sizeof(arp.target));
    sockaddr_ll to = {};
    to.sll_family = AF_PACKET;
    to.sll_protocol = htons(ETH_P_ARP);
    to.sll_ifindex = place.index;
    to.sll_halen = ETH_ALEN;
    memset(to.sll_addr, 0xff, ETH_ALEN);
    if (sendto(place.asking, &arp, sizeof(arp), 0, reinterpret_cast<const sockaddr *>(&to),
               sizeof(to)) != sizeof(arp))
        fail("sending at " + place.interface + " of " + place.space);
}

// The next frame's bytes, its kind and the VLAN that the kernel stripped from it.
ssize_t receive(int fd, uint8_t (&bytes)[256], int &kind, int &tag)
{
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(tpacket_auxdata))];
    sockaddr_ll from = {};
    iovec part = {bytes, sizeof(bytes)};
    msghdr message = {};
    message.msg_name = &from;
    message.msg_namelen = sizeof(from);
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    const ssize_t length = recvmsg(fd, &message, MSG_DONTWAIT);
    kind = from.sll_pkttype;
    tag = 0;
    for (cmsghdr *one = length >= 0 ? CMSG_FIRSTHDR(&message) : nullptr; one != nullptr;
         one = CMSG_NXTHDR(&message, one)) {
        tpacket_auxdata data;
        if (one->cmsg_level != SOL_PACKET || one->cmsg_type != PACKET_AUXDATA)
            continue;
        memcpy(&data, CMSG_DATA(one), sizeof(data));
        if ((data.tp_status & TP_STATUS_VLAN_VALID) != 0)
            tag = data.tp_vlan_tci & 0xfff;
    }
    return length;
}

bool isArp(const uint8_t *bytes, size_t length, Arp &arp)
{
    if (length < sizeof(arp))
        return false;
    memcpy(&arp, bytes, sizeof(arp));
    return arp.head.ar_pro == htons(ETH_P_IP) && arp.head.ar_hln == ETH_ALEN &&
           arp.head.ar_pln == sizeof(in_addr);
}

using Lines = std::set<std::string>;

void takeAnswers(const Place &place, Lines &lines)
{
    uint8_t bytes[256];
    int kind = 0;
    int tag = 0;
    Arp arp;
    for (ssize_t length = 0; (length = receive(place.asking, bytes, kind, tag)) >= 0;)
        if (kind == PACKET_HOST && isArp(bytes, static_cast<size_t>(length), arp) &&
            arp.head.ar_op == htons(ARPOP_REPLY) &&
            memcmp(arp.target, &place.address, sizeof(arp.target)) == 0)
            lines.insert("answer " + place.space + " " + place.interface + " " +
                         textOf(arp.sender));
}

void takeHeard(const Place &place, Lines &lines)
{
    uint8_t bytes[256];
    int kind = 0;
    int tag = 0;
    Arp arp;
    for (ssize_t length = 0; (length = receive(place.listening, bytes, kind, tag)) >= 0;) {
        ether_header head;
        constexpr size_t tagSize = 4;
        size_t at = sizeof(head);
        if (kind == PACKET_OUTGOING || static_cast<size_t>(length) < at + tagSize)
            continue;
        memcpy(&head, bytes, sizeof(head));
        if (head.ether_type == htons(ETHERTYPE_VLAN)) { // a tag that the kernel left in place
            tag = (bytes[at] << 8 | bytes[at + 1]) & 0xfff;
            memcpy(&head.ether_type, bytes + at + 2, sizeof(head.ether_type));
            at += tagSize;
        }
        if (head.ether_type == htons(ETHERTYPE_ARP) &&
            isArp(bytes + at, static_cast<size_t>(length) - at, arp))
            lines.insert("heard " + place.space + " " + std::to_string(tag) + " " +
                         textOf(arp.sender));
    }
}

// False if nothing arrived within `wait` milliseconds.
bool take(const std::vector<Place> &places, int wait, Lines &lines)
{
    std::vector<pollfd> all;
    all.reserve(places.size() * 2);
    for (const Place &place : places) {
        all.push_back({.fd = place.asking, .events = POLLIN, .revents = 0});
        all.push_back({.fd = place.listening, .events = POLLIN, .revents = 0});
    }
    if (poll(all.data(), all.size(), wait) <= 0)
        return false;
    for (const Place &place : places) {
        takeAnswers(place, lines);
        if (place.listening >= 0)
            takeHeard(place, lines);
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (first == "--help")
        return fputs(usage, stdout) < 0 ? 1 : 0;
    if (first == "--version")
        return puts("swframes " SWMGR_VERSION) < 0 ? 1 : 0;
    std::vector<Place> places;
    std::vector<in_addr> addresses;
    for (int i = 1; i < argc; ++i) {
        Place place;
        in_addr address;
        if (placeRead(argv[i], place)) {
            places.push_back(place);
        } else if (inet_pton(AF_INET, argv[i], &address) == 1) {
            addresses.push_back(address);
        } else {
            fprintf(stderr, "swframes: '%s' is not a place. Try 'swframes --help'.\n", argv[i]);
            return 2;
        }
    }
    if (places.empty()) {
        fputs("swframes: a place is expected. Try 'swframes --help'.\n", stderr);
        return 2;
    }
    for (Place &place : places)
        open(place);
    Lines lines;
    for (const Place &place : places) {
        for (const Place &other : places)
            if (other.space != place.space)
                ask(place, other.address);
        for (const in_addr &address : addresses)
            ask(place, address);
        take(places, 0, lines);
    }
    const auto end = std::chrono::steady_clock::now() + longestTime;
    while (std::chrono::steady_clock::now() < end && take(places, quietTime, lines)) {
    }
    for (const std::string &line : lines)
        if (puts(line.c_str()) < 0)
            return 1;
    return 0;
}
