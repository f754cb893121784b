// What became of a change, in words and as JSON.
#pragma once

#include "client/change/preview.h"
#include "client/change/verdict.h"
#include "common/json.h"

namespace swctl {

Json rowsJson(const ChangeSet &changes);
Json verdictJson(const Verdict &verdict);

// The outcome first, the reasons second, the remedy third. `offline`: the service
// was not to be told.
void printVerdict(const Verdict &verdict, bool offline);

// What a change would do, and that nothing of it was done.
Json previewJson(const Preview &seen);
void printPreview(const Preview &seen, bool verbose);

Json differencesJson(const std::vector<Difference> &differences);

// `verbose`: also what differs without an effect.
void printDifferences(const Verdict &verdict, bool verbose);
void printRepair(const Verdict &verdict);

} // namespace swctl
