// Options that stand for columns of a table: a command describes them as rows
// of a table and gets back what the user has given.
#pragma once

#include "client/rows/database.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace swctl {

struct ColumnOption {
    const char *name;              // as CLI11 takes it: "--ports", or "ID" for an argument
    const char *type;              // placeholder in the help
    const char *column;            // column that receives the value
    bool number;                   // stored as a number, otherwise as text
    CLI::Validator (*validator)(); // checks and normalises the text
    const char *help;
};

class RowOptions {
public:
    // Adds the options to a command.
    void addTo(CLI::App &command, std::span<const ColumnOption> columns);

    // What was given, in the order of the options.
    [[nodiscard]] std::vector<Assignment> given() const;

    // The value of one column, empty when it was not given.
    [[nodiscard]] std::string text(const std::string &column) const;

private:
    struct Bound {
        const ColumnOption *column; // description
        CLI::Option *option;        // owned by the command
        std::string value;          // written by the parser
    };

    std::vector<std::unique_ptr<Bound>> bound; // at addresses that the parser keeps
};

} // namespace swctl
