// The chip as a character device: a process that opens the node and sends ioctl requests
// gets the answers of the chip's driver.
#pragma once

#include "devices/chip/chip_model.h"

#include <cstdio>
#include <string>

namespace chip {

struct DeviceOptions {
    std::string name;      // of the node, in /dev
    FILE *trace = nullptr; // where each request is written; null for nowhere
};

// Written to the node to choose the form of the state read from it.
constexpr char tableWord[] = "table"; // for people; the default
constexpr char jsonWord[] = "json";   // for programs

// Creates the node and serves until SIGTERM or SIGINT. Returns 0 after such a stop, 1 if
// the node cannot be created, with the reason on standard error.
int deviceServe(Model &model, const DeviceOptions &options);

// Prints the state of the chip behind the node at `path`. Returns 0, or 1 with
// the reason on standard error.
int deviceShow(const std::string &path, bool json);

} // namespace chip
