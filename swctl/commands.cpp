#include "swctl/commands.h"

#include "client/service/service.h"
#include "swctl/validate.h"

#include <algorithm>
#include <iterator>

namespace swctl {
namespace {

std::string documentKind(const std::string &text)
{
    return wordAmong(text, {"man", "bash"});
}

// --wait has a default only for waiting for another swctl. For answers, relay's own limit
// applies by default, since the service answers late while it starts with thousands of VLANs.
constexpr OptionRow globalOptions[] = {
    {.name = "--version", .type = nullptr, .help = "Show the version and exit", .alone = true},
    {.name = "--database",
     .type = "FILE",
     .help = "Configuration database",
     .initial = defaultDatabase,
     .environment = "SWMGR_DATABASE"},
    {.name = "--relay-dir",
     .type = "DIR",
     .help = "Directory of the service's sockets",
     .environment = "RELAY_DIR"},
    {.name = "--site",
     .type = "FILE",
     .help = "File that says where devices and interfaces are, for a simulated gateway",
     .environment = "SWMGR_SITE"},
    {"--wait", "SECONDS",
     "Seconds that the command may wait for another swctl and for all answers of the service "
     "together, 0 to 3600; 0 means one second, and none for another swctl. Unless given: 10 for "
     "another swctl, and for each answer 180, or 3 for commands that only read",
     decimal<0, 3600>},
    {"--json", nullptr, "Print JSON"},
    {.name = "--complete", .type = "KIND", .help = nullptr, .alone = true},
    {.name = "--generate", .type = "KIND", .help = nullptr, .check = documentKind, .alone = true},
};

constexpr GroupRow groups[] = {
    {"vlan", "VLANs in the configuration"},
    {"port", "Ports in the configuration"},
    {"switch", "Switches in the configuration"},
    {"request",
     "VLAN requests that bypass the database; the service reports success whatever happens, "
     "so chip and kernel are read back"},
    {"explain", "Why a port or an interface behaves as it does"},
};

// In the order used by help and manual page.
constexpr const CommandRow *everyCommand[] = {
    &commands::vlanAdd,
    &commands::vlanSet,
    &commands::vlanDelete,
    &commands::vlanList,
    &commands::vlanShow,
    &commands::portAdd,
    &commands::portSet,
    &commands::portDelete,
    &commands::portList,
    &commands::portStats,
    &commands::switchAdd,
    &commands::switchSet,
    &commands::switchDelete,
    &commands::switchList,
    &commands::rateLimit,
    &commands::queues,
    &commands::qos,
    &commands::pauseFrames,
    &commands::vlanMode,
    &commands::snooping,
    &commands::requestVlanAdd,
    &commands::requestVlanDelete,
    &commands::bandwidth,
    &commands::event,
    &commands::command,
    &commands::show,
    &commands::log,
    &commands::exportFile,
    &commands::apply,
    &commands::batch,
    &commands::init,
    &commands::confirm,
    &commands::history,
    &commands::undo,
    &commands::diff,
    &commands::repair,
    &commands::recover,
    &commands::rehearse,
    &commands::status,
    &commands::metrics,
    &commands::check,
    &commands::explainVlan,
    &commands::explainInterface,
    &commands::watch,
};

constexpr const CommandRow *changeCommands[] = {
    &commands::vlanAdd,   &commands::vlanSet,   &commands::vlanDelete,
    &commands::portAdd,   &commands::portSet,   &commands::portDelete,
    &commands::switchAdd, &commands::switchSet, &commands::switchDelete,
};

constexpr const char *description =
    "Changes and shows the configuration of the Ethernet switches of this gateway.";
constexpr const char *exitStatuses =
    "  0  done\n"
    "  1  refused; nothing has changed\n"
    "  2  wrong arguments, an unusable database, or output that\n"
    "     cannot be written\n"
    "  3  unanswered: the service cannot be reached, or did not answer\n"
    "  4  differs: rows and hardware disagree; 'swctl repair' fixes\n"
    "     it, or reports what needs a restart\n";

} // namespace

constexpr CommandTable commandTable = {description, exitStatuses, globalOptions, groups,
                                       everyCommand};
constexpr CommandTable changeTable = {description, exitStatuses, {}, groups, changeCommands};

Globals globalsOf(const Call &call)
{
    Globals globals;
    globals.database = call.text("--database");
    globals.relayDirectory = call.text("--relay-dir");
    globals.site = call.text("--site");
    if (call.has("--wait"))
        globals.wait = call.integer("--wait");
    globals.json = call.flag("--json");
    return globals;
}

bool onlyReads(const CommandRow &command)
{
    constexpr const CommandRow *readers[] = {
        &commands::vlanShow, &commands::show,        &commands::log,
        &commands::history,  &commands::diff,        &commands::status,
        &commands::metrics,  &commands::explainVlan, &commands::explainInterface,
        &commands::watch};
    return std::find(std::begin(readers), std::end(readers), &command) != std::end(readers);
}

bool neverEnds(const CommandRow &command)
{
    return &command == &commands::log || &command == &commands::watch;
}

} // namespace swctl
