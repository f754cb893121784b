// The request handler: an input is a short sequence of requests, changes of the database,
// and faults of the platform.
#include "platform.h"
#include "service.h"

#include "config/switch_config.h"
#include "support/platform.h"
#include "support/requests.h"
#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

namespace {

using namespace fuzz;

constexpr size_t longestProgram = 16;

constexpr const char *interfaces[] = {"eth0", "eth1", "", "eth0.5", "br-lan", "a;b", "$(x)", "x y"};

void vlanSend(Service &service, Input &input, int type)
{
    SwMgrVlanRequest body{};
    body.vlan.vlanId = static_cast<int32_t>(input.below(16));
    const std::string name = input.pick(interfaces);
    memcpy(body.vlan.interfaceName, name.data(), name.size());
    body.vlan.fwdMap = input.byte();
    body.vlan.untagMap = input.byte();
    body.vlan.inSwitchOnly = static_cast<int32_t>(input.below(2));
    switch (input.below(4)) {
    case 1: // arbitrary bytes over the record, including unterminated texts
        memset(body.vlan.vlanName, 'v', sizeof(body.vlan) - offsetof(SwitchVlanCfg, vlanName));
        input.fill(&body.vlan.interfaceName, input.byte());
        break;
    case 2:
        input.fill(&body.vlan.vlanId, sizeof(body.vlan.vlanId));
        input.fill(&body.vlan.fwdMap, sizeof(body.vlan.fwdMap));
        input.fill(&body.vlan.untagMap, sizeof(body.vlan.untagMap));
        break;
    default:
        break;
    }
    service.check(request(type, bytesOf(body)));
}

void vlanAdd(Service &service, Input &input)
{
    vlanSend(service, input, SW_CMD_VLAN_ADD);
}

void vlanDelete(Service &service, Input &input)
{
    vlanSend(service, input, SW_CMD_VLAN_DELETE);
}

void interfaceEvent(Service &service, Input &input)
{
    SwMgrIfDevEvent event{};
    const std::string name = input.pick(interfaces);
    memcpy(event.interfaceName, name.data(), name.size());
    event.eventCode = 20 + static_cast<uint32_t>(input.below(8));
    if (input.below(8) == 0)
        memset(event.interfaceName, 'i', sizeof(event.interfaceName));
    SwMgrIfBandwidth bandwidth{};
    bandwidth.totalBandwidth = input.number<uint32_t>();
    bandwidth.percentage = input.byte();
    std::string reply = bytesOf(bandwidth);
    reply.resize(reply.size() - input.below(2) * input.below(45));
    const int status = service.check(request(SWMGR_MSG_IFDEV_EVENT, bytesOf(event), reply));
    const bool known = event.eventCode == 22 || event.eventCode == 25 || event.eventCode == 26;
    require(known || status == -95, "an event of another kind is refused");
}

SwMgrSwitchCmdRequest commandFor(Input &input)
{
    constexpr const char *switches[] = {"PSE", "BCM", "PSE", "BCM2"};
    SwMgrSwitchCmdRequest body{};
    const std::string name = input.pick(switches);
    memcpy(body.switchName, name.data(), name.size());
    return body;
}

// A command with small numbers, like most meaningful ones.
void switchCommand(Service &service, Input &input)
{
    constexpr int codes[] = {
        SW_CMD_VLAN_ENABLE,         SW_CMD_QOS_ENABLE,      SW_CMD_QUEUE_SCHED,  SW_CMD_PAUSE_FRAME,
        SW_CMD_RATE_LIMIT,          SW_CMD_TRUST_MODE,      SW_CMD_IGMP_SNOOP,   SW_CMD_MLD_SNOOP,
        SW_CMD_VLAN_MEMBERSHIP_SET, SW_CMD_PORT_CONFIG_SET, SW_CMD_PORT_VLAN_ADD};
    SwMgrSwitchCmdRequest body = commandFor(input);
    const int code = input.pick(codes);
    for (size_t word = 0; word < 7; ++word) {
        const int32_t value = input.number<int8_t>();
        memcpy(body.payload + word * sizeof(value), &value, sizeof(value));
    }
    if (code == SW_CMD_RATE_LIMIT)
        input.fill(body.payload + offsetof(SwCmdRateLimit, rateLimit), sizeof(int32_t));
    service.check(request(code, bytesOf(body)));
}

void anyCommand(Service &service, Input &input)
{
    SwMgrSwitchCmdRequest body = commandFor(input);
    const int code = static_cast<int>(input.below(64));
    input.fill(body.payload, input.byte());
    if (input.below(8) == 0)
        memset(body.switchName, 'P', sizeof(body.switchName));
    service.check(request(code, bytesOf(body), input.text()));
}

void rowChange(Service &service, Input &input)
{
    constexpr int32_t kinds[] = {SWMGR_DB_INSERT, SWMGR_DB_UPDATE, SWMGR_DB_INSERT, 0};
    const Table &table = tableOf(input);
    const auto rowId = static_cast<int64_t>(input.below(16));
    service.rowWrite(table, rowId, rowRead(input, table));
    const int32_t kind = input.pick(kinds);
    service.check(dbEvent(table.name, kind, rowId, oldValuesRead(input, table)));
}

void rowRemoval(Service &service, Input &input)
{
    const Table &table = tableOf(input);
    const auto rowId = static_cast<int64_t>(input.below(16));
    service.rowDelete(table, rowId);
    service.check(dbEvent(table.name, SWMGR_DB_DELETE, rowId, oldValuesRead(input, table)));
}

void anyEvent(Service &service, Input &input)
{
    constexpr const char *names[] = {"vlanEncapIf", "sqlite_master", "nothing", "",
                                     "a b",         "vlanEncapIf;--"};
    SwMgrDbEvent event{};
    const std::string name = input.pick(names);
    memcpy(event.tableName, name.data(), name.size());
    event.opCode = input.byte();
    event.rowId = input.number<int64_t>();
    if (input.below(8) == 0)
        memset(event.tableName, 't', sizeof(event.tableName));
    service.check(request(SWMGR_MSG_DB_EVENT, bytesOf(event), input.text()));
}

// Any type, length and bytes, including what the stand-in never sends.
void anyMessage(Service &service, Input &input)
{
    constexpr size_t lengths[] = {0, 1, 79, 80, 81, 1131, 1132, 1133, 1363, 1364, 1365, 4000};
    constexpr int types[] = {4, 5, 36, 38, 33, 34, 41, 47, 48, 50, 51, 58, 59, 0, -1};
    const int type = input.below(4) == 0 ? input.number<int32_t>() : input.pick(types);
    std::string data(input.pick(lengths), '\0');
    input.fill(data.data(), input.byte() % (data.size() + 1));
    service.check(request(type, data, input.text()));
}

void brokenMessage(Service &service, Input &input)
{
    RelayMsgHdr header{0, input.byte(), 0, 0, input.byte() & 1u};
    constexpr int32_t lengths[] = {0, 80, 1132, 1364, -1, INT32_MIN, INT32_MAX};
    constexpr int types[] = {4, 5, 36, 38, 47, 34};
    const bool hasHeader = input.below(4) != 0;
    const int type = input.pick(types);
    const int32_t length = input.pick(lengths);
    uint32_t replyLen = input.byte();
    const int status = platform::handler()(nullptr, hasHeader ? &header : nullptr, type,
                                           /*msgData=*/nullptr, length, /*replyBuf=*/nullptr,
                                           input.below(2) == 0 ? &replyLen : nullptr);
    service.check(status);
}

void fault(Service &, Input &input)
{
    constexpr int32_t results[] = {-1, -22, 1, 127, INT32_MIN, INT32_MAX};
    const uint32_t after = input.byte();
    const auto count = static_cast<uint32_t>(1 + input.below(8));
    faultArm({after, count, input.pick(results)});
}

void surroundings(Service &, Input &input)
{
    constexpr const char *files[] = {"512.34 1000.00\n", "", "x", "99999999999999999999"};
    platform::fileContent("/proc/uptime", input.pick(files));
    platform::answerAsUsual();
    platform::answer("ioctl ", 0, 0, platform::Bytes(50, input.byte())); // what the driver writes
    swMgrDevDebug = static_cast<int32_t>(input.below(2));
    swMgrForeground = static_cast<int32_t>(input.below(2));
}

void reload(Service &service, Input &)
{
    service.reload();
}

void disable(Service &service, Input &)
{
    service.check(switchCfgDisable(/*sw=*/nullptr));
}

using Step = void (*)(Service &service, Input &input);

constexpr Step steps[] = {vlanAdd,    vlanDelete, interfaceEvent, switchCommand,
                          anyCommand, rowChange,  rowRemoval,     anyEvent,
                          anyMessage, fault,      brokenMessage,  surroundings,
                          reload,     rowChange,  disable,        fault};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    Service service;
    Input input(bytes, size);
    for (size_t step = 0; step < longestProgram && !input.empty(); ++step)
        input.pick(steps)(service, input);
    return 0;
}
