// The service's log about one request.
#pragma once

#include "client/service/log.h"

#include <string>
#include <vector>

namespace swctl {

// Listens from its construction on. Without a log daemon it hears nothing.
class RequestLog {
public:
    RequestLog();

    // What was logged since, once the daemon has all of it. Empty when the service
    // does not log there.
    std::vector<LogLine> take();

    [[nodiscard]] bool available() const { return heard; }

private:
    LogFollower follower;
    bool heard = false; // there is a daemon, and the service logs to it
};

// The lines that say why something failed, without the noise of tools that did
// their work.
std::vector<std::string> reasonsIn(const std::vector<LogLine> &lines);

} // namespace swctl
