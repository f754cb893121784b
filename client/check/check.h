// Checks the rows of a configuration against a table of rules, each with an id,
// a reason and a remedy. What the service would do with the rows as a whole is
// not judged here: that comes from a rehearsal of a start, where one is given.
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
    int64_t rowId;       // 0: the table as a whole
    std::string name;    // of the row, as "VLAN 30" or "port 3 of BCM"
    std::string subject; // what in the row, as a column, a port or a mapping; may be empty
    std::string message; // outcome, then reason

    [[nodiscard]] bool sameAs(const Finding &other) const; // at the same row, about the same thing
};

struct CheckContext {
    Surroundings where{};
    const Rehearsal *start = nullptr; // of a start from this very database; null: not rehearsed
};

// The devices that this machine is known to lack.
std::set<std::string> unsupportedHere();

// All findings, by rule and then in the order of the rows. Reads the tables one
// after the other: a transaction around the call makes them fit together.
std::vector<Finding> checkConfiguration(Database &database, const CheckContext &context);

// The findings of that severity or worse after a change that were not there
// before it. A start that comes further than before is not worse.
std::vector<Finding> newFindings(const std::vector<Finding> &before,
                                 const std::vector<Finding> &after, Severity least);

} // namespace swctl
