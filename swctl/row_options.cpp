#include "swctl/row_options.h"

#include <cstdlib>

namespace swctl {

void RowOptions::addTo(CLI::App &command, std::span<const ColumnOption> columns)
{
    for (const ColumnOption &column : columns) {
        auto entry = std::make_unique<Bound>();
        entry->column = &column;
        entry->option = command.add_option(column.name, entry->value, column.help)
                            ->type_name(column.type)
                            ->transform(column.validator());
        if (column.name[0] != '-')
            entry->option->required();
        bound.push_back(std::move(entry));
    }
}

std::vector<Assignment> RowOptions::given() const
{
    std::vector<Assignment> values;
    for (const auto &entry : bound) {
        if (entry->option->count() == 0)
            continue;
        if (entry->column->number)
            values.push_back({entry->column->column,
                              static_cast<int64_t>(strtoll(entry->value.c_str(), nullptr, 10))});
        else
            values.push_back({entry->column->column, entry->value});
    }
    return values;
}

std::string RowOptions::text(const std::string &column) const
{
    for (const auto &entry : bound)
        if (entry->column->column == column)
            return entry->value;
    return {};
}

} // namespace swctl
