// The rules that a configuration must keep: those of all devices, and each device's own.
#pragma once

#include "client/rows/rule.h"

#include <string>
#include <string_view>
#include <vector>

namespace swctl {

const char *severityName(Severity severity);

// In the order in which findings are shown.
const std::vector<Rule> &checkRules();
const Rule *ruleById(std::string_view id); // null: there is none

// The rules as far as SQL can express them, as triggers that refuse a row.
std::string constraintTriggers();

} // namespace swctl
