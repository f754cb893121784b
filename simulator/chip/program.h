// What the two programs that play the chip, on a socket and as a device of the
// kernel, read from their command lines alike.
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
    std::string place;     // what that option was given
    std::string tracePath; // "-" for standard output, empty for none
    bool showing = false;
    bool json = false;
    int status = -1; // 0 or more: all is done, the program ends with it
};

// Reads every option; those of ports that are down go into `model`.
Choice choiceRead(const Program &program, int argc, char **argv, Model &model);

// Says what is wrong on standard error. Returns the exit status for wrong usage.
int misused(const Program &program, const char *why);

} // namespace chip
