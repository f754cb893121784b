#include "client/service/request_log.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/service/service.h"
#include "common/log_rank.h"

#include <algorithm>
#include <poll.h>
#include <unistd.h>

namespace swctl {
namespace {

constexpr const char *noDaemon = "no log daemon is running";
constexpr int napMs = 1;
constexpr int mostNaps = 250;

} // namespace

RequestLog::RequestLog() : follower(SWMGR_LOG_DEVDEBUG)
{
    try {
        follower.skipToNewest();
        heard = true;
    } catch (const Failure &) {
        heard = false;
        lacking = noDaemon;
    }
}

std::string awaitLog()
{
    static int serial = 0;
    // Such an event has no effect, but its line comes after everything logged before it.
    const int rowId = (getpid() % 1000000 + 1) * 64 + serial++ % 64;
    std::string lacking = noDaemon;
    try {
        bool seen = markerArrived(rowId); // not yet: without a daemon the service is not asked
        lacking = "the service does not answer";
        askNothing(rowId);
        lacking = noDaemon;
        for (int nap = 0; !seen && nap < mostNaps; ++nap) {
            seen = markerArrived(rowId);
            if (!seen)
                poll(nullptr, 0, napMs);
        }
        return seen ? "" : "the service does not log to the log daemon";
    } catch (const Failure &) {
        return lacking;
    }
}

std::vector<LogLine> RequestLog::take()
{
    std::vector<LogLine> lines;
    if (!heard)
        return lines;
    lacking = awaitLog();
    try {
        if (lacking.empty())
            follower.read([&](const LogLine &line) {
                if (line.module == SWMGR_RELAY_MODULE_ID)
                    lines.push_back(line);
            });
    } catch (const Failure &) {
        lacking = noDaemon;
    }
    heard = lacking.empty();
    return lines;
}

std::vector<std::string> reasonsIn(const std::vector<LogLine> &lines)
{
    std::vector<std::string> reasons;
    for (const LogLine &line : lines) {
        const int32_t rank = logRank(line.level, line.text.data(), line.text.size());
        if (rank <= LOG_RANK_WARNING && !isNoReason(line.text) &&
            line.text.find("Disabling Vlan") == std::string::npos)
            reasons.push_back(printable(onOneLine(line.text)));
        // Repeated lines from several rows add nothing.
        if (reasons.size() > 1 &&
            std::find(reasons.begin(), reasons.end() - 1, reasons.back()) != reasons.end() - 1)
            reasons.pop_back();
    }
    return reasons;
}

} // namespace swctl
