// What became of a change. Every change ends in one of four outcomes; which one is
// found out by looking.
#pragma once

#include "client/base/failure.h"
#include "client/change/settle.h"

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

enum class Outcome {
    applied,   // rows, chip and kernel agree with what a fresh start would give
    refused,   // nothing is different from before
    differs,   // neither of them
    unanswered // the service did not say what became of it
};
const char *outcomeText(Outcome outcome);
ExitStatus outcomeStatus(Outcome outcome);

struct Verdict {
    Outcome outcome = Outcome::applied;
    ChangeSet changes;
    bool asked = false;               // the service was told
    bool open = false;                // unanswered, and perhaps carried out
    bool verified = false;            // it was looked at
    bool rowsBack = false;            // the rows are as they were
    int answer = 0;                   // of the service
    std::vector<Difference> left;     // that count
    std::vector<Difference> idle;     // that do not count; looked for by diff and repair alone
    std::string idleUnread;           // of them, and why
    std::vector<std::string> foreign; // sub-interfaces of others, which are left alone
    std::vector<std::string> reasons; // lines of the service's log that say why
    std::vector<std::string> settled; // what was announced again
    std::vector<std::string> unread;  // parts that could not be read, and why
    std::string startStops;           // where a start of the service would stop; empty: nowhere
    size_t unreached = 0;             // VLANs in the rows that such a start does not come to
    std::string note;                 // what a person should know besides
    int64_t committed = 0;            // ms since 1970
    int64_t deadline = 0;             // of its confirmation, seconds since 1970; 0: none
};

void addNote(Verdict &verdict, const std::string &text);

// Takes over what was settled and what could not be read: `otherwise` where nothing
// is left that differs, and differs else.
void conclude(Verdict &verdict, Settled settled, Outcome otherwise);

} // namespace swctl
