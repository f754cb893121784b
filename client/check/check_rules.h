// What rules and checks share: the columns of the three tables and the limits of
// the devices.
#pragma once

#include "client/base/number.h"
#include "client/check/rule.h"

#include <cstdint>
#include <span>

namespace swctl {

constexpr int chipPorts = 5;            // ports 0 to 4
constexpr int enginePorts = 8;          // ports 0 to 7
constexpr int bridgePorts = 32;         // ports 0 to 31
constexpr size_t subInterfaceName = 15; // characters of a network interface's name

enum class Kind {
    text,
    interface, // a text that is part of command lines
    list,      // port numbers between commas
    number
};

// A column as the service decodes it, with what it may hold.
struct ColumnRule {
    const char *table;
    const char *column;
    Kind kind;
    bool needed;        // without the column no row means anything
    Severity severity;  // of a value outside its range
    int64_t least;      // of a number
    int64_t most;       // of a number; of a text: bytes
    int64_t gap;        // the one number between that is not accepted; noGap: none
    const char *values; // the range in words, for a number

    static constexpr int64_t noGap = -1;
    [[nodiscard]] bool accepts(int64_t value) const
    {
        return value >= least && value <= most && value != gap;
    }
};

std::span<const ColumnRule> columnRules();

} // namespace swctl
