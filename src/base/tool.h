// Running the device's command-line tools.
#pragma once

constexpr int toolLineSize = 512; // longest command line, terminator included

// Formats and runs a command line, then logs it with its status under the caller's name, even
// if it succeeded. Returns salCmdExec's status.
int toolRun(const char *func, int sourceLine, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

// Like toolRun, for a line with a word from outside: `word`, which the arguments repeat. If the
// word is not allowed in a shell command line (see interface_name.h), logs the reason, runs
// nothing, and returns 1, as if the tool had failed; -1 if the word is null.
int toolRunOn(const char *func, int sourceLine, const char *word, const char *format, ...)
    __attribute__((format(printf, 4, 5)));

#define TOOL_RUN(...)          toolRun(__func__, __LINE__, __VA_ARGS__)
#define TOOL_RUN_ON(word, ...) toolRunOn(__func__, __LINE__, word, __VA_ARGS__)
