#include "swctl/complete.h"

#include "client/devices/site.h"
#include "client/records/history.h"
#include "client/rows/database.h"
#include "swctl/globals.h"

#include <set>

namespace swctl {
namespace {

struct Source {
    const char *kind;
    const char *table;
    const char *column;
};

constexpr Source sources[] = {
    {"vlans", "vlanEncapIf", "vlanId"},
    {"switches", "swGlobalCfg", "switchName"},
    {"ports", "swPortConfig", "portNumber"},
    {"interfaces", "swPortConfig", "interfaceName"},
    {"interfaces", "vlanEncapIf", "interfaceName"},
};

bool isPlain(const std::string &word)
{
    return !word.empty() && word.front() != '-' &&
           word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                  "0123456789_.:@-") == std::string::npos;
}

} // namespace

void printCompletions(const Globals &globals, const std::string &kind)
{
    std::set<std::string> words;
    try {
        Database database(globals.database, Access::read);
        for (const Source &source : sources)
            if (kind == source.kind)
                for (const Row &row : database.rows(source.table))
                    words.insert(row.text(source.column));
        if (kind == "changes")
            for (const HistoryEntry &entry : History(globals.database).entries())
                words.insert(std::to_string(entry.number));
        if (kind == "interfaces") {
            const Site site = findSite(globals.database, globals.site);
            for (const auto &[name, address] : interfacesOf(site))
                words.insert(name);
        }
    } catch (const std::exception &) {
        // Completion must not print errors; offer what is known.
    }
    for (const std::string &word : words)
        if (isPlain(word))
            puts(word.c_str());
}

} // namespace swctl
