// The service's log about one request.
#pragma once

#include "client/service/log.h"

#include <string>
#include <vector>

namespace swctl {

// Waits until the daemon has every record that the service has logged so far. Returns why
// that cannot be known; empty if it has.
std::string awaitLog();

// Records from its construction on. Without a log daemon it stays empty.
class RequestLog {
public:
    RequestLog();

    // The lines logged since construction, once the daemon has received all of them. Empty if
    // the service does not log to it.
    std::vector<LogLine> take();

    [[nodiscard]] bool available() const { return heard; }
    // Why not, if not.
    [[nodiscard]] const std::string &reason() const { return lacking; }

private:
    LogFollower follower;
    bool heard = false; // there is a daemon, and the service logs to it
    std::string lacking;
};

// The lines that explain a failure, without the routine output of successful tools.
std::vector<std::string> reasonsIn(const std::vector<LogLine> &lines);

} // namespace swctl
