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
    int number; // of the entry
    ChangeSet changes;
};

// Undoes a trial; nothing changes if the trial was never committed.
struct TakeBackWish {
    int number; // of its entry in the history, 0 if none
    ChangeSet changes;
};

using Wish = std::variant<RowWish, BatchWish, FileWish, UndoWish, TakeBackWish>;

// The changes, based on the current rows; throws to refuse.
ChangeSet planOf(Database &database, const Wish &wish);

} // namespace swctl
