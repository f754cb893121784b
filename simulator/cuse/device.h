// The chip as a character device: a process that opens the node and sends ioctl
// requests finds what the chip's driver would answer.
#pragma once

#include "devices/chip/chip_model.h"

#include <cstdio>
#include <string>

namespace chip {

struct DeviceOptions {
    std::string name;      // of the node in /dev
    FILE *trace = nullptr; // where each request is written; null for nowhere
};

// What a process writes to the node to choose the form of what it reads from it.
constexpr char tableWord[] = "table"; // for people, and without any choice
constexpr char jsonWord[] = "json";   // for programs

// Creates the node and serves until SIGTERM or SIGINT. Returns 0 after such a
// stop, 1 when the node cannot be had (the reason is on standard error then).
int deviceServe(Model &model, const DeviceOptions &options);

// Prints the state of the chip behind the node at `path`. Returns 0, or 1 with
// the reason on standard error.
int deviceShow(const std::string &path, bool json);

} // namespace chip
