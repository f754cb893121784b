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
    std::function<int()> run;
};

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
    const std::string one = bytesOf(int32_t{1});
    return {
        {"start", [] { return swMgrInit(Fixture::path); }},
        {"insert", row(18, 9,
                       "insert into vlanEncapIf(rowid, vlanId, interfaceName, fwdMap, untagMap,"
                       " inSwitchOnly) values(9, 40, 'eth1', '0,2,4', '2,9', 1)",
                       "")},
        {"insert again", row(18, 9, "select 1", "")},
        {"update", row(23, 1, "update vlanEncapIf set fwdMap='3', untagMap='3' where vlanId=10",
                       oldVlan("10", "eth0"))},
        {"update of another id",
         row(23, 2, "update vlanEncapIf set vlanId=21 where vlanId=20", oldVlan("20", "eth1"))},
        {"delete", row(9, 3, "delete from vlanEncapIf where vlanId=30", oldVlan("30", "eth0"))},
        {"delete of none", row(9, 3, "select 1", oldVlan("99", "eth9"))},
        {"unknown interface", row(18, 8,
                                  "insert into vlanEncapIf(rowid, vlanId, interfaceName, fwdMap)"
                                  " values(8, 50, 'eth9', '1')",
                                  "")},
        {"bandwidth", [] { return interfaceEvent(25, 100000, 50); }},
        {"no bandwidth", [] { return interfaceEvent(26, 0, 50); }},
        {"queues", command("PSE", 48, "\xff\xff\xff\xff\2\0\0\0\3\0\0\0\x10\0\0\0\3\0\0\0"s)},
        {"queues of one port",
         command("PSE", 48, "\2\0\0\0\4\0\0\0\1\0\0\0\1\0\0\0\2\0\0\0\4\0\0\0"s)},
        {"rate of a mapped port", command("PSE", 50, "\7\0\0\0\1\0\0\0\x40\0\0\0"s)},
        {"highest rate", command("PSE", 50, "\1\0\0\0\1\0\0\0\xc4\xd7\x13\0"s)},
        {"rate too high", command("PSE", 50, "\1\0\0\0\1\0\0\0\xc5\xd7\x13\0"s)},
        {"rate command of another kind", command("PSE", 50, "\1\0\0\0\2"s)},
        {"pause frames", command("PSE", 49, one)},
        {"QoS of another kind", command("PSE", 47, bytesOf(int32_t{2}))},
        {"VLAN mode off", command("BCM", 33, bytesOf(int32_t{0}))},
        {"VLAN mode of another kind", command("BCM", 33, bytesOf(int32_t{2}))},
        {"command without handler", command("BCM", 58, one)},
        {"request add", [] { return vlanRequest(SW_CMD_VLAN_ADD, 60, "eth0", 0x6, 0x2, 1); }},
        {"request delete", [] { return vlanRequest(SW_CMD_VLAN_DELETE, 60, "eth0", 0, 0); }},
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
             return 10 * found(chip) + found(switchLowerLvlSwitchByNameGet(engine, "BCM"));
         }},
        {"port VLAN", [] { return bcmPortVlanConfig(chip, &vlan); }},
        {"port VLAN taken away", [] { return bcmPortVlanDeConfig(chip, &vlan); }},
        {"default port VLAN",
         [] { return bcmDefPortVlanConfig(0) + 10 * bcmDefPortVlanConfig(4); }},
        {"port VLAN reset",
         [] {
             platform::answer("MEMBER_GET", 1);
             return bcmPortVlanReset(2) + 10 * bcmDefPortVlanConfig(1);
         }},
        {"chip VLAN",
         [] {
             return bcmVlanMembershipSet(chip, &vlan) + 10 * bcmVlanMembershipSet(chip, nullptr);
         }},
        {"chip VLAN update",
         [] { return bcmVlanMembershipUpdate(chip, &vlan) + 10 * bcmVlanMembershipClear(9); }},
        {"chip ports",
         [] {
             return bcmSwitchPortConfigure(chip, switchPortByNumberGet(chip, 2)) +
                    10 * bcmSwitchPortPVIDSet(3, 4) + 100 * bcmNon8021qFramesStateChange(3, 1);
         }},
        {"CPU port",
         [] {
             const SwitchVlan wan = vlanOf(chip, 1, 0, "eth1");
             return bcmCPUPortNumberGet(&vlan) + 10 * bcmCPUPortNumberGet(&wan) +
                    100 * bcmCPUPortNumberGet(nullptr);
         }},
        {"chip queries",
         [] { return bcmIsPortInVlanFwdMap(1, 10) + 10 * bcmIsPortInVlanUntagMap(1, 10); }},
        {"chip QoS",
         [] {
             const SwCmdQueueSched sched{SWMGR_EVERY_PORT, 4, 1, 1, 2, 3, 4};
             const BcmCosQueueMapArgs map{2, 3, 0, 1};
             const SwCmdRateLimit limit{2, 1, {}, 640};
             const SwCmdTrustMode mode{1, 3};
             const int32_t on = 1;
             int32_t link = 0;
             return bcmQoSConfigure(chip, &on) + bcmPauseFrameConfigure(chip, &on) +
                    bcmRateLimitConfigure(chip, &limit) + bcmTrustModeConfigure(chip, &mode) +
                    bcmQueueSchedConfigure(chip, &sched) + bcmCosQueueMapConfigure(chip, &map) +
                    bcmIGMPSnoopSet(chip) + bcmMLDSnoopSet(chip) + bcmLinkStatusGet(2, &link);
         }},
        {"engine VLAN",
         [] {
             const SwitchVlan member = vlanOf(engine, 72, 0xf, "eth1");
             return pseVlanMembershipSet(engine, &member) +
                    10 * pseVlanMembershipSet(engine, nullptr);
         }},
        {"engine trust modes",
         [] {
             int sum = 0;
             for (int32_t mode = -1; mode <= SW_TRUST_MODE_COUNT; ++mode) {
                 const SwCmdTrustMode record{2, mode};
                 sum = 3 * sum + pseTrustModeConfigure(engine, &record);
             }
             return sum;
         }},
        {"engine lower",
         [] {
             uint32_t length = 4;
             const int32_t on = 1;
             return pseLowerSwitchConfig(engine, 47, &on, 4, nullptr, &length) +
                    10 * pseConfTransfer(engine, nullptr, 47, &on, 4, nullptr, &length) +
                    100 * pseConfTransfer(engine, chip, 50, nullptr, 12, nullptr, &length);
         }},
        {"VLAN by hand",
         [] {
             return switchVlanByConfCreate(chip, &cfg) +
                    10 * switchVlanConfParamsAssign(&vlan, &cfg) +
                    100 * switchVlanCreate(chip, &vlan);
         }},
        {"VLAN disabled",
         [] {
             return switchVlanDisable(switchVlanByIdGet(chip, 71)) +
                    10 * switchAllVlansDisable(engine);
         }},
        {"VLAN applied",
         [] {
             return switchVlanCfgApply(chip, switchVlanByIdGet(chip, 10)) +
                    10 * switchVlanCfgApply(chip, nullptr);
         }},
        {"port VLAN announced",
         [] {
             SwitchVlan *held = switchVlanByIdGet(chip, 40);
             return switchPortVlanConfigure(held, portVlanAdd) +
                    10 * switchPortVlanConfigure(held, 37) + 100 * switchVlanMembershipUpdate(held);
         }},
        {"VLAN deleted",
         [found] {
             return switchVlanDelete(switchVlanByIdGet(chip, 71)) +
                    10 * found(switchVlanByNameGet(chip, "none"));
         }},
        {"sub-interface",
         [] {
             return switchVlanEncapCreate("eth0", 73) + 10 * switchVlanEncapDestroy("eth0", 73) +
                    100 * timeEventRecord("/var/x");
         }},
        {"switch applied",
         [] {
             return switchCfgApply(engine) + 10 * switchInitialCfgApply(chip) +
                    100 * switchCfgDisable(nullptr);
         }},
        {"ports applied",
         [] {
             SwitchPortCfg port{};
             memcpy(port.switchName, "PSE", 4);
             port.portNumber = 2;
             return switchPortCfgApply(engine, nullptr) + 10 * switchPortDeinit(&port) +
                    100 * switchPortVlanInfoConfigure(chip, switchPortByNumberGet(chip, 1));
         }},
        {"applied as a whole", [] { return swMgrCfgApply(); }},
        {"detached", [] { return switchDeinit("BCM") + 10 * switchConfigFuncUnRegister(engine); }},
        {"nobody answers",
         [] {
             return switchCfgDisable(engine) + switchCfgApply(chip) + switchRequest("BCM", 33, "");
         }},
        {"loaded again",
         [&device] {
             device.sql("update swPortConfig set phyDevice='BCM:77' where portNumber=7");
             return swMgrCfgReload();
         }},
        {"stop", [] { return swMgrDeinit() + 10 * swMgrDeinit(); }},
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
        const int result = step.run();
        trace += "== " + step.name + ": " + std::to_string(result) + "\n" + platform::everything();
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
