// vlan_table_func and arl_table_func: the engine's VLAN and address tables.
#include "devices/engine/tools.h"

#include <cstring>

namespace engine {

namespace {

bool sameMac(const Mac &left, const Mac &right)
{
    return memcmp(left.bytes, right.bytes, sizeof(left.bytes)) == 0;
}

int arlAdd(State &state, const Arguments &arguments)
{
    ArlEntry entry = {.present = 1, .flag = 0, .mac = {}, .portMap = 0};
    uint32_t vlanId = 0;
    uint32_t flag = 0;
    if (arguments.count != 5)
        return wrongUsage;
    if (!arguments.mac(1, "MAC", entry.mac) ||
        !arguments.decimal(2, "VLAN", 1, vlanIdCount - 1, vlanId) ||
        !arguments.prefixedHex(3, "PORTS", allPorts, entry.portMap) ||
        !arguments.prefixedHex(4, "FLAG", 1, flag))
        return badArguments;
    entry.flag = static_cast<uint8_t>(flag);
    ArlEntry *place = nullptr;
    for (ArlEntry &way : state.arl[vlanId]) {
        if (way.present && sameMac(way.mac, entry.mac)) {
            place = &way;
            break;
        }
        if (!way.present && place == nullptr)
            place = &way;
    }
    if (place == nullptr) {
        arguments.fail("no room for a further address in VLAN %u", vlanId);
        return refused;
    }
    *place = entry;
    return 0;
}

// Without an address, every address of the VLAN is removed. A missing entry is not a
// failure: the requested state holds.
int arlDelete(State &state, const Arguments &arguments)
{
    Mac mac = {};
    uint32_t vlanId = 0;
    const bool hasMac = arguments.count == 3;
    if (arguments.count < 2 || arguments.count > 3)
        return wrongUsage;
    if ((hasMac && !arguments.mac(1, "MAC", mac)) ||
        !arguments.decimal(arguments.count - 1, "VLAN", 1, vlanIdCount - 1, vlanId))
        return badArguments;
    for (ArlEntry &way : state.arl[vlanId])
        if (!hasMac || sameMac(way.mac, mac))
            way = {};
    return 0;
}

} // namespace

int vlanTable(State &state, const Arguments &arguments)
{
    VlanEntry entry = {};
    uint32_t index = 0;
    uint32_t isWan = 0;
    uint32_t vlanId = 0;
    uint32_t last = 0;
    const bool hasMac = arguments.count == 8;
    if (!arguments.is(0, "edit") || arguments.count < 7 || arguments.count > 8)
        return wrongUsage;
    if (!arguments.decimal(1, "INDEX", 0, vlanTableSize - 1, index) ||
        !arguments.decimal(2, "ISWAN", 0, 1, isWan) ||
        !arguments.prefixedHex(3, "ETAG", allPorts, entry.etagMap) ||
        !arguments.prefixedHex(4, "MEMBERS", allPorts, entry.mbMap) ||
        !arguments.decimal(5, "VLAN", 1, vlanIdCount - 1, vlanId) ||
        (hasMac && !arguments.mac(6, "MAC", entry.mac)) ||
        !arguments.decimal(arguments.count - 1, "FLAG", 0, 1, last))
        return badArguments;
    if ((entry.etagMap & ~entry.mbMap) != 0)
        return arguments.fail("ETAG names ports that are not in MEMBERS");
    if (entry.mbMap != 0 && !hasMac)
        return arguments.fail("an entry with members needs a MAC");
    entry.present = 1;
    entry.isWan = isWan != 0;
    entry.hasMac = hasMac;
    entry.last = last != 0;
    entry.vlanId = static_cast<uint16_t>(vlanId);
    state.vlans[index] = entry;
    if (index >= state.vlanIndexEnd)
        state.vlanIndexEnd = index + 1;
    return 0;
}

int arlTable(State &state, const Arguments &arguments)
{
    if (arguments.is(0, "add"))
        return arlAdd(state, arguments);
    if (arguments.is(0, "del"))
        return arlDelete(state, arguments);
    return wrongUsage;
}

} // namespace engine
