#include "client/view/status.h"

#include "client/change/repair.h"
#include "client/check/accepted.h"
#include "client/check/check_context.h"
#include "client/records/journal.h"
#include "client/service/service.h"
#include "client/service/service_life.h"
#include "common/log_rank.h"

#include <algorithm>

namespace swctl {
namespace {

// Commands for sub-interfaces, whose outcome is read from the kernel instead.
bool isOfKernel(const LogLine &line)
{
    return line.text.starts_with("cmd (vconfig ") || line.text.starts_with("cmd (ifconfig ") ||
           line.text.starts_with("cmd (/sbin/vconfig ");
}

void takeFailures(Status &status)
{
    try {
        static_cast<void>(failedTools([&](const LogLine &line) {
            ToolLine tool;
            if (toolLineRead(line.text.data(), line.text.size(), tool))
                status.failures.push_back(line);
        }));
    } catch (const Failure &) {
        status.failuresUnknown = "no log daemon is running";
    }
}

} // namespace

Status statusOf(GatewayView &gateway)
{
    Status status;
    status.verdict = compare(gateway, History(gateway.databasePath()), /*allVlans=*/false, {});
    status.vlans = gateway.database().rows("vlanEncapIf").size();
    for (const Difference &difference : status.verdict.left)
        if (difference.vlanId != 0 && difference.inRows)
            status.different.insert(difference.vlanId);
    if (serviceAnswers())
        status.start = serviceStart();
    else
        status.unreachable = serviceStart()
                                 ? "it runs but does not answer: it is busy, starting or stopped"
                                 : "it does not answer; is it running?";
    if (status.start)
        status.load = lastLoadSince(*status.start);
    else
        status.load.unknown = "it is not known when the service started";
    if (const std::optional<ChangeSet> changes = Journal(gateway.databasePath()).unfinished())
        status.unfinished = changes->what + " " + changes->verb;
    status.trial = trialOf(gateway.databasePath());
    std::vector<Finding> findings = checkConfiguration(gateway.database(), checkContextOf(gateway));
    markAccepted(gateway.database(), findings);
    status.errors = countOf(findings, Severity::error);
    status.warnings = countOf(findings, Severity::warning);
    takeFailures(status);
    return status;
}

std::optional<size_t> Status::applied() const
{
    if (!verdict.unread.empty())
        return std::nullopt;
    return vlans - std::min(vlans, different.size() + verdict.unreached);
}

ExitStatus Status::exitStatus() const
{
    if (!unreachable.empty())
        return exitUnreachable;
    const bool fine =
        verdict.outcome == Outcome::applied && unfinished.empty() && !(trial && trial->isLeft()) &&
        std::all_of(failures.begin(), failures.end(), isOfKernel) && verdict.startStops.empty();
    return fine ? exitDone : exitDiffers;
}

const char *Status::health() const
{
    const ExitStatus exit = exitStatus();
    if (exit == exitDone)
        return isHealthy() ? "healthy" : "not all known";
    return exit == exitDiffers ? "not healthy" : "not reachable";
}

bool Status::isHealthy() const
{
    return exitStatus() == exitDone && verdict.unknown.empty() && failuresUnknown.empty();
}

} // namespace swctl
