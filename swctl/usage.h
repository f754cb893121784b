// What the command line says when it is asked, and when it is misused.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

// Help in lines of at most 80 columns.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_help(const CLI::App *app, std::string name,
                          CLI::AppFormatMode mode) const override;
};

// The first word that is no command or option where it stands, with the nearest
// one that is; none when the words themselves are in order.
std::optional<std::string> unknownWord(const CLI::App &app, const std::vector<std::string> &words);

} // namespace swctl
