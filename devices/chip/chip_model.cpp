// The driver's requests, one function each, found through one table.
#include "devices/chip/chip_model.h"

#include "backends/bcm/driver.h"
#include "standins/sal/device_protocol.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace chip {

namespace {

constexpr int refusal = -EINVAL;
constexpr int32_t highestRate = 1000000; // kbit/s, the ports' line rate
constexpr uint8_t highestSchedMode = 3;

bool isPort(uint32_t port)
{
    return port < portCount;
}

// VLAN 0 marks frames that only carry a priority. The VLAN table has no entry for it,
// so the driver refuses it there, but a default tag may carry it.
bool isVlan(uint32_t vlanId)
{
    return vlanId >= 1 && vlanId <= highestVlan;
}

bool isSwitchValue(int32_t value)
{
    return value == 0 || value == 1;
}

template <class Record>
Record load(const uint8_t *bytes)
{
    Record record{};
    memcpy(&record, bytes, sizeof(record));
    return record;
}

template <class Record>
void store(uint8_t *bytes, const Record &record)
{
    memcpy(bytes, &record, sizeof(record));
}

int vlanModeOn(Model &model, int64_t, uint8_t *)
{
    model.vlanMode = true;
    return 0;
}

int vlanModeOff(Model &model, int64_t, uint8_t *)
{
    model.vlanMode = false;
    return 0;
}

// The three port-based VLAN requests differ in what they do with this bit.
struct ForwardBit {
    uint16_t *map; // null: the record names a port that the chip does not have
    uint16_t bit;
};

ForwardBit forwardBit(Model &model, const uint8_t *bytes)
{
    const auto record = load<BcmPortVlanRecord>(bytes);
    if (!isPort(record.port) || !isPort(record.memberPort))
        return {.map = nullptr, .bit = 0};
    return {.map = &model.ports[record.port].forwardMap,
            .bit = static_cast<uint16_t>(1u << record.memberPort)};
}

int forwardGet(Model &model, int64_t, uint8_t *bytes)
{
    const ForwardBit member = forwardBit(model, bytes);
    if (member.map == nullptr)
        return refusal;
    return (*member.map & member.bit) != 0 ? 1 : 0;
}

int forwardAdd(Model &model, int64_t, uint8_t *bytes)
{
    const ForwardBit member = forwardBit(model, bytes);
    if (member.map == nullptr)
        return refusal;
    *member.map = static_cast<uint16_t>(*member.map | member.bit);
    return 0;
}

int forwardDelete(Model &model, int64_t, uint8_t *bytes)
{
    const ForwardBit member = forwardBit(model, bytes);
    if (member.map == nullptr)
        return refusal;
    *member.map = static_cast<uint16_t>(*member.map & ~member.bit);
    return 0;
}

int defaultTagGet(Model &model, int64_t, uint8_t *bytes)
{
    auto record = load<BcmPortTagRecord>(bytes);
    if (!isPort(record.port))
        return refusal;
    const Port &port = model.ports[record.port];
    record.vid = port.pvid;
    record.priority = port.priority;
    record.cfi = port.cfi;
    store(bytes, record);
    return 0;
}

int defaultTagSet(Model &model, int64_t, uint8_t *bytes)
{
    const auto record = load<BcmPortTagRecord>(bytes);
    if (!isPort(record.port) || record.vid > highestVlan || record.priority >= priorityCount ||
        record.cfi > 1)
        return refusal;
    Port &port = model.ports[record.port];
    port.pvid = record.vid;
    port.priority = record.priority;
    port.cfi = record.cfi;
    return 0;
}

int memberGet(Model &model, const uint8_t *bytes, uint16_t Vlan::*map)
{
    const auto record = load<BcmVlanPortRecord>(bytes);
    if (!isVlan(record.vlanId) || !isPort(record.port))
        return refusal;
    return (model.vlans[record.vlanId].*map >> record.port) & 1;
}

int fwdMemberGet(Model &model, int64_t, uint8_t *bytes)
{
    return memberGet(model, bytes, &Vlan::fwdMap);
}

int untagMemberGet(Model &model, int64_t, uint8_t *bytes)
{
    return memberGet(model, bytes, &Vlan::untagMap);
}

// Clearing a missing entry is not an error: every write begins with it.
int vlanClear(Model &model, int64_t, uint8_t *bytes)
{
    const auto record = load<BcmVlanPortRecord>(bytes);
    if (!isVlan(record.vlanId))
        return refusal;
    model.vlans[record.vlanId] = Vlan{};
    return 0;
}

int non8021qSet(Model &model, int64_t, uint8_t *bytes)
{
    const auto record = load<BcmNon8021qRecord>(bytes);
    if (!isPort(record.port) || record.state > 1)
        return refusal;
    model.ports[record.port].dropNon8021q = record.state;
    return 0;
}

int vlanEntrySet(Model &model, int64_t, uint8_t *bytes)
{
    const auto record = load<BcmVlanEntryRecord>(bytes);
    if (!isVlan(record.vlanId) || ((record.fwdMap | record.untagMap) & ~allPorts) != 0)
        return refusal;
    model.vlans[record.vlanId] = {
        .present = true, .fwdMap = record.fwdMap, .untagMap = record.untagMap};
    return 0;
}

int portStatsGet(Model &model, int64_t, uint8_t *bytes)
{
    auto record = load<BcmPortStatsRecord>(bytes);
    if (!isPort(record.portNumber))
        return refusal;
    const auto &counters = model.ports[record.portNumber].counters;
    static_assert(sizeof(counters) == sizeof(record.statistics));
    memcpy(record.statistics, counters.data(), sizeof(record.statistics));
    store(bytes, record);
    return 0;
}

int linkStatusGet(Model &model, int64_t argument, uint8_t *)
{
    if (argument < 0 || argument >= portCount)
        return refusal;
    return model.ports[static_cast<size_t>(argument)].linkStatus;
}

int trustModeSet(Model &model, int64_t, uint8_t *bytes)
{
    const auto record = load<BcmTrustModeRecord>(bytes);
    if (!isPort(record.portNumber) || record.trustMode < 0 ||
        record.trustMode >= SW_TRUST_MODE_COUNT)
        return refusal;
    model.ports[record.portNumber].trustMode = record.trustMode;
    return 0;
}

int queueSchedSet(Model &model, int64_t, uint8_t *bytes)
{
    const auto record = load<BcmQueueSchedRecord>(bytes);
    if (!isPort(record.portNumber) || record.schedMode > highestSchedMode)
        return refusal;
    Port &port = model.ports[record.portNumber];
    port.schedMode = record.schedMode;
    port.weights = {record.queue1Weight, record.queue2Weight, record.queue3Weight,
                    record.queue4Weight};
    return 0;
}

int enableSet(bool &setting, const uint8_t *bytes)
{
    const auto record = load<BcmEnableRecord>(bytes);
    if (!isSwitchValue(record.enable))
        return refusal;
    setting = record.enable != 0;
    return 0;
}

int qosSet(Model &model, int64_t, uint8_t *bytes)
{
    return enableSet(model.qos, bytes);
}

int pauseFramesSet(Model &model, int64_t, uint8_t *bytes)
{
    return enableSet(model.pauseFrames, bytes);
}

int rateLimitSet(Model &model, int64_t, uint8_t *bytes)
{
    const auto record = load<BcmRateLimitRecord>(bytes);
    const bool applies = record.limitCmd == SW_RATE_LIMIT_APPLY;
    if (!isPort(record.portNumber) || record.limitCmd > SW_RATE_LIMIT_APPLY)
        return refusal;
    if (applies && (record.rateLimit < 1 || record.rateLimit > highestRate))
        return refusal;
    model.ports[record.portNumber].rateLimit = applies ? record.rateLimit : 0;
    return 0;
}

// The first value is a priority, the second the queue it is mapped to.
int cosQueueMapSet(Model &model, int64_t, uint8_t *bytes)
{
    const auto record = load<BcmCosQueueMapRecord>(bytes);
    if (!isPort(record.portNumber) || record.mapValue1 >= priorityCount ||
        record.mapValue2 >= queueCount)
        return refusal;
    model.ports[record.portNumber].cosQueue[record.mapValue1] = record.mapValue2;
    return 0;
}

struct Request {
    uint32_t number;
    int (*run)(Model &model, int64_t argument, uint8_t *record);
};

constexpr Request requests[] = {
    {BCM_IOC_VLAN_ENABLE, vlanModeOn},
    {BCM_IOC_VLAN_DISABLE, vlanModeOff},
    {BCM_IOC_PORT_VLAN_MEMBER_GET, forwardGet},
    {BCM_IOC_PORT_VLAN_MEMBER_ADD, forwardAdd},
    {BCM_IOC_PORT_VLAN_MEMBER_DEL, forwardDelete},
    {BCM_IOC_DEFAULT_TAG_GET, defaultTagGet},
    {BCM_IOC_DEFAULT_TAG_SET, defaultTagSet},
    {BCM_IOC_VLAN_FWD_MEMBER_GET, fwdMemberGet},
    {BCM_IOC_VLAN_UNTAG_MEMBER_GET, untagMemberGet},
    {BCM_IOC_VLAN_CLEAR, vlanClear},
    {BCM_IOC_NON8021Q_FRAMES_SET, non8021qSet},
    {BCM_IOC_VLAN_ENTRY_SET, vlanEntrySet},
    {BCM_IOC_PORT_STATS_GET, portStatsGet},
    {BCM_IOC_LINK_STATUS_GET, linkStatusGet},
    {BCM_IOC_TRUST_MODE_SET, trustModeSet},
    {BCM_IOC_QUEUE_SCHED_SET, queueSchedSet},
    {BCM_IOC_QOS_SET, qosSet},
    {BCM_IOC_PAUSE_FRAME_SET, pauseFramesSet},
    {BCM_IOC_RATE_LIMIT_SET, rateLimitSet},
    {BCM_IOC_COS_QUEUE_MAP_SET, cosQueueMapSet},
};

int dispatch(Model &model, uint32_t number, int64_t argument, uint8_t *record, size_t size)
{
    for (const Request &request : requests) {
        if (request.number != number)
            continue;
        if (size != device::recordSize(number) || (size != 0 && record == nullptr))
            return refusal;
        return request.run(model, argument, record);
    }
    return -ENOTTY;
}

} // namespace

bool isQuery(uint32_t request)
{
    constexpr uint32_t queries[] = {BCM_IOC_PORT_VLAN_MEMBER_GET, BCM_IOC_DEFAULT_TAG_GET,
                                    BCM_IOC_VLAN_FWD_MEMBER_GET,  BCM_IOC_VLAN_UNTAG_MEMBER_GET,
                                    BCM_IOC_PORT_STATS_GET,       BCM_IOC_LINK_STATUS_GET};
    return std::find(std::begin(queries), std::end(queries), request) != std::end(queries);
}

Model::Model()
{
    for (uint32_t port = 0; port < portCount; ++port)
        for (uint32_t i = 0; i < counterCount; ++i)
            ports[port].counters[i] = 1000 * (port + 1) + i;
}

int Model::handle(uint32_t request, int64_t argument, uint8_t *record, size_t size)
{
    const int result = dispatch(*this, request, argument, record, size);
    ++handled;
    if (result < 0)
        ++refused;
    return result;
}

} // namespace chip
