// Turns what was read into a verdict; see the header.
#include "client/change/judge.h"

#include "client/base/text.h"

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
        addNote(verdict, "engine: not known whether its tools worked: " + actual.engine.reason);
}

} // namespace

Target targetOfStart(const GatewayView &gateway, Snapshot &snapshot)
{
    return targetOf(gateway.rehearseStart(snapshot)->finish(), vlanIdsIn(snapshot.database()));
}

std::string stoppedText(const StoppedAt &stopped)
{
    std::string text = "a start of the service would stop at row " +
                       std::to_string(stopped.row + 1) + " of " + stopped.table;
    for (const std::string &reason : stopped.reasons)
        text += "\n  service: " + printable(reason);
    return text;
}

void addNote(Verdict &verdict, const std::string &text)
{
    verdict.note += (verdict.note.empty() ? "" : "\n  ") + text;
}

void judge(Verdict &verdict, Settled settled, Word otherwise)
{
    verdict.verified = true;
    verdict.settled = std::move(settled.done);
    verdict.left = std::move(settled.left);
    readUnread(verdict, settled.actual);
    noteEngine(verdict, settled.actual);
    verdict.word = verdict.left.empty() && verdict.unread.empty() ? otherwise : Word::differs;
}

} // namespace swctl
