// Compares the effect of a change on a running service with that of a start.
#include "client/change/pending.h"

#include "client/base/failure.h"
#include "client/gateway/devices.h"
#include "client/rows/check_rows.h"
#include "client/rows/columns.h"
#include "client/service/service_life.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>
#include <set>
#include <utility>

namespace swctl {
namespace {

std::string rowName(const RowChange &change)
{
    return nameOf(change.table, change.after ? *change.after : *change.before);
}

// A row that has been changed by someone else since is left alone.
void putBack(Database &database, const RowChange &change)
{
    ChangeSet single;
    single.rows.push_back(change);
    single = reversed(single);
    try {
        writeRows(database, single);
    } catch (const Failure &) {
        return;
    }
}

std::vector<Difference> otherwiseIn(Database &loaded, Database &now,
                                    const std::vector<RowChange> &unheard)
{
    std::vector<Difference> waiting;
    std::set<std::pair<std::string, int64_t>> seen;
    for (const RowChange &change : unheard) {
        const std::optional<Row> had = loaded.rowById(change.table, change.rowId());
        const std::optional<Row> has = now.rowById(change.table, change.rowId());
        if (!seen.emplace(change.table, change.rowId()).second ||
            (had.has_value() == has.has_value() && (!had || had->sameAs(*has))))
            continue;
        Difference difference;
        difference.kind = DifferenceKind::setting;
        difference.wanted = has ? "as its row says" : "gone";
        difference.found = rowName(change) + ": as before until the service starts again";
        difference.remedy = Remedy::restart;
        waiting.push_back(std::move(difference));
    }
    return waiting;
}

} // namespace

bool waitsForStart(const ChangeSet &changes)
{
    const auto waits = [](const RowChange &change) {
        if (change.isAnnounced() || change.table == vlanTableName)
            return false;
        if (!change.before || !change.after)
            return true;
        const std::span<const Column> columns = columnsOf(change.table);
        return std::any_of(columns.begin(), columns.end(), [&](const Column &column) {
            return takesEffect(column) == TakesEffect::atStart &&
                   change.before->text(column.name) != change.after->text(column.name);
        });
    };
    return std::any_of(changes.rows.begin(), changes.rows.end(), waits);
}

void noteNextStart(ChangeSet &changes)
{
    if (waitsForStart(changes))
        changes.consequences.emplace_back("takes effect when the service starts again");
}

void addRequests(Script &script, const ChangeSet &changes)
{
    for (const RowChange &change : changes.rows) {
        if (!change.isAnnounced())
            continue;
        const Announcement announcement = announcementOf(change);
        script.request(SWMGR_MSG_DB_EVENT, announcement.event, announcement.oldValues);
    }
}

void markStillHeld(const History &history, ChangeSet &changes)
{
    const auto isNew = [](const RowChange &change) {
        return change.vlanId() == 0 && change.operation() == SWMGR_DB_INSERT;
    };
    if (std::none_of(changes.rows.begin(), changes.rows.end(), isNew))
        return;
    std::set<std::string> gone;
    const auto take = [&gone](const std::vector<RowChange> &rows) {
        for (const RowChange &change : rows)
            if (!change.after)
                gone.insert(rowName(change));
    };
    if (const std::optional<int64_t> start = serviceStart())
        take(history.unheardSince(*start));
    take(changes.rows);
    for (RowChange &change : changes.rows)
        if (isNew(change) && gone.contains(rowName(change)))
            change.told = false;
}

std::vector<Difference> pendingSettings(const GatewayView &gateway, const History &history,
                                        Snapshot &before, Snapshot &after, const ChangeSet &changes)
{
    const std::optional<int64_t> start = serviceStart();
    std::vector<RowChange> unheard;
    if (start)
        unheard = history.unheardSince(*start);
    Snapshot loaded(before.database());
    for (const RowChange &change : unheard)
        putBack(loaded.database(), change);
    for (const RowChange &change : changes.rows)
        if (!change.isAnnounced())
            unheard.push_back(change);
    std::vector<Difference> waiting = otherwiseIn(loaded.database(), after.database(), unheard);
    if (waiting.empty())
        return waiting;
    Script script = gateway.startScript(loaded);
    script.image(after.image());
    addRequests(script, changes);
    const Rehearsal changed = rehearse(script);
    const Rehearsal started = gateway.rehearseStart(after)->finish();
    if (std::all_of(devices().begin(), devices().end(),
                    [&](const Device *device) { return device->endsAlike(changed, started); }))
        waiting.clear();
    return waiting;
}

} // namespace swctl
