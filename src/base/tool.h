// Runs the device's command-line tools for the VLAN model and for backends.
#pragma once

constexpr int toolLineSize = 512; // longest command line, terminator included

// Formats a command line, runs it to completion and logs line and status under
// the caller's name, whatever the status. Returns salCmdExec's status.
int toolRun(const char *func, int sourceLine, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

// The same for a line that takes a word from outside: `word`, which the arguments name
// once more. Where it may not stand in a line that a shell gets (interface_name.h), the
// reason is logged, nothing is run, and the status is 1 as of a tool that reported
// failure; -1 without a word.
int toolRunOn(const char *func, int sourceLine, const char *word, const char *format, ...)
    __attribute__((format(printf, 4, 5)));

#define TOOL_RUN(...)          toolRun(__func__, __LINE__, __VA_ARGS__)
#define TOOL_RUN_ON(word, ...) toolRunOn(__func__, __LINE__, word, __VA_ARGS__)
