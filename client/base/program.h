// Programs that are run for what they print.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace swctl {

// What a program prints on standard output; none when it cannot be run, fails or prints
// more than 64 MB. The first word is its name, looked up in the path, or its file; no
// shell reads the words.
std::optional<std::string> outputOf(const std::vector<std::string> &words);

} // namespace swctl
