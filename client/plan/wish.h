// What is requested, as data; it becomes row changes once the rows are available.
#pragma once

#include "client/plan/configuration_file.h"
#include "client/plan/plans.h"

#include <string>
#include <variant>
#include <vector>

namespace swctl {

// Several rows in sequence, each planned on top of those before it.
struct BatchWish {
    std::string name; // "3 commands"
    std::vector<RowWish> rows;
    std::string verb = "done";
};

// Undoes an entry of the history; its rows must be unchanged since.
struct UndoWish {
    int64_t number; // of the entry
    ChangeSet changes;
};

// Undoes every change after an entry, taken together; their rows must be unchanged since.
struct UndoToWish {
    int64_t number; // of the entry that stays
    ChangeSet changes;
};

// Undoes a trial; nothing changes if the trial was never committed.
struct TakeBackWish {
    int64_t number; // of its entry in the history, 0 if none
    ChangeSet changes;
    bool ordered = false; // by somebody, not by its end
};

using Wish = std::variant<RowWish, BatchWish, FileWish, UndoWish, UndoToWish, TakeBackWish>;

// The changes, based on the current rows; throws to refuse.
ChangeSet planOf(Database &database, const Wish &wish);

} // namespace swctl
