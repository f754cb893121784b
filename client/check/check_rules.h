// The rules for a configuration: the general ones and each device's own.
#pragma once

#include "client/rows/rule.h"

#include <string>
#include <string_view>
#include <vector>

namespace swctl {

const char *severityName(Severity severity);

// In the order in which findings of the same severity are listed.
const std::vector<Rule> &checkRules();
const Rule *ruleById(std::string_view id); // null if unknown

// Triggers that refuse a row, for those rules that SQL can express.
std::string constraintTriggers();

} // namespace swctl
