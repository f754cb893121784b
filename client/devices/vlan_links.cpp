#include "client/devices/vlan_links.h"

#include "common/descriptor.h"

#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace swctl {
namespace {

constexpr size_t datagramSize = 64 * 1024; // more than the kernel sends in one
constexpr int attempts = 5;                // while interfaces keep changing
constexpr time_t answerTimeout = 2;        // seconds

// The structure at the front; zero-filled if there are too few bytes.
template <class T>
T front(std::string_view bytes)
{
    T value{};
    if (bytes.size() >= sizeof(value))
        memcpy(&value, bytes.data(), sizeof(value));
    return value;
}

std::string_view after(std::string_view bytes, size_t length)
{
    return bytes.substr(std::min(length, bytes.size()));
}

// Calls `take` with the type and payload of each attribute, up to the first malformed one.
template <class Take>
void eachAttribute(std::string_view bytes, const Take &take)
{
    while (bytes.size() >= sizeof(rtattr)) {
        const auto head = front<rtattr>(bytes);
        if (head.rta_len < sizeof(rtattr) || head.rta_len > bytes.size())
            return;
        take(head.rta_type & NLA_TYPE_MASK, after(bytes.substr(0, head.rta_len), sizeof(rtattr)));
        bytes = after(bytes, NLMSG_ALIGN(head.rta_len));
    }
}

std::string text(std::string_view bytes)
{
    return std::string(bytes.substr(0, bytes.find('\0')));
}

// The kernel lists only priorities mapped to a value other than 0.
template <size_t N>
void takeMap(std::string_view bytes, std::array<uint8_t, N> &map)
{
    eachAttribute(
        bytes,
        [&map](int, std::string_view one) {
            const auto pair = front<ifla_vlan_qos_mapping>(one);
            if (pair.from < N)
                map[pair.from] = static_cast<uint8_t>(std::min<uint32_t>(pair.to, UINT8_MAX));
        });
}

void takeVlan(std::string_view bytes, SubInterface &sub)
{
    eachAttribute(
        bytes,
        [&sub](int type, std::string_view value) {
            if (type == IFLA_VLAN_ID)
                sub.vlanId = front<uint16_t>(value);
            else if (type == IFLA_VLAN_INGRESS_QOS)
                takeMap(value, sub.ingress);
            else if (type == IFLA_VLAN_EGRESS_QOS)
                takeMap(value, sub.egress);
        });
}

bool sendQuestion(int socket)
{
    struct {
        nlmsghdr head;
        ifinfomsg about;
        rtattr attribute;
        uint32_t filter;
    } question = {};
    question.head.nlmsg_len = sizeof(question);
    question.head.nlmsg_type = RTM_GETLINK;
    question.head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    question.attribute.rta_len = sizeof(question.attribute) + sizeof(question.filter);
    question.attribute.rta_type = IFLA_EXT_MASK;
    question.filter = RTEXT_FILTER_SKIP_STATS; // they would be most of the reply
    return send(socket, &question, sizeof(question), 0) == sizeof(question);
}

int receiveAll(int socket, LinkDump &dump)
{
    std::vector<char> datagram(datagramSize);
    int status = LinkDump::more;
    while (status == LinkDump::more) {
        const ssize_t length = recv(socket, datagram.data(), datagram.size(), MSG_TRUNC);
        if (length < 0 && errno == EINTR)
            continue;
        if (length < 0)
            return errno == EAGAIN ? -ETIMEDOUT : -errno;
        if (static_cast<size_t>(length) > datagram.size())
            return -EMSGSIZE;
        status = dump.take({datagram.data(), static_cast<size_t>(length)});
    }
    return status;
}

// Uses a new socket for each attempt, so that the rest of an interrupted dump is discarded.
int ask(LinkDump &dump)
{
    const Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    timeval limit = {};
    limit.tv_sec = answerTimeout;
    if (!socket.valid() ||
        setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) != 0 ||
        !sendQuestion(socket.get()))
        return -errno;
    return receiveAll(socket.get(), dump);
}

} // namespace

void LinkDump::takeAttributes(std::string_view bytes, Link &link)
{
    bool elsewhere = false;
    eachAttribute(bytes, [&](int type, std::string_view value) {
        std::string_view details;
        if (type == IFLA_IFNAME)
            link.name = text(value);
        else if (type == IFLA_LINK)
            link.parent = front<int>(value);
        else if (type == IFLA_LINK_NETNSID)
            elsewhere = true;
        else if (type == IFLA_LINKINFO)
            details = value;
        eachAttribute(details, [&link](int detail, std::string_view inner) {
            if (detail == IFLA_INFO_KIND)
                link.isVlan = text(inner) == "vlan";
            else if (detail == IFLA_INFO_DATA && link.isVlan) // the kind comes first
                takeVlan(inner, link.sub);
        });
    });
    if (elsewhere)
        link.parent = 0;
}

int LinkDump::take(std::string_view datagram)
{
    while (datagram.size() >= sizeof(nlmsghdr)) {
        const auto head = front<nlmsghdr>(datagram);
        if (head.nlmsg_len < sizeof(nlmsghdr) || head.nlmsg_len > datagram.size())
            return -EPROTO;
        const std::string_view body = after(datagram.substr(0, head.nlmsg_len), sizeof(nlmsghdr));
        changed = changed || (head.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
        if (head.nlmsg_type == NLMSG_ERROR) {
            const int status = front<int>(body); // nlmsgerr begins with it
            return status < 0 ? status : -EPROTO;
        }
        if (head.nlmsg_type == NLMSG_DONE) {
            const int status = front<int>(body);
            return status < 0 ? status : changed ? -EINTR : complete;
        }
        if (head.nlmsg_type == RTM_NEWLINK) {
            const auto about = front<ifinfomsg>(body);
            Link &link = links[about.ifi_index];
            link = {};
            link.sub.up = (about.ifi_flags & IFF_UP) != 0;
            takeAttributes(after(body, NLMSG_ALIGN(sizeof(about))), link);
        }
        datagram = after(datagram, NLMSG_ALIGN(head.nlmsg_len));
    }
    return datagram.empty() ? more : -EPROTO;
}

std::map<std::string, SubInterface> LinkDump::subInterfaces() const
{
    std::map<std::string, SubInterface> all;
    for (const auto &[index, link] : links) {
        if (!link.isVlan)
            continue;
        SubInterface &sub = all[link.name] = link.sub;
        const auto parent = links.find(link.parent);
        if (parent != links.end())
            sub.parent = parent->second.name;
    }
    return all;
}

Part<Kernel> vlanLinksRead()
{
    Part<Kernel> part;
    int status = -EINTR;
    for (int attempt = 0; attempt < attempts && status == -EINTR; ++attempt) {
        LinkDump dump;
        status = ask(dump);
        if (status == LinkDump::complete)
            part.held.emplace().interfaces = dump.subInterfaces();
    }
    if (status == -EINTR)
        part.reason = "the kernel's interfaces: they change faster than they can be read";
    else if (status < 0)
        part.reason = std::string("the kernel's interfaces: ") + strerror(-status);
    return part;
}

} // namespace swctl
