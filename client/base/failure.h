// How a run of a front end ends: the exit statuses, and the exception with which any
// part ends the run early. Thrown everywhere, caught in main only.
#pragma once

#include <stdexcept>
#include <string>

namespace swctl {

enum ExitStatus {
    exitDone = 0,
    exitRefused = 1,     // refused, and nothing is different from before
    exitUsage = 2,       // wrong arguments, or a database that cannot be used
    exitUnreachable = 3, // the service could not be asked, or did not answer
    exitDiffers = 4      // rows and hardware do not agree
};

struct Failure : std::runtime_error {
    Failure(ExitStatus exitStatus, const std::string &what)
        : std::runtime_error(what), status(exitStatus)
    {
    }

    ExitStatus status; // what the process ends with
};

// The request went out and no answer came: whether it was carried out is unknown.
struct Unanswered : Failure {
    explicit Unanswered(const std::string &what) : Failure(exitUnreachable, what) {}
};

} // namespace swctl
