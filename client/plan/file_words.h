// Rows in a configuration file: its words for columns and values, and errors with their place.
#pragma once

#include "client/rows/columns.h"
#include "client/rows/database.h"
#include "common/json.h"

#include <string>

namespace swctl {

// The value of a column as a file has it: a list of ports or mappings, a boolean for a flag;
// anything that has no such form as it is stored.
Json toFile(const Column &column, const Row::Cell &cell);

// The value to store; throws with exitUsage, naming the place, for one that the column cannot
// hold.
Value fromFile(const Column &column, const Json &json, const std::string &place);

// The column that a file's member stands for: by the word of the options, or by its own name;
// null if there is none.
const Column *columnInFile(std::string_view table, const std::string &member);

// "; did you mean 'members'?", or nothing.
std::string wordMeant(std::string_view table, const std::string &member);

} // namespace swctl
