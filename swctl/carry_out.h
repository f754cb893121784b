// A change, from its rows to its last word. Every change ends in one of four:
// applied, refused, differs, unanswered; which one is found out by looking.
#pragma once

#include "swctl/outcome.h"
#include "swctl/settle.h"

#include <functional>
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
    int answer = 0;                   // of the service
    std::vector<Difference> left;     // that count
    std::vector<std::string> reasons; // lines of the service's log that say why
    std::vector<std::string> settled; // what was announced again
    std::vector<std::string> unread;  // parts that could not be read, and why
    std::string note;                 // what a person should know besides
};

struct ChangeOptions {
    std::string databasePath;
    std::string siteFile;
    int wait = 10;        // s, for another swctl
    bool verify = true;   // look, settle, look again
    bool offline = false; // only write the rows
    bool force = false;   // although a start would stop at it
};

// Says what to change, from the rows as they are; throws to refuse.
using Plan = std::function<ChangeSet(Database &)>;

Verdict carryOut(const ChangeOptions &options, const Plan &plan);

// Finishes what an earlier swctl left unfinished, or takes it back; none when there
// is nothing. The lock is held by the caller.
std::optional<Verdict> recoverUnfinished(const ChangeOptions &options);

// Brings the gateway to what a fresh start would give; changes no row.
Verdict repair(const ChangeOptions &options, bool allVlans, bool dryRun, const Progress &progress);

} // namespace swctl
