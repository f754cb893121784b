// Reporting the results of requests that bypass the database.
#pragma once

#include "swctl/globals.h"

#include <string>

namespace swctl {

class RequestLog;

// Prints the result, as text or JSON, and returns the exit status. `log` must have been created
// before the request was sent.
int reportAnswer(const Globals &globals, const std::string &what, int status);
// `fault` describes what turned out not to be as requested; empty if nothing.
int reportAnswer(const Globals &globals, const std::string &what, int status, RequestLog &log,
                 const std::string &fault = {});

} // namespace swctl
