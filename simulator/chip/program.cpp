// Options of the programs that simulate the chip.
#include "simulator/chip/program.h"

#include "common/arguments.h"
#include "common/exit_status.h"

#include <getopt.h>

#include <cstdio>
#include <cstring>

namespace chip {

namespace {

bool linkDown(Model &model, const char *port)
{
    if (strlen(port) != 1 || port[0] < '0' || port[0] >= '0' + portCount)
        return false;
    model.ports[static_cast<size_t>(port[0] - '0')].linkStatus = 0;
    return true;
}

// Takes one option. Returns a status to end with, or -1.
int optionTake(const Program &program, int letter, Choice &choice, Model &model)
{
    switch (letter) {
    case 'p':
        choice.place = optarg;
        return -1;
    case 't':
        choice.tracePath = optarg != nullptr ? optarg : "-";
        return -1;
    case 'd':
        return linkDown(model, optarg) ? -1 : misused(program, "--down takes a port from 0 to 4");
    case 'S':
        choice.showing = true;
        return -1;
    case 'j':
        choice.json = true;
        return -1;
    default:
        return commonOptionTake(letter, program.name, program.usage);
    }
}

} // namespace

int misused(const Program &program, const char *why)
{
    return misusedProgram(program.name, why);
}

Choice choiceRead(const Program &program, int argc, char **argv, Model &model)
{
    const option options[] = {
        {program.place, required_argument, nullptr, 'p'},
        {"trace", optional_argument, nullptr, 't'},
        {"down", required_argument, nullptr, 'd'},
        {"show", no_argument, nullptr, 'S'},
        {"json", no_argument, nullptr, 'j'},
        {"help", no_argument, nullptr, 'h'},
        {"version", no_argument, nullptr, 'V'},
        {nullptr, 0, nullptr, 0},
    };
    Choice choice;
    for (int letter;
         choice.status < 0 && (letter = getopt_long(argc, argv, "h", options, nullptr)) != -1;)
        choice.status = optionTake(program, letter, choice, model);
    if (choice.status < 0)
        choice.status = noMoreArguments(program.name, optind, argc, argv);
    return choice;
}

} // namespace chip
