// Commands for one switch, sent as they are and not stored: rate-limit, queues,
// qos, pause-frames, vlan-mode and snooping.
#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/text.h"
#include "client/base/wire.h"
#include "client/check/idle_command.h"
#include "client/devices/pause_registers.h"
#include "client/devices/site.h"
#include "client/service/request_log.h"
#include "client/service/service.h"
#include "swctl/cli.h"
#include "swctl/validate.h"

#include <limits>
#include <memory>
#include <optional>

namespace swctl {
namespace {

constexpr const char *defaultSwitch = "PSE";
constexpr int64_t leastRate = 64;    // kbit/s, the finest step of the engine's limiter
constexpr size_t weightedQueues = 4; // queues with a weight in the record

// What the options of these commands hold; each command uses its own part.
struct SwitchArguments {
    std::string switchName = defaultSwitch;
    std::string port;                 // number, or "all" for queues
    std::string rate;                 // kbit/s
    bool off = false;                 // remove the limit
    std::string queues = "4";         // 1, 2 or 4
    std::string mode = "0";           // scheduling mode
    std::vector<std::string> weights; // of queues 1 to 4; missing ones are 1
    std::string state;                // "1" or "0"
    std::string igmp, mld;            // "1", "0" or not given
    bool force = false;               // although a rehearsal says that it does nothing
};

using SharedSwitchArguments = std::shared_ptr<SwitchArguments>;

// A port that no row adds would be passed over in silence.
void refuseUnknownPort(Database &database, const SwitchArguments &arguments)
{
    if (arguments.port.empty() || arguments.port == "all")
        return;
    if (database
            .rowsWhere("swPortConfig", {{"switchName", arguments.switchName},
                                        {"portNumber", int64_t{toInt(arguments.port)}}})
            .empty())
        throw Failure(exitRefused, "refused: " + printable(arguments.switchName) + " has no port " +
                                       arguments.port + " in the database; nothing was sent");
}

// The service runs pipelines for them and takes no notice of how they end, so the
// registers are looked at. Empty: they are as asked, or `told` says why it is not known.
std::string pauseFault(const Site &site, bool on, std::string &told)
{
    const Part<PauseRegisters> registers = readPauseRegisters(site);
    if (!registers.held)
        told += " (not verified: " + registers.reason + ")";
    else
        for (size_t i = 0; i < registers.held->size(); ++i)
            if (((*registers.held)[i] & pauseBit) != (on ? pauseBit : 0))
                return "register " + registerName(pauseRegisters[i]) + " has them " +
                       (on ? "off" : "on");
    return {};
}

int send(const Globals &globals, const std::string &what, const SwitchArguments &arguments,
         int command, std::string_view payload)
{
    std::optional<GatewayView> gateway; // a command that is forced takes no database
    if (!arguments.force) {
        gateway.emplace(Database(globals.database, Access::read), globals.site);
        refuseUnknownPort(gateway->database(), arguments);
        refuseIdleCommand(*gateway, arguments.switchName, command,
                          switchRequest(arguments.switchName, payload));
    }
    RequestLog log;
    const int status = askSwitch(arguments.switchName, command, payload);
    std::string told = what + " for " + arguments.switchName;
    std::string fault;
    if (command == SW_CMD_PAUSE_FRAME && status >= 0)
        fault = pauseFault(gateway ? gateway->site() : findSite(globals.database, globals.site),
                           arguments.state == "1", told);
    return reportAnswer(globals, told, status, log, fault);
}

int runRateLimit(const Globals &globals, const SwitchArguments &arguments)
{
    if (arguments.off != arguments.rate.empty())
        throw Failure(exitUsage, "give either --rate or --off");
    SwCmdRateLimit record{};
    record.portNumber = static_cast<uint32_t>(toInt(arguments.port));
    record.limitCmd = arguments.off ? SW_RATE_LIMIT_REMOVE : SW_RATE_LIMIT_APPLY;
    record.rateLimit = toInt(arguments.rate);
    return send(globals, "rate limit of port " + arguments.port, arguments, SW_CMD_RATE_LIMIT,
                bytesOf(record));
}

int runQueues(const Globals &globals, const SwitchArguments &arguments)
{
    SwCmdQueueSched record{};
    record.portNumber = arguments.port == "all" ? SWMGR_EVERY_PORT : toInt(arguments.port);
    record.numQueues = toInt(arguments.queues);
    record.schedMode = toInt(arguments.mode);
    int32_t *weights[weightedQueues] = {&record.queue1Weight, &record.queue2Weight,
                                        &record.queue3Weight, &record.queue4Weight};
    for (size_t i = 0; i < weightedQueues; ++i)
        *weights[i] = i < arguments.weights.size() ? toInt(arguments.weights[i]) : 1;
    return send(globals, "queue scheduling of port " + arguments.port, arguments,
                SW_CMD_QUEUE_SCHED, bytesOf(record));
}

int runSnooping(const Globals &globals, const SwitchArguments &arguments)
{
    if (arguments.igmp.empty() && arguments.mld.empty())
        throw Failure(exitUsage, "give --igmp, --mld or both");
    int exitStatus = exitDone;
    if (!arguments.igmp.empty()) {
        const char enable = static_cast<char>(toInt(arguments.igmp));
        exitStatus = send(globals, "IGMP snooping", arguments, SW_CMD_IGMP_SNOOP, {&enable, 1});
    }
    if (exitStatus == exitDone && !arguments.mld.empty()) {
        const char enable = static_cast<char>(toInt(arguments.mld));
        exitStatus = send(globals, "MLD snooping", arguments, SW_CMD_MLD_SNOOP, {&enable, 1});
    }
    return exitStatus;
}

// A command whose whole record is one 32-bit number, 0 or 1.
struct StateCommand {
    const char *name;
    int code; // SW_CMD_...
    const char *what;
    const char *description;
    const char *examples;
};

// clang-format off
constexpr StateCommand stateCommands[] = {
    {"qos", SW_CMD_QOS_ENABLE, "QoS", "Turn QoS on or off",
     "  swctl qos on"},
    {"pause-frames", SW_CMD_PAUSE_FRAME, "pause frames", "Turn pause frames on or off",
     "  swctl pause-frames off --switch PSE"},
    {"vlan-mode", SW_CMD_VLAN_ENABLE, "VLAN mode", "Turn 802.1Q VLAN processing on or off",
     "  swctl vlan-mode on --switch BCM"},
};
// clang-format on

// Gives null for a command that is not to be set up.
CLI::App *addSwitchCommand(Program &program, const char *name, const std::string &description,
                           const std::string &examples, const SharedSwitchArguments &arguments,
                           std::function<int()> run)
{
    CLI::App *command =
        addCommand(program, program.app, name, description, examples, std::move(run));
    if (!program.mayRun(name))
        return nullptr;
    command
        ->add_option("--switch", arguments->switchName,
                     "Switch to command; the top-level switch hands the command on")
        ->type_name("NAME")
        ->capture_default_str()
        ->check(switchNameText());
    command->add_flag("--force", arguments->force,
                      "Send it although a rehearsal says that nothing would act on it");
    return command;
}

void addStateCommand(Program &program, const StateCommand &row)
{
    const SharedSwitchArguments arguments = std::make_shared<SwitchArguments>();
    CLI::App *command = addSwitchCommand(
        program, row.name, row.description, row.examples, arguments, [&program, &row, arguments] {
            const int32_t value = toInt(arguments->state);
            const std::string what = std::string(row.what) + (value != 0 ? " on" : " off");
            return send(program.globals, what, *arguments, row.code, bytesOf(value));
        });
    if (command == nullptr)
        return;
    command->add_option("STATE", arguments->state, "New state")
        ->type_name("on|off")
        ->required()
        ->transform(onOff());
}

CLI::Validator portOrAll()
{
    const CLI::Validator number = decimal(0, 31);
    return CLI::Validator(
        [number](std::string &text) { return text == "all" ? std::string() : number(text); }, "");
}

void addRateLimit(Program &program)
{
    const SharedSwitchArguments arguments = std::make_shared<SwitchArguments>();
    CLI::App *command = addSwitchCommand(
        program, "rate-limit", "Limit the rate of a port, or remove its limit",
        "  swctl rate-limit --port 1 --rate 20480\n  swctl rate-limit --port 1 --off", arguments,
        [&program, arguments] { return runRateLimit(program.globals, *arguments); });
    if (command == nullptr)
        return;
    command->add_option("--port", arguments->port, "Port of that switch, 0 to 31")
        ->type_name("PORT")
        ->required()
        ->transform(decimal(0, 31));
    command
        ->add_option("--rate", arguments->rate,
                     "Rate in kbit/s, 64 to 1300480; rounded down to a step of the engine: 64 up "
                     "to 8128, 1024 up to 130048, then 10240")
        ->type_name("KBIT")
        ->transform(decimal(leastRate, mostRate));
    command->add_flag("--off", arguments->off, "Remove the limit");
}

void addQueues(Program &program)
{
    const SharedSwitchArguments arguments = std::make_shared<SwitchArguments>();
    CLI::App *command = addSwitchCommand(
        program, "queues", "Set the queue scheduling of a port or of all ports",
        "  swctl queues --port all --queues 4 --mode 1 --weights 1,2,4,8\n"
        "  swctl queues --port 2 --queues 1",
        arguments, [&program, arguments] { return runQueues(program.globals, *arguments); });
    if (command == nullptr)
        return;
    command->add_option("--port", arguments->port, "Port of that switch, 0 to 31, or all")
        ->type_name("PORT")
        ->required()
        ->transform(portOrAll());
    command->add_option("--queues", arguments->queues, "Number of queues: 1, 2 or 4")
        ->type_name("N")
        ->capture_default_str()
        ->check(oneOf({1, 2, 4}));
    command->add_option("--mode", arguments->mode, "Scheduling mode: 0, 1 or 3")
        ->type_name("MODE")
        ->capture_default_str()
        ->check(oneOf({SW_SCHED_MODE_CODE_1, SW_SCHED_MODE_CODE_0, SW_SCHED_MODE_CODE_2}));
    command
        ->add_option("--weights", arguments->weights,
                     "Weights of queues 1 to 4, rounded down to a power of two by the engine; "
                     "one that is missing is 1")
        ->type_name("W,...")
        ->delimiter(',')
        ->expected(1, static_cast<int>(weightedQueues))
        ->transform(decimal(1, std::numeric_limits<int32_t>::max()));
}

void addSnooping(Program &program)
{
    const SharedSwitchArguments arguments = std::make_shared<SwitchArguments>();
    CLI::App *command =
        addSwitchCommand(program, "snooping", "Turn multicast snooping on or off",
                         "  swctl snooping --igmp on --mld off", arguments, [&program, arguments] {
                             return runSnooping(program.globals, *arguments);
                         });
    if (command == nullptr)
        return;
    command->add_option("--igmp", arguments->igmp, "IGMP snooping")
        ->type_name("on|off")
        ->transform(onOff());
    command->add_option("--mld", arguments->mld, "MLD snooping")
        ->type_name("on|off")
        ->transform(onOff());
}

} // namespace

void addSwitchCommands(Program &program)
{
    addRateLimit(program);
    addQueues(program);
    for (const StateCommand &row : stateCommands)
        addStateCommand(program, row);
    addSnooping(program);
}

} // namespace swctl
