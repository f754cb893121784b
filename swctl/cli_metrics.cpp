// The command for a monitoring system: metrics.
#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/view/metrics.h"
#include "common/descriptor.h"
#include "swctl/cli_change.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

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

// A reader finds the old text or the new one, and never a part of it. The collector
// runs as a user of its own, so everybody may read.
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

int runMetrics(const Globals &globals, const std::string &output)
{
    if (globals.json)
        throw Failure(exitUsage, "metrics have a format of their own; 'swctl status --json' "
                                 "tells the state as JSON");
    const Facts facts = factsOf(globals.database, globals.site);
    const std::string text = metricsText(facts);
    if (!facts.status)
        fprintf(stderr, "swctl: not all could be read: %s\n", printable(facts.reason).c_str());
    if (output.empty())
        fputs(text.c_str(), stdout);
    else
        replaceFile(output, text);
    return exitDone;
}

} // namespace

void addMetricsCommand(Program &program)
{
    const auto output = std::make_shared<std::string>();
    CLI::App *command = addCommand(
        program, program.app, "metrics",
        "Print state and counters for a monitoring system, as the text file collector of the "
        "node exporter reads them; status 0 whatever the state is. What is not known is left "
        "out",
        "  swctl metrics | promtool check metrics\n"
        "  swctl metrics --output /var/lib/prometheus/node-exporter/swmgr.prom",
        [&program, output] { return runMetrics(program.globals, *output); });
    if (program.mayRun("metrics"))
        command
            ->add_option("--output", *output,
                         "Replace this file, which everybody may read, instead of printing")
            ->type_name("FILE");
}

} // namespace swctl
