#include "client/change/verdict.h"

namespace swctl {
namespace {

void readUnread(Verdict &verdict, const Actual &actual)
{
    if (!actual.chip.held)
        verdict.unread.push_back("chip: " + actual.chip.reason);
    if (!actual.kernel.held)
        verdict.unread.push_back("kernel: " + actual.kernel.reason);
    if (!actual.bridge.held)
        verdict.unread.push_back("bridge: " + actual.bridge.reason);
}

void noteEngine(Verdict &verdict, const Actual &actual)
{
    if (!actual.engine.reason.empty())
        addNote(verdict, "engine: cannot tell whether its tools worked: " + actual.engine.reason);
}

} // namespace

const char *outcomeText(Outcome outcome)
{
    constexpr const char *texts[] = {"applied", "refused", "differs", "unanswered"};
    return texts[static_cast<size_t>(outcome)];
}

ExitStatus outcomeStatus(Outcome outcome)
{
    constexpr ExitStatus statuses[] = {exitDone, exitRefused, exitDiffers, exitUnreachable};
    return statuses[static_cast<size_t>(outcome)];
}

void addNote(Verdict &verdict, const std::string &text)
{
    verdict.note += (verdict.note.empty() ? "" : "\n  ") + text;
}

void conclude(Verdict &verdict, Settled settled, Outcome otherwise)
{
    verdict.verified = true;
    verdict.settled = std::move(settled.done);
    verdict.left = std::move(settled.left);
    for (const auto &[name, sub] : settled.actual.foreign)
        verdict.foreign.push_back(name);
    readUnread(verdict, settled.actual);
    noteEngine(verdict, settled.actual);
    verdict.outcome = verdict.left.empty() && verdict.unread.empty() ? otherwise : Outcome::differs;
}

} // namespace swctl
