// Checks the rows of a configuration against a table of rules, each with an id, a reason and
// a remedy. What the service would do with the rows as a whole is not judged here; that is
// taken from a rehearsed start, if there is one.
#pragma once

#include "client/devices/device.h"
#include "client/rows/database.h"
#include "client/rows/rule.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace swctl {

class Rehearsal;

struct Finding {
    const Rule *rule; // never null
    Severity severity;
    std::string table;
    int64_t rowId;         // 0: the table as a whole
    std::string name;      // of the row, e.g. "VLAN 30" or "port 3 of BCM"
    std::string subject;   // the column, port or mapping at fault; may be empty
    std::string message;   // the outcome, then the reason
    bool accepted = false; // by somebody who knows; see markAccepted

    [[nodiscard]] bool sameAs(const Finding &other) const; // same rule, row and subject
};

struct CheckContext {
    Surroundings where{};
    const Rehearsal *start = nullptr; // from this database; null: not rehearsed
};

// The names of devices that this machine is known not to support.
std::set<std::string> unsupportedHere();

// All findings, by severity and rule, then in row order. Reads the tables one after the other;
// wrap the call in a transaction for a consistent view.
std::vector<Finding> checkConfiguration(Database &database, const CheckContext &context);

// The findings after a change, of that severity or worse, that did not exist before it. A
// start that stops later than before is not worse.
std::vector<Finding> newFindings(const std::vector<Finding> &before,
                                 const std::vector<Finding> &after, Severity least);

} // namespace swctl
