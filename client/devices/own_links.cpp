#include "client/devices/own_links.h"

#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/records/history.h"
#include "client/records/journal.h"

#include <set>

namespace swctl {
namespace {

std::string linkName(const std::string &parent, int vlanId)
{
    return parent + "." + std::to_string(vlanId);
}

// The sub-interfaces and parents that rows, history and journal mention.
class Account {
public:
    void take(const Row &row)
    {
        const std::string parent = row.text("interfaceName");
        if (parent.empty())
            return;
        parents.insert(parent);
        links.insert(linkName(parent, toInt(row.text("vlanId"))));
    }

    // A start or a request may have applied any row that was ever in the database. If a
    // sub-interface was verified to be removed, one of that name was made by something else
    // since.
    void take(const ChangeSet &changes, bool seenGone)
    {
        for (const RowChange &change : changes.rows)
            if (change.table == "vlanEncapIf" && change.before) {
                take(*change.before);
                if (seenGone)
                    links.erase(linkName(change.before->text("interfaceName"),
                                         toInt(change.before->text("vlanId"))));
            }
        for (const RowChange &change : changes.rows)
            if (change.table == "vlanEncapIf" && change.after)
                take(*change.after);
    }

    [[nodiscard]] bool names(const std::string &name, const SubInterface &sub,
                             const std::set<int> &uptimeFiles) const
    {
        // The service's tools use no other naming scheme.
        return name == linkName(sub.parent, sub.vlanId) &&
               (links.contains(name) ||
                (uptimeFiles.contains(sub.vlanId) && parents.contains(sub.parent)));
    }

private:
    std::set<std::string> links;
    std::set<std::string> parents;
};

// An unreadable file contributes nothing; where that matters, its reader reports it.
template <class Read>
void takeIfReadable(const Read &read)
{
    try {
        read();
    } catch (const Failure &) {
        return;
    }
}

void takePast(const std::string &databasePath, Account &account)
{
    takeIfReadable([&] {
        for (const HistoryEntry &entry : History(databasePath).entries())
            if (entry.outcome != "refused") // a refused change changed nothing
                account.take(entry.changes, entry.verified && entry.outcome == "applied");
    });
    takeIfReadable([&] {
        if (const std::optional<ChangeSet> changes = Journal(databasePath).unfinished())
            account.take(*changes, /*seenGone=*/false);
    });
}

} // namespace

std::map<std::string, SubInterface> setForeignApart(Kernel &kernel, const Kernel &wanted,
                                                    const std::vector<Row> &vlanRows,
                                                    const std::string &databasePath)
{
    Account account;
    for (const Row &row : vlanRows)
        account.take(row);
    std::map<std::string, SubInterface> foreign;
    for (const auto &[name, sub] : kernel.interfaces)
        if (!wanted.interfaces.contains(name) && !account.names(name, sub, {}))
            foreign[name] = sub;
    if (foreign.empty())
        return foreign; // no need to read the history
    Account past;
    takePast(databasePath, past);
    for (const Row &row : vlanRows)
        past.take(row);
    std::erase_if(foreign, [&](const auto &one) {
        return past.names(one.first, one.second, kernel.uptimeFiles);
    });
    for (const auto &[name, sub] : foreign)
        kernel.interfaces.erase(name);
    return foreign;
}

} // namespace swctl
