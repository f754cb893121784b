#include "swctl/cli_answer.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/service/request_log.h"
#include "client/service/service.h"
#include "common/json.h"

#include <algorithm>

namespace swctl {

namespace {

struct Report {
    std::string outcome; // "applied", "sent", "refused" or "differs"
    ExitStatus status = exitDone;
    std::string text; // what else the first line says
};

void print(const Globals &globals, const std::string &what, int status, const Report &report,
           const std::string &fault, const std::vector<std::string> &reasons)
{
    const bool good = report.status == exitDone;
    if (globals.json)
        printJson({{"outcome", report.outcome},
                   {"request", what},
                   {"status", status},
                   {"meaning", statusInWords(status)},
                   {"fault", fault.empty() ? Json() : Json(fault)},
                   {"reasons", reasons}});
    else
        printLines(good ? stdout : stderr,
                   (good ? "" : "swctl: ") + report.outcome + ": " + what + report.text);
    for (const std::string &reason : reasons)
        if (!good && !globals.json)
            printLines(stderr, "  service: " + reason);
}

// A failed tool appears only in the log, because the answer comes from the switches below.
bool toolFailed(const std::vector<std::string> &reasons)
{
    return std::any_of(
        reasons.begin(), reasons.end(),
        [](const std::string &line) { return line.starts_with("cmd ("); });
}

Report reportOf(int status, bool failed, const std::string &fault)
{
    if (status < 0)
        return {"refused", exitRefused, ": the service answered " + statusInWords(status)};
    if (failed || !fault.empty())
        return {"differs", exitDiffers,
                ": the service answered 0, but " + (fault.empty() ? "a tool failed" : fault)};
    return {"applied", exitDone, ""};
}

} // namespace

int reportSent(const Globals &globals, const std::string &what, int status, RequestLog &log)
{
    const std::vector<std::string> reasons = reasonsIn(log.take());
    Report report = reportOf(status, toolFailed(reasons), {});
    if (report.status == exitDone)
        report = {"sent", exitDone, "; the service answered " + statusInWords(status)};
    print(globals, what, status, report, {}, reasons);
    return report.status;
}

int reportAnswer(const Globals &globals, const std::string &what, int status, RequestLog &log,
                 const std::string &fault)
{
    const std::vector<std::string> reasons = reasonsIn(log.take());
    const Report report = reportOf(status, toolFailed(reasons), fault);
    print(globals, what, status, report, fault, reasons);
    return report.status;
}

} // namespace swctl
