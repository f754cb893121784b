// The command-line options shared by the two programs that simulate the chip: on a
// socket, and as a kernel device.
#pragma once

#include "devices/chip/chip_model.h"

#include <string>

namespace chip {

struct Program {
    const char *name;
    const char *usage; // printed by --help
    const char *place; // name of the option that says where the chip is
};

struct Choice {
    std::string place;     // that option's value
    std::string tracePath; // "-" for standard output, empty for none
    bool showing = false;
    bool json = false;
    int status = -1; // 0 or more: there is nothing left to do, exit with it
};

// Reads all options; ports that are down are set in `model`.
Choice choiceRead(const Program &program, int argc, char **argv, Model &model);

// Prints what is wrong to standard error. Returns the exit status for wrong usage.
int misused(const Program &program, const char *why);

} // namespace chip
