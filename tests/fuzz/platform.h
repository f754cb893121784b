// The recording platform in a fuzz program: every call is checked, and the input decides
// which calls fail.
#pragma once

#include <cstdint>

namespace fuzz {

// The next `after` calls are answered as usual, the `count` after them with `result`.
// Calls that return an object return none if the result is negative.
struct Fault {
    uint32_t after;
    uint32_t count;
    int32_t result;
};

void faultArm(const Fault &fault);

// From here on calls are checked and allocations tracked, until blocksFree.
void watchBegin();
void blocksFree(); // including those that the service keeps for the life of a process

// The shell has received the few lines that it ever gets. From now on, any other is a
// finding.
void shellLinesFreeze();

} // namespace fuzz
