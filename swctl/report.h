// Reporting the result of a change as text and JSON.
#pragma once

#include "client/change/preview.h"
#include "client/change/verdict.h"
#include "common/json.h"

namespace swctl {

Json rowsJson(const ChangeSet &changes);
Json verdictJson(const Verdict &verdict);

// Prints the outcome, then the reasons, then the remedy. `offline`: the service was not to be
// notified.
void printVerdict(const Verdict &verdict, bool offline);

// The effects of a change, and that nothing was done.
Json previewJson(const Preview &seen);
void printPreview(const Preview &seen, bool verbose);

Json differencesJson(const std::vector<Difference> &differences);

// `verbose` adds differences without effect.
void printDifferences(const Verdict &verdict, bool verbose);
void printRepair(const Verdict &verdict);

} // namespace swctl
