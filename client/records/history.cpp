// The file has one line of JSON per change.
#include "client/records/history.h"

#include "client/base/file.h"
#include "client/rows/row_json.h"
#include "common/json.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace swctl {
namespace {

constexpr size_t mostHistory = 64 * 1024 * 1024; // bytes to read
constexpr size_t fullHistory = 1024 * 1024;      // bytes at which the older half is dropped

// The user who gave the command, even under sudo.
std::string userName()
{
    const char *lent = getenv("SUDO_USER");
    if (lent != nullptr && getuid() == 0)
        return lent;
    const passwd *entry = getpwuid(getuid());
    return entry != nullptr ? entry->pw_name : std::to_string(getuid());
}

std::vector<std::string_view> linesOf(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        if (end == std::string_view::npos)
            break; // an incomplete line, cut off by a power failure
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    return lines;
}

std::optional<HistoryEntry> entryOf(std::string_view line)
{
    try {
        const Json json = Json::parse(line);
        std::optional<ChangeSet> changes = changeSetOf(json.at("change"));
        if (!changes)
            return std::nullopt;
        const auto flag = [&](const char *name, bool otherwise) {
            const Json *value = json.find(name);
            return value != nullptr ? value->truth() : otherwise;
        };
        const auto number = [&](const char *name, int64_t otherwise) {
            const Json *value = json.find(name);
            return value != nullptr ? value->integer() : otherwise;
        };
        changes->undoes = json.at("undoes").integer();
        changes->undoesTo = number("undoesTo", -1);
        HistoryEntry entry{.number = json.at("number").integer(),
                           .time = json.at("time").integer(),
                           .who = json.at("who").text(),
                           .outcome = json.at("outcome").text(),
                           .changes = std::move(*changes),
                           .verified = flag("verified", false),
                           .stands = true,
                           .concerns = number("concerns", 0)};
        entry.stands = flag("stands", entry.outcome != "refused");
        if (const Json *done = json.find("done"))
            for (const Json &one : done->values())
                entry.done.push_back(one.text());
        return entry;
    } catch (const JsonError &) {
        return std::nullopt;
    }
}

std::string lineOf(const HistoryEntry &entry)
{
    Json json = {{"number", entry.number},
                 {"time", entry.time},
                 {"who", entry.who},
                 {"outcome", entry.outcome},
                 {"undoes", entry.changes.undoes},
                 {"verified", entry.verified},
                 {"stands", entry.stands},
                 {"change", toJson(entry.changes)}};
    if (entry.changes.undoesTo >= 0)
        json["undoesTo"] = entry.changes.undoesTo;
    if (entry.concerns != 0)
        json["concerns"] = entry.concerns;
    if (!entry.done.empty())
        json["done"] = entry.done;
    return json.oneLine() + "\n";
}

} // namespace

bool HistoryEntry::changedRows() const
{
    return stands && outcome != "refused" && !changes.rows.empty();
}

History::History(const std::string &databasePath) : path(databasePath + ".history") {}

const std::string &History::contents() const
{
    if (!text)
        text = fileContents(path, mostHistory).value_or(std::string());
    return *text;
}

std::vector<HistoryEntry> History::entries() const
{
    std::vector<HistoryEntry> all;
    for (const std::string_view line : linesOf(contents()))
        if (std::optional<HistoryEntry> entry = entryOf(line))
            all.push_back(std::move(*entry));
    return all;
}

std::vector<RowChange> History::unheardSince(int64_t start) const
{
    std::vector<RowChange> rows;
    std::vector<HistoryEntry> all = entries();
    for (auto entry = all.rbegin(); entry != all.rend() && entry->time >= start; ++entry) {
        if (!entry->changedRows())
            continue;
        for (auto row = entry->changes.rows.rbegin(); row != entry->changes.rows.rend(); ++row)
            if (row->vlanId() == 0 && (!row->isAnnounced() || entry->outcome == "written"))
                rows.push_back(std::move(*row));
    }
    return rows;
}

int64_t History::numberOf(const ChangeSet &changes) const
{
    const Json wanted = toJson(changes);
    std::vector<HistoryEntry> all = entries();
    for (auto entry = all.rbegin(); entry != all.rend(); ++entry)
        if (toJson(entry->changes) == wanted)
            return entry->number;
    return 0;
}

int64_t History::add(int64_t committed, const std::string &outcome, const ChangeSet &changes,
                     bool verified)
{
    HistoryEntry entry;
    entry.time = committed;
    entry.outcome = outcome;
    entry.changes = changes;
    entry.verified = verified;
    entry.stands = outcome != "refused";
    return add(std::move(entry));
}

int64_t History::add(HistoryEntry entry)
{
    const std::string old = contents();
    const std::vector<std::string_view> lines = linesOf(old);
    entry.number = 1;
    entry.who = userName();
    for (size_t i = lines.size(); i-- > 0;)
        if (const std::optional<HistoryEntry> last = entryOf(lines[i])) {
            entry.number = last->number + 1;
            break;
        }
    const std::string line = lineOf(entry);
    const bool whole = old.empty() || old.back() == '\n';
    if (whole && old.size() < fullHistory) {
        appendToFile(path, line);
        text = old + line;
        return entry.number;
    }
    size_t first = lines.size();
    for (size_t size = 0; first > 0 && size + lines[first - 1].size() < fullHistory / 2;)
        size += lines[--first].size() + 1;
    std::string kept;
    for (size_t i = first; i < lines.size(); ++i)
        kept.append(lines[i]).append("\n");
    kept += line;
    replaceFile(path, kept);
    text = std::move(kept);
    return entry.number;
}

} // namespace swctl
