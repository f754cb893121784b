// Rows of the three tables, made from an input: a sensible row with a few values
// replaced.
#pragma once

#include "input.h"

namespace fuzz {

struct Table {
    const char *name;
    std::vector<std::string> columns;
    std::vector<std::string> values; // of a sensible row; '#' stands for a small number
};

// swGlobalCfg, swPortConfig, vlanEncapIf.
const std::vector<Table> &tables();
const Table &tableOf(Input &input);

// A value of a row.
struct Cell {
    bool present; // false: NULL
    std::string text;
};

// Any value: none, a number, a text worth trying, any text, a long one.
Cell cellRead(Input &input);

// One row of `table`, its values in the order of the columns.
std::vector<Cell> rowRead(Input &input, const Table &table);

// Old values of `table`: names, then values, mostly complete.
std::string oldValuesRead(Input &input, const Table &table);

} // namespace fuzz
