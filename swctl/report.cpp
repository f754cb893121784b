// Texts and JSON of verdicts; see the header.
#include "swctl/report.h"

#include "swctl/confirm.h"
#include "swctl/service.h"
#include "swctl/text.h"

namespace swctl {
namespace {

const char *operationName(int operation)
{
    return operation == SWMGR_DB_INSERT   ? "insert"
           : operation == SWMGR_DB_UPDATE ? "update"
                                          : "delete";
}

void printLines(FILE *stream, const char *head, const std::vector<std::string> &lines)
{
    for (const std::string &line : lines)
        fprintf(stream, "  %s%s\n", head, line.c_str());
}

// What stands below the first line, whatever the word.
void printDetails(FILE *stream, const Verdict &verdict)
{
    for (const Difference &difference : verdict.left)
        fprintf(stream, "  ! %s\n", difference.text().c_str());
    printLines(stream, "not read: ", verdict.unread);
    printLines(stream, "service: ", verdict.reasons);
    if (!verdict.note.empty())
        fprintf(stream, "  %s\n", verdict.note.c_str());
    if (!verdict.left.empty())
        fprintf(stream, "  To mend it: %s\n", verdict.left.front().mend().c_str());
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
    return {{"outcome", wordText(verdict.word)},
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
            {"unread", verdict.unread},
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
    const std::string what = printable(seen.changes.what);
    if (seen.changes.empty())
        printf("would change nothing: every row is so already\n");
    else
        printf("would %s: %s %s%s\n", seen.reasons.empty() ? "apply" : "refuse", what.c_str(),
               seen.changes.verb.c_str(), rowsText(seen.changes).c_str());
    printLines(stdout, "service: ", seen.reasons);
    printLines(stdout, "", seen.lines);
    printLines(stdout, "", seen.changes.consequences);
    if (verbose)
        printLines(stdout, "> ", seen.actions);
    printf("Nothing was written or sent.\n");
}

void printVerdict(const Verdict &verdict, bool offline)
{
    const std::string what = printable(verdict.changes.what);
    const std::string done = what + " " + verdict.changes.verb + rowsText(verdict.changes);
    if (verdict.changes.empty() && verdict.word == Word::applied) {
        printf("unchanged: every row is so already%s\n",
               verdict.verified ? ", and nothing differs" : "; not verified");
        return;
    }
    if (offline) {
        printf("%s; the service was not told\n", done.c_str());
        return;
    }
    switch (verdict.word) {
    case Word::applied:
        printf("applied: %s%s\n", done.c_str(), verdict.verified ? "" : "; not verified");
        printLines(stdout, "", verdict.changes.consequences);
        if (verdict.deadline != 0)
            printf("  Taken back at %s unless 'swctl confirm' comes first.\n",
                   clockText(verdict.deadline).c_str());
        if (!verdict.note.empty())
            printf("  %s\n", verdict.note.c_str());
        return;
    case Word::refused:
        fprintf(stderr, "swctl: refused: %s: the service answered %s; %s\n", what.c_str(),
                statusInWords(verdict.answer).c_str(),
                verdict.verified ? "nothing is different from before"
                                 : "the rows are as they were; not verified");
        break;
    case Word::differs:
        fprintf(stderr, "swctl: differs: %s: %s\n", what.c_str(),
                verdict.answer < 0     ? "refused by the service, and not all is as before"
                : !verdict.asked       ? "written; the service does not take it up while it runs"
                : verdict.left.empty() ? "accepted by the service, but it could not be verified"
                                       : "accepted by the service, but not all is as it should be");
        break;
    case Word::unanswered:
        fprintf(stderr, "swctl: unanswered: %s\n", what.c_str());
        break;
    }
    if (verdict.deadline != 0)
        fprintf(stderr, "  Taken back at %s unless 'swctl confirm' comes first.\n",
                clockText(verdict.deadline).c_str());
    printDetails(stderr, verdict);
}

void printDifferences(const Verdict &verdict, bool verbose)
{
    if (verdict.left.empty() && verdict.unread.empty())
        printf("Nothing differs.\n");
    printDetails(stdout, verdict);
    if (!verbose)
        return;
    for (const Difference &difference : verdict.idle)
        printf("  without effect: %s\n", difference.text().c_str());
    if (!verdict.idleUnread.empty())
        printf("  not read: %s\n", shown(verdict.idleUnread).c_str());
}

void printRepair(const Verdict &verdict)
{
    printLines(stdout, "", verdict.settled);
    if (verdict.word == Word::applied)
        printf("Nothing differs%s.\n", verdict.settled.empty() ? "" : " any more");
    else
        printf("Still different:\n");
    printDetails(stdout, verdict);
}

void tellWaiting()
{
    fprintf(stderr, "swctl: another swctl is changing this database; waiting\n");
}

} // namespace swctl
