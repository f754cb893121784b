// The columns of the configuration tables as command-line options.
#pragma once

#include "client/rows/columns.h"
#include "swctl/command.h"
#include "swctl/validate.h"

#include <array>
#include <span>
#include <utility>

namespace swctl {

// A table and what its commands need to know.
struct TableRow {
    const char *group; // of the table's commands
    const char *table; // name in the database
    const char *noun;  // what a row is called, e.g. "VLAN"
    std::span<const Column> columns;
};

// The normal form of a value for a column; throws a Failure that lists what is accepted.
template <const auto &columns, size_t place>
std::string valueFor(const std::string &text)
{
    constexpr const Column &column = columns[place];
    switch (column.holds) {
    case Holds::number:
        return column.gap == Column::noGap ? numberWithin(text, column.least, column.most)
                                           : numberAmong(text, column);
    case Holds::flag:
        return onOff(text);
    case Holds::switchName:
        return switchNameText(text);
    case Holds::interface:
        return interfaceName(text);
    case Holds::portList:
        return portList(text);
    case Holds::mapping:
        return portMapping(text);
    default:
        return textOf(text, static_cast<size_t>(column.most));
    }
}

// Turns columns into options, identifying columns first.
template <const auto &columns, size_t... places>
constexpr auto optionsOf(std::index_sequence<places...>)
{
    return std::array{OptionRow{.name = columns[places].option,
                                .type = columns[places].valueName,
                                .help = columns[places].help,
                                .check = valueFor<columns, places>,
                                .required = columns[places].isIdentity()}...};
}
template <const auto &columns>
constexpr auto optionsOf()
{
    return optionsOf<columns>(std::make_index_sequence<std::size(columns)>());
}

// The identifying columns, and the rest.
template <size_t size>
constexpr OptionList keyOf(const std::array<OptionRow, size> &options)
{
    size_t count = 0;
    while (options[count].isArgument())
        ++count;
    return OptionList(options).first(count);
}
template <size_t size>
constexpr OptionList valuesOf(const std::array<OptionRow, size> &options)
{
    return OptionList(options).subspan(keyOf(options).size());
}

inline constexpr auto vlanOptions = optionsOf<column_rows::vlanColumns>();
inline constexpr auto portOptions = optionsOf<column_rows::portColumns>();
inline constexpr auto switchOptions = optionsOf<column_rows::switchColumns>();

inline constexpr TableRow vlanTable = {"vlan", vlanTableName, "VLAN", column_rows::vlanColumns};
inline constexpr TableRow portTable = {"port", portTableName, "port", column_rows::portColumns};
inline constexpr TableRow switchTable = {"switch", switchTableName, "switch",
                                         column_rows::switchColumns};

} // namespace swctl
