// Whole traces: a long day of a gateway, step by step, with every platform call,
// log record and result, held against text files in traces/. TRACES=write in the
// environment writes them anew, to be read before they are committed.
#include "support/fixture.h"

#include "backends/backends.h"
#include "backends/bcm/bcm.h"
#include "backends/bcm/device.h"
#include "backends/bcm/port_vlan.h"
#include "backends/bcm/ports.h"
#include "backends/bcm/qos.h"
#include "backends/bcm/vlan.h"
#include "backends/pse/lower.h"
#include "backends/pse/mac_address.h"
#include "backends/pse/membership.h"
#include "backends/pse/pse.h"
#include "backends/pse/settings.h"
#include "config/switch_config.h"
#include "config/vlan_config.h"
#include "model/vlan.h"
#include "service/reload.h"
#include "store/decode.h"
#include "store/event.h"
#include "store/load.h"
#include "store/port_list.h"
#include "switch/port.h"
#include "switch/port_mapping.h"
#include "switch/registry.h"
#include "vlan/encap.h"
#include "vlan/uptime.h"
#include "vlan/vlan.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::string_literals;

namespace {

struct Step {
    std::string name;
    std::function<std::vector<int>()> run; // the results of what it calls
};

// A step of one call.
Step one(const std::string &name, std::function<int()> run)
{
    return {name, [run = std::move(run)] { return std::vector<int>{run()}; }};
}

const std::vector<std::string> vlanColumns = {"vlanId",     "interfaceName", "LogicalIfName",
                                              "ingressMap", "egressMap",     "fwdMap",
                                              "untagMap",   "inSwitchOnly"};

std::string oldVlan(const std::string &id, const std::string &interface)
{
    return oldValues(vlanColumns, {id, interface, "", "", "", "1,2", "1", "0"});
}

void rowsInsert(Fixture &device)
{
    device.sql("insert into swGlobalCfg values('BCM', '/dev/bcm', 1, 1, 5, 1, 257, 0, 1),"
               " ('PSE', '', 0, 0, 4, 1, 0, 1, 3)");
    device.addPorts();
    device.sql("insert into swPortConfig(switchName, portNumber, phyDevice, trustMode, PVID)"
               " values('PSE', 7, 'BCM:1,,BCM:3', 2, 5), ('BCM', 33, '', 1, 9)");
    device.sql(
        "insert into vlanEncapIf values(10, 'eth0', 'lan', '', '', '1,2', '1', 0),"
        " (20, 'eth1', '', 'a', 'b', '0,1,3,4', '3', 0), (30, 'eth0', '', '', '', '2', '1', 1)");
}

// What other processes ask for, each through the registered handler.
std::vector<Step> requestSteps(Fixture &device)
{
    const auto row = [&device](int opCode, int rowId, const char *sql, const std::string &old) {
        return [&device, opCode, rowId, sql, old] {
            device.sql(sql);
            return dbEvent("vlanEncapIf", opCode, rowId, old);
        };
    };
    const auto command = [](const char *name, int code, const std::string &payload) {
        return [name, code, payload] { return switchRequest(name, code, payload); };
    };
    const std::string on = bytesOf(int32_t{1});
    return {
        one("start", [] { return swMgrInit(Fixture::path); }),
        one("insert", row(18, 9,
                          "insert into vlanEncapIf(rowid, vlanId, interfaceName, fwdMap, untagMap,"
                          " inSwitchOnly) values(9, 40, 'eth1', '0,2,4', '2,9', 1)",
                          "")),
        one("insert again", row(18, 9, "select 1", "")),
        one("update", row(23, 1, "update vlanEncapIf set fwdMap='3', untagMap='3' where vlanId=10",
                          oldVlan("10", "eth0"))),
        one("update of another id",
            row(23, 2, "update vlanEncapIf set vlanId=21 where vlanId=20", oldVlan("20", "eth1"))),
        one("delete", row(9, 3, "delete from vlanEncapIf where vlanId=30", oldVlan("30", "eth0"))),
        one("delete of none", row(9, 3, "select 1", oldVlan("99", "eth9"))),
        one("unknown interface", row(18, 8,
                                     "insert into vlanEncapIf(rowid, vlanId, interfaceName, fwdMap)"
                                     " values(8, 50, 'eth9', '1')",
                                     "")),
        one("bandwidth", [] { return interfaceEvent(25, 100000, 50); }),
        one("no bandwidth", [] { return interfaceEvent(26, 0, 50); }),
        one("queues", command("PSE", 48, "\xff\xff\xff\xff\2\0\0\0\3\0\0\0\x10\0\0\0\3\0\0\0"s)),
        one("queues of one port",
            command("PSE", 48, "\2\0\0\0\4\0\0\0\1\0\0\0\1\0\0\0\2\0\0\0\4\0\0\0"s)),
        one("rate of a mapped port", command("PSE", 50, "\7\0\0\0\1\0\0\0\x40\0\0\0"s)),
        one("highest rate", command("PSE", 50, "\1\0\0\0\1\0\0\0\xc4\xd7\x13\0"s)),
        one("rate too high", command("PSE", 50, "\1\0\0\0\1\0\0\0\xc5\xd7\x13\0"s)),
        one("rate command of another kind", command("PSE", 50, "\1\0\0\0\2"s)),
        one("pause frames", command("PSE", 49, on)),
        one("QoS of another kind", command("PSE", 47, bytesOf(int32_t{2}))),
        one("VLAN mode off", command("BCM", 33, bytesOf(int32_t{0}))),
        one("VLAN mode of another kind", command("BCM", 33, bytesOf(int32_t{2}))),
        one("command without handler", command("BCM", 58, on)),
        one("request add", [] { return vlanRequest(SW_CMD_VLAN_ADD, 60, "eth0", 0x6, 0x2, 1); }),
        one("request delete", [] { return vlanRequest(SW_CMD_VLAN_DELETE, 60, "eth0", 0, 0); }),
    };
}

SwitchVlan vlanOf(Switch *sw, int id, uint32_t fwdMap, const char *interface)
{
    SwitchVlan vlan{};
    vlan.vlanId = id;
    vlan.ownerSwitch = sw;
    vlan.fwdMap = fwdMap;
    vlan.inSwitchOnly = 1;
    memcpy(vlan.interfaceName, interface, strlen(interface));
    return vlan;
}

// Exported operations called by themselves, where a request would hide the result.
std::vector<Step> operationSteps(Fixture &device)
{
    static Switch *chip = nullptr;
    static Switch *engine = nullptr;
    static SwitchVlan vlan;
    static SwitchVlanCfg cfg;
    const auto found = [](const void *object) { return object != nullptr ? 1 : 0; };
    return {
        {"switches",
         [found] {
             chip = switchByNameGet("BCM");
             engine = switchAtTopLevelGet();
             vlan = vlanOf(chip, 70, 0x13, "eth0");
             cfg.vlanId = 71;
             return std::vector{found(chip), found(switchLowerLvlSwitchByNameGet(engine, "BCM"))};
         }},
        {"port VLAN", [] { return std::vector{bcmPortVlanConfig(chip, &vlan)}; }},
        {"port VLAN taken away", [] { return std::vector{bcmPortVlanDeConfig(chip, &vlan)}; }},
        {"default port VLAN",
         [] {
             return std::vector{bcmDefPortVlanConfig(0), bcmDefPortVlanConfig(4)};
         }},
        {"port VLAN reset",
         [] {
             platform::answer("MEMBER_GET", 1);
             return std::vector{bcmPortVlanReset(2), bcmDefPortVlanConfig(1)};
         }},
        {"chip VLAN",
         [] {
             return std::vector{bcmVlanMembershipSet(chip, &vlan),
                                bcmVlanMembershipSet(chip, nullptr)};
         }},
        {"chip VLAN update",
         [] {
             return std::vector{bcmVlanMembershipUpdate(chip, &vlan), bcmVlanMembershipClear(9)};
         }},
        {"chip ports",
         [] {
             return std::vector{bcmSwitchPortConfigure(chip, switchPortByNumberGet(chip, 2)),
                                bcmSwitchPortPVIDSet(3, 4), bcmNon8021qFramesStateChange(3, 1)};
         }},
        {"CPU port",
         [] {
             const SwitchVlan wan = vlanOf(chip, 1, 0, "eth1");
             return std::vector{bcmCPUPortNumberGet(&vlan), bcmCPUPortNumberGet(&wan),
                                bcmCPUPortNumberGet(nullptr)};
         }},
        {"chip queries",
         [] {
             return std::vector{bcmIsPortInVlanFwdMap(1, 10), bcmIsPortInVlanUntagMap(1, 10)};
         }},
        {"chip QoS",
         [] {
             const SwCmdQueueSched sched{SWMGR_EVERY_PORT, 4, 1, 1, 2, 3, 4};
             const BcmCosQueueMapArgs map{2, 3, 0, 1};
             const SwCmdRateLimit limit{2, 1, {}, 640};
             const SwCmdTrustMode mode{1, 3};
             const int32_t on = 1;
             int32_t link = 0;
             return std::vector{bcmQoSConfigure(chip, &on),
                                bcmPauseFrameConfigure(chip, &on),
                                bcmRateLimitConfigure(chip, &limit),
                                bcmTrustModeConfigure(chip, &mode),
                                bcmQueueSchedConfigure(chip, &sched),
                                bcmCosQueueMapConfigure(chip, &map),
                                bcmIGMPSnoopSet(chip),
                                bcmMLDSnoopSet(chip),
                                bcmLinkStatusGet(2, &link)};
         }},
        {"engine VLAN",
         [] {
             const SwitchVlan member = vlanOf(engine, 72, 0xf, "eth1");
             return std::vector{pseVlanMembershipSet(engine, &member),
                                pseVlanMembershipSet(engine, nullptr)};
         }},
        {"engine trust modes",
         [] {
             std::vector<int> sums;
             for (int32_t mode = -1; mode <= SW_TRUST_MODE_COUNT; ++mode) {
                 const SwCmdTrustMode record{2, mode};
                 sums.push_back(pseTrustModeConfigure(engine, &record));
             }
             return sums;
         }},
        {"engine lower",
         [] {
             uint32_t length = 4;
             const int32_t on = 1;
             return std::vector{pseLowerSwitchConfig(engine, 47, &on, 4, nullptr, &length),
                                pseConfTransfer(engine, nullptr, 47, &on, 4, nullptr, &length),
                                pseConfTransfer(engine, chip, 50, nullptr, 12, nullptr, &length)};
         }},
        {"VLAN by hand",
         [] {
             return std::vector{switchVlanByConfCreate(chip, &cfg),
                                switchVlanConfParamsAssign(&vlan, &cfg),
                                switchVlanCreate(chip, &vlan)};
         }},
        {"VLAN disabled",
         [] {
             return std::vector{switchVlanDisable(switchVlanByIdGet(chip, 71)),
                                switchAllVlansDisable(engine)};
         }},
        {"VLAN applied",
         [] {
             return std::vector{switchVlanCfgApply(chip, switchVlanByIdGet(chip, 10)),
                                switchVlanCfgApply(chip, nullptr)};
         }},
        {"port VLAN announced",
         [] {
             SwitchVlan *held = switchVlanByIdGet(chip, 40);
             return std::vector{switchPortVlanConfigure(held, portVlanAdd),
                                switchPortVlanConfigure(held, 37),
                                switchVlanMembershipUpdate(held)};
         }},
        {"VLAN deleted",
         [found] {
             return std::vector{switchVlanDelete(switchVlanByIdGet(chip, 71)),
                                found(switchVlanByNameGet(chip, "none"))};
         }},
        {"sub-interface",
         [] {
             return std::vector{switchVlanEncapCreate("eth0", 73),
                                switchVlanEncapDestroy("eth0", 73), timeEventRecord("/var/x")};
         }},
        {"switch applied",
         [] {
             return std::vector{switchCfgApply(engine), switchInitialCfgApply(chip),
                                switchCfgDisable(nullptr)};
         }},
        {"ports applied",
         [] {
             SwitchPortCfg port{};
             memcpy(port.switchName, "PSE", 4);
             port.portNumber = 2;
             return std::vector{switchPortCfgApply(engine, nullptr), switchPortDeinit(&port),
                                switchPortVlanInfoConfigure(chip, switchPortByNumberGet(chip, 1))};
         }},
        {"in one switch alone",
         [] {
             SwitchVlanCfg alone{};
             alone.vlanId = 75;
             memcpy(alone.interfaceName, "eth0", 5);
             return std::vector{switchVlanByConfCreate(engine, &alone),
                                switchVlanConfUpdate(&alone, &alone), switchVlanConfAdd(&alone),
                                switchVlanConfDelete(&alone), switchVlanConfDelete(&alone)};
         }},
        {"applied as a whole", [] { return std::vector{swMgrCfgApply()}; }},
        {"detached",
         [] {
             return std::vector{switchDeinit("BCM"), switchConfigFuncUnRegister(engine)};
         }},
        {"nobody answers",
         [] {
             return std::vector{switchCfgDisable(engine), switchCfgApply(chip),
                                switchRequest("BCM", 33, "")};
         }},
        {"loaded again",
         [&device] {
             device.sql("update swPortConfig set phyDevice='BCM:77' where portNumber=7");
             return std::vector{swMgrCfgReload()};
         }},
        {"nothing given",
         [] {
             return std::vector{swGlobalCfgFromQueryResultRead(nullptr, nullptr, 0, 0),
                                swPortCfgFromQueryResultRead(nullptr, nullptr, 0, 0),
                                swVlanCfgFromQueryResultRead(nullptr, nullptr, 0, 0),
                                swMgrDBUpdateHandler(nullptr, 80, nullptr, 0),
                                switchConfAdd(nullptr),
                                switchInitialCfgApply(nullptr),
                                switchCfgApply(nullptr),
                                switchDeinit(nullptr),
                                switchConfigFuncRegister(nullptr),
                                switchConfigFuncUnRegister(nullptr),
                                switchConfig(nullptr, 47, nullptr, nullptr),
                                switchLowerLvlSwitchListAppend(nullptr, chip),
                                switchLowerLvlSwitchListAppend(engine, nullptr),
                                switchPortConfAdd(nullptr),
                                switchPortDeinit(nullptr),
                                switchPortCfgApply(nullptr, nullptr),
                                switchPortTrustModeConfigure(nullptr),
                                switchPortVlanInfoConfigure(nullptr, nullptr),
                                switchPortMapInit(nullptr, nullptr),
                                switchPortMappedListAppend(nullptr, nullptr),
                                switchVlanCreate(nullptr, &vlan),
                                switchVlanCreate(chip, nullptr),
                                switchVlanUpdate(nullptr, &vlan),
                                switchVlanUpdate(&vlan, nullptr),
                                switchVlanDelete(nullptr),
                                switchVlanDisable(nullptr),
                                switchAllVlansDisable(nullptr),
                                switchVlanCfgApply(nullptr, nullptr),
                                switchPortVlanConfigure(nullptr, 36),
                                switchVlanMembershipUpdate(nullptr),
                                switchVlanConfAdd(nullptr),
                                switchVlanConfUpdate(nullptr, &cfg),
                                switchVlanConfUpdate(&cfg, nullptr),
                                switchVlanConfDelete(nullptr),
                                switchVlanConfParamsAssign(nullptr, &cfg),
                                switchVlanConfParamsAssign(&vlan, nullptr),
                                switchVlanConfigure(chip, 37, &cfg),
                                timeEventRecord(nullptr),
                                timeEventGet(nullptr, "/proc/uptime"),
                                bcmSwitchRegister(nullptr),
                                bcmSwitchRegister(engine),
                                bcmSwitchUnRegister(nullptr),
                                bcmSwitchUnRegister(engine),
                                pseSwitchRegister(nullptr),
                                pseSwitchRegister(chip),
                                pseSwitchUnRegister(nullptr),
                                pseSwitchUnRegister(chip),
                                bcmVlanMembershipUpdate(nullptr, &vlan),
                                bcmVlanMembershipUpdate(chip, nullptr),
                                bcmVlanMembershipSet(nullptr, nullptr),
                                bcmSwitchPortConfigure(nullptr, nullptr),
                                bcmPortVlanConfig(chip, nullptr),
                                bcmPortVlanDeConfig(chip, nullptr),
                                bcmQoSConfigure(nullptr, nullptr),
                                bcmPauseFrameConfigure(nullptr, nullptr),
                                bcmRateLimitConfigure(nullptr, nullptr),
                                bcmTrustModeConfigure(nullptr, nullptr),
                                bcmQueueSchedConfigure(nullptr, nullptr),
                                bcmCosQueueMapConfigure(nullptr, nullptr),
                                bcmIGMPSnoopSet(nullptr),
                                bcmMLDSnoopSet(nullptr),
                                bcmLinkStatusGet(1, nullptr),
                                bcmPortStatsGet(1, nullptr),
                                pseSwitchConfig(nullptr, 47, nullptr, 0, nullptr, nullptr),
                                pseLowerSwitchConfig(nullptr, 47, nullptr, 0, nullptr, nullptr),
                                pseVlanMembershipSet(nullptr, &vlan),
                                pseQoSConfigure(nullptr, nullptr),
                                pseQueueSchedConfigure(nullptr, nullptr),
                                psePauseFrameConfigure(nullptr, nullptr),
                                pseRateLimitConfigure(nullptr, nullptr),
                                pseTrustModeConfigure(nullptr, nullptr),
                                switchMacAddressByIfNameGet(nullptr, nullptr)};
         }},
        {"too long, too short",
         [] {
             std::vector<int> results;
             for (const char *column : {"switchName", "switchDevice", "phyDevice", "interfaceName",
                                        "ingressMap", "fwdMap"})
                 for (const size_t length : {size_t{63}, size_t{64}, size_t{127}, size_t{128},
                                             size_t{511}, size_t{512}}) {
                     std::string name = column;
                     std::string value(length, '1');
                     char *table[] = {name.data(), value.data()};
                     SwitchGlobalCfg sw{};
                     SwitchPortCfg port{};
                     SwitchVlanCfg held{};
                     results.push_back(swGlobalCfgFromQueryResultRead(&sw, table, 1, 0) +
                                       swPortCfgFromQueryResultRead(&port, table, 1, 0) +
                                       swVlanCfgFromQueryResultRead(&held, table, 1, 0));
                 }
             for (const int type : {4, 5, 36, 38, 47})
                 for (const size_t length :
                      {size_t{0}, size_t{80}, size_t{1132}, size_t{1363}, size_t{1365}})
                     results.push_back(request(type, std::string(length, '\0')));
             return results;
         }},
        {"every number of a row",
         [] {
             std::vector<int> fields;
             const auto read = [&fields](auto &record, auto decode,
                                         const std::vector<const char *> &names) {
                 for (size_t i = 0; i < names.size(); ++i) {
                     std::string name = names[i];
                     std::string value = std::to_string(i + 1);
                     char *table[] = {name.data(), value.data()};
                     fields.push_back(decode(&record, table, 1, 0));
                 }
             };
             SwitchGlobalCfg sw{};
             read(sw, swGlobalCfgFromQueryResultRead,
                  {"numPorts", "vlanEnable", "qosEnable", "pauseFrameEnable", "igmpSnoopingEnable",
                   "mldSnoopingEnable", "switchLevel"});
             for (const int field : {sw.numPorts, sw.vlanEnable, sw.qosEnable, sw.pauseFrameEnable,
                                     sw.igmpSnoopingEnable, sw.mldSnoopingEnable, sw.switchLevel})
                 fields.push_back(field);
             SwitchPortCfg port{};
             read(port, swPortCfgFromQueryResultRead,
                  {"portNumber", "portType", "PVID", "mirroring", "trustMode", "rateLimit",
                   "schedMode", "numQueues", "queue1Weight", "queue2Weight", "queue3Weight",
                   "queue4Weight"});
             for (const int field :
                  {port.portNumber, port.portType, port.PVID, port.mirroring, port.trustMode,
                   port.rateLimit, port.schedMode, port.numQueues, port.queue1Weight,
                   port.queue2Weight, port.queue3Weight, port.queue4Weight})
                 fields.push_back(field);
             return fields;
         }},
        {"stop",
         [] {
             return std::vector{swMgrDeinit(), swMgrDeinit()};
         }},
    };
}

// Source lines move with every edit; the name of the operation stays.
std::string withoutLines(const std::string &text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        out += text[i];
        if (text[i] != ':' || i == 0 || isalnum(static_cast<unsigned char>(text[i - 1])) == 0)
            continue;
        size_t end = i + 1;
        while (end < text.size() && isdigit(static_cast<unsigned char>(text[end])) != 0)
            ++end;
        if (end > i + 1 && text[end] == ':')
            i = end - 1;
    }
    return out;
}

std::string traceOf(const std::vector<Step> &steps)
{
    std::string trace;
    for (const Step &step : steps) {
        trace += "== " + step.name + ":";
        for (const int result : step.run())
            trace += " " + std::to_string(result);
        trace += "\n" + platform::everything();
    }
    return trace;
}

void compareWithFile(const std::string &trace, const std::string &name)
{
    const std::string path = std::string(TRACES) + "/" + name + ".txt";
    const char *wish = getenv("TRACES");
    if (wish != nullptr && wish == "write"s)
        std::ofstream(path) << trace;
    std::ifstream file(path);
    std::stringstream kept;
    kept << file.rdbuf();
    std::istringstream wanted(kept.str());
    std::istringstream found(trace);
    std::string step;
    std::string a;
    std::string b;
    while (static_cast<bool>(std::getline(wanted, a)) | static_cast<bool>(std::getline(found, b))) {
        if (b.starts_with("== "))
            step = b;
        ASSERT_EQ(a, b) << name << ", after: " << step;
        a.clear();
        b.clear();
    }
}

std::string wholeDay()
{
    Fixture device;
    rowsInsert(device);
    const std::string asked = traceOf(requestSteps(device));
    return asked + traceOf(operationSteps(device));
}

TEST(Trace, aDayOfAGateway)
{
    compareWithFile(wholeDay(), "day");
}

TEST(Trace, theSameDayWithDeveloperMessages)
{
    swMgrDevDebug = 1;
    compareWithFile(withoutLines(wholeDay()), "day-debug");
}

// One call after the other answers something else; what follows is told by a sum
// of the trace. A difference is looked into with TRACES=write and git diff on the
// day of that call.
std::string digest(const std::string &text)
{
    uint64_t sum = 1469598103934665603u;
    for (const char c : text)
        sum = (sum ^ static_cast<unsigned char>(c)) * 1099511628211u;
    char hex[20];
    snprintf(hex, sizeof(hex), "%016llx", static_cast<unsigned long long>(sum));
    return hex;
}

std::string dayWith(int nth, int answer)
{
    int ends[2];
    if (pipe(ends) != 0)
        return "no pipe";
    if (fork() == 0) {
        int count = 0;
        std::string changed = "no such call";
        platform::intercept([&](const std::string &line, int result) {
            if (line.starts_with("log ") || line.starts_with("sqlite3_") || line == "calloc" ||
                ++count != nth)
                return result;
            changed = line;
            return answer;
        });
        const std::string trace = wholeDay();
        const std::string verdict =
            changed + " -> " + std::to_string(answer) + ": " + digest(trace) + "\n";
        _exit(write(ends[1], verdict.data(), verdict.size()) > 0 ? 0 : 1);
    }
    close(ends[1]);
    char text[1024];
    std::string verdict;
    for (ssize_t length = 0; (length = read(ends[0], text, sizeof(text))) > 0;)
        verdict.append(text, static_cast<size_t>(length));
    close(ends[0]);
    wait(nullptr);
    return verdict;
}

TEST(Trace, theDayAfterEachOtherAnswer)
{
    // The emulator and the sanitizers would take minutes for what they cannot see.
    if (!platform::blocksAreTracked() || getenv("FAULTS_FRUGAL") != nullptr)
        GTEST_SKIP();
    std::string verdicts;
    for (const int answer : {1, -5}) {
        for (int nth = 1;; ++nth) {
            const std::string verdict = dayWith(nth, answer);
            if (verdict.starts_with("no such call"))
                break;
            verdicts += verdict;
        }
    }
    compareWithFile(verdicts, "answers");
}

} // namespace
