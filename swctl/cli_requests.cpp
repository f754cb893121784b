// Requests that bypass the database, and raw requests for testing: request, bandwidth, event
// and command.
#include "client/base/failure.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/base/wire.h"
#include "client/devices/host_links.h"
#include "client/gateway/devices.h"
#include "client/gateway/gateway_view.h"
#include "client/service/request_log.h"
#include "client/service/service.h"
#include "swctl/cli_answer.h"
#include "swctl/cli_change.h"
#include "swctl/commands.h"
#include "swctl/configuration_columns.h"
#include "swctl/validate.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>

namespace swctl {
namespace {

// --- request ---------------------------------------------------------------

constexpr OptionRow nameOption[] = {
    {"--name", "NAME", "VLAN name", textUpTo<sizeof(SwitchVlanCfg::vlanName) - 1>},
};

SwMgrVlanRequest vlanRequest(const Call &call)
{
    SwMgrVlanRequest request{};
    SwitchVlanCfg &vlan = request.vlan;
    vlan.vlanId = call.integer("ID");
    fillField(vlan.vlanName, call.text("--name"));
    fillField(vlan.interfaceName, call.text("--interface"));
    fillField(vlan.LogicalIfName, call.text("--logical"));
    fillField(vlan.ingressMap, call.text("--ingress-map"));
    fillField(vlan.egressMap, call.text("--egress-map"));
    for (const char *option : {"--ports", "--untagged"})
        if (call.text(option).find_first_of("+-") != std::string::npos)
            throw Failure(exitUsage, std::string(option) + ": a request has no ports before; give "
                                                           "the whole list");
    vlan.fwdMap = maskOf(call.text("--ports"));
    vlan.untagMap = maskOf(call.text("--untagged"));
    vlan.inSwitchOnly = call.integer("--switch-only");
    return request;
}

// The state of a VLAN in a device that can be queried, and in the kernel.
struct Held {
    std::string unread; // why it is not known; empty: it is
    const Device *device = nullptr;
    VlanEntry entry;
    std::string text;         // the entry, in words
    std::string subInterface; // on the interface named in the request, or on any if none is

    [[nodiscard]] bool none() const { return entry.empty() && subInterface.empty(); }
};

// If the gateway cannot be read, the request is sent anyway.
std::optional<GatewayView> gatewayIfUsable(const Globals &globals, Held &held)
{
    try {
        return openGateway(globals, Access::read);
    } catch (const Failure &failure) {
        held.unread = failure.what();
        return std::nullopt;
    }
}

Held heldOf(GatewayView &gateway, const SwitchVlanCfg &vlan)
{
    Held held;
    try {
        const Part<Kernel> kernel = readKernel(gateway.site());
        DeviceReading reading{nullptr, "no switch can be asked what it holds"};
        for (const Device *device : devices()) {
            const std::optional<std::string> node = nodeOf(gateway.database(), *device);
            if (!device->hasQuery || !node)
                continue;
            held.device = device;
            reading = gateway.readDevice(*device, *node, {vlan.vlanId});
            break;
        }
        if (!reading.held || !kernel.held) {
            held.unread = reading.held ? kernel.reason : reading.reason;
            return held;
        }
        held.entry = reading.held->entry(vlan.vlanId);
        held.text = reading.held->vlanText(vlan.vlanId);
        for (const auto &[name, sub] : kernel.held->interfaces)
            if (sub.vlanId == vlan.vlanId &&
                (vlan.interfaceName[0] == '\0' || sub.parent == vlan.interfaceName))
                held.subInterface = name;
    } catch (const Failure &failure) {
        held.unread = failure.what();
    }
    return held;
}

// The service always answers 0 to such a request, so the result must be read back. Empty if it
// is as requested.
std::string faultOf(const Held &held, const SwitchVlanCfg &vlan, bool added)
{
    const bool wantsSubInterface = vlan.interfaceName[0] != '\0';
    const std::string part = std::string("the ") + held.device->part;
    if (added && (vlan.fwdMap & ~held.entry.members) != 0)
        return part + " has " + held.text + " for it";
    if (added && wantsSubInterface && held.subInterface.empty())
        return "its sub-interface does not exist";
    if (!added && !held.entry.empty())
        return part + " still has its entry";
    if (!added && !held.subInterface.empty())
        return "its sub-interface " + held.subInterface + " still exists";
    return {};
}

int runVlanRequest(const Call &call, int type)
{
    const Globals &globals = call.globals;
    const bool added = type == SW_CMD_VLAN_ADD;
    const SwMgrVlanRequest request = vlanRequest(call);
    std::string what = (added ? "add of VLAN " : "delete of VLAN ") + call.text("ID");
    Held closed;
    std::optional<GatewayView> gateway = gatewayIfUsable(globals, closed);
    const Held before = gateway ? heldOf(*gateway, request.vlan) : closed;
    RequestLog log;
    const int status = ask(SWMGR_RELAY_MODULE_ID, type, bytesOf(request));
    const Held after = gateway ? heldOf(*gateway, request.vlan) : closed;
    if (status < 0)
        return reportAnswer(globals, what, status, log);
    if (!after.unread.empty())
        return reportSent(globals, what + "; not verified: " + after.unread, status, log);
    if (!added && before.unread.empty() && before.none())
        what += "; it did not exist before";
    else if (added && before.unread.empty() && !before.none() &&
             faultOf(before, request.vlan, added).empty())
        what += "; it existed before";
    return reportAnswer(globals, what, status, log, faultOf(after, request.vlan, added));
}

int runVlanAdd(const Call &call)
{
    return runVlanRequest(call, SW_CMD_VLAN_ADD);
}

int runVlanDelete(const Call &call)
{
    return runVlanRequest(call, SW_CMD_VLAN_DELETE);
}

// --- bandwidth -------------------------------------------------------------

constexpr const char *firstEvent = "22";
static_assert(SWMGR_IFDEV_EVENT_A == 22);

int runBandwidth(const Call &call)
{
    SwMgrIfDevEvent event{};
    fillField(event.interfaceName, call.text("INTERFACE"));
    event.eventCode = static_cast<uint32_t>(call.number("--event"));
    SwMgrIfBandwidth bandwidth{};
    bandwidth.totalBandwidth = static_cast<uint32_t>(call.number("TOTAL"));
    bandwidth.percentage = static_cast<uint32_t>(call.number("PERCENT"));

    // The service multiplies in 32 bits; an overflow would set a different rate.
    const uint64_t product = uint64_t{bandwidth.totalBandwidth} * bandwidth.percentage;
    if (product > std::numeric_limits<uint32_t>::max() || product / 100 > mostRate)
        throw Failure(exitUsage, call.text("PERCENT") + " % of " + call.text("TOTAL") +
                                     " kbit/s exceeds the maximum of " + std::to_string(mostRate) +
                                     " kbit/s");
    RequestLog log;
    const int status =
        ask(SWMGR_RELAY_MODULE_ID, SWMGR_MSG_IFDEV_EVENT, bytesOf(event), bytesOf(bandwidth));
    return reportSent(call.globals, "bandwidth of " + call.text("INTERFACE"), status, log);
}

constexpr OptionRow bandwidthOptions[] = {
    {.name = "INTERFACE",
     .type = "INTERFACE",
     .help = "Interface, for messages only",
     .check = interfaceName,
     .required = true},
    {.name = "TOTAL",
     .type = "TOTAL",
     .help = "Total bandwidth in kbit/s",
     .check = decimal<0, std::numeric_limits<uint32_t>::max()>,
     .required = true},
    {.name = "PERCENT",
     .type = "PERCENT",
     .help = "Share to allow upstream, 0 to 100",
     .check = decimal<0, 100>,
     .required = true},
    {"--event", "CODE", "Event code: 22, 25 or 26",
     oneOf<SWMGR_IFDEV_EVENT_A, SWMGR_IFDEV_EVENT_B, SWMGR_IFDEV_EVENT_C>, firstEvent},
};

// --- raw forms -------------------------------------------------------------

// Truncates the record or pads it with zeros.
std::string sized(std::string_view record, const Call &call)
{
    std::string bytes(record);
    if (call.has("--length"))
        bytes.resize(static_cast<size_t>(call.number("--length")));
    return bytes;
}

std::string oldBlock(const Call &call)
{
    std::string names;
    std::string values;
    for (const std::string &pair : call.list("--old")) {
        const size_t equals = pair.find('=');
        if (equals == std::string::npos)
            throw Failure(exitUsage, "write --old NAME=VALUE, not " + printable(pair));
        names.append(pair, 0, equals).push_back('\0');
        values.append(pair, equals + 1).push_back('\0');
    }
    return names + values + bytesFromHex(call.text("--old-hex"));
}

int runEvent(const Call &call)
{
    static const std::map<std::string, int> operations = {
        {"insert", SWMGR_DB_INSERT}, {"update", SWMGR_DB_UPDATE}, {"delete", SWMGR_DB_DELETE}};
    SwMgrDbEvent event{};
    // All 64 bytes may be used, to test names without a terminator.
    const std::string &table = call.text("TABLE");
    memcpy(event.tableName, table.data(), std::min(table.size(), sizeof(event.tableName)));
    event.rowId = call.number("ROWID");
    const auto operation = operations.find(call.text("OPCODE"));
    event.opCode = operation != operations.end() ? operation->second : call.integer("OPCODE");
    RequestLog log;
    const int status =
        ask(SWMGR_RELAY_MODULE_ID, SWMGR_MSG_DB_EVENT, sized(bytesOf(event), call), oldBlock(call));
    return reportSent(call.globals, "event for " + table, status, log);
}

int runCommand(const Call &call)
{
    SwMgrSwitchCmdRequest request{};
    const std::string payload = bytesFromHex(call.text("--payload"));
    if (payload.size() > sizeof(request.payload))
        throw Failure(exitUsage,
                      "a payload has at most " + std::to_string(SWMGR_CMD_PAYLOAD_SIZE) + " bytes");
    const std::string &name = call.text("--switch");
    memcpy(request.switchName, name.data(), std::min(name.size(), sizeof(request.switchName)));
    memcpy(request.payload, payload.data(), payload.size());
    RequestLog log;
    const int status =
        ask(SWMGR_RELAY_MODULE_ID, call.integer("CODE"), sized(bytesOf(request), call));
    return reportSent(call.globals, "command " + call.text("CODE") + " for " + name, status, log);
}

std::string operationCode(const std::string &text)
{
    const bool word = text == "insert" || text == "update" || text == "delete";
    return word ? text : numberWithin(text, minInt, maxInt);
}

constexpr OptionRow lengthOption = {"--length", "N", "Bytes to send, cut or filled with zeros",
                                    decimal<0, 65000>};
constexpr OptionRow eventOptions[] = {
    {.name = "TABLE",
     .type = "TABLE",
     .help = "Table name; 64 bytes of it are sent",
     .required = true},
    {.name = "ROWID",
     .type = "ROWID",
     .help = "Row id",
     .check = decimal<-999999999999999999, 999999999999999999>,
     .required = true},
    {.name = "OPCODE",
     .type = "OPCODE",
     .help = "insert, update, delete or a number",
     .check = operationCode,
     .required = true},
    {.name = "--old",
     .type = "NAME=VALUE",
     .help = "Old value of a column; repeat for each column",
     .repeats = true},
    {"--old-hex", "HEX", "Additional bytes for the old-values block", hexBytes},
    lengthOption,
};
constexpr OptionRow commandOptions[] = {
    {.name = "CODE",
     .type = "CODE",
     .help = "Request type",
     .check = decimal<minInt, maxInt>,
     .required = true},
    {"--switch", "NAME", "Switch name; 64 bytes of it are sent"},
    {"--payload", "HEX", "Payload", hexBytes},
    lengthOption,
};

} // namespace

constexpr CommandRow commands::requestVlanAdd = {
    "request",
    "vlan-add",
    "Add a VLAN until the service's next startup",
    "  swctl request vlan-add 30 --interface eth0 --ports 1,2",
    runVlanAdd,
    {vlanOptions, nameOption}};

constexpr CommandRow commands::requestVlanDelete = {
    "request",
    "vlan-delete",
    "Delete a VLAN until the service's next startup",
    "  swctl request vlan-delete 30 --interface eth0",
    runVlanDelete,
    {vlanOptions, nameOption}};

constexpr CommandRow commands::bandwidth = {
    nullptr,
    "bandwidth",
    "Report an interface's bandwidth, which limits the upstream port to a share of it; a total "
    "of 0 removes the limit",
    "  swctl bandwidth eth1 100000 50\n  swctl bandwidth eth1 0 0 --event 25",
    runBandwidth,
    {bandwidthOptions}};

constexpr CommandRow commands::event = {
    nullptr,
    "event",
    "Send a raw database event, for testing",
    "  swctl event vlanEncapIf 4 insert\n"
    "  swctl event vlanEncapIf 4 delete --old vlanId=10 --old interfaceName=eth0\n"
    "  swctl event swGlobalCfg 1 77 --length 79",
    runEvent,
    {eventOptions}};

constexpr CommandRow commands::command = {
    nullptr,
    "command",
    "Send a raw request with a switch name and a payload, for testing. The service "
    "declares every payload as 1300 bytes, so the codes 34, 35, 41 and 51 (the trust mode) "
    "are always refused; a trust mode is set by the row of its port",
    "  swctl command 47 --switch PSE --payload 01000000\n  swctl command 50 --length 12",
    runCommand,
    {commandOptions}};

} // namespace swctl
