// watch: prints a line for each change until interrupted.
#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/service/log.h"
#include "client/service/request_log.h"
#include "client/view/watch.h"
#include "common/clock.h"
#include "common/json.h"
#include "swctl/commands.h"
#include "swctl/validate.h"
#include "swmgr/swmgr_client.h"

#include <csignal>
#include <ctime>
#include <unistd.h>

namespace swctl {
namespace {

constexpr int readAnyway =
    15; // rounds after which the chip's table is read even without a log message

// A line of the log that reports a failure.
struct Reason {
    int64_t time = 0; // ns since 1970
    std::string text;
};

// Whether the service has logged anything since the last call; true if that is unknown.
bool hasSpoken(LogFollower &follower, std::vector<Reason> &reasons)
{
    std::vector<LogLine> lines;
    bool heard = true;
    try {
        static_cast<void>(follower.read([&](const LogLine &line) {
            if (line.module == SWMGR_RELAY_MODULE_ID)
                lines.push_back(line);
        }));
    } catch (const Failure &) {
        heard = false;
    }
    reasons.clear();
    for (const LogLine &line : lines)
        for (std::string &text : reasonsIn({line}))
            reasons.push_back({line.time, std::move(text)});
    return !heard || !lines.empty();
}

// Signals that end the run are handled while waiting, not in the middle of a line.
class Interruptions {
public:
    Interruptions()
    {
        sigemptyset(&set);
        for (const int number : {SIGINT, SIGTERM, SIGHUP})
            sigaddset(&set, number);
        sigprocmask(SIG_BLOCK, &set, nullptr);
    }

    // Whether one arrives within `seconds`.
    [[nodiscard]] bool within(int seconds) const
    {
        const timespec limit = {seconds, 0};
        return sigtimedwait(&set, nullptr, &limit) > 0;
    }

private:
    sigset_t set{};
};

void printSceneChange(const SceneChange &change, bool json)
{
    const int64_t now = nanosecondsNow(CLOCK_REALTIME);
    if (json)
        printJson({{"time", now},
                   {"vlan", change.vlanId != 0 ? Json(change.vlanId) : Json()},
                   {"subject", change.subject},
                   {"was", change.was.empty() ? Json() : Json(change.was)},
                   {"is", change.is.empty() ? Json() : Json(change.is)},
                   {"text", change.text()}});
    else
        printf("%s  %s\n", timeText(now).c_str(), shown(change.text()).c_str());
}

void printReason(const Reason &reason, bool json)
{
    if (json)
        printJson({{"time", reason.time}, {"subject", "log"}, {"text", reason.text}});
    else
        printf("%s  service: %s\n", timeText(reason.time).c_str(), shown(reason.text).c_str());
}

int runWatch(const Call &call)
{
    const Globals &globals = call.globals;
    const Interruptions interruptions;
    GatewayView gateway(Database(globals.database, Access::read), globals.site);
    Watcher watcher(gateway);
    LogFollower follower(SWMGR_LOG_DEVDEBUG);
    std::vector<Reason> reasons;
    static_cast<void>(hasSpoken(follower, reasons)); // skip older records
    static_cast<void>(watcher.databaseMoved());
    Scene before = watcher.observe(/*table=*/true);
    if (isatty(STDERR_FILENO) == 1)
        fprintf(stderr, "swctl: watching %zu values; press Ctrl-C to stop\n", before.size());
    for (int looks = 1; ferror(stdout) == 0 && !interruptions.within(call.integer("--interval"));
         ++looks) {
        const bool moved = watcher.databaseMoved();
        const bool heard = hasSpoken(follower, reasons);
        Scene now = watcher.observe(moved || heard || looks % readAnyway == 0);
        for (const SceneChange &change : changesBetween(before, now))
            printSceneChange(change, globals.json);
        for (const Reason &reason : reasons)
            printReason(reason, globals.json);
        fflush(stdout);
        before = std::move(now);
    }
    return exitDone;
}

constexpr OptionRow options[] = {
    {"--interval", "SECONDS", "Seconds between two polls, 1 to 3600", decimal<1, 3600>, "2"},
};

} // namespace

constexpr CommandRow commands::watch = {
    nullptr,
    "watch",
    "Print a line for each change of rows, chip, sub-interfaces, links, settings and service, and for "
    "each failure in the log, until interrupted",
    "  swctl watch\n  swctl watch --interval 10 --json",
    runWatch,
    {options}};

} // namespace swctl
