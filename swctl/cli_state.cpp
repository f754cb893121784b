// The status and counters commands.
#include "client/base/failure.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/base/time_text.h"
#include "client/gateway/devices.h"
#include "client/gateway/gateway_view.h"
#include "client/service/served_file.h"
#include "client/view/status.h"
#include "swctl/cli_change.h"
#include "swctl/commands.h"
#include "swctl/report.h"
#include "swctl/validate.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr size_t mostFailures = 5;     // shown
constexpr size_t mostDifferences = 20; // shown
constexpr int nameColumns = 11;

Json loadJson(const LastLoad &load)
{
    return {{"outcome", !load.unknown.empty() ? "unknown"
                        : load.stopped        ? "stopped"
                                              : "went through"},
            {"time", load.stopped ? Json(load.time) : Json()},
            {"text", load.text()},
            {"reasons", load.reasons}};
}

Json statusJson(const Status &status)
{
    Json failures = Json::array();
    for (const LogLine &line : status.failures)
        failures.push_back({{"time", line.time}, {"text", line.text}});
    const std::optional<size_t> applied = status.applied();
    return {{"outcome", status.health()},
            {"reachable", status.unreachable.empty()},
            {"upSince", status.start ? Json(*status.start / 1000) : Json()},
            {"lastLoad", loadJson(status.load)},
            {"startStops", status.verdict.startStops},
            {"vlans",
             {{"configured", status.vlans},
              {"applied", applied ? Json(*applied) : Json()},
              {"different", status.different.size()},
              {"verified", applied.has_value()}}},
            {"findings", {{"errors", status.errors}, {"warnings", status.warnings}}},
            {"unfinished", status.unfinished.empty() ? Json() : Json(status.unfinished)},
            {"confirmUntil", status.trial ? Json(status.trial->deadline) : Json()},
            {"failures", std::move(failures)},
            {"comparison", verdictJson(status.verdict)}};
}

std::string countOf(size_t count, const char *what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// Prints the lines of the text beside or below the name.
void printField(const char *name, const std::string &text)
{
    std::vector<std::string> lines = partsOf(text, '\n');
    if (lines.back().empty()) // the text ended with a line end
        lines.pop_back();
    for (const std::string &line : lines) {
        printWrapped(stdout, padded(name, nameColumns) + shown(line), outputColumns, /*indent=*/0,
                     nameColumns);
        name = "";
    }
}

void printService(const Status &status)
{
    if (!status.unreachable.empty())
        printField("service", "not reachable: " + status.unreachable);
    else if (status.start)
        printField("service", "up since " + dateText(*status.start / 1000));
    else
        printField("service", "up; start time unknown");
    if (status.unreachable.empty())
        printField("last load", status.load.text());
    for (const std::string &reason : status.load.reasons)
        printField("", reason);
    printField("next load", status.verdict.startStops.empty() ? "would go through (rehearsed)"
                                                              : status.verdict.startStops);
}

void printVlans(const Status &status)
{
    const std::optional<size_t> applied = status.applied();
    printField("VLANs", std::to_string(status.vlans) + " configured, " +
                            (applied ? std::to_string(*applied) : "an unknown number") +
                            " applied, " + std::to_string(status.different.size()) + " different");
    size_t printed = 0;
    for (const Difference &difference : status.verdict.left)
        if (printed++ < mostDifferences)
            printField("  !", difference.text() + " (" + difference.mend() + ")");
    if (printed > mostDifferences)
        printField("", "and " + std::to_string(printed - mostDifferences) +
                           " more; 'swctl diff' shows all");
    for (const std::string &part : status.verdict.unread)
        printField("not read", part);
    for (const std::string &setting : status.verdict.unknown)
        printField("not known", setting);
}

void printStatus(const Status &status)
{
    printf("%s\n", status.health());
    printService(status);
    if (!status.verdict.otherFile.empty())
        printField("database", otherFileText(status.verdict.otherFile));
    printVlans(status);
    if (status.errors + status.warnings != 0)
        printField("rows", countOf(status.errors, "error") + " and " +
                               countOf(status.warnings, "warning") + "; 'swctl check' lists them");
    if (!status.unfinished.empty())
        printField("change", "interrupted: " + status.unfinished +
                                 "; 'swctl recover' finishes or reverts it");
    if (status.trial)
        printField("change",
                   (status.trial->isLeft() ? "on trial, overdue since " : "on trial until ") +
                       clockText(status.trial->deadline) + ": " + status.trial->changes.what + " " +
                       status.trial->changes.verb +
                       (status.trial->isLeft() ? "; 'swctl recover' takes it back"
                                               : "; 'swctl confirm' keeps it"));
    if (!status.failuresUnknown.empty())
        printField("failures", "not known: " + status.failuresUnknown);
    const size_t all = status.failures.size();
    for (size_t i = all - std::min(all, mostFailures); i < all; ++i)
        printField("failure", timeText(status.failures[i].time) + "  " + status.failures[i].text);
}

int runStatus(const Call &call)
{
    GatewayView gateway = openGateway(call.globals, Access::read);
    const Status status = statusOf(gateway);
    if (call.globals.json)
        printJson(statusJson(status));
    else
        printStatus(status);
    return status.exitStatus();
}

std::string hexText(const PortState &port)
{
    std::string text;
    char pair[4];
    for (const uint8_t byte : port.statistics) {
        snprintf(pair, sizeof(pair), "%02x", byte);
        text += pair;
    }
    return text;
}

std::string forwardText(const PortState &port)
{
    const std::string list = listOf(port.forwardMap);
    return list.empty() ? "-" : list;
}

void printPort(int number, const PortState &port)
{
    printf("port %d  link %s  default tag %d (priority %d, CFI %d)  forwards to %s\n", number,
           port.linkUp ? "up" : "down", port.pvid, port.priority, port.cfi,
           forwardText(port).c_str());
    const std::string bytes = hexText(port);
    constexpr size_t line = 64; // digits
    for (size_t at = 0; at < bytes.size(); at += line)
        printf("  %s\n", bytes.substr(at, line).c_str());
}

// Of the first device that has a request for them.
std::vector<PortState> portsOf(GatewayView &gateway)
{
    for (const Device *device : devices()) {
        const std::optional<std::string> node = nodeOf(gateway.database(), *device);
        auto ports = node ? device->readPorts(gateway.site(), *node) : std::nullopt;
        if (!ports)
            continue;
        if (!ports->held)
            throw Failure(exitDiffers,
                          std::string("not read: ") + device->part + ": " + ports->reason);
        return std::move(*ports->held);
    }
    throw Failure(exitUsage, "no switch in the database is a chip");
}

int runPortStats(const Call &call)
{
    GatewayView gateway = openGateway(call.globals, Access::read);
    const std::vector<PortState> states = portsOf(gateway);
    Json ports = Json::array();
    for (int number = 0; number < static_cast<int>(states.size()); ++number) {
        const PortState &port = states[static_cast<size_t>(number)];
        if (call.has("PORT") && call.integer("PORT") != number)
            continue;
        if (!call.globals.json)
            printPort(number, port);
        ports.push_back({{"port", number},
                         {"link", port.linkUp},
                         {"defaultTag", port.pvid},
                         {"priority", port.priority},
                         {"cfi", port.cfi},
                         {"forwardMap", port.forwardMap},
                         {"statistics", hexText(port)}});
    }
    if (call.globals.json)
        printJson(ports);
    return exitDone;
}

constexpr OptionRow statsOptions[] = {
    {"PORT", "TEXT", "Port of the chip, 0 to 4; all unless given", decimal<0, chipPortCount - 1>},
};

} // namespace

constexpr CommandRow commands::status = {
    nullptr, "status",
    "Show whether all is well: the service, rows compared with hardware, unfinished changes, "
    "tools that failed; status 0 healthy, 4 not, 3 unreachable",
    "  swctl status\n  swctl status --json", runStatus};

constexpr CommandRow commands::portStats = {
    "port",
    "stats",
    "Show link, default tag, port-based forwarding and the statistics bytes of the chip's "
    "ports, as its driver gives them",
    "  swctl port stats\n  swctl port stats 3 --json",
    runPortStats,
    {statsOptions}};

} // namespace swctl
