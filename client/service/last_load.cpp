#include "client/service/last_load.h"

#include "client/base/failure.h"
#include "client/service/log.h"
#include "client/service/request_log.h"
#include "common/clock.h"
#include "common/load_line.h"
#include "common/log_rank.h"

namespace swctl {
namespace {

constexpr int64_t startSlack = 10; // ms, one kernel tick: the start time may be this much too late

} // namespace

std::string LastLoad::text() const
{
    if (!unknown.empty())
        return "not known: " + unknown;
    if (!stopped)
        return "went through; the log reports no failure";
    return "stopped at " + timeText(time);
}

LastLoad lastLoadSince(int64_t start)
{
    LastLoad load;
    const int64_t begin = (start - startSlack) * nanosecondsPerMillisecond;
    try {
        std::vector<LogLine> errors;
        const Hearing heard = failedTools([&](const LogLine &line) {
            ToolLine tool;
            if (line.time < begin || toolLineRead(line.text.data(), line.text.size(), tool))
                return;
            errors.push_back(line);
            if (!isLoadFailure(line.text))
                return;
            load.stopped = true;
            load.time = line.time;
            load.reasons = reasonsIn(errors);
        });
        if (!load.stopped && heard.since > start * nanosecondsPerMillisecond)
            load.unknown = "the log daemon started later than the service";
        else if (!load.stopped && heard.lost != 0)
            load.unknown = "the log daemon lost records";
    } catch (const Failure &) {
        load.unknown = "no log daemon is running";
    }
    return load;
}

} // namespace swctl
