// Decodes requests field by field for the trace, and prints the chip's state.
#include "devices/chip/chip_text.h"

#include "backends/bcm/driver.h"
#include "standins/sal/device_protocol.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace chip {

namespace {

[[gnu::format(printf, 1, 2)]] std::string text(const char *format, ...)
{
    char buffer[256];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(buffer, sizeof(buffer), format, arguments);
    va_end(arguments);
    return buffer;
}

template <class Record>
Record load(const uint8_t *bytes)
{
    Record record{};
    memcpy(&record, bytes, sizeof(record));
    return record;
}

// "0x16 (1,2,4)"; no list for an empty map.
std::string mapText(uint16_t map)
{
    std::string ports;
    for (int bit = 0; bit < 16; ++bit)
        if ((map >> bit) & 1)
            ports += text("%s%d", ports.empty() ? "" : ",", bit);
    return ports.empty() ? text("0x%02x", map) : text("0x%02x (%s)", map, ports.c_str());
}

std::string noFields(int64_t, const uint8_t *, int)
{
    return {};
}

std::string portFields(int64_t argument, const uint8_t *, int)
{
    return text("port %lld", static_cast<long long>(argument));
}

std::string forwardFields(int64_t, const uint8_t *bytes, int)
{
    const auto record = load<BcmPortVlanRecord>(bytes);
    return text("port %u member %u", record.port, record.memberPort);
}

std::string tagFields(int64_t, const uint8_t *bytes, int)
{
    const auto record = load<BcmPortTagRecord>(bytes);
    return text("port %u vid %u pri %u cfi %u", record.port, record.vid, record.priority,
                record.cfi);
}

std::string vlanPortFields(int64_t, const uint8_t *bytes, int)
{
    const auto record = load<BcmVlanPortRecord>(bytes);
    return text("vlan %u port %u", record.vlanId, record.port);
}

std::string vlanFields(int64_t, const uint8_t *bytes, int)
{
    return text("vlan %u", load<BcmVlanPortRecord>(bytes).vlanId);
}

std::string non8021qFields(int64_t, const uint8_t *bytes, int)
{
    const auto record = load<BcmNon8021qRecord>(bytes);
    return text("port %u state %u", record.port, record.state);
}

std::string entryFields(int64_t, const uint8_t *bytes, int)
{
    const auto record = load<BcmVlanEntryRecord>(bytes);
    return text("vlan %u fwd %s untag %s", record.vlanId, mapText(record.fwdMap).c_str(),
                mapText(record.untagMap).c_str());
}

std::string statsFields(int64_t, const uint8_t *bytes, int result)
{
    const auto record = load<BcmPortStatsRecord>(bytes);
    std::string line = text("port %u", record.portNumber);
    if (result < 0)
        return line;
    for (int i = 0; i < counterCount; ++i) {
        uint32_t counter = 0;
        memcpy(&counter, record.statistics + sizeof(counter) * static_cast<size_t>(i),
               sizeof(counter));
        line += text("%s%u", i == 0 ? " counters " : ",", counter);
    }
    return line;
}

std::string trustFields(int64_t, const uint8_t *bytes, int)
{
    const auto record = load<BcmTrustModeRecord>(bytes);
    return text("port %u mode %d", record.portNumber, record.trustMode);
}

std::string schedFields(int64_t, const uint8_t *bytes, int)
{
    const auto record = load<BcmQueueSchedRecord>(bytes);
    return text("port %u mode %u weights %u,%u,%u,%u", record.portNumber, record.schedMode,
                record.queue1Weight, record.queue2Weight, record.queue3Weight, record.queue4Weight);
}

std::string enableFields(int64_t, const uint8_t *bytes, int)
{
    return text("enable %d", load<BcmEnableRecord>(bytes).enable);
}

std::string rateFields(int64_t, const uint8_t *bytes, int)
{
    const auto record = load<BcmRateLimitRecord>(bytes);
    return text("port %u command %u rate %d kbit/s", record.portNumber, record.limitCmd,
                record.rateLimit);
}

std::string cosFields(int64_t, const uint8_t *bytes, int)
{
    const auto record = load<BcmCosQueueMapRecord>(bytes);
    return text("port %u priority %u queue %u", record.portNumber, record.mapValue1,
                record.mapValue2);
}

struct Name {
    uint32_t request;
    const char *name;
    std::string (*fields)(int64_t argument, const uint8_t *record, int result);
};

constexpr Name names[] = {
    {BCM_IOC_VLAN_ENABLE, "VLAN_ENABLE", noFields},
    {BCM_IOC_VLAN_DISABLE, "VLAN_DISABLE", noFields},
    {BCM_IOC_PORT_VLAN_MEMBER_GET, "PORT_VLAN_MEMBER_GET", forwardFields},
    {BCM_IOC_PORT_VLAN_MEMBER_ADD, "PORT_VLAN_MEMBER_ADD", forwardFields},
    {BCM_IOC_PORT_VLAN_MEMBER_DEL, "PORT_VLAN_MEMBER_DEL", forwardFields},
    {BCM_IOC_DEFAULT_TAG_GET, "DEFAULT_TAG_GET", tagFields},
    {BCM_IOC_DEFAULT_TAG_SET, "DEFAULT_TAG_SET", tagFields},
    {BCM_IOC_VLAN_FWD_MEMBER_GET, "VLAN_FWD_MEMBER_GET", vlanPortFields},
    {BCM_IOC_VLAN_UNTAG_MEMBER_GET, "VLAN_UNTAG_MEMBER_GET", vlanPortFields},
    {BCM_IOC_VLAN_CLEAR, "VLAN_CLEAR", vlanFields},
    {BCM_IOC_NON8021Q_FRAMES_SET, "NON8021Q_FRAMES_SET", non8021qFields},
    {BCM_IOC_VLAN_ENTRY_SET, "VLAN_ENTRY_SET", entryFields},
    {BCM_IOC_PORT_STATS_GET, "PORT_STATS_GET", statsFields},
    {BCM_IOC_LINK_STATUS_GET, "LINK_STATUS_GET", portFields},
    {BCM_IOC_TRUST_MODE_SET, "TRUST_MODE_SET", trustFields},
    {BCM_IOC_QUEUE_SCHED_SET, "QUEUE_SCHED_SET", schedFields},
    {BCM_IOC_QOS_SET, "QOS_SET", enableFields},
    {BCM_IOC_PAUSE_FRAME_SET, "PAUSE_FRAME_SET", enableFields},
    {BCM_IOC_RATE_LIMIT_SET, "RATE_LIMIT_SET", rateFields},
    {BCM_IOC_COS_QUEUE_MAP_SET, "COS_QUEUE_MAP_SET", cosFields},
};

std::string resultText(int result)
{
    return result < 0 ? text("-> %d (%s)", result, strerror(-result)) : text("-> %d", result);
}

// One letter per port: T tagged, U untagged, u untagged without being a member.
char membership(const Vlan &vlan, int port)
{
    const bool member = (vlan.fwdMap >> port) & 1;
    const bool untagged = (vlan.untagMap >> port) & 1;
    if (member)
        return untagged ? 'U' : 'T';
    return untagged ? 'u' : '-';
}

} // namespace

std::string requestText(uint32_t request, int64_t argument, const uint8_t *record, size_t size,
                        int result)
{
    for (const Name &name : names) {
        if (name.request != request)
            continue;
        if (size != device::recordSize(request))
            return text("%s with a record of %zu bytes ", name.name, size) + resultText(result);
        const std::string fields = name.fields(argument, record, result);
        return std::string(name.name) + " " + fields + (fields.empty() ? "" : " ") +
               resultText(result);
    }
    return text("unknown request 0x%08x ", request) + resultText(result);
}

std::string stateTable(const Model &model)
{
    std::string table =
        text("802.1Q %s, QoS %s, pause frames %s; %llu requests, %llu refused\n",
             model.vlanMode ? "on" : "off", model.qos ? "on" : "off",
             model.pauseFrames ? "on" : "off", static_cast<unsigned long long>(model.handled),
             static_cast<unsigned long long>(model.refused));
    table += "\nport  link  PVID  non-802.1Q  trust  sched  weights   CoS queues  rate kbit/s  "
             "forwards to\n";
    for (size_t i = 0; i < portCount; ++i) {
        const Port &port = model.ports[i];
        const std::string weights =
            text("%u,%u,%u,%u", port.weights[0], port.weights[1], port.weights[2], port.weights[3]);
        std::string queues;
        for (const uint8_t queue : port.cosQueue)
            queues += text("%u", queue);
        const std::string rate = port.rateLimit == 0 ? "-" : text("%d", port.rateLimit);
        table += text("%4zu  %-4s  %4u  %10u  %5d  %5u  %-8s  %-10s  %11s  %s\n", i,
                      port.linkStatus != 0 ? "up" : "down", port.pvid, port.dropNon8021q,
                      port.trustMode, port.schedMode, weights.c_str(), queues.c_str(), rate.c_str(),
                      mapText(port.forwardMap).c_str());
    }
    table += "\nVLAN  0 1 2 3 4  forward  untag   (T tagged, U untagged, - not a member)\n";
    bool any = false;
    for (size_t id = 0; id < model.vlans.size(); ++id) {
        const Vlan &vlan = model.vlans[id];
        if (!vlan.present)
            continue;
        any = true;
        table += text("%4zu ", id);
        for (int port = 0; port < portCount; ++port)
            table += text(" %c", membership(vlan, port));
        table += text("     0x%02x   0x%02x\n", vlan.fwdMap, vlan.untagMap);
    }
    return any ? table : table + "none\n";
}

} // namespace chip
