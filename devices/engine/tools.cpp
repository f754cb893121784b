// The table of tools, and how one is called.
#include "devices/engine/tools.h"

#include <cstdio>
#include <cstring>

namespace engine {

namespace {

constexpr Tool table[] = {
    {"vlan_table_func", "edit INDEX ISWAN 0xETAG 0xMEMBERS VLAN [MAC] FLAG", vlanTable},
    {"arl_table_func", "add MAC VLAN 0xPORTS 0xFLAG | del [MAC] VLAN", arlTable},
    {"rate_limit_func", "set PORT VALUE UNIT", rateLimit},
    {"tc_func", "set CODE", trafficClasses},
    {"queue_weight_func", "set PORT MODE WEIGHT1 WEIGHT2 WEIGHT3 WEIGHT4", queueWeights},
    {"pri_ctl_func", "set PORT FLAG1 FLAG2 FLAG3 FLAG4 FLAG5", priorityControl},
    {"sppe_ioctl", "rl enable|disable", packetEngine},
    {"memrw", "ADDRESS w [HEXVALUE]", registerAccess},
    {"vconfig",
     "add INTERFACE VLAN | rem INTERFACE.VLAN | "
     "set_ingress_map|set_egress_map INTERFACE.VLAN PACKET_PRIORITY TAG_PRIORITY",
     vlanInterface},
    {"ifconfig", "INTERFACE [up|down]", interfaceState},
};

} // namespace

const Tool *tools(size_t &count)
{
    count = sizeof(table) / sizeof(table[0]);
    return table;
}

const Tool *toolByName(const char *name)
{
    for (const Tool &tool : table)
        if (strcmp(tool.name, name) == 0)
            return &tool;
    return nullptr;
}

int toolRun(const Tool &tool, const Host &host, State &state, int count, const char *const *words,
            Reply &reply)
{
    reply = {};
    Arguments arguments = {
        .tool = tool.name, .values = {}, .count = 0, .reply = &reply, .host = &host};
    int status = wrongUsage;
    if (collect(arguments, count, words))
        status = tool.run(state, arguments);
    if (status != wrongUsage)
        return status;
    snprintf(reply.error, sizeof(reply.error), "usage: %s %s\n", tool.name, tool.usage);
    return badArguments;
}

} // namespace engine
