// What every command that changes the configuration shares.
#pragma once

#include "client/change/carry_out.h"
#include "client/change/recover.h"
#include "client/records/journal.h"
#include "swctl/call.h"

#include <array>

namespace swctl {

extern const std::array<OptionRow, 6> changeFlags; // options of each such command

// Throws when one of them was given.
void refuseChangeFlags(const Call &call);

// The gateway of this run, with its one open database.
GatewayView openGateway(const Globals &globals, Access access);

// Waits for another swctl, and says so.
ChangeLock lockChanges(const Globals &globals);

// Sees to what an earlier run left, and says what that was.
Recovery recoverFirst(GatewayView &gateway, History &history);

// A line on a terminal that counts up: "12 of 300 VLANs read".
Progress progressOn(const char *what);

// Carries a change out, one at a time, and says what became of it; with --dry-run
// only what it would do. `gateway` is as gatewayFor opens it.
GatewayView gatewayFor(const Call &call);
int change(const Call &call, GatewayView gateway, const Wish &wish);
int change(const Call &call, const Wish &wish);

} // namespace swctl
