// From the words of a command line to what they ask for.
#pragma once

#include "swctl/call.h"

namespace swctl {

enum class Asked {
    command, // that of the call
    help,    // of the place
    option   // one that stands alone; the call has no command
};

struct Parsed {
    Asked asked = Asked::command;
    Place place;
    Call call;
};

// Throws a Failure with what is wrong in the words.
Parsed parse(const CommandTable &table, const std::vector<std::string> &words);

} // namespace swctl
