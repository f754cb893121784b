#include "client/devices/frame_fate.h"

#include "client/base/port_mask.h"
#include "client/base/text.h"

namespace swctl {

std::string vlanText(int vlanId)
{
    return "VLAN " + std::to_string(vlanId);
}

std::string membersText(uint32_t members, uint32_t untagged)
{
    std::string text;
    for (const int port : portsIn(members | untagged)) {
        const bool member = (members & portBit(port)) != 0;
        const bool bare = (untagged & portBit(port)) != 0;
        text += (text.empty() ? "" : " ") + std::to_string(port) +
                (!member ? "u"
                 : bare  ? "U"
                         : "T");
    }
    return text.empty() ? "-" : text;
}

std::string partText(bool member, bool untagged)
{
    if (!member)
        return untagged ? "not a member, but in the untag map" : "not a member";
    return untagged ? "member, sends untagged" : "member, sends tagged";
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
