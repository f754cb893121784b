// Runs the device's command-line tools for the VLAN model and for backends.
#pragma once

constexpr int toolLineSize = 512; // longest command line, terminator included

// Formats a command line, runs it to completion and logs line and status under
// the caller's name, whatever the status. Returns salCmdExec's status.
int toolRun(const char *func, int sourceLine, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

#define TOOL_RUN(...) toolRun(__func__, __LINE__, __VA_ARGS__)
