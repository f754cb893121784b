// Requests that bypass the database, and the raw forms for testing: request,
// bandwidth, event and command.
#include "client/base/failure.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/base/wire.h"
#include "client/devices/gateway_view.h"
#include "client/devices/readback.h"
#include "client/service/request_log.h"
#include "client/service/service.h"
#include "swctl/cli_change.h"
#include "swctl/configuration_columns.h"
#include "swctl/validate.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

namespace swctl {
namespace {

uint64_t toNumber(const std::string &text)
{
    return strtoull(text.c_str(), nullptr, 10);
}

// --- request ---------------------------------------------------------------

struct VlanArguments {
    RowOptions identity;
    RowOptions values;
    std::string vlanName; // not in the database, so no column option
};

SwMgrVlanRequest vlanRequest(const VlanArguments &arguments)
{
    SwMgrVlanRequest request{};
    SwitchVlanCfg &vlan = request.vlan;
    const RowOptions &values = arguments.values;
    vlan.vlanId = static_cast<int32_t>(toNumber(arguments.identity.text("vlanId")));
    fillField(vlan.vlanName, arguments.vlanName);
    fillField(vlan.interfaceName, values.text("interfaceName"));
    fillField(vlan.LogicalIfName, values.text("LogicalIfName"));
    fillField(vlan.ingressMap, values.text("ingressMap"));
    fillField(vlan.egressMap, values.text("egressMap"));
    vlan.fwdMap = maskOf(values.text("fwdMap"));
    vlan.untagMap = maskOf(values.text("untagMap"));
    vlan.inSwitchOnly = static_cast<int32_t>(toNumber(values.text("inSwitchOnly")));
    return request;
}

// What chip and kernel hold of a VLAN.
struct Held {
    std::string unread; // why it is not known
    ChipVlan entry;
    bool subInterface = false; // on the Linux interface of the request

    [[nodiscard]] bool none() const { return entry.empty() && !subInterface; }
};

// Where the gateway cannot be looked at, a request is sent all the same.
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
        const std::string device = chipDevice(gateway.database());
        const Part<Kernel> kernel = readKernel(gateway.site());
        const Part<Chip> chip = device.empty()
                                    ? Part<Chip>{.held = {}, .reason = "no switch is a chip"}
                                    : readChip(gateway.site(), device, {vlan.vlanId});
        if (!chip.held || !kernel.held) {
            held.unread = chip.held ? kernel.reason : chip.reason;
            return held;
        }
        held.entry = entryOf(*chip.held, vlan.vlanId);
        held.subInterface = kernel.held->interfaces.contains(std::string(vlan.interfaceName) + "." +
                                                             std::to_string(vlan.vlanId));
    } catch (const Failure &failure) {
        held.unread = failure.what();
    }
    return held;
}

// The service answers 0 whatever became of such a request, so it is looked at. Empty
// where all is as asked.
std::string faultOf(const Held &held, const SwitchVlanCfg &vlan, bool added)
{
    const bool wantsSubInterface = vlan.interfaceName[0] != '\0';
    if (added && (vlan.fwdMap & ~uint32_t{held.entry.fwdMap}) != 0)
        return "the chip has " + membersText(held.entry) + " for it";
    if (added && wantsSubInterface && !held.subInterface)
        return "its sub-interface is not there";
    if (!added && !held.entry.empty())
        return "the chip still has its entry";
    if (!added && held.subInterface)
        return "its sub-interface is still there";
    return {};
}

int runVlanRequest(const Globals &globals, int type, const VlanArguments &arguments)
{
    const bool added = type == SW_CMD_VLAN_ADD;
    const SwMgrVlanRequest request = vlanRequest(arguments);
    std::string what =
        (added ? "add of VLAN " : "delete of VLAN ") + arguments.identity.text("vlanId");
    Held closed;
    std::optional<GatewayView> gateway = gatewayIfUsable(globals, closed);
    const Held before = gateway ? heldOf(*gateway, request.vlan) : closed;
    RequestLog log;
    const int status = ask(SWMGR_RELAY_MODULE_ID, type, bytesOf(request));
    const Held after = gateway ? heldOf(*gateway, request.vlan) : closed;
    if (status < 0)
        return reportAnswer(globals, what, status, log);
    if (!after.unread.empty())
        what += "; not verified: " + after.unread;
    else if (!added && before.unread.empty() && before.none())
        what += "; nothing was there before";
    return reportAnswer(globals, what, status, log,
                        after.unread.empty() ? faultOf(after, request.vlan, added) : std::string());
}

void addVlanRequest(Program &program, CLI::App &group, const char *name, int type,
                    const std::string &description, const std::string &examples)
{
    const auto arguments = std::make_shared<VlanArguments>();
    CLI::App *command =
        addCommand(program, group, name, description, examples, [&program, type, arguments] {
            return runVlanRequest(program.globals, type, *arguments);
        });
    arguments->identity.addTo(*command, vlanTable.arguments);
    arguments->values.addTo(*command, vlanTable.options);
    command->add_option("--name", arguments->vlanName, "VLAN name")
        ->type_name("NAME")
        ->check(textUpTo(sizeof(SwitchVlanCfg::vlanName) - 1));
}

void addRequests(Program &program)
{
    CLI::App *group =
        addGroup(program.app, "request",
                 "VLAN requests that leave the database alone; the service answers them with done "
                 "whatever becomes of them, so chip and kernel are looked at");
    if (!program.mayRun("request"))
        return;
    addVlanRequest(program, *group, "vlan-add", SW_CMD_VLAN_ADD, "Add a VLAN until the next start",
                   "  swctl request vlan-add 30 --interface eth0 --ports 1,2");
    addVlanRequest(program, *group, "vlan-delete", SW_CMD_VLAN_DELETE,
                   "Delete a VLAN until the next start",
                   "  swctl request vlan-delete 30 --interface eth0");
}

// --- bandwidth -------------------------------------------------------------

struct BandwidthArguments {
    std::string interfaceName;
    std::string total;   // kbit/s
    std::string percent; // of the total
    std::string event = std::to_string(SWMGR_IFDEV_EVENT_A);
};

int runBandwidth(const Globals &globals, const BandwidthArguments &arguments)
{
    SwMgrIfDevEvent event{};
    fillField(event.interfaceName, arguments.interfaceName);
    event.eventCode = static_cast<uint32_t>(toNumber(arguments.event));
    SwMgrIfBandwidth bandwidth{};
    bandwidth.totalBandwidth = static_cast<uint32_t>(toNumber(arguments.total));
    bandwidth.percentage = static_cast<uint32_t>(toNumber(arguments.percent));

    // The service multiplies in 32 bits; beyond that another rate would come out.
    const uint64_t product = uint64_t{bandwidth.totalBandwidth} * bandwidth.percentage;
    if (product > std::numeric_limits<uint32_t>::max() || product / 100 > mostRate)
        throw Failure(exitUsage, arguments.percent + " % of " + arguments.total +
                                     " kbit/s is more than can be set: at most " +
                                     std::to_string(mostRate) + " kbit/s");
    const int status =
        ask(SWMGR_RELAY_MODULE_ID, SWMGR_MSG_IFDEV_EVENT, bytesOf(event), bytesOf(bandwidth));
    return reportAnswer(globals, "bandwidth of " + arguments.interfaceName, status);
}

void addBandwidth(Program &program)
{
    const auto arguments = std::make_shared<BandwidthArguments>();
    CLI::App *command = addCommand(
        program, program.app, "bandwidth",
        "Report the bandwidth of an interface, which limits the upstream port to a share of it; "
        "a total of 0 removes the limit",
        "  swctl bandwidth eth1 100000 50\n  swctl bandwidth eth1 0 0 --event 25",
        [&program, arguments] { return runBandwidth(program.globals, *arguments); });
    if (!program.mayRun("bandwidth"))
        return;
    command->add_option("INTERFACE", arguments->interfaceName, "Interface, for messages only")
        ->type_name("INTERFACE")
        ->required()
        ->check(interfaceName());
    command->add_option("TOTAL", arguments->total, "Total bandwidth in kbit/s")
        ->type_name("TOTAL")
        ->required()
        ->transform(decimal(0, std::numeric_limits<uint32_t>::max()));
    command->add_option("PERCENT", arguments->percent, "Share to allow upstream, 0 to 100")
        ->type_name("PERCENT")
        ->required()
        ->transform(decimal(0, 100));
    command->add_option("--event", arguments->event, "Event code: 22, 25 or 26")
        ->type_name("CODE")
        ->capture_default_str()
        ->check(oneOf({SWMGR_IFDEV_EVENT_A, SWMGR_IFDEV_EVENT_B, SWMGR_IFDEV_EVENT_C}));
}

// --- raw forms -------------------------------------------------------------

struct RawArguments {
    std::string table;            // event: table name, not checked
    std::string rowId = "0";      // event
    std::string opCode = "0";     // event: a number or insert, update, delete
    std::vector<std::string> old; // event: NAME=VALUE
    std::string block;            // event: old-values block in hexadecimal
    std::string switchName;       // command: not checked
    std::string code;             // command: request type
    std::string payload;          // command: in hexadecimal
    std::string length;           // bytes sent; empty: as the record is
};

// Cuts the record or fills it up with zeros.
std::string sized(std::string_view record, const std::string &length)
{
    std::string bytes(record);
    if (!length.empty())
        bytes.resize(static_cast<size_t>(toNumber(length)));
    return bytes;
}

std::string oldBlock(const RawArguments &arguments)
{
    std::string names;
    std::string values;
    for (const std::string &pair : arguments.old) {
        const size_t equals = pair.find('=');
        if (equals == std::string::npos)
            throw Failure(exitUsage, "write --old NAME=VALUE, not " + printable(pair));
        names.append(pair, 0, equals).push_back('\0');
        values.append(pair, equals + 1).push_back('\0');
    }
    return names + values + bytesFromHex(arguments.block);
}

int runEvent(const Globals &globals, const RawArguments &arguments)
{
    static const std::map<std::string, int> operations = {
        {"insert", SWMGR_DB_INSERT}, {"update", SWMGR_DB_UPDATE}, {"delete", SWMGR_DB_DELETE}};
    SwMgrDbEvent event{};
    // All 64 bytes may be used, to try a name without terminator.
    memcpy(event.tableName, arguments.table.data(),
           std::min(arguments.table.size(), sizeof(event.tableName)));
    event.rowId = strtoll(arguments.rowId.c_str(), nullptr, 10);
    const auto operation = operations.find(arguments.opCode);
    event.opCode = operation != operations.end()
                       ? operation->second
                       : static_cast<int32_t>(strtol(arguments.opCode.c_str(), nullptr, 10));
    const int status = ask(SWMGR_RELAY_MODULE_ID, SWMGR_MSG_DB_EVENT,
                           sized(bytesOf(event), arguments.length), oldBlock(arguments));
    return reportAnswer(globals, "event for " + arguments.table, status);
}

int runCommand(const Globals &globals, const RawArguments &arguments)
{
    SwMgrSwitchCmdRequest request{};
    const std::string payload = bytesFromHex(arguments.payload);
    if (payload.size() > sizeof(request.payload))
        throw Failure(exitUsage,
                      "a payload has at most " + std::to_string(SWMGR_CMD_PAYLOAD_SIZE) + " bytes");
    memcpy(request.switchName, arguments.switchName.data(),
           std::min(arguments.switchName.size(), sizeof(request.switchName)));
    memcpy(request.payload, payload.data(), payload.size());
    const int code = static_cast<int>(strtol(arguments.code.c_str(), nullptr, 10));
    const int status = ask(SWMGR_RELAY_MODULE_ID, code, sized(bytesOf(request), arguments.length));
    return reportAnswer(globals, "command " + arguments.code + " for " + arguments.switchName,
                        status);
}

void addLength(CLI::App &command, RawArguments &arguments)
{
    command.add_option("--length", arguments.length, "Bytes to send, cut or filled with zeros")
        ->type_name("N")
        ->transform(decimal(0, 65000));
}

CLI::Validator operationCode()
{
    const CLI::Validator number =
        decimal(std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max());
    return CLI::Validator(
        [number](std::string &text) {
            const bool word = text == "insert" || text == "update" || text == "delete";
            return word ? std::string() : number(text);
        },
        "");
}

void addRawEvent(Program &program)
{
    const auto arguments = std::make_shared<RawArguments>();
    CLI::App *command =
        addCommand(program, program.app, "event", "Send a database event as it stands, for testing",
                   "  swctl event vlanEncapIf 4 insert\n"
                   "  swctl event vlanEncapIf 4 delete --old vlanId=10 --old interfaceName=eth0\n"
                   "  swctl event swGlobalCfg 1 77 --length 79",
                   [&program, arguments] { return runEvent(program.globals, *arguments); });
    if (!program.mayRun("event"))
        return;
    command->add_option("TABLE", arguments->table, "Table name; 64 bytes of it are sent")
        ->type_name("TABLE")
        ->required();
    command->add_option("ROWID", arguments->rowId, "Row id")
        ->type_name("ROWID")
        ->required()
        ->transform(decimal(-999999999999999999, 999999999999999999));
    command->add_option("OPCODE", arguments->opCode, "insert, update, delete or a number")
        ->type_name("OPCODE")
        ->required()
        ->transform(operationCode());
    command->add_option("--old", arguments->old, "Old value of a column; repeat for each column")
        ->type_name("NAME=VALUE")
        ->expected(1)
        ->take_all();
    command->add_option("--old-hex", arguments->block, "Further bytes of the old-values block")
        ->type_name("HEX")
        ->transform(hexBytes());
    addLength(*command, *arguments);
}

void addRawCommand(Program &program)
{
    const auto arguments = std::make_shared<RawArguments>();
    CLI::App *command = addCommand(
        program, program.app, "command",
        "Send a request with a switch name and a payload as it stands, for testing. The service "
        "declares every payload as 1300 bytes, so the codes 34, 35, 41 and 51 (the trust mode) "
        "are always refused; a trust mode is set by the row of its port",
        "  swctl command 47 --switch PSE --payload 01000000\n  swctl command 50 --length 12",
        [&program, arguments] { return runCommand(program.globals, *arguments); });
    if (!program.mayRun("command"))
        return;
    command->add_option("CODE", arguments->code, "Request type")
        ->type_name("CODE")
        ->required()
        ->transform(
            decimal(std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
    command->add_option("--switch", arguments->switchName, "Switch name; 64 bytes of it are sent")
        ->type_name("NAME");
    command->add_option("--payload", arguments->payload, "Payload")
        ->type_name("HEX")
        ->transform(hexBytes());
    addLength(*command, *arguments);
}

} // namespace

void addRequestCommands(Program &program)
{
    addRequests(program);
    addBandwidth(program);
    addRawEvent(program);
    addRawCommand(program);
}

} // namespace swctl
