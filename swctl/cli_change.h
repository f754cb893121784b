// Shared by all commands that change the configuration.
#pragma once

#include "client/change/carry_out.h"
#include "client/change/recover.h"
#include "client/records/journal.h"
#include "swctl/call.h"

#include <array>

namespace swctl {

extern const std::array<OptionRow, 7> changeFlags; // options of each such command

extern const std::array<OptionRow, 1> commentFlag; // "--comment", one of them

// The words that name a command: "vlan set".
std::string nameOf(const CommandRow &command);

// Throws if any of them was given.
void refuseChangeFlags(const Call &call);

// The gateway, with the only open database of this run.
GatewayView openGateway(const Globals &globals, Access access);

// Waits for another swctl, printing a message.
ChangeLock lockChanges(const Globals &globals);

// Recovers what an earlier run left behind, and reports it.
Recovery recoverFirst(GatewayView &gateway, History &history);

// A progress line on a terminal: "12 of 300 VLANs read".
Progress progressOn(const char *what);

// Carries out a change under the lock and reports the result; with --dry-run, only shows the
// effects. `gateway` comes from gatewayFor.
GatewayView gatewayFor(const Call &call);
int change(const Call &call, GatewayView gateway, const Wish &wish,
           std::vector<NamedRequest> named = {});
int change(const Call &call, const Wish &wish);

} // namespace swctl
