#include "swctl/commands.h"

#include "client/service/service.h"
#include "swctl/validate.h"

namespace swctl {
namespace {

std::string documentKind(const std::string &text)
{
    return wordAmong(text, {"man", "bash"});
}

// The default of --wait is the other swctl's; the service has its relay's own limit, since
// a start with thousands of VLANs answers late.
constexpr OptionRow globalOptions[] = {
    {.name = "--version", .type = nullptr, .help = "Show the version and end", .alone = true},
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
     "Seconds to wait for another swctl (10 unless given) and for each answer of the "
     "service (180 unless given), 0 to 3600; 0 does not wait for the other swctl, and a "
     "second for an answer",
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
     "VLAN requests that leave the database alone; the service reports success whatever happens, "
     "so chip and kernel are read back"},
    {"explain", "Why a port or an interface behaves as it does"},
};

// In the order of help and manual page.
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
    "  2  wrong arguments, a database that cannot be used, or output that\n"
    "     cannot be written\n"
    "  3  unanswered: the service cannot be reached, or did not answer\n"
    "  4  differs: rows and hardware do not agree; 'swctl repair' mends\n"
    "     it, or says what only a restart can\n";

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

} // namespace swctl
