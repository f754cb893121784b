// vconfig and ifconfig: VLAN sub-interfaces in the kernel if it can create them,
// otherwise in the state file. Failures are those of the kernel.
#include "devices/engine/tools.h"

#include "devices/engine/host.h"

#include <linux/if_vlan.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace engine {

namespace {

constexpr uint32_t highestVlan = vlanIdCount - 1;

int failure(const Arguments &arguments, const char *what, int reason)
{
    return arguments.fail("cannot %s %.64s: %s", what, arguments.values[1], strerror(reason));
}

// Finds "parent.id" among the simulated sub-interfaces; null if missing.
SubInterface *find(State &state, const char *name)
{
    const char *dot = strrchr(name, '.');
    if (dot == nullptr || dot == name || dot[1] < '0' || dot[1] > '9')
        return nullptr;
    char *end = nullptr;
    const unsigned long vlanId = strtoul(dot + 1, &end, 10);
    const auto length = static_cast<size_t>(dot - name);
    if (*end != '\0' || vlanId > highestVlan || length >= interfaceNameSize)
        return nullptr;
    for (SubInterface &way : state.interfaces[vlanId])
        if (way.present && strncmp(way.parent, name, length) == 0 && way.parent[length] == '\0')
            return &way;
    return nullptr;
}

// 0 or errno.
int simulatedAdd(State &state, const Host &host, const char *parent, uint32_t vlanId)
{
    char name[2 * interfaceNameSize];
    if (!host.interfaceExists(parent))
        return ENODEV;
    const int length = snprintf(name, sizeof(name), "%s.%u", parent, vlanId);
    if (length < 0 || length >= static_cast<int>(interfaceNameSize))
        return ENAMETOOLONG;
    if (find(state, name) != nullptr)
        return EEXIST;
    for (SubInterface &way : state.interfaces[vlanId]) {
        if (way.present)
            continue;
        way = {};
        way.present = 1;
        memcpy(way.parent, parent, strlen(parent) + 1);
        return 0;
    }
    return ENOBUFS;
}

vlan_ioctl_args kernelArguments(int command, const char *device)
{
    vlan_ioctl_args request = {};
    request.cmd = command;
    strncpy(request.device1, device, sizeof(request.device1) - 1);
    return request;
}

int add(State &state, const Arguments &arguments)
{
    uint32_t vlanId = 0;
    if (arguments.count != 3)
        return wrongUsage;
    if (!arguments.decimal(2, "VLAN", 0, highestVlan, vlanId))
        return badArguments;
    const Host &host = *arguments.host;
    int reason = 0;
    if (host.kernelHasVlans()) {
        vlan_ioctl_args request = kernelArguments(ADD_VLAN_CMD, arguments.values[1]);
        request.u.VID = static_cast<int>(vlanId);
        reason = host.vlanRequest(request);
    } else {
        reason = simulatedAdd(state, host, arguments.values[1], vlanId);
    }
    return reason == 0 ? 0 : failure(arguments, "add a VLAN to", reason);
}

int remove(State &state, const Arguments &arguments)
{
    if (arguments.count != 2)
        return wrongUsage;
    int reason = 0;
    if (arguments.host->kernelHasVlans()) {
        vlan_ioctl_args request = kernelArguments(DEL_VLAN_CMD, arguments.values[1]);
        reason = arguments.host->vlanRequest(request);
    } else if (SubInterface *found = find(state, arguments.values[1])) {
        *found = {};
    } else {
        reason = ENODEV;
    }
    return reason == 0 ? 0 : failure(arguments, "remove", reason);
}

int mapSet(State &state, const Arguments &arguments, bool ingress)
{
    uint32_t packet = 0;
    uint32_t tag = 0;
    if (arguments.count != 4)
        return wrongUsage;
    if (!arguments.decimal(2, "PACKET_PRIORITY", 0, egressCount - 1, packet) ||
        !arguments.decimal(3, "TAG_PRIORITY", 0, ingressCount - 1, tag))
        return badArguments;
    int reason = 0;
    if (arguments.host->kernelHasVlans()) {
        vlan_ioctl_args request =
            kernelArguments(ingress ? SET_VLAN_INGRESS_PRIORITY_CMD : SET_VLAN_EGRESS_PRIORITY_CMD,
                            arguments.values[1]);
        request.u.skb_priority = packet;
        request.vlan_qos = static_cast<short>(tag);
        reason = arguments.host->vlanRequest(request);
    } else if (SubInterface *found = find(state, arguments.values[1])) {
        if (ingress)
            found->ingress[tag] = static_cast<uint8_t>(packet);
        else
            found->egress[packet] = static_cast<uint8_t>(tag);
    } else {
        reason = ENODEV;
    }
    return reason == 0 ? 0 : failure(arguments, "map priorities of", reason);
}

int print(const SubInterface *simulated, const Arguments &arguments)
{
    const char *name = arguments.values[0];
    if (simulated == nullptr && !arguments.host->interfaceExists(name))
        return arguments.fail("%.64s: %s", name, strerror(ENODEV));
    const char *state = simulated == nullptr ? "present" : simulated->up ? "up" : "down";
    snprintf(arguments.reply->output, sizeof(arguments.reply->output), "%.64s: %s\n", name, state);
    return 0;
}

} // namespace

int vlanInterface(State &state, const Arguments &arguments)
{
    if (arguments.is(0, "add"))
        return add(state, arguments);
    if (arguments.is(0, "rem"))
        return remove(state, arguments);
    if (arguments.is(0, "set_ingress_map"))
        return mapSet(state, arguments, /*ingress=*/true);
    if (arguments.is(0, "set_egress_map"))
        return mapSet(state, arguments, /*ingress=*/false);
    return wrongUsage;
}

int interfaceState(State &state, const Arguments &arguments)
{
    const bool up = arguments.is(1, "up");
    if (arguments.count < 1 || arguments.count > 2)
        return wrongUsage;
    const char *name = arguments.values[0];
    SubInterface *simulated = find(state, name);
    if (arguments.count == 1)
        return print(simulated, arguments);
    if (!up && !arguments.is(1, "down"))
        return wrongUsage;
    if (simulated != nullptr) {
        simulated->up = up;
        return 0;
    }
    const int reason = arguments.host->interfaceUpSet(name, up);
    return reason == 0 ? 0 : arguments.fail("%.64s: %s", name, strerror(reason));
}

} // namespace engine
