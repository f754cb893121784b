// The chip's state for programs.
#include "devices/chip/chip_text.h"

#include "common/json.h"

namespace chip {

namespace {

Json portJson(size_t number, const Port &port)
{
    return {{"port", number},
            {"link", port.linkStatus},
            {"pvid", port.pvid},
            {"priority", port.priority},
            {"cfi", port.cfi},
            {"non8021q", port.dropNon8021q},
            {"forwardMap", port.forwardMap},
            {"trustMode", port.trustMode},
            {"schedMode", port.schedMode},
            {"weights", port.weights},
            {"rateLimit", port.rateLimit},
            {"cosQueue", port.cosQueue}};
}

} // namespace

std::string stateJson(const Model &model)
{
    Json json = {{"vlanMode", model.vlanMode},
                 {"qos", model.qos},
                 {"pauseFrames", model.pauseFrames},
                 {"requests", model.handled},
                 {"refused", model.refused},
                 {"ports", Json::array()},
                 {"vlans", Json::array()}};
    for (size_t i = 0; i < model.ports.size(); ++i)
        json["ports"].push_back(portJson(i, model.ports[i]));
    for (size_t id = 0; id < model.vlans.size(); ++id)
        if (const Vlan &vlan = model.vlans[id]; vlan.present)
            json["vlans"].push_back(
                {{"vlan", id}, {"fwdMap", vlan.fwdMap}, {"untagMap", vlan.untagMap}});
    return json.oneLine() + "\n";
}

} // namespace chip
