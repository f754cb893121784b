// A change of the configuration: the row is written in one transaction, the
// service is told, and when it does not take the change the row is put back as
// it was in a second one.
//
// The row must be committed before the event is sent, because the service reads
// it back through its own connection.
#pragma once

#include "swctl/database.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

// A row that was written and committed.
struct Written {
    std::string table;
    int opCode = 0;            // SWMGR_DB_...
    int64_t rowId = 0;         // of the row, before and after
    std::optional<Row> before; // none for an insert
    std::optional<Row> after;  // none for a delete
};

// Checks the table within the transaction, before the row is written; throws to
// refuse the change.
using Check = std::function<void(Database &)>;

Written writeInsert(Database &database, const std::string &table,
                    const std::vector<Assignment> &values, const Check &check);
Written writeUpdate(Database &database, const std::string &table,
                    const std::vector<Assignment> &key, const std::vector<Assignment> &values,
                    const Check &check);
Written writeDelete(Database &database, const std::string &table,
                    const std::vector<Assignment> &key);

// Column names and then values, each with its terminator. NULL has no form of
// its own in the block and travels as an empty string, which decodes alike.
std::string oldValuesBlock(const Row &row);

// What became of a change.
struct Outcome {
    int status = 0;       // the service's answer
    bool asked = false;   // false for an offline change
    bool putBack = false; // the row is as it was before
    std::string note;     // why it could not be put back
};

// Sends the update event for a written row and puts the row back if the service
// refuses. Throws when the service is not reached, with the row put back too.
Outcome announce(Database &database, const Written &written);

} // namespace swctl
