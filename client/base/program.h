// Running programs for their output.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace swctl {

// The standard output of a program; nullopt if it cannot be run, fails, or prints more than 64
// MB. The first word is a path, or a name to look up in PATH; no shell is involved.
std::optional<std::string> outputOf(const std::vector<std::string> &words);

} // namespace swctl
