// swcuse: the simulated switch chip as a character device, and the command that
// shows what it holds.
#include "common/exit_status.h"
#include "simulator/chip/program.h"
#include "simulator/cuse/device.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr char usage[] =
    R"(usage: swcuse [--name NAME] [--trace[=FILE]] [--down PORT]...
       swcuse --show [--json] [--name NAME]

Simulates a five-port switch chip and its driver as the character device /dev/NAME.
Needs root and the kernel module cuse. The device is also readable: it returns
the chip's state as a table, or as JSON after the word "json" has been written to it.

  --name NAME     of the device, default bcmsw
  --trace[=FILE]  write each request with its fields and result, one line each,
                  to standard output or to the end of FILE
  --down PORT     report the link of this port (0 to 4) as down
  --show          print the state of the chip behind /dev/NAME
  --json          with --show: as JSON
  --help          print this text
  --version       print the version

Exit status: 0 stopped by a signal or shown, 1 failed, 2 wrong usage.
)";

constexpr chip::Program program = {"swcuse", usage, "name"};

int serve(chip::Model &model, const std::string &name, const std::string &tracePath)
{
    chip::DeviceOptions options{name};
    if (tracePath == "-") {
        options.trace = stdout;
    } else if (!tracePath.empty()) {
        options.trace = fopen(tracePath.c_str(), "ae");
        if (options.trace == nullptr) {
            fprintf(stderr, "swcuse: cannot write the trace to %s: %s\n", tracePath.c_str(),
                    strerror(errno));
            return EXIT_FAILED;
        }
    }
    const int status = chip::deviceServe(model, options);
    if (options.trace != nullptr && options.trace != stdout)
        fclose(options.trace);
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    static chip::Model model;
    const chip::Choice choice = chip::choiceRead(program, argc, argv, model);
    if (choice.status >= 0)
        return choice.status;
    const std::string name = choice.place.empty() ? "bcmsw" : choice.place;
    if (name.find('/') != std::string::npos)
        return chip::misused(program, "--name takes the name of a node in /dev, without a path");
    return choice.showing ? chip::deviceShow("/dev/" + name, choice.json)
                          : serve(model, name, choice.tracePath);
}
