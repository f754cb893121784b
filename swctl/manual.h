// The manual page and the bash completion, generated from the tables of commands so that they
// cannot deviate.
#pragma once

#include "swctl/command.h"

#include <string>

namespace swctl {

std::string manualPage(const CommandTable &table);
std::string bashCompletion(const CommandTable &table);

} // namespace swctl
