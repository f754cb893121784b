// What every daemon does alike with its command line: --help, --version, and what is wrong.
#pragma once

#include "common/exit_status.h"

#include <cstdio>

constexpr int argumentsGoOn = -1; // instead of an exit status

inline int misusedProgram(const char *program, const char *why)
{
    fprintf(stderr, "%s: %s\nTry '%s --help'.\n", program, why, program);
    return EXIT_USAGE;
}

// For the letter of an option that is not the program's own: 'h', 'V', or what getopt_long
// returns after it has printed what is wrong.
inline int commonOptionTake(int letter, const char *program, const char *usage)
{
    if (letter == 'h')
        return fputs(usage, stdout) < 0 ? EXIT_FAILED : EXIT_STOPPED;
    if (letter == 'V')
        return printf("%s " SWMGR_VERSION "\n", program) < 0 ? EXIT_FAILED : EXIT_STOPPED;
    fprintf(stderr, "Try '%s --help'.\n", program);
    return EXIT_USAGE;
}

// After the options: no program takes anything else. `next` is the first word that is none.
inline int noMoreArguments(const char *program, int next, int argc, char **argv)
{
    if (next >= argc)
        return argumentsGoOn;
    fprintf(stderr, "%s: unexpected argument '%s'\nTry '%s --help'.\n", program, argv[next],
            program);
    return EXIT_USAGE;
}
