// Rules whose warnings somebody has accepted. They are kept in the database, in a table that
// the service does not read.
#pragma once

#include "client/check/check.h"

namespace swctl {

// Marks the warnings of accepted rules.
void markAccepted(Database &database, std::vector<Finding> &findings);

// Accepts a rule's warnings, or withdraws that. False if there is nothing to do.
bool acceptRule(Database &database, const Rule &rule);
bool withdrawRule(Database &database, const Rule &rule);

// Findings of that severity that nobody has accepted.
size_t countOf(const std::vector<Finding> &findings, Severity severity);

} // namespace swctl
