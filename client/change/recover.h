// Finishing or taking back what an earlier run left: a change that was broken off, a
// trial that nobody confirmed.
#pragma once

#include "client/change/verdict.h"
#include "client/records/history.h"
#include "client/records/trial.h"

#include <optional>
#include <string>
#include <vector>

namespace swctl {

struct Recovery {
    std::optional<Verdict> verdict; // of what was unfinished; none: nothing was
    std::vector<std::string> notes; // what was done about it, a line each
    std::optional<Trial> waiting;   // a trial that its process still watches over
};

// Whether there is anything for recovery to do.
bool isUnfinished(const std::string &databasePath);

// The lock is held by the caller, and the database open for writing where something
// is unfinished.
Recovery recoverUnfinished(GatewayView &gateway, History &history);

// Takes it back now, through the service where that answers. The lock is held by
// the caller.
Verdict takeBackTrial(GatewayView &gateway, History &history, const Trial &trial);

// What the watching process does: waits, and takes back what is still there.
int watchTrial(const std::string &databasePath, const std::string &siteFile, int seconds);

} // namespace swctl
