#include "client/devices/difference.h"

#include "client/base/text.h"

namespace swctl {

bool Difference::sameAs(const Difference &other) const
{
    return kind == other.kind && std::string_view(part) == other.part && vlanId == other.vlanId &&
           port == other.port && wanted == other.wanted && found == other.found &&
           parent == other.parent && setting == other.setting;
}

bool Difference::isSettingOf(const char *which, int atPort) const
{
    return kind == DifferenceKind::setting && !setting.empty() && std::string_view(part) == which &&
           (port == atPort || port < 0);
}

std::string Difference::key() const
{
    switch (kind) {
    case DifferenceKind::entry:
        return std::string(part) + "-entry";
    case DifferenceKind::link:
        return std::string(part) + "-link";
    case DifferenceKind::defaultTag:
        return "default-tag";
    case DifferenceKind::subInterface:
        return "sub-interface";
    case DifferenceKind::setting:
        break;
    }
    return "setting";
}

std::string Difference::text() const
{
    const std::string both = printable(found) + ", should be " + wanted;
    switch (kind) {
    case DifferenceKind::entry:
        return "VLAN " + std::to_string(vlanId) + " in the " + part + ": " +
               (byQuery ? both : printable(found));
    case DifferenceKind::defaultTag:
        return "port " + std::to_string(port) + " default tag: " + both +
               (counts ? "" : " (no effect: the port is untagged in no VLAN)");
    case DifferenceKind::subInterface:
        return printable(parent) + "." + std::to_string(vlanId) + ": " + both;
    case DifferenceKind::link:
        return printable(parent) + ": " + both + (counts ? "" : " (no effect on a VLAN's frames)");
    case DifferenceKind::setting:
        break;
    }
    if (setting.empty())
        return printable(found);
    return setting + ": " + printable(found) + (source.empty() ? "" : " (" + source + ")") +
           ", should be " + wanted;
}

std::string Difference::mend() const
{
    switch (remedy) {
    case Remedy::repair:
        break;
    case Remedy::restart:
        return (firstStep.empty() ? "" : firstStep + ", then ") + "restart the service";
    case Remedy::rows:
        return "fix the row at which a start stops; 'swctl check' names it";
    case Remedy::file:
        return "select the database that the service uses with --database";
    }
    return "swctl repair";
}

std::vector<Difference> counting(std::vector<Difference> all)
{
    std::erase_if(all, [](const Difference &difference) { return !difference.counts; });
    return all;
}

} // namespace swctl
