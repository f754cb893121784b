// What is taken from the datagrams in which a kernel lists its interfaces.
#include "client/devices/vlan_links.h"

#include <gtest/gtest.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

using namespace swctl;

namespace {

std::string bytes(const auto &head, const std::string &rest = "")
{
    return std::string(reinterpret_cast<const char *>(&head), sizeof(head)) + rest;
}

std::string attribute(uint16_t type, const std::string &value)
{
    const rtattr head{static_cast<uint16_t>(sizeof(head) + value.size()), type};
    return bytes(head, value + std::string(-value.size() % 4, '\0'));
}

std::string message(uint16_t type, const std::string &body, uint16_t flags = 0)
{
    return bytes(nlmsghdr{static_cast<uint32_t>(sizeof(nlmsghdr) + body.size()), type, flags, 1, 0},
                 body);
}

TEST(LinkDump, tellsSubInterfacesAndWhyNot)
{
    const auto pair = [](uint32_t from, uint32_t to) {
        return attribute(IFLA_VLAN_QOS_MAPPING, bytes(ifla_vlan_qos_mapping{from, to}));
    };
    const std::string data = attribute(IFLA_VLAN_ID, bytes(uint16_t{10})) +
                             attribute(IFLA_VLAN_INGRESS_QOS, pair(2, 300) + pair(8, 1)) +
                             attribute(IFLA_VLAN_EGRESS_QOS, pair(9, 6) + pair(16, 1));
    const std::string info = attribute(IFLA_INFO_KIND, "vlan") + attribute(IFLA_INFO_DATA, data);
    const std::string vlan = message(
        RTM_NEWLINK, bytes(ifinfomsg{0, 0, 0, 3, 1, 0}, // interface 3, up
                           attribute(IFLA_IFNAME, "eth0.10") + attribute(IFLA_LINK, bytes(2)) +
                               attribute(IFLA_LINKINFO, info)));
    const std::string parent =
        message(RTM_NEWLINK, bytes(ifinfomsg{0, 0, 0, 2, 0, 0}, attribute(IFLA_IFNAME, "eth0")));
    LinkDump dump;
    EXPECT_EQ(dump.take(vlan + parent), LinkDump::more);
    EXPECT_EQ(dump.take(message(NLMSG_DONE, bytes(0))), LinkDump::complete);
    const SubInterface sub{"eth0", 10, true, {0, 0, 255}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 6}};
    EXPECT_EQ(dump.subInterfaces(), (std::map<std::string, SubInterface>{{"eth0.10", sub}}));
    for (size_t length = 1; length < vlan.size(); ++length)
        EXPECT_EQ(dump.take(vlan.substr(0, length)), -EPROTO);
    EXPECT_EQ(dump.take(message(NLMSG_ERROR, bytes(-EPERM))), -EPERM);
    EXPECT_EQ(dump.take(message(NLMSG_DONE, bytes(0), NLM_F_DUMP_INTR)), -EINTR);
}

} // namespace
