// swchip: the simulated switch chip, and the command that shows what it holds.
#include "simulator/chip/program.h"
#include "simulator/chip/server.h"

namespace {

constexpr char usage[] =
    R"(usage: swchip --socket PATH [--trace[=FILE]] [--down PORT]...
       swchip --show --socket PATH [--json]

Simulates a five-port switch chip and its driver: a process that opens the Unix
socket PATH as its device gets the answers of the driver.

  --socket PATH   where the device is
  --trace[=FILE]  write each request with its fields and result, one line each,
                  to standard output or to the end of FILE
  --down PORT     report the link of this port (0 to 4) as down
  --show          print the state of the chip at PATH: modes, ports, VLAN table
  --json          with --show: as JSON
  --help          print this text
  --version       print the version

Exit status: 0 stopped by a signal or shown, 1 failed, 2 wrong usage.
)";

constexpr chip::Program program = {"swchip", usage, "socket"};

} // namespace

int main(int argc, char **argv)
{
    static chip::Model model;
    const chip::Choice choice = chip::choiceRead(program, argc, argv, model);
    if (choice.status >= 0)
        return choice.status;
    if (choice.place.empty())
        return chip::misused(program, "--socket PATH is missing");
    return choice.showing ? chip::show(choice.place, choice.json)
                          : chip::serve(model, {choice.place, choice.tracePath});
}
