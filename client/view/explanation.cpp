#include "client/view/explanation.h"

#include "client/base/text.h"

namespace swctl {

std::string vlanText(int vlanId)
{
    return "VLAN " + std::to_string(vlanId);
}

std::string partText(bool member, bool untagged)
{
    if (!member)
        return untagged ? "no member, though in the untag map" : "no member";
    return untagged ? "member, sends without tag" : "member, sends tagged";
}

std::string FrameFate::text() const
{
    if (!unknown.empty())
        return "not known: " + unknown;
    if (!dropped.empty())
        return "dropped: " + dropped;
    std::string list = to != 0 ? membersText(to, bare) : "";
    for (const std::string &name : others)
        list += (list.empty() ? "" : ", ") + printable(name);
    if (host)
        list += list.empty() ? "the host" : " and the host";
    return "in " + vlanText(vlanId) + ", to " + list;
}

} // namespace swctl
