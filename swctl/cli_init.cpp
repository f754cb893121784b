// The command that creates a configuration database.
#include "client/base/failure.h"
#include "client/base/file.h"
#include "client/base/text.h"
#include "client/check/check.h"
#include "client/check/check_rules.h"
#include "client/rows/database.h"
#include "common/descriptor.h"
#include "common/json.h"
#include "swctl/commands.h"
#include "swctl/database_sql.h"
#include "swctl/validate.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace swctl {
namespace {

struct Template {
    const char *name;
    const char *sql;
    const char *meaning; // of the template's rows
};

constexpr Template templates[] = {
    {"none", "", "no rows"},
    {"gateway", gatewaySql, "an engine with 4 ports over a chip with 5"},
    {"chip", chipSql, "a chip with 5 ports"},
    {"bridge", bridgeSql, "a bridge of Linux with 5 ports"},
};

const Template &templateNamed(const std::string &name)
{
    for (const Template &candidate : templates)
        if (candidate.name == name)
            return candidate;
    return templates[0]; // the option accepts only known names
}

[[noreturn]] void refuse(const std::string &path, const std::string &why)
{
    throw Failure(exitRefused, "refused: " + printable(path) + " " + why + "; nothing was changed");
}

// Files left by an earlier database of this name would be mistaken for the new one's.
void refuseRemains(const std::string &path)
{
    for (const char *ending : {"", "-journal", "-wal", ".change", ".trial", ".history"}) {
        struct stat about = {};
        if (lstat((path + ending).c_str(), &about) == 0)
            refuse(path + ending,
                   *ending == '\0' ? "exists already" : "of an earlier database exists");
    }
}

// A temporary file for the contents until they are complete. The destructor removes it; names
// given to it by publish() stay.
class DraftFile {
public:
    explicit DraftFile(const std::string &target)
        : path(target + ".init-" + std::to_string(getpid())),
          file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600))
    {
        if (!file.valid())
            fail();
    }
    ~DraftFile() { unlink(path.c_str()); }
    DraftFile(const DraftFile &) = delete;
    DraftFile &operator=(const DraftFile &) = delete;

    void write(std::string_view bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t length = ::write(file.get(), bytes.data(), bytes.size());
            if (length < 0)
                fail();
            bytes.remove_prefix(static_cast<size_t>(length));
        }
        constexpr mode_t ownerAndGroup = 0660;
        if (fchmod(file.get(), ownerAndGroup) != 0 || fsync(file.get()) != 0)
            fail();
    }

    // False if the name is already taken.
    [[nodiscard]] bool publish(const std::string &target) const
    {
        const int status =
            renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE);
        // Older file systems do not support RENAME_NOREPLACE.
        const bool known = status == 0 || (errno != EINVAL && errno != ENOSYS);
        if ((known ? status : link(path.c_str(), target.c_str())) == 0)
            return true;
        if (errno != EEXIST)
            fail();
        return false;
    }

private:
    [[noreturn]] void fail() const
    {
        throw Failure(exitUsage, "cannot write " + printable(path) + ": " + strerror(errno));
    }

    std::string path;
    Descriptor file;
};

int runInit(const Call &call)
{
    const Globals &globals = call.globals;
    const Template &chosen = templateNamed(call.text("--template"));
    const bool constraints = call.flag("--constraints");
    Database database = Database::inMemory();
    database.run(schemaSql);
    database.run(chosen.sql);
    if (constraints)
        database.run(constraintTriggers().c_str());
    refuseRemains(globals.database);
    {
        const DraftFile draft(globals.database);
        draft.write(database.serialised());
        if (!draft.publish(globals.database))
            refuse(globals.database, "exists already");
    }
    syncFolder(globals.database);
    if (globals.json)
        printJson({{"outcome", "applied"},
                   {"what", globals.database},
                   {"template", chosen.name},
                   {"constraints", constraints}});
    else
        printf("applied: created %s, with %s%s\n", shown(globals.database).c_str(), chosen.meaning,
               constraints ? " and constraints" : "");
    return exitDone;
}

std::string templateName(const std::string &text)
{
    std::vector<std::string> names;
    for (const Template &one : templates)
        names.emplace_back(one.name);
    return wordAmong(text, names);
}

constexpr OptionRow options[] = {
    {"--template", "none|gateway|chip|bridge",
     "Initial rows: none, an engine over a chip, a chip alone, or a Linux bridge", templateName,
     "none"},
    {"--constraints", nullptr, "Add triggers that refuse invalid rows from any writer"},
};

} // namespace

constexpr CommandRow commands::init = {
    nullptr,
    "init",
    "Create a new configuration database, with switches and ports but without VLANs",
    "  swctl init --template gateway\n  swctl init --database new.db --constraints",
    runInit,
    {options}};

} // namespace swctl
