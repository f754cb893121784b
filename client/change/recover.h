// Completes or undoes what an earlier run left behind: an interrupted change, or an unconfirmed
// trial.
#pragma once

#include "client/change/verdict.h"
#include "client/records/history.h"
#include "client/records/trial.h"

#include <optional>
#include <string>
#include <vector>

namespace swctl {

struct Recovery {
    std::optional<Verdict> verdict; // of the recovered change; nullopt if there was none
    std::vector<std::string> notes; // what was done about it, one line each
    std::optional<Trial> waiting;   // a trial that is still watched by its process
};

// Whether anything needs recovery.
bool isUnfinished(const std::string &databasePath);

// The caller holds the lock and, if something needs recovery, has opened the database for
// writing.
Recovery recoverUnfinished(GatewayView &gateway, History &history);

// Undoes the trial now, through the service if it answers. The caller holds the lock.
enum class TrialEnd {
    ranOut,  // its process takes it back
    overdue, // somebody else does, since its process has not
    ordered  // before its time
};
Verdict takeBackTrial(GatewayView &gateway, History &history, const Trial &trial, TrialEnd end,
                      const std::string &comment = {});

// Records that somebody confirmed it.
void rememberConfirmed(History &history, const Trial &trial, const std::string &comment);

// The watching process: waits, and undoes the trial if it is still pending.
int watchTrial(const std::string &databasePath, const std::string &siteFile, int seconds);

} // namespace swctl
