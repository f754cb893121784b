// Reporting the results of requests that bypass the database.
#pragma once

#include "swctl/globals.h"

#include <string>

namespace swctl {

class RequestLog;

// Print the result, as text or JSON, and return the exit status. `log` must have been created
// before the request was sent.

// Of a request whose effect nobody looks at: at best it was sent.
int reportSent(const Globals &globals, const std::string &what, int status, RequestLog &log);

// Of a request whose effect was looked at. `fault` describes what turned out not to be as
// requested; empty if nothing.
int reportAnswer(const Globals &globals, const std::string &what, int status, RequestLog &log,
                 const std::string &fault = {});

} // namespace swctl
