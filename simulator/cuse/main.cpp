// swcuse: the simulated switch chip as a character device, and the command that
// shows what it holds.
#include "cuse/device.h"

#include <getopt.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr char usage[] =
    R"(usage: swcuse [--name NAME] [--trace[=FILE]] [--down PORT]...
       swcuse --show [--json] [--name NAME]

Plays a five-port switch chip and its driver as the character device /dev/NAME.
Needs root and the kernel module cuse. The device is also readable: it gives the
chip's state as a table, or as JSON to who has written the word "json" to it.

  --name NAME     of the device, default bcmsw
  --trace[=FILE]  write each request with its fields and result, one line each,
                  to standard output or to the end of FILE
  --down PORT     report the link of this port (0 to 4) as down
  --show          print what the chip behind /dev/NAME holds
  --json          with --show: as JSON
  --help          print this text
  --version       print the version

Exit status: 0 stopped by a signal or shown, 1 failed, 2 wrong usage.
)";

constexpr option longOptions[] = {
    {"name", required_argument, nullptr, 'n'}, {"trace", optional_argument, nullptr, 't'},
    {"down", required_argument, nullptr, 'd'}, {"show", no_argument, nullptr, 'S'},
    {"json", no_argument, nullptr, 'j'},       {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'V'},    {nullptr, 0, nullptr, 0},
};

struct Choice {
    chip::DeviceOptions device;
    std::string tracePath; // "-" for standard output, empty for none
    bool showing = false;
    bool json = false;
};

int misused(const char *why)
{
    std::fprintf(stderr, "swcuse: %s\nTry 'swcuse --help'.\n", why);
    return 2;
}

bool linkDown(chip::Model &model, const char *port)
{
    if (std::strlen(port) != 1 || port[0] < '0' || port[0] >= '0' + chip::portCount)
        return false;
    model.ports[static_cast<size_t>(port[0] - '0')].linkStatus = 0;
    return true;
}

int serve(chip::Model &model, Choice &choice)
{
    const std::string &path = choice.tracePath;
    if (path == "-") {
        choice.device.trace = stdout;
    } else if (!path.empty()) {
        choice.device.trace = std::fopen(path.c_str(), "ae");
        if (choice.device.trace == nullptr) {
            std::fprintf(stderr, "swcuse: cannot write the trace to %s: %s\n", path.c_str(),
                         std::strerror(errno));
            return 1;
        }
    }
    const int status = chip::serveDevice(model, choice.device);
    if (!path.empty() && path != "-")
        std::fclose(choice.device.trace);
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    static chip::Model model;
    Choice choice;
    for (int c; (c = getopt_long(argc, argv, "h", longOptions, nullptr)) != -1;) {
        switch (c) {
        case 'n':
            choice.device.name = optarg;
            break;
        case 't':
            choice.tracePath = optarg != nullptr ? optarg : "-";
            break;
        case 'd':
            if (!linkDown(model, optarg))
                return misused("--down takes a port from 0 to 4");
            break;
        case 'S':
            choice.showing = true;
            break;
        case 'j':
            choice.json = true;
            break;
        case 'h':
            return std::fputs(usage, stdout) < 0 ? 1 : 0;
        case 'V':
            return std::puts("swcuse " SWMGR_VERSION) < 0 ? 1 : 0;
        default:
            return misused("unknown or incomplete option");
        }
    }
    if (optind != argc)
        return misused("unexpected argument");
    if (choice.device.name.empty() || choice.device.name.find('/') != std::string::npos)
        return misused("--name takes the name of a node in /dev, without a path");
    if (choice.showing)
        return chip::showDevice("/dev/" + choice.device.name, choice.json);
    return serve(model, choice);
}
