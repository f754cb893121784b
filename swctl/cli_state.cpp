// How the gateway is doing: status, and what the chip counts on its ports.
#include "swctl/cli_change.h"
#include "swctl/confirm.h"
#include "swctl/gateway_view.h"
#include "swctl/journal.h"
#include "swctl/log.h"
#include "swctl/outcome.h"
#include "swctl/readback.h"
#include "swctl/report.h"
#include "swctl/service.h"
#include "swctl/service_life.h"
#include "swctl/text.h"
#include "swctl/validate.h"

#include <algorithm>
#include <memory>
#include <set>

namespace swctl {
namespace {

constexpr size_t mostFailures = 5; // shown

// What became of a sub-interface is read from the kernel itself.
bool isOfKernel(const LogLine &line)
{
    return line.text.starts_with("cmd (vconfig ") || line.text.starts_with("cmd (ifconfig ") ||
           line.text.starts_with("cmd (/sbin/vconfig ");
}

struct Status {
    std::string unreachable;      // why; empty: it answers
    std::optional<int64_t> start; // ms since 1970; none: not known
    Verdict verdict;              // rows against hardware
    size_t vlans = 0;             // in the rows
    std::set<int> different;      // VLANs
    std::string unfinished;       // what a broken-off change was about
    std::optional<Trial> trial;
    std::vector<LogLine> failures; // tools that failed last, oldest first
    std::string failuresUnknown;   // why

    [[nodiscard]] ExitStatus exitStatus() const
    {
        if (!unreachable.empty())
            return exitUnreachable;
        const bool fine = verdict.word == Word::applied && unfinished.empty() &&
                          std::all_of(failures.begin(), failures.end(), isOfKernel) &&
                          verdict.startStops.empty();
        return fine ? exitDone : exitDiffers;
    }
};

void takeFailures(Status &status)
{
    try {
        static_cast<void>(
            failedTools([&](const LogLine &line) { status.failures.push_back(line); }));
    } catch (const Failure &) {
        status.failuresUnknown = "no log daemon is running that could tell";
    }
}

Status statusOf(const Globals &globals)
{
    Status status;
    status.verdict = repair(optionsOf(globals), /*allVlans=*/false, /*dryRun=*/true, {});
    Database database(globals.database, Access::read);
    status.vlans = database.rows("vlanEncapIf").size();
    for (const Difference &difference : status.verdict.left)
        if (difference.vlanId != 0 && difference.inRows)
            status.different.insert(difference.vlanId);
    if (serviceAnswers())
        status.start = serviceStart();
    else
        status.unreachable = "it does not answer; is it running?";
    if (const std::optional<ChangeSet> changes = Journal(globals.database).unfinished())
        status.unfinished = changes->what + " " + changes->verb;
    status.trial = trialOf(globals.database);
    takeFailures(status);
    return status;
}

Json statusJson(const Status &status)
{
    Json failures = Json::array();
    for (const LogLine &line : status.failures)
        failures.push_back({{"time", line.time}, {"text", line.text}});
    const ExitStatus exit = status.exitStatus();
    return {{"outcome", exit == exitDone      ? "healthy"
                        : exit == exitDiffers ? "not healthy"
                                              : "not reachable"},
            {"reachable", status.unreachable.empty()},
            {"upSince", status.start ? Json(*status.start / 1000) : Json()},
            {"startStops", status.verdict.startStops},
            {"vlans",
             {{"configured", status.vlans},
              {"different", status.different.size()},
              {"verified", status.verdict.unread.empty()}}},
            {"unfinished", status.unfinished.empty() ? Json() : Json(status.unfinished)},
            {"confirmUntil", status.trial ? Json(status.trial->deadline) : Json()},
            {"failures", std::move(failures)},
            {"comparison", verdictJson(status.verdict)}};
}

void printService(const Status &status)
{
    if (!status.unreachable.empty())
        printf("service   not reachable: %s\n", status.unreachable.c_str());
    else if (status.start)
        printf("service   up since %s\n", dateText(*status.start / 1000).c_str());
    else
        printf("service   up; since when is not known\n");
}

void printStatus(const Status &status)
{
    const ExitStatus exit = status.exitStatus();
    printf("%s\n", exit == exitDone      ? "healthy"
                   : exit == exitDiffers ? "not healthy"
                                         : "not reachable");
    printService(status);
    printf("start     %s (rehearsed)\n", status.verdict.startStops.empty()
                                             ? "goes through from the database as it is"
                                             : status.verdict.startStops.c_str());
    printf("VLANs     %zu configured, %zu different%s\n", status.vlans, status.different.size(),
           status.verdict.unread.empty() ? "" : ", not all read");
    if (!status.unfinished.empty())
        printf("change    broken off: %s; 'swctl recover' finishes it or takes it back\n",
               printable(status.unfinished).c_str());
    if (status.trial)
        printf("change    on trial until %s: %s %s; 'swctl confirm' keeps it\n",
               clockText(status.trial->deadline).c_str(),
               printable(status.trial->changes.what).c_str(), status.trial->changes.verb.c_str());
    for (const Difference &difference : status.verdict.left)
        printf("  ! %s\n", difference.text().c_str());
    for (const std::string &part : status.verdict.unread)
        printf("  not read: %s\n", part.c_str());
    if (!status.verdict.left.empty())
        printf("  To mend it: %s\n", status.verdict.left.front().mend().c_str());
    if (!status.failuresUnknown.empty())
        printf("failures  not known: %s\n", status.failuresUnknown.c_str());
    const size_t all = status.failures.size();
    for (size_t i = all - std::min(all, mostFailures); i < all; ++i)
        printf("failure   %s  %s\n", timeText(status.failures[i].time).c_str(),
               printable(status.failures[i].text).c_str());
}

int runStatus(const Globals &globals)
{
    const Status status = statusOf(globals);
    if (globals.json)
        printJson(statusJson(status));
    else
        printStatus(status);
    return status.exitStatus();
}

std::string hexText(const ChipPort &port)
{
    std::string text;
    char pair[4];
    for (const uint8_t byte : port.statistics) {
        snprintf(pair, sizeof(pair), "%02x", byte);
        text += pair;
    }
    return text;
}

std::string membersText(uint16_t map)
{
    std::string text;
    for (int port = 0; port < chipPortCount; ++port)
        if ((map >> port & 1) != 0)
            text += (text.empty() ? "" : ",") + std::to_string(port);
    return text.empty() ? "-" : text;
}

void printPort(int number, const ChipPort &port)
{
    printf("port %d  link %s  default tag %d (priority %d, CFI %d)  forwards to %s\n", number,
           port.linkUp ? "up" : "down", port.pvid, port.priority, port.cfi,
           membersText(port.forwardMap).c_str());
    const std::string bytes = hexText(port);
    constexpr size_t line = 64; // digits
    for (size_t at = 0; at < bytes.size(); at += line)
        printf("  %s\n", bytes.substr(at, line).c_str());
}

int runPortStats(const Globals &globals, const std::string &wanted)
{
    const Site site = findSite(globals.database, globals.site);
    Database database(globals.database, Access::read);
    const std::string device = chipDevice(database);
    if (device.empty())
        throw Failure(exitUsage, "no switch in the database is a chip");
    const Part<Chip> chip = readChipPorts(site, device);
    if (!chip.held)
        throw Failure(exitDiffers, "not read: chip: " + chip.reason);
    Json ports = Json::array();
    for (int number = 0; number < chipPortCount; ++number) {
        const ChipPort &port = chip.held->ports[static_cast<size_t>(number)];
        if (!wanted.empty() && wanted != std::to_string(number))
            continue;
        if (!globals.json)
            printPort(number, port);
        ports.push_back({{"port", number},
                         {"link", port.linkUp},
                         {"defaultTag", port.pvid},
                         {"priority", port.priority},
                         {"cfi", port.cfi},
                         {"forwardMap", port.forwardMap},
                         {"statistics", hexText(port)}});
    }
    if (globals.json)
        printJson(ports);
    return exitDone;
}

} // namespace

void addStateCommands(Program &program)
{
    addCommand(
        program, program.app, "status",
        "Tell whether all is well: the service, rows against hardware, unfinished changes, "
        "tools that failed; status 0 healthy, 4 not, 3 not reachable",
        "  swctl status\n  swctl status --json", [&program] { return runStatus(program.globals); });
}

void addPortStats(Program &program, CLI::App &group)
{
    const auto wanted = std::make_shared<std::string>();
    CLI::App *command = addCommand(
        program, group, "stats",
        "Show link, default tag, port-based forwarding and the statistics bytes of the chip's "
        "ports, as its driver gives them",
        "  swctl port stats\n  swctl port stats 3 --json",
        [&program, wanted] { return runPortStats(program.globals, *wanted); });
    command->add_option("PORT", *wanted, "Port of the chip, 0 to 4; all unless given")
        ->transform(decimal(0, chipPortCount - 1));
}

} // namespace swctl
