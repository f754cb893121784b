// Command lines of iproute2 and ethtool, as an operator would type them.
#include "backends/bridge/lines.h"

#include "base/interface_name.h"
#include "base/tool.h"
#include "model/status.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr size_t longestName = 15; // of an interface

int outcome(int status)
{
    return status == 0 ? 0 : statusFailed;
}

const char *onOff(bool on)
{
    return on ? "on" : "off";
}

// Burst size: the bytes of 10 ms, but at least a few whole frames.
int burstOf(int32_t rate)
{
    constexpr int64_t bytesPerKbit = 125;
    constexpr int64_t least = 4000;
    constexpr int64_t most = 1 << 26;
    const int64_t burst = rate * bytesPerKbit / 100;
    return static_cast<int>(burst < least ? least : burst > most ? most : burst);
}

// Bands are numbered from the highest queue. The eight priorities are divided evenly among the
// queues; a weight counts full frames.
template <size_t N>
void bandsOf(const PortSending &sending, char (&text)[N])
{
    constexpr int fullFrame = 1514;
    constexpr int priorities = 8;
    const int last = sending.queues - 1;
    size_t used = 0;
    const auto add = [&](const char *format, int value) {
        const int length = snprintf(text + used, N - used, format, value);
        if (length > 0 && static_cast<size_t>(length) < N - used)
            used += static_cast<size_t>(length);
    };
    add("bands %d", sending.queues);
    if (sending.strict != 0)
        add(" strict %d", sending.strict);
    for (int band = sending.strict; band <= last; ++band) {
        if (band == sending.strict)
            add(" quanta", 0);
        add(" %d", sending.weights[last - band] * fullFrame);
    }
    add(" priomap", 0);
    for (int priority = 0; priority < priorities; ++priority)
        add(" %d", last - priority * sending.queues / priorities);
}

} // namespace

bool linkNameIsGood(const char *name)
{
    return *name != '\0' && *name != '-' && strcmp(name, ".") != 0 && strcmp(name, "..") != 0 &&
           strnlen(name, longestName + 1) <= longestName && interfaceNameIsSafe(name);
}

int linkUp(const char *name, const char *func)
{
    return outcome(toolRun(func, __LINE__, "ip link set dev %s up", name));
}

int bridgeMake(const char *bridge, const char *func)
{
    return outcome(
        toolRun(func, __LINE__, "ip link add name %s type bridge vlan_default_pvid 0", bridge));
}

int bridgeFilteringSet(const char *bridge, bool on, const char *func)
{
    return outcome(toolRun(func, __LINE__, "ip link set dev %s type bridge vlan_filtering %d",
                           bridge, on ? 1 : 0));
}

int bridgeSnoopingSet(const char *bridge, bool on, const char *func)
{
    return outcome(toolRun(func, __LINE__, "ip link set dev %s type bridge mcast_snooping %d",
                           bridge, on ? 1 : 0));
}

int bridgeSelfSet(const char *bridge, int32_t vlanId, bool member, const char *func)
{
    return outcome(toolRun(func, __LINE__, "bridge vlan %s dev %s vid %d self",
                           member ? "add" : "del", bridge, vlanId));
}

int portJoin(const char *port, const char *bridge, const char *func)
{
    return outcome(toolRun(func, __LINE__, "ip link set dev %s master %s", port, bridge));
}

int portVlanAdd(const char *port, int32_t vlanId, bool untagged, const char *func)
{
    return outcome(toolRun(func, __LINE__, "bridge vlan add dev %s vid %d%s", port, vlanId,
                           untagged ? " pvid untagged" : ""));
}

int portVlanDelete(const char *port, int32_t vlanId, const char *func)
{
    return outcome(toolRun(func, __LINE__, "bridge vlan del dev %s vid %d", port, vlanId));
}

int portPauseSet(const char *port, bool on, const char *func)
{
    return outcome(
        toolRun(func, __LINE__, "ethtool -A %s rx %s tx %s", port, onOff(on), onOff(on)));
}

int portSendingSet(const char *port, const PortSending &sending, const char *func)
{
    // Start over, because a queueing discipline that had a parent cannot become the root. tc
    // fails if there is nothing to delete, so add something first.
    int status =
        outcome(toolRun(func, __LINE__, "tc qdisc replace dev %s root pfifo limit 1000", port));
    if (status == 0)
        status = outcome(toolRun(func, __LINE__, "tc qdisc del dev %s root", port));
    if (status == 0 && sending.rate != 0)
        status = outcome(toolRun(func, __LINE__,
                                 "tc qdisc add dev %s root handle 10: tbf rate %dkbit burst %d "
                                 "latency 50ms",
                                 port, sending.rate, burstOf(sending.rate)));
    if (status < 0 || sending.queues <= 1)
        return status;
    char bands[96];
    bandsOf(sending, bands);
    return outcome(toolRun(func, __LINE__, "tc qdisc add dev %s %s handle 20: ets %s", port,
                           sending.rate != 0 ? "parent 10:1" : "root", bands));
}
