// A change, from its rows to its last word. Every change ends in one of four:
// applied, refused, differs, unanswered; which one is found out by looking.
#pragma once

#include "client/base/outcome.h"
#include "client/change/settle.h"
#include "client/plan/plans.h"

#include <string>
#include <vector>

namespace swctl {

// Applied: rows, chip and kernel agree with what a fresh start would give.
// Refused: nothing is different from before. Differs: neither of them.
// Unanswered: the service did not say what became of it.
enum class Word {
    applied,
    refused,
    differs,
    unanswered
};
const char *wordText(Word word);
ExitStatus wordStatus(Word word);

struct Verdict {
    Word word = Word::applied;
    ChangeSet changes;
    bool asked = false;               // the service was told
    bool open = false;                // unanswered, and perhaps carried out
    bool verified = false;            // it was looked at
    bool rowsBack = false;            // the rows are as they were
    int answer = 0;                   // of the service
    std::vector<Difference> left;     // that count
    std::vector<Difference> idle;     // that do not count; looked for by diff and repair alone
    std::string idleUnread;           // of them, and why
    std::vector<std::string> reasons; // lines of the service's log that say why
    std::vector<std::string> settled; // what was announced again
    std::vector<std::string> unread;  // parts that could not be read, and why
    std::string startStops;           // where a start of the service would stop; empty: nowhere
    size_t unreached = 0;             // VLANs in the rows that such a start does not come to
    std::string note;                 // what a person should know besides
    int64_t committed = 0;            // ms since 1970
    int64_t deadline = 0;             // of its confirmation, seconds since 1970; 0: none
};

struct ChangeOptions {
    std::string databasePath;
    std::string siteFile;
    int wait = 10;           // s, for another swctl
    bool verify = true;      // look, settle, look again
    bool offline = false;    // only write the rows
    bool force = false;      // although a start would stop at it
    int onTrial = 0;         // s until it is taken back unless confirmed; 0: it stays
    int undoes = 0;          // entry of the history that it takes back; 0: none
    bool recovering = false; // takes back or finishes what an earlier swctl left
    Progress told{};         // of announcements, where somebody looks
};

// With a plan that finds nothing to change it is only looked whether rows and
// hardware agree.
Verdict carryOut(const ChangeOptions &options, const Plan &plan);

// Throws with exitRefused when the rows after a change have errors that they had
// not before, or would stop a start of the service that went on before.
void refuseWorse(const GatewayView &gateway, Snapshot &before, Snapshot &after,
                 const ChangeSet &changes);

// What a change would be and would do.
struct Preview {
    ChangeSet changes;
    std::vector<std::string> lines;   // what becomes different, in the words of the network
    std::vector<std::string> actions; // commands and requests, in order
    std::vector<std::string> reasons; // why the service would refuse it; empty: it would not
};
// Looks only. Throws as carryOut does where that would refuse it by itself.
Preview preview(const ChangeOptions &options, const Plan &plan);

} // namespace swctl
