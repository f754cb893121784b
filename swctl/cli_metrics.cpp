// The metrics command, for monitoring systems.
#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/view/metrics.h"
#include "common/descriptor.h"
#include "swctl/commands.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace swctl {
namespace {

bool writeAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return false;
        text.remove_prefix(written > 0 ? static_cast<size_t>(written) : 0);
    }
    return true;
}

// Replaces the file atomically. It is world-readable because the collector runs as its own
// user.
void replaceFile(const std::string &path, const std::string &text)
{
    constexpr mode_t everybodyReads = 0644;
    std::string fresh = path + ".XXXXXX";
    Descriptor file(mkostemp(fresh.data(), O_CLOEXEC));
    const bool made = file.valid();
    if (made && writeAll(file.get(), text) && fchmod(file.get(), everybodyReads) == 0 &&
        close(file.release()) == 0 && rename(fresh.c_str(), path.c_str()) == 0)
        return;
    const int reason = errno;
    if (made)
        unlink(fresh.c_str());
    throw Failure(exitUsage, "cannot write " + printable(path) + ": " + strerror(reason));
}

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
        replaceFile(call.text("--output"), text);
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
