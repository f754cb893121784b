// A platform in the fuzz program: nothing happens, every call is looked at, and
// the input decides which calls fail.
#pragma once

#include "platform/relay.h"

#include <cstddef>
#include <cstdint>
#include <map>

namespace fuzz {

// Of the calls to come, `after` are answered as usual, the next `count` with
// `result`. Calls that return an object return none where the result is negative.
struct Fault {
    uint32_t after;
    uint32_t count;
    int32_t result;
};

void faultArm(const Fault &fault);

// What files hold and what the driver writes into records, until changed.
void fileTextSet(const char *text);
void driverByteSet(uint8_t byte);

// The handler that the service registered.
RelayHandler registeredHandler();

// Blocks that the service has allocated and not freed, with their sizes, from
// blocksForget on.
const std::map<void *, size_t> &blocksHeld();
void blocksForget();
void blocksFree();

// Files that are open.
int filesOpen();

// From now on the shell gets no line but those that it has got already.
void shellLinesFreeze();
size_t shellLinesSeen();

} // namespace fuzz
