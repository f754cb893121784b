// Settings of switches and ports by name: rate-limit, queues, qos, pause-frames, vlan-mode and
// snooping. Each is a change of rows, after which the service is sent what they ask for.
#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/text.h"
#include "client/check/idle_command.h"
#include "client/devices/engine/engine.h"
#include "client/devices/settings.h"
#include "client/gateway/devices.h"
#include "client/plan/wish.h"
#include "client/service/service.h"
#include "swctl/cli_change.h"
#include "swctl/commands.h"
#include "swctl/validate.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr const char *everyPort = "all";
constexpr int64_t leastRate = 64; // kbit/s, the engine limiter's finest step
constexpr int weightedQueues = 4; // queues that have a weight in the row

// The switch that is meant if none is named: the first that has the request.
std::string usualSwitch(Database &database, int command)
{
    for (const Device *device : devices())
        if (nodeOf(database, *device) && std::find(device->commands.begin(), device->commands.end(),
                                                   command) != device->commands.end())
            return device->name;
    return engineName;
}

std::string switchOf(const Call &call, Database &database, int command)
{
    return call.has("--switch") ? call.text("--switch") : usualSwitch(database, command);
}

// Said before the request is rehearsed, which would only show that nothing happens.
void refuseMissingRow(Database &database, const RowWish &wish)
{
    if (database.rowsWhere(wish.table, wish.key).empty())
        throw Failure(exitUsage, "there is no " + printable(wish.name) + " in the database");
}

// The rows and requests of one command.
struct Settings {
    std::vector<RowWish> wishes;
    std::vector<NamedRequest> requests;
};

// A request that would change nothing on the hardware is refused, since its row would neither.
void add(const Call &call, GatewayView &gateway, const std::string &name, SettingRequest request,
         Settings &settings)
{
    if (!call.flag("--force") && !call.flag("--offline"))
        refuseIdleCommand(gateway, name, request.command, switchRequest(name, request.record));
    settings.requests.push_back({name, std::move(request)});
}

RowWish switchWish(const std::string &name, std::vector<Assignment> values)
{
    return {RowWish::Kind::set,
            switchTableName,
            "switch " + name,
            {{"switchName", name}},
            std::move(values)};
}

RowWish portWish(const std::string &name, int port, std::vector<Assignment> values)
{
    return {RowWish::Kind::set,
            portTableName,
            "port " + std::to_string(port) + " of " + name,
            {{"switchName", name}, {"portNumber", int64_t{port}}},
            std::move(values)};
}

int changeSettings(const Call &call, GatewayView gateway, Settings settings,
                   const std::string &name)
{
    std::vector<RowWish> &wishes = settings.wishes;
    const Wish wish = wishes.size() == 1 ? Wish(wishes.front())
                                         : Wish(BatchWish{name, std::move(wishes), "changed"});
    return change(call, std::move(gateway), wish, std::move(settings.requests));
}

int runRateLimit(const Call &call)
{
    if (call.flag("--off") == call.has("--rate"))
        throw Failure(exitUsage, "give either --rate or --off");
    GatewayView gateway = gatewayFor(call);
    const std::string name = switchOf(call, gateway.database(), SW_CMD_RATE_LIMIT);
    const int port = call.integer("--port");
    const int rate = call.flag("--off") ? 0 : call.integer("--rate");
    Settings settings{{portWish(name, port, {{"rateLimit", int64_t{rate}}})}, {}};
    refuseMissingRow(gateway.database(), settings.wishes.front());
    add(call, gateway, name, rateRequest(port, rate), settings);
    return changeSettings(call, std::move(gateway), std::move(settings), "");
}

// The ports of that switch in the rows, or the one that is named.
std::vector<int> portsOf(const Call &call, Database &database, const std::string &name)
{
    const std::string &word = call.text("--port");
    if (word != everyPort)
        return {toInt(word)};
    std::vector<int> ports;
    for (const Row &row : database.rowsWhere(portTableName, {{"switchName", name}}))
        ports.push_back(toInt(row.text("portNumber")));
    if (ports.empty())
        throw Failure(exitUsage, "switch " + printable(name) + " has no port in the database");
    return ports;
}

int runQueues(const Call &call)
{
    GatewayView gateway = gatewayFor(call);
    const std::string name = switchOf(call, gateway.database(), SW_CMD_QUEUE_SCHED);
    const std::vector<std::string> given = call.list("--weights");
    QueueWish queues{call.integer("--queues"), call.integer("--mode"), {1, 1, 1, 1}};
    for (size_t i = 0; i < given.size(); ++i)
        queues.weights[i] = toInt(given[i]);
    Settings settings;
    for (const int port : portsOf(call, gateway.database(), name)) {
        settings.wishes.push_back(portWish(name, port,
                                           {{"numQueues", int64_t{queues.queues}},
                                            {"schedMode", int64_t{queues.mode}},
                                            {"queue1Weight", int64_t{queues.weights[0]}},
                                            {"queue2Weight", int64_t{queues.weights[1]}},
                                            {"queue3Weight", int64_t{queues.weights[2]}},
                                            {"queue4Weight", int64_t{queues.weights[3]}}}));
        refuseMissingRow(gateway.database(), settings.wishes.back());
    }
    add(call, gateway, name,
        queues.request(call.text("--port") == everyPort ? SWMGR_EVERY_PORT
                                                        : call.integer("--port")),
        settings);
    return changeSettings(call, std::move(gateway), std::move(settings), "queues of " + name);
}

int runSnooping(const Call &call)
{
    if (!call.has("--igmp") && !call.has("--mld"))
        throw Failure(exitUsage, "give --igmp, --mld or both");
    GatewayView gateway = gatewayFor(call);
    const std::string name = switchOf(call, gateway.database(), SW_CMD_IGMP_SNOOP);
    Settings settings{{switchWish(name, {})}, {}};
    refuseMissingRow(gateway.database(), settings.wishes.front());
    struct Kind {
        const char *option;
        const char *column;
        int command;
    };
    for (const Kind &kind : {Kind{"--igmp", "igmpSnoopingEnable", SW_CMD_IGMP_SNOOP},
                             Kind{"--mld", "mldSnoopingEnable", SW_CMD_MLD_SNOOP}}) {
        if (!call.has(kind.option))
            continue;
        settings.wishes.front().values.push_back({kind.column, call.number(kind.option)});
        add(call, gateway, name,
            {kind.command, std::string(1, static_cast<char>(call.integer(kind.option)))}, settings);
    }
    return changeSettings(call, std::move(gateway), std::move(settings), "");
}

int runState(const Call &call, const char *column, int command)
{
    GatewayView gateway = gatewayFor(call);
    const std::string name = switchOf(call, gateway.database(), command);
    Settings settings{{switchWish(name, {{column, call.number("STATE")}})}, {}};
    refuseMissingRow(gateway.database(), settings.wishes.front());
    add(call, gateway, name, stateRequest(command, call.integer("STATE") == 1), settings);
    return changeSettings(call, std::move(gateway), std::move(settings), "");
}

int runQos(const Call &call)
{
    return runState(call, "qosEnable", SW_CMD_QOS_ENABLE);
}

int runPauseFrames(const Call &call)
{
    return runState(call, "pauseFrameEnable", SW_CMD_PAUSE_FRAME);
}

// A start ends with the mode of the top switch in all switches below it, so that the row of one
// of them alone changes nothing.
int runVlanMode(const Call &call)
{
    GatewayView gateway = gatewayFor(call);
    std::vector<std::string> names;
    for (const Row &row : gateway.database().rows(switchTableName))
        if (!call.has("--switch") || row.text("switchName") == call.text("--switch"))
            names.push_back(row.text("switchName"));
    if (names.empty())
        names.push_back(call.has("--switch") ? call.text("--switch") : engineName);
    Settings settings;
    for (const std::string &name : names) {
        settings.wishes.push_back(switchWish(name, {{"vlanEnable", call.number("STATE")}}));
        refuseMissingRow(gateway.database(), settings.wishes.back());
        add(call, gateway, name, stateRequest(SW_CMD_VLAN_ENABLE, call.integer("STATE") == 1),
            settings);
    }
    return changeSettings(call, std::move(gateway), std::move(settings), "802.1Q of all switches");
}

std::string portOrAll(const std::string &text)
{
    return text == everyPort ? text : numberWithin(text, 0, 31);
}

constexpr OptionRow switchOption[] = {
    {"--switch", "NAME", "Switch to change; the first that can do it unless given", switchNameText},
};
constexpr OptionRow modeSwitchOption[] = {
    {"--switch", "NAME", "Switch to change; all of them unless given", switchNameText},
};
constexpr OptionRow rateLimitOptions[] = {
    {.name = "--port",
     .type = "PORT",
     .help = "Port of that switch, 0 to 31",
     .check = decimal<0, 31>,
     .required = true},
    {"--rate", "KBIT",
     "Rate in kbit/s, 64 to 1300480; the engine rounds it down to a step: 64 up to 8128, 1024 "
     "up to 130048, then 10240",
     decimal<leastRate, mostRate>},
    {"--off", nullptr, "Remove the limit"},
};
constexpr OptionRow queueOptions[] = {
    {.name = "--port",
     .type = "PORT",
     .help = "Port of that switch, 0 to 31, or all",
     .check = portOrAll,
     .required = true},
    {"--queues", "N", "Number of queues: 1, 2 or 4; the engine has one number for all ports",
     oneOf<1, 2, 4>, "4"},
    {"--mode", "MODE", "Scheduling mode: 0, 1 or 3",
     oneOf<SW_SCHED_MODE_CODE_1, SW_SCHED_MODE_CODE_0, SW_SCHED_MODE_CODE_2>, "0"},
    {.name = "--weights",
     .type = "W,...",
     .help =
         "Weights of queues 1 to 4, rounded down to a power of two by the engine; a missing one "
         "counts as 1",
     .check = decimal<1, maxInt>,
     .listOf = weightedQueues},
};
constexpr OptionRow stateArguments[] = {
    {.name = "STATE", .type = "on|off", .help = "New state", .check = onOff, .required = true},
};
constexpr OptionRow snoopingOptions[] = {
    {"--igmp", "on|off", "IGMP snooping", onOff},
    {"--mld", "on|off", "MLD snooping", onOff},
};

} // namespace

constexpr CommandRow commands::rateLimit = {
    nullptr,
    "rate-limit",
    "Limit the rate of a port, or remove its limit",
    "  swctl rate-limit --port 1 --rate 20480\n  swctl rate-limit --port 1 --off --dry-run",
    runRateLimit,
    {switchOption, rateLimitOptions, changeFlags}};

constexpr CommandRow commands::queues = {
    nullptr,
    "queues",
    "Set the queue scheduling of a port or of all ports",
    "  swctl queues --port all --queues 4 --mode 1 --weights 1,2,4,8\n"
    "  swctl queues --port 2 --queues 1",
    runQueues,
    {switchOption, queueOptions, changeFlags}};

constexpr CommandRow commands::qos = {
    nullptr,          "qos",  "Turn QoS on or off",
    "  swctl qos on", runQos, {switchOption, stateArguments, changeFlags}};

constexpr CommandRow commands::pauseFrames = {nullptr,
                                              "pause-frames",
                                              "Turn pause frames on or off",
                                              "  swctl pause-frames off --switch PSE",
                                              runPauseFrames,
                                              {switchOption, stateArguments, changeFlags}};

constexpr CommandRow commands::vlanMode = {nullptr,
                                           "vlan-mode",
                                           "Turn 802.1Q VLAN processing on or off",
                                           "  swctl vlan-mode off --confirm 60\n"
                                           "  swctl vlan-mode on",
                                           runVlanMode,
                                           {modeSwitchOption, stateArguments, changeFlags}};

constexpr CommandRow commands::snooping = {nullptr,
                                           "snooping",
                                           "Turn multicast snooping on or off",
                                           "  swctl snooping --igmp on --mld off",
                                           runSnooping,
                                           {switchOption, snoopingOptions, changeFlags}};

} // namespace swctl
