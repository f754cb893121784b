#include "client/change/refusal.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/check/check.h"
#include "client/check/check_context.h"
#include "client/rehearse/event_text.h"

namespace swctl {

void refuseErrors(const GatewayView &gateway, Snapshot &before, Database &after,
                  const ChangeSet &changes)
{
    const CheckContext context = checkContextOf(gateway);
    const std::vector<Finding> worse =
        newFindings(checkConfiguration(before.database(), context),
                    checkConfiguration(after, context), Severity::error);
    if (worse.empty())
        return;
    std::string text = "refused: " + printable(changes.what) + ": the configuration would be wrong";
    for (const Finding &finding : worse)
        text += "\n  " + printable(finding.name) + ": " + printable(finding.message) + " (" +
                finding.rule->id + ")";
    throw Failure(exitRefused, text + "\n  Nothing was changed. See 'swctl check --explain " +
                                   worse.front().rule->id + "'; --force does it anyway.");
}

void refuseStop(const GatewayView &gateway, Snapshot &before, const Target &after,
                const ChangeSet &changes)
{
    if (!after.stopped)
        return;
    const Target now = targetOfStart(gateway, before);
    if (now.stopped && now.stopped->table == after.stopped->table &&
        now.stopped->row == after.stopped->row)
        return; // a start already stops there, so this change is not the cause
    throw Failure(exitRefused, "refused: " + printable(changes.what) + ": " +
                                   stoppedText(*after.stopped) +
                                   "\n  Nothing was changed. --force does it anyway.");
}

} // namespace swctl
