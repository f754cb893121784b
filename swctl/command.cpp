#include "swctl/command.h"

#include <cstring>

namespace swctl {
namespace {

bool isIn(const GroupRow *group, const CommandRow &command)
{
    return group == nullptr ? command.group == nullptr
                            : command.group != nullptr && strcmp(command.group, group->name) == 0;
}

const GroupRow *groupOf(const CommandTable &table, const CommandRow &command)
{
    for (const GroupRow &group : table.groups)
        if (isIn(&group, command))
            return &group;
    return nullptr;
}

} // namespace

const OptionRow helpOption = {"-h,--help", nullptr, "Show this help and exit"};

const char *Place::name() const
{
    return command != nullptr ? command->name : group != nullptr ? group->name : "swctl";
}

std::string Place::path() const
{
    std::string path = group != nullptr ? group->name : "";
    if (command != nullptr)
        (path += path.empty() ? "" : " ") += command->name;
    return path;
}

const char *descriptionOf(const CommandTable &table, const Place &place)
{
    return place.command != nullptr ? place.command->description
           : place.group != nullptr ? place.group->description
                                    : table.description;
}

std::vector<Place> placesAfter(const CommandTable &table, const Place &place)
{
    std::vector<Place> places;
    if (place.command != nullptr)
        return places;
    for (const CommandRow *command : table.commands) {
        const GroupRow *group = groupOf(table, *command);
        if (group == place.group)
            places.push_back({group, command});
        else if (place.group == nullptr && (places.empty() || places.back().group != group))
            places.push_back({group});
    }
    return places;
}

std::vector<Place> allPlaces(const CommandTable &table)
{
    std::vector<Place> places;
    for (const Place &place : placesAfter(table, {})) {
        places.push_back(place);
        if (place.command == nullptr)
            for (const Place &command : placesAfter(table, place))
                places.push_back(command);
    }
    return places;
}

std::vector<const OptionRow *> optionsAt(const CommandTable &table, const Place &place)
{
    std::vector<const OptionRow *> options = {&helpOption};
    const auto add = [&options](OptionList list) {
        for (const OptionRow &option : list)
            options.push_back(&option);
    };
    if (place.command != nullptr)
        for (const OptionList &list : place.command->options)
            add(list);
    else if (place.group == nullptr)
        add(table.options);
    return options;
}

std::vector<std::string> namesOf(const OptionRow &option)
{
    const char *comma = strchr(option.name, ',');
    if (comma == nullptr)
        return {option.name};
    return {std::string(option.name, comma), comma + 1};
}

} // namespace swctl
