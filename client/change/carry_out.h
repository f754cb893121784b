// Carries out a change, from the request to the verdict.
#pragma once

#include "client/change/verdict.h"
#include "client/plan/wish.h"
#include "client/records/history.h"

namespace swctl {

// How far a change has come, for whoever has to say so when it is interrupted.
enum class Stage {
    planned,  // nothing was written or sent
    writing,  // the rows may be committed
    announced // they are, and the service may have been notified
};

// A request for a setting that was asked for by name.
struct NamedRequest {
    std::string switchName;
    SettingRequest request;
};

struct ChangeOptions {
    bool verify = true;                     // read back, settle, read back again
    bool offline = false;                   // only write the rows
    bool force = false;                     // even if checks would refuse the change
    std::vector<NamedRequest> named{};      // to be sent even if no row changes
    int onTrial = 0;                        // s until it is undone unless confirmed; 0: no trial
    Progress told{};                        // called for each announcement, if set
    std::string through{};                  // the command, for the history
    std::string comment{};                  // likewise
    void (*reached)(Stage stage) = nullptr; // called before each stage, if set
};

// If there is nothing to change, only compares hardware and rows. The caller holds the lock,
// has dealt with anything left by earlier runs, and has opened the gateway's database for
// writing.
Verdict carryOut(GatewayView &gateway, History &history, const Wish &wish,
                 const ChangeOptions &options);

} // namespace swctl
