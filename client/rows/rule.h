// A rule that rows are checked against, and what of it SQL can express.
#pragma once

#include <cstddef>
#include <string>

namespace swctl {

enum class Severity {
    warning, // the rows work, but probably not as meant
    error    // the service refuses a row, or ends up with another network than the rows say
};

struct Rule {
    const char *table; // of the rows that it is about; null: of any
    const char *id;    // e.g. "vlan-id-range"
    Severity severity; // the worst that its findings have
    const char *fault; // what is wrong where it is found, without a full stop
    const char *why;   // one sentence: what it leads to
    const char *mend;  // one sentence: what to do
};

// A condition under which a row that was just written breaks a rule. In it, #column is
// the number that the service reads in the row, @column its port list as ",1,2,"; both may
// name the row `o` of a query as well. $self is the name of the device whose guard it is,
// $others lists the names of the other devices that take port lists, both quoted.
struct Guard {
    const char *rule;
    const char *table;
    const char *condition;
    std::string (*made)() = nullptr; // makes it instead, from what the device has
};

constexpr size_t longestInterfaceName = 15; // of Linux, in characters

} // namespace swctl
