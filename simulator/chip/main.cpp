// swchip: the simulated switch chip, and the command that shows what it holds.
#include "chip/server.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char usage[] =
    R"(usage: swchip --socket PATH [--trace[=FILE]] [--down PORT]...
       swchip --show --socket PATH [--json]

Plays a five-port switch chip and its driver: a process that opens the Unix
socket PATH as its device finds what a driver would answer.

  --socket PATH   where the device is
  --trace[=FILE]  write each request with its fields and result, one line each,
                  to standard output or to the end of FILE
  --down PORT     report the link of this port (0 to 4) as down
  --show          print what the chip at PATH holds: modes, ports, VLAN table
  --json          with --show: as JSON
  --help          print this text
  --version       print the version

Exit status: 0 stopped by a signal or shown, 1 failed, 2 wrong usage.
)";

constexpr option longOptions[] = {
    {"socket", required_argument, nullptr, 's'}, {"trace", optional_argument, nullptr, 't'},
    {"down", required_argument, nullptr, 'd'},   {"show", no_argument, nullptr, 'S'},
    {"json", no_argument, nullptr, 'j'},         {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'V'},      {nullptr, 0, nullptr, 0},
};

int misused(const char *why)
{
    std::fprintf(stderr, "swchip: %s\nTry 'swchip --help'.\n", why);
    return 2;
}

bool linkDown(chip::Model &model, const char *port)
{
    if (port == nullptr || std::strlen(port) != 1 || port[0] < '0' ||
        port[0] >= '0' + chip::portCount)
        return false;
    model.ports[static_cast<size_t>(port[0] - '0')].linkStatus = 0;
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    static chip::Model model;
    chip::ServerOptions options;
    bool showing = false;
    bool json = false;
    for (int c; (c = getopt_long(argc, argv, "h", longOptions, nullptr)) != -1;) {
        switch (c) {
        case 's':
            options.socketPath = optarg;
            break;
        case 't':
            options.tracePath = optarg != nullptr ? optarg : "-";
            break;
        case 'd':
            if (!linkDown(model, optarg))
                return misused("--down takes a port from 0 to 4");
            break;
        case 'S':
            showing = true;
            break;
        case 'j':
            json = true;
            break;
        case 'h':
            return std::fputs(usage, stdout) < 0 ? 1 : 0;
        case 'V':
            return std::puts("swchip " SWMGR_VERSION) < 0 ? 1 : 0;
        default:
            return misused("unknown or incomplete option");
        }
    }
    if (optind != argc)
        return misused("unexpected argument");
    if (options.socketPath.empty())
        return misused("--socket PATH is missing");
    return showing ? chip::show(options.socketPath, json) : chip::serve(model, options);
}
