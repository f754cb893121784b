// A change, from what is asked for to its verdict.
#pragma once

#include "client/change/verdict.h"
#include "client/plan/wish.h"
#include "client/records/history.h"

namespace swctl {

struct ChangeOptions {
    bool verify = true;   // look, settle, look again
    bool offline = false; // only write the rows
    bool force = false;   // although a start would stop at it
    int onTrial = 0;      // s until it is taken back unless confirmed; 0: it stays
    Progress told{};      // of announcements, where somebody looks
};

// With a wish that finds nothing to change it is only looked whether rows and
// hardware agree. The lock is held by the caller, who has seen to what earlier runs
// left, and the gateway's database is open for writing.
Verdict carryOut(GatewayView &gateway, History &history, const Wish &wish,
                 const ChangeOptions &options);

} // namespace swctl
