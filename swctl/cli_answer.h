// How a request is reported that bypasses the database.
#pragma once

#include "swctl/globals.h"

#include <string>

namespace swctl {

class RequestLog;

// What a request came to, in words or as JSON; gives the exit status. `log` was
// listening since before it.
int reportAnswer(const Globals &globals, const std::string &what, int status);
// `fault`: what was found afterwards that is not as asked; empty: nothing.
int reportAnswer(const Globals &globals, const std::string &what, int status, RequestLog &log,
                 const std::string &fault = {});

} // namespace swctl
