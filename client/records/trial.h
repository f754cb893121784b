// A change on trial, recorded in a file next to the database: it is undone unless it is
// confirmed in time. A separate process watches over it and outlives the shell and the
// connection. Undoing it is the job of recovery.
#pragma once

#include "client/rows/row_change.h"

#include <cstdint>
#include <optional>
#include <string>

namespace swctl {

struct Trial {
    ChangeSet changes;
    int64_t deadline = 0; // seconds since 1970
    bool watched = false; // its process is running

    // Its process should have undone it, or never will.
    [[nodiscard]] bool isLeft() const;
};

// The change that awaits confirmation.
std::optional<Trial> trialOf(const std::string &databasePath);

bool isOnTrial(const std::string &databasePath); // whether there is one, readable or not

// Records the trial and starts the process that undoes it after `seconds`, which is this
// program run as `confirm --watch`. `siteFile` may be empty.
void beginTrial(const std::string &databasePath, const std::string &siteFile,
                const ChangeSet &changes, int seconds);

// Removes the record of the trial.
void endTrial(const std::string &databasePath);

// For the watching process: whether its own trial is still pending, and a wait of at most
// `seconds` while it is.
bool watchedTrialStands(const std::string &databasePath);
void awaitTrialEnd(const std::string &databasePath, int seconds);

} // namespace swctl
