#include "swctl/cli_answer.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/change/verdict.h"
#include "client/service/request_log.h"
#include "client/service/service.h"
#include "common/json.h"

#include <algorithm>

namespace swctl {

int reportAnswer(const Globals &globals, const std::string &what, int status)
{
    RequestLog silent;
    return reportAnswer(globals, what, status, silent);
}

// A failed tool appears only in the log, because the answer comes from the switches below.
int reportAnswer(const Globals &globals, const std::string &what, int status, RequestLog &log,
                 const std::string &fault)
{
    const std::vector<std::string> reasons = reasonsIn(log.take());
    const bool failed = std::any_of(reasons.begin(), reasons.end(), [](const std::string &line) {
        return line.starts_with("cmd (");
    });
    const Outcome outcome = status < 0                 ? Outcome::refused
                            : failed || !fault.empty() ? Outcome::differs
                                                       : Outcome::applied;
    if (globals.json)
        printJson({{"outcome", outcomeText(outcome)},
                   {"request", what},
                   {"status", status},
                   {"meaning", statusInWords(status)},
                   {"fault", fault.empty() ? Json() : Json(fault)},
                   {"reasons", reasons}});
    else if (outcome == Outcome::applied)
        printLines(stdout, "applied: " + what);
    if (outcome == Outcome::refused)
        printLines(stderr,
                   "swctl: refused: " + what + ": the service answered " + statusInWords(status));
    if (outcome == Outcome::differs)
        printLines(stderr, "swctl: differs: " + what + ": the service answered 0, but " +
                               (fault.empty() ? "a tool failed" : fault));
    if (outcome != Outcome::applied)
        for (const std::string &reason : reasons)
            printLines(stderr, "  service: " + reason);
    return outcomeStatus(outcome);
}

} // namespace swctl
