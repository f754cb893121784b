#include "swctl/call.h"

#include "client/base/number.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace swctl {

Call::Call(const CommandTable &table, const Place &place) : row(place.command)
{
    const auto add = [&](const Place &at) {
        for (const OptionRow *option : optionsAt(table, at))
            values.push_back({option, {}, option->initial != nullptr ? option->initial : ""});
    };
    add({});
    if (place.command != nullptr)
        add(place);
}

const Call::Value &Call::find(const char *name) const
{
    for (const Value &value : values)
        for (const std::string &one : namesOf(*value.option))
            if (one == name)
                return value;
    throw std::logic_error(std::string("there is no option ") + name);
}

bool Call::has(const char *name) const
{
    return !find(name).given.empty();
}

const std::string &Call::text(const char *name) const
{
    return find(name).text;
}

int64_t Call::number(const char *name) const
{
    return strtoll(text(name).c_str(), nullptr, 10);
}

int Call::integer(const char *name) const
{
    return static_cast<int>(number(name));
}

std::vector<std::string> Call::list(const char *name) const
{
    return find(name).given;
}

void Call::take(const OptionRow &option, std::vector<std::string> given)
{
    for (Value &value : values)
        if (value.option == &option && !given.empty()) {
            value.text = given.back();
            value.given = std::move(given);
            return;
        }
}

} // namespace swctl
