#include "client/change/verdict.h"

#include "client/gateway/devices.h"

namespace swctl {
namespace {

// What a device without a query did is known by the log alone.
void noteTools(Verdict &verdict, const Actual &actual)
{
    for (const Device *device : devices())
        if (const std::string &reason = actual.of(*device).reason;
            !device->hasQuery && !reason.empty())
            addNote(verdict, std::string(device->part) +
                                 ": cannot tell whether its tools worked: " + reason);
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
    verdict.unread = settled.actual.unread();
    verdict.unknown = textsOf(settled.unknown);
    noteTools(verdict, settled.actual);
    verdict.outcome = verdict.left.empty() && verdict.unread.empty() && verdict.otherFile.empty()
                          ? otherwise
                          : Outcome::differs;
}

} // namespace swctl
