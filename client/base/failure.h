// Exit statuses, and the exception that any part of a program may throw to end the run. Only
// main catches it.
#pragma once

#include <stdexcept>
#include <string>

namespace swctl {

enum ExitStatus {
    exitDone = 0,
    exitRefused = 1,     // refused, nothing was changed
    exitUsage = 2,       // wrong arguments, or an unusable database
    exitUnreachable = 3, // the service could not be reached, or did not answer
    exitDiffers = 4      // rows and hardware disagree
};

struct Failure : std::runtime_error {
    Failure(ExitStatus exitStatus, const std::string &what)
        : std::runtime_error(what), status(exitStatus)
    {
    }

    ExitStatus status; // exit status of the process
};

// The request was sent but not answered, so it is unknown whether it was carried out.
struct Unanswered : Failure {
    explicit Unanswered(const std::string &what) : Failure(exitUnreachable, what) {}
};

// The database has the journal of a writer that was interrupted, which this run may not roll
// back.
struct JournalLeft : Failure {
    using Failure::Failure;
};

} // namespace swctl
