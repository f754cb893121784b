// A change on trial, in a file beside the database: it is taken back unless it is
// confirmed in time. A process of its own watches over it, which outlives shell and
// connection. Taking it back is recovery's.
#pragma once

#include "client/rows/row_change.h"

#include <cstdint>
#include <optional>
#include <string>

namespace swctl {

struct Trial {
    ChangeSet changes;
    int64_t deadline = 0; // seconds since 1970
    bool watched = false; // its process is there
};

// The change that waits for its confirmation.
std::optional<Trial> trialOf(const std::string &databasePath);

bool isOnTrial(const std::string &databasePath); // there is one, readable or not

// Writes it down and starts the process that takes it back after `seconds`: this
// program again, as `confirm --watch`. `siteFile` may be empty.
void beginTrial(const std::string &databasePath, const std::string &siteFile,
                const ChangeSet &changes, int seconds);

// Nothing waits any more.
void endTrial(const std::string &databasePath);

// In the process that watches: whether the trial that it was started for still
// stands, and waiting for at most so many seconds while it does.
bool watchedTrialStands(const std::string &databasePath);
void awaitTrialEnd(const std::string &databasePath, int seconds);

} // namespace swctl
