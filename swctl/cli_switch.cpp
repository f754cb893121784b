// Commands sent to one switch and not stored: rate-limit, queues, qos, pause-frames, vlan-mode
// and snooping.
#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/text.h"
#include "client/base/wire.h"
#include "client/check/idle_command.h"
#include "client/devices/engine/engine.h"
#include "client/devices/engine/pause_registers.h"
#include "client/devices/site.h"
#include "client/service/request_log.h"
#include "client/service/service.h"
#include "swctl/cli_answer.h"
#include "swctl/commands.h"
#include "swctl/validate.h"

#include <optional>

namespace swctl {
namespace {

constexpr const char *everyPort = "all";
constexpr int64_t leastRate = 64; // kbit/s, the engine limiter's finest step
constexpr int weightedQueues = 4; // queues that have a weight in the record

// The service silently ignores a port that is not in the rows.
void refuseUnknownPort(Database &database, const Call &call, const std::string &port)
{
    const std::string &name = call.text("--switch");
    if (port == everyPort)
        return;
    if (database
            .rowsWhere("swPortConfig", {{"switchName", name}, {"portNumber", int64_t{toInt(port)}}})
            .empty())
        throw Failure(exitRefused, "refused: " + printable(name) + " has no port " + port +
                                       " in the database; nothing was sent");
}

// The service ignores the exit status of the pipelines that it runs for pause frames, so the
// registers are read back. Returns the fault; if empty, they are as requested, or `told`
// explains why that is unknown.
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

// `port` must have a row; "all" is not checked.
int send(const Call &call, const std::string &what, int command, std::string_view payload,
         const std::string &port = everyPort)
{
    const Globals &globals = call.globals;
    const std::string &name = call.text("--switch");
    std::optional<GatewayView> gateway; // not needed with --force
    if (!call.flag("--force")) {
        gateway.emplace(Database(globals.database, Access::read), globals.site);
        refuseUnknownPort(gateway->database(), call, port);
        refuseIdleCommand(*gateway, name, command, switchRequest(name, payload));
    }
    RequestLog log;
    const int status = askSwitch(name, command, payload);
    std::string told = what + " for " + name;
    std::string fault;
    if (command == SW_CMD_PAUSE_FRAME && status >= 0)
        fault = pauseFault(gateway ? gateway->site() : findSite(globals.database, globals.site),
                           call.integer("STATE") == 1, told);
    return reportAnswer(globals, told, status, log, fault);
}

int runRateLimit(const Call &call)
{
    if (call.flag("--off") == call.has("--rate"))
        throw Failure(exitUsage, "give either --rate or --off");
    const std::string &port = call.text("--port");
    SwCmdRateLimit record{};
    record.portNumber = static_cast<uint32_t>(toInt(port));
    record.limitCmd = call.flag("--off") ? SW_RATE_LIMIT_REMOVE : SW_RATE_LIMIT_APPLY;
    record.rateLimit = call.integer("--rate");
    return send(call, "rate limit of port " + port, SW_CMD_RATE_LIMIT, bytesOf(record), port);
}

int runQueues(const Call &call)
{
    const std::string &port = call.text("--port");
    const std::vector<std::string> given = call.list("--weights");
    SwCmdQueueSched record{};
    record.portNumber = port == everyPort ? SWMGR_EVERY_PORT : toInt(port);
    record.numQueues = call.integer("--queues");
    record.schedMode = call.integer("--mode");
    int32_t *weights[weightedQueues] = {&record.queue1Weight, &record.queue2Weight,
                                        &record.queue3Weight, &record.queue4Weight};
    for (size_t i = 0; i < std::size(weights); ++i)
        *weights[i] = i < given.size() ? toInt(given[i]) : 1;
    return send(call, "queue scheduling of port " + port, SW_CMD_QUEUE_SCHED, bytesOf(record),
                port);
}

int sendSnooping(const Call &call, const char *option, const char *what, int command)
{
    const char enable = static_cast<char>(call.integer(option));
    return send(call, what, command, {&enable, 1});
}

int runSnooping(const Call &call)
{
    if (!call.has("--igmp") && !call.has("--mld"))
        throw Failure(exitUsage, "give --igmp, --mld or both");
    int exitStatus = exitDone;
    if (call.has("--igmp"))
        exitStatus = sendSnooping(call, "--igmp", "IGMP snooping", SW_CMD_IGMP_SNOOP);
    if (exitStatus == exitDone && call.has("--mld"))
        exitStatus = sendSnooping(call, "--mld", "MLD snooping", SW_CMD_MLD_SNOOP);
    return exitStatus;
}

// A command whose record is a single 32-bit number, 0 or 1.
int sendState(const Call &call, const char *what, int command)
{
    const int32_t value = call.integer("STATE");
    return send(call, std::string(what) + (value != 0 ? " on" : " off"), command, bytesOf(value));
}

int runQos(const Call &call)
{
    return sendState(call, "QoS", SW_CMD_QOS_ENABLE);
}

int runPauseFrames(const Call &call)
{
    return sendState(call, "pause frames", SW_CMD_PAUSE_FRAME);
}

int runVlanMode(const Call &call)
{
    return sendState(call, "VLAN mode", SW_CMD_VLAN_ENABLE);
}

std::string portOrAll(const std::string &text)
{
    return text == everyPort ? text : numberWithin(text, 0, 31);
}

constexpr OptionRow switchOptions[] = {
    {"--switch", "NAME", "Switch that gets the command; the top-level switch passes it on",
     switchNameText, engineName},
    {"--force", nullptr, "Send it even if a rehearsal shows that it would have no effect"},
};
constexpr OptionRow rateLimitOptions[] = {
    {.name = "--port",
     .type = "PORT",
     .help = "Port of that switch, 0 to 31",
     .check = decimal<0, 31>,
     .required = true},
    {"--rate", "KBIT",
     "Rate in kbit/s, 64 to 1300480; rounded down to a step of the engine: 64 up to 8128, 1024 "
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
    {"--queues", "N", "Number of queues: 1, 2 or 4", oneOf<1, 2, 4>, "4"},
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
    "  swctl rate-limit --port 1 --rate 20480\n  swctl rate-limit --port 1 --off",
    runRateLimit,
    {switchOptions, rateLimitOptions}};

constexpr CommandRow commands::queues = {
    nullptr,
    "queues",
    "Set the queue scheduling of a port or of all ports",
    "  swctl queues --port all --queues 4 --mode 1 --weights 1,2,4,8\n"
    "  swctl queues --port 2 --queues 1",
    runQueues,
    {switchOptions, queueOptions}};

constexpr CommandRow commands::qos = {nullptr,          "qos",  "Turn QoS on or off",
                                      "  swctl qos on", runQos, {switchOptions, stateArguments}};

constexpr CommandRow commands::pauseFrames = {nullptr,
                                              "pause-frames",
                                              "Turn pause frames on or off",
                                              "  swctl pause-frames off --switch PSE",
                                              runPauseFrames,
                                              {switchOptions, stateArguments}};

constexpr CommandRow commands::vlanMode = {nullptr,
                                           "vlan-mode",
                                           "Turn 802.1Q VLAN processing on or off",
                                           "  swctl vlan-mode on --switch BCM",
                                           runVlanMode,
                                           {switchOptions, stateArguments}};

constexpr CommandRow commands::snooping = {nullptr,
                                           "snooping",
                                           "Turn multicast snooping on or off",
                                           "  swctl snooping --igmp on --mld off",
                                           runSnooping,
                                           {switchOptions, snoopingOptions}};

} // namespace swctl
