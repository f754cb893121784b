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

constexpr int napMs = 1;
constexpr int mostNaps = 250;

// The end of the log line for a deletion in a table unknown to the service. Such a request has
// no effect, but its line comes after everything logged before it.
std::string markerText(int rowId)
{
    return std::string("DBUpdate event: Table: ") + markerTable +
           " opCode:9 rowId:" + std::to_string(rowId) + " status=0";
}

bool isOfMarker(const LogLine &line)
{
    return line.text.find(std::string("Table: ") + markerTable + " ") != std::string::npos;
}

} // namespace

RequestLog::RequestLog() : follower(SWMGR_LOG_DEVDEBUG)
{
    try {
        follower.skipToNewest();
        heard = true;
    } catch (const Failure &) {
        heard = false;
    }
}

std::vector<LogLine> RequestLog::take()
{
    static int serial = 0;
    std::vector<LogLine> lines;
    if (!heard)
        return lines;
    try {
        const int rowId = getpid() * 64 + serial++ % 64;
        askNothing(rowId);
        const std::string marker = markerText(rowId);
        bool seen = false;
        for (int nap = 0; !seen && nap < mostNaps; ++nap) {
            follower.read([&](const LogLine &line) {
                if (line.text.find(marker) != std::string::npos)
                    seen = true;
                else if (line.module == SWMGR_RELAY_MODULE_ID && !isOfMarker(line))
                    lines.push_back(line);
            });
            if (!seen)
                poll(nullptr, 0, napMs);
        }
        heard = seen;
    } catch (const Failure &) {
        heard = false;
    }
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
