// What is asked for, as data: it travels down with the request, and becomes changes
// where the rows are at hand.
#pragma once

#include "client/plan/configuration_file.h"
#include "client/plan/plans.h"

#include <string>
#include <variant>
#include <vector>

namespace swctl {

// Several rows, each seeing them as the one before leaves them.
struct BatchWish {
    std::string name; // "3 commands"
    std::vector<RowWish> rows;
};

// An entry of the history is to be undone; its rows must still be as it left them.
struct UndoWish {
    int number; // of the entry
    ChangeSet changes;
};

// A trial ends as if it had not been; nothing to change where it was never written.
struct TakeBackWish {
    int number; // of its entry in the history; 0: none
    ChangeSet changes;
};

using Wish = std::variant<RowWish, BatchWish, FileWish, UndoWish, TakeBackWish>;

// What to change, from the rows as they are; throws to refuse.
ChangeSet planOf(Database &database, const Wish &wish);

} // namespace swctl
