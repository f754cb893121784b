// Looks at the gateway without a change of its own: finishing what was broken off,
// comparing, mending.
#pragma once

#include "client/change/carry_out.h"

#include <optional>

namespace swctl {

// Finishes what an earlier swctl left unfinished, or takes it back; none when there
// is nothing. The lock is held by the caller.
std::optional<Verdict> recoverUnfinished(const ChangeOptions &options);

// Brings the gateway to what a fresh start would give; changes no row.
Verdict repair(const ChangeOptions &options, bool allVlans, bool dryRun, const Progress &progress);

} // namespace swctl
