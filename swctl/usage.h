// Help, and suggestions for misspelt words.
#pragma once

#include "swctl/command.h"

#include <optional>
#include <string>
#include <vector>

namespace swctl {

// The help of a place, in lines of at most 80 characters.
std::string helpText(const CommandTable &table, const Place &place);

// The first word that is not a command or option where it is used, with the closest match;
// nullopt if all words are valid.
std::optional<std::string> unknownWord(const CommandTable &table,
                                       const std::vector<std::string> &words);

} // namespace swctl
