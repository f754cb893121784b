// What every command that changes the configuration shares.
#pragma once

#include "client/change/carry_out.h"
#include "client/change/recover.h"
#include "client/records/journal.h"
#include "swctl/cli.h"

namespace swctl {

struct ChangeFlags {
    bool offline = false;  // only write the row
    bool noVerify = false; // do not look what became of it
    bool force = false;    // although a start would stop at it
    bool dryRun = false;   // only look what it would do
    bool verbose = false;  // and list every command and request
    std::string confirm;   // s until it is taken back unless confirmed; empty: it stays

    [[nodiscard]] bool any() const
    {
        return offline || noVerify || force || dryRun || verbose || !confirm.empty();
    }
};

void addChangeFlags(CLI::App &command, ChangeFlags &flags);

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
GatewayView gatewayFor(const Program &program, const ChangeFlags &flags);
int change(const Program &program, const ChangeFlags &flags, GatewayView gateway, const Wish &wish);
int change(const Program &program, const ChangeFlags &flags, const Wish &wish);

} // namespace swctl
