#include "client/plan/wish.h"

#include "client/base/failure.h"

namespace swctl {
namespace {

ChangeSet plan(Database &database, const RowWish &wish)
{
    return planRow(database, wish);
}

ChangeSet plan(Database &database, const BatchWish &wish)
{
    ChangeSet all{wish.name, wish.verb, {}, {}};
    database.run("SAVEPOINT plans");
    for (const RowWish &row : wish.rows) {
        ChangeSet part = planRow(database, row);
        writeRows(database, part);
        append(all, std::move(part));
    }
    // Planning must not change the database; carrying out the changes writes the rows.
    database.run("ROLLBACK TO plans");
    database.run("RELEASE plans");
    return all;
}

ChangeSet plan(Database &database, const FileWish &wish)
{
    return planFile(database, wish);
}

ChangeSet undone(const ChangeSet &changes, int64_t number, std::string verb)
{
    ChangeSet back = reversed(changes);
    back.what = changes.what;
    back.verb = std::move(verb);
    back.undoes = number;
    return back;
}

void refuseChangedRows(Database &database, const ChangeSet &changes, const std::string &what)
{
    if (!rowsAreAfter(database, changes))
        throw Failure(exitRefused, "refused: " + what +
                                       " cannot be undone: its rows were changed again since; "
                                       "nothing was changed");
}

ChangeSet plan(Database &database, const UndoWish &wish)
{
    const std::string number = std::to_string(wish.number);
    refuseChangedRows(database, wish.changes, "change " + number);
    return undone(wish.changes, wish.number, "as before change " + number);
}

ChangeSet plan(Database &database, const UndoToWish &wish)
{
    const std::string number = std::to_string(wish.number);
    refuseChangedRows(database, wish.changes, "what came after change " + number);
    ChangeSet back = undone(wish.changes, 0, "as after change " + number);
    back.undoesTo = wish.number;
    return back;
}

ChangeSet plan(Database &database, const TakeBackWish &wish)
{
    // The trial is recorded before its commit, which may never have happened.
    if (rowsAreBefore(database, wish.changes))
        return {};
    return undone(wish.changes, wish.number,
                  wish.ordered
                      ? "taken back before it was confirmed"
                      : "taken back, as nobody confirmed that it was " + wish.changes.verb);
}

} // namespace

ChangeSet planOf(Database &database, const Wish &wish)
{
    return std::visit([&](const auto &one) { return plan(database, one); }, wish);
}

} // namespace swctl
