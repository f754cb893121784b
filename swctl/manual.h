// The manual page and the bash completion, made from the rows of commands and options,
// so that neither can say anything else.
#pragma once

#include "swctl/command.h"

#include <string>

namespace swctl {

std::string manualPage(const CommandTable &table);
std::string bashCompletion(const CommandTable &table);

} // namespace swctl
