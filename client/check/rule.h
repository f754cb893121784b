// The rules that a configuration must keep.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace swctl {

enum class Severity {
    warning, // works, but hardly as it was meant
    error    // the service refuses it, or does something else than the row says
};

const char *severityName(Severity severity);

struct Rule {
    const char *id;    // e.g. "vlan-id-range"
    Severity severity; // the worst that its findings have
    const char *fault; // what is wrong where it is found, without a full stop
    const char *why;   // one sentence: what it leads to
    const char *mend;  // one sentence: what to do
};

// In the order in which findings are shown.
std::span<const Rule> checkRules();
const Rule *ruleById(std::string_view id); // null: there is none

// The rules as far as SQL can express them, as triggers that refuse a row.
std::string constraintTriggers();

} // namespace swctl
