// Parsing the words of a command line.
#pragma once

#include "swctl/call.h"

namespace swctl {

enum class Asked {
    command, // run the call's command
    help,    // show the help of the place
    option   // a stand-alone option; the call has no command
};

struct Parsed {
    Asked asked = Asked::command;
    Place place;
    Call call;
};

// Throws a Failure that describes the error.
Parsed parse(const CommandTable &table, const std::vector<std::string> &words);

} // namespace swctl
