// What the command line says when it is asked, and when it is misused.
#pragma once

#include "swctl/command.h"

#include <optional>
#include <string>
#include <vector>

namespace swctl {

// The help of a place, in lines of at most 80 columns.
std::string helpText(const CommandTable &table, const Place &place);

// The first word that is no command or option where it stands, with the nearest
// one that is; none when the words themselves are in order.
std::optional<std::string> unknownWord(const CommandTable &table,
                                       const std::vector<std::string> &words);

} // namespace swctl
