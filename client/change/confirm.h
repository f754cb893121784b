// A change on trial: it is taken back by itself unless it is confirmed in time.
// A process of its own watches over it, which outlives shell and connection; where
// that is gone too, as after a loss of power, the next swctl takes the change back,
// and unit and init script run one before the service starts.
#pragma once

#include "client/change/carry_out.h"

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

// Writes it down and starts the process that takes it back after `seconds`.
void beginTrial(const ChangeOptions &options, const ChangeSet &changes, int seconds);

// Nothing waits any more.
void endTrial(const std::string &databasePath);

// Takes it back now, through the service where that answers. The lock is held by
// the caller.
Verdict takeBackTrial(const ChangeOptions &options, const Trial &trial);

// What the process does: waits, and takes back what is still there.
int watchTrial(const ChangeOptions &options, int seconds);

// "12:30:05" and "2026-01-31 12:30:05", local time of seconds since 1970.
std::string clockText(int64_t time);
std::string dateText(int64_t time);

} // namespace swctl
