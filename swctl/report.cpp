#include "swctl/report.h"

#include "client/base/text.h"
#include "client/base/time_text.h"
#include "client/service/served_file.h"
#include "client/service/service.h"

#include <algorithm>

namespace swctl {
namespace {

const char *operationName(int operation)
{
    return operation == SWMGR_DB_INSERT   ? "insert"
           : operation == SWMGR_DB_UPDATE ? "update"
                                          : "delete";
}

void tell(FILE *stream, const std::string &line)
{
    printLines(stream, line);
}

void tellEach(FILE *stream, const std::string &head, const std::vector<std::string> &lines)
{
    for (const std::string &line : lines) {
        std::string text = "  ";
        (text += head) += line;
        tell(stream, text);
    }
}

void tellDeadline(FILE *stream, const Verdict &verdict)
{
    if (verdict.deadline != 0)
        tell(stream, "  Taken back at " + clockText(verdict.deadline) +
                         " unless 'swctl confirm' comes first.");
}

// The remedy for all of the differences. A restart takes precedence, since it also does what a
// repair would do.
std::string mendOf(const std::vector<Difference> &left)
{
    std::vector<std::string> ways;
    for (const bool byRepair : {false, true})
        for (const Difference &difference : left)
            if (const std::string way = difference.mend();
                (difference.remedy == Remedy::repair) == byRepair &&
                std::find(ways.begin(), ways.end(), way) == ways.end())
                ways.push_back(way);
    std::string text;
    for (const std::string &way : ways)
        text.append(text.empty() ? "" : "; then ").append(way);
    return text;
}

// The first line: the outcome, and a short explanation.
std::string headline(const Verdict &verdict)
{
    const std::string what = verdict.changes.what + ": ";
    switch (verdict.outcome) {
    case Outcome::applied:
        return "applied: " + verdict.changes.what;
    case Outcome::refused:
        return "refused: " + what + "the service answered " + statusInWords(verdict.answer) +
               (verdict.verified ? "; nothing was changed"
                                 : "; the rows were restored; not verified");
    case Outcome::differs:
        return "differs: " + what +
               (verdict.answer < 0     ? "refused by the service, and some changes remain"
                : !verdict.asked       ? "written; takes effect when the service starts again"
                : verdict.left.empty() ? "accepted by the service, but could not be verified"
                                       : "accepted by the service, but rows and hardware disagree");
    case Outcome::unanswered:
        break;
    }
    return "unanswered: " + verdict.changes.what;
}

// The lines below the headline, for all outcomes.
void printDetails(FILE *stream, const Verdict &verdict)
{
    if (!verdict.otherFile.empty())
        tell(stream, "  database: " + otherFileText(verdict.otherFile));
    for (const Difference &difference : verdict.left)
        tell(stream, "  ! " + difference.text());
    tellEach(stream, "not read: ", verdict.unread);
    tellEach(stream, "", verdict.unknown);
    constexpr size_t mostReasons = 8;
    const std::vector<std::string> &reasons = verdict.reasons;
    for (size_t i = 0; i < std::min(reasons.size(), mostReasons); ++i)
        tell(stream, "  service: " + reasons[i]);
    if (reasons.size() > mostReasons)
        tell(stream, "  and " + std::to_string(reasons.size() - mostReasons) +
                         " more lines; see 'swctl log'");
    if (!verdict.note.empty())
        tell(stream, "  " + verdict.note);
    if (!verdict.left.empty())
        tell(stream, "  To fix it: " + mendOf(verdict.left));
}

std::string rowsText(const ChangeSet &changes)
{
    return changes.rows.size() == 1 ? " (row " + std::to_string(changes.rows.front().rowId()) + ")"
                                    : " (" + std::to_string(changes.rows.size()) + " rows)";
}

} // namespace

Json rowsJson(const ChangeSet &changes)
{
    Json rows = Json::array();
    for (const RowChange &change : changes.rows)
        rows.push_back({{"table", change.table},
                        {"rowid", change.rowId()},
                        {"operation", operationName(change.operation())}});
    return rows;
}

Json differencesJson(const std::vector<Difference> &differences)
{
    Json all = Json::array();
    for (const Difference &difference : differences)
        all.push_back({{"kind", difference.key()},
                       {"vlan", difference.vlanId},
                       {"port", difference.port >= 0 ? Json(difference.port) : Json()},
                       {"wanted", difference.wanted},
                       {"found", difference.found},
                       {"text", difference.text()},
                       {"mend", difference.mend()}});
    return all;
}

Json verdictJson(const Verdict &verdict)
{
    return {{"outcome", outcomeText(verdict.outcome)},
            {"what", verdict.changes.what},
            {"verb", verdict.changes.verb},
            {"asked", verdict.asked},
            {"verified", verdict.verified},
            {"status", verdict.asked ? Json(verdict.answer) : Json()},
            {"changed", !verdict.changes.empty() && !verdict.rowsBack},
            {"rows", rowsJson(verdict.changes)},
            {"consequences", verdict.changes.consequences},
            {"differences", differencesJson(verdict.left)},
            {"withoutEffect", differencesJson(verdict.idle)},
            {"leftAlone", verdict.foreign},
            {"unread", verdict.unread},
            {"notKnown", verdict.unknown},
            {"otherFile", verdict.otherFile.empty() ? Json() : Json(verdict.otherFile)},
            {"settled", verdict.settled},
            {"reasons", verdict.reasons},
            {"note", verdict.note},
            {"confirmUntil", verdict.deadline != 0 ? Json(verdict.deadline) : Json()}};
}

Json previewJson(const Preview &seen)
{
    return {{"outcome", seen.reasons.empty() ? "would apply" : "would refuse"},
            {"what", seen.changes.what},
            {"verb", seen.changes.verb},
            {"changed", !seen.changes.empty()},
            {"rows", rowsJson(seen.changes)},
            {"changes", seen.lines},
            {"consequences", seen.changes.consequences},
            {"actions", seen.actions},
            {"reasons", seen.reasons}};
}

void printPreview(const Preview &seen, bool verbose)
{
    if (seen.changes.empty())
        tell(stdout, "would change nothing: all rows already match");
    else
        tell(stdout, std::string("would ") + (seen.reasons.empty() ? "apply: " : "refuse: ") +
                         seen.changes.what + " " + seen.changes.verb + rowsText(seen.changes));
    tellEach(stdout, "service: ", seen.reasons);
    tellEach(stdout, "", seen.lines);
    tellEach(stdout, "", seen.changes.consequences);
    if (verbose)
        for (const std::string &action : seen.actions) // meant for pasting, so not wrapped
            printf("  > %s\n", shown(action).c_str());
    tell(stdout, "Nothing was written or sent.");
}

void printVerdict(const Verdict &verdict, bool offline)
{
    const std::string done =
        verdict.changes.what + " " + verdict.changes.verb + rowsText(verdict.changes);
    if (verdict.changes.empty() && verdict.outcome == Outcome::applied) {
        tell(stdout, std::string("unchanged: all rows already match") +
                         (!verdict.verified          ? "; not verified"
                          : !verdict.settled.empty() ? ", and nothing differs any more"
                          : !verdict.unknown.empty() ? ", and nothing that is known differs"
                                                     : ", and nothing differs"));
        tellEach(stdout, "", verdict.settled);
        tellEach(stdout, "", verdict.unknown);
        return;
    }
    if (offline) {
        tell(stdout, done + "; the service was not notified");
        return;
    }
    if (verdict.outcome == Outcome::applied) {
        tell(stdout, "applied: " + done + (verdict.verified ? "" : "; not verified"));
        tellEach(stdout, "", verdict.changes.consequences);
        tellEach(stdout, "", verdict.settled);
        tellEach(stdout, "", verdict.unknown);
        tellDeadline(stdout, verdict);
        if (!verdict.note.empty())
            tell(stdout, "  " + verdict.note);
        return;
    }
    tell(stderr, "swctl: " + headline(verdict));
    tellDeadline(stderr, verdict);
    printDetails(stderr, verdict);
}

void printDifferences(const Verdict &verdict, bool verbose)
{
    if (verdict.left.empty() && verdict.unread.empty() && verdict.otherFile.empty())
        printf(verdict.unknown.empty() ? "Nothing differs.\n" : "Nothing that is known differs.\n");
    printDetails(stdout, verdict);
    if (!verbose)
        return;
    for (const Difference &difference : verdict.idle)
        tell(stdout, "  without effect: " + difference.text());
    for (const std::string &name : verdict.foreign)
        tell(stdout,
             "  left alone: " + name + " is neither in the rows nor created by this system");
}

void printRepair(const Verdict &verdict)
{
    tellEach(stdout, "", verdict.settled);
    if (verdict.outcome == Outcome::applied)
        printf("Nothing%s differs%s.\n", verdict.unknown.empty() ? "" : " that is known",
               verdict.settled.empty() ? "" : " any more");
    else
        printf("Still different:\n");
    printDetails(stdout, verdict);
}

} // namespace swctl
