// The result of a change: one of four outcomes, determined by reading back the hardware.
#pragma once

#include "client/base/failure.h"
#include "client/change/settle.h"

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

enum class Outcome {
    applied,   // rows, chip and kernel match a fresh start
    refused,   // nothing was changed
    differs,   // neither of the two
    unanswered // the service did not report the result
};
const char *outcomeText(Outcome outcome);
ExitStatus outcomeStatus(Outcome outcome);

struct Verdict {
    Outcome outcome = Outcome::applied;
    ChangeSet changes;
    bool asked = false;           // the service was notified
    bool open = false;            // unanswered, possibly carried out
    bool verified = false;        // checked against the hardware
    bool rowsBack = false;        // the rows were restored
    int answer = 0;               // from the service
    std::vector<Difference> left; // differences that count
    std::vector<Difference>
        idle;              // differences that do not count; only diff and repair look for them
    std::string otherFile; // the database that the service uses instead; empty: it uses this one
    std::vector<std::string> foreign; // sub-interfaces that belong to others and are left alone
    std::vector<std::string> reasons; // lines of the service's log that explain the result
    std::vector<std::string> settled; // what was announced again
    std::vector<std::string> unread;  // parts that could not be read, and why
    std::vector<std::string> unknown; // settings that cannot be read, and were not seen being sent
    std::string startStops;           // where a start of the service would stop; empty if nowhere
    size_t unreached = 0;             // VLANs that such a start would not reach
    std::string note;                 // anything else the user should know
    int64_t committed = 0;            // ms since 1970
    int64_t deadline = 0;             // for the confirmation, seconds since 1970; 0 if none
};

void addNote(Verdict &verdict, const std::string &text);

// Takes over the settled state and the unread parts. The outcome is `otherwise` if no
// difference is left and everything could be read, else `differs`.
void conclude(Verdict &verdict, Settled settled, Outcome otherwise);

} // namespace swctl
