// The metrics command, for monitoring systems.
#include "client/base/failure.h"
#include "client/base/file.h"
#include "client/base/text.h"
#include "client/view/metrics.h"
#include "swctl/commands.h"

namespace swctl {
namespace {

int runMetrics(const Call &call)
{
    const Globals &globals = call.globals;
    if (globals.json)
        throw Failure(exitUsage, "metrics have their own format; 'swctl status --json' "
                                 "reports the state as JSON");
    const Facts facts = factsOf(globals.database, globals.site);
    const std::string text = metricsText(facts);
    if (!facts.status)
        fprintf(stderr, "swctl: incomplete: %s\n", printable(facts.reason).c_str());
    if (!call.has("--output"))
        fputs(text.c_str(), stdout);
    else
        publishFile(call.text("--output"), text);
    return exitDone;
}

constexpr OptionRow options[] = {
    {"--output", "FILE", "Replace this file, made world-readable, instead of printing"},
};

} // namespace

constexpr CommandRow commands::metrics = {
    nullptr,
    "metrics",
    "Print state and counters for a monitoring system, as the text file collector of the "
    "node exporter reads them; status 0 whatever the state is. What is not known is left out",
    "  swctl metrics | promtool check metrics\n"
    "  swctl metrics --output /var/lib/prometheus/node-exporter/swmgr.prom",
    runMetrics,
    {options}};

} // namespace swctl
