// What every command that changes the configuration shares.
#pragma once

#include "client/change/carry_out.h"
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

ChangeOptions optionsOf(const Globals &globals, const ChangeFlags &flags = {});

// A line on a terminal that counts up: "12 of 300 VLANs read".
Progress progressOn(const char *what);

// Carries a change out, one at a time, and says what became of it; with --dry-run
// only what it would do. In a batch it is kept for later.
int change(const Program &program, const ChangeFlags &flags, const Plan &plan, int undoes = 0);

} // namespace swctl
