// The recording platform in a fuzz program: every call is looked at, and the
// input decides which calls fail.
#pragma once

#include <cstdint>

namespace fuzz {

// Of the calls to come, `after` are answered as usual, the next `count` with
// `result`. Calls that return an object return none where the result is negative.
struct Fault {
    uint32_t after;
    uint32_t count;
    int32_t result;
};

void faultArm(const Fault &fault);

// From here on calls are checked and blocks are known; blocksFree ends that.
void watchBegin();
void blocksFree(); // also those that the service keeps for the life of a process

// The shell has got the few lines that it ever gets. From now on no other.
void shellLinesFreeze();

} // namespace fuzz
