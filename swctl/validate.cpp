#include "swctl/validate.h"

#include "client/base/failure.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace swctl {
namespace {

constexpr unsigned maxPort = 31;             // a port mask has 32 bits
constexpr size_t interfaceNameCapacity = 63; // characters of an interface name
constexpr size_t mappingCapacity = 63;       // characters of a port mapping
constexpr size_t switchNameCapacity = 63;    // characters of a switch name

bool allDigits(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// A port number; more than maxPort if the text is not one.
unsigned portNumber(const std::string &text)
{
    if (!allDigits(text) || text.size() > 4)
        return maxPort + 1;
    return static_cast<unsigned>(strtoul(text.c_str(), nullptr, 10));
}

// Adds "5" or "5-7" to the mask; false if it is neither.
bool addPorts(const std::string &entry, uint32_t &mask)
{
    const size_t dash = entry.find('-');
    const unsigned first = portNumber(entry.substr(0, dash));
    const unsigned last = dash == std::string::npos ? first : portNumber(entry.substr(dash + 1));
    if (last > maxPort || first > last)
        return false;
    for (unsigned port = first; port <= last; ++port)
        mask |= 1u << port;
    return true;
}

// The two ends of "10" or "100-199"; 0 and 0 if it is neither.
std::pair<int, int> idRange(const std::string &entry)
{
    const size_t dash = entry.find('-');
    const std::string first = entry.substr(0, dash);
    const std::string last = dash == std::string::npos ? first : entry.substr(dash + 1);
    if (!allDigits(first) || !allDigits(last) || first.size() > 4 || last.size() > 4)
        return {0, 0};
    return {std::stoi(first), std::stoi(last)};
}

bool parsePorts(const std::string &text, uint32_t &mask)
{
    if (text.empty())
        return true;
    const std::vector<std::string> entries = partsOf(text, ',');
    return std::all_of(entries.begin(), entries.end(),
                       [&](const std::string &entry) { return addPorts(entry, mask); });
}

[[noreturn]] void reject(const std::string &why)
{
    throw Failure(exitUsage, why);
}

} // namespace

std::string numberWithin(const std::string &text, int64_t least, int64_t most)
{
    const std::string range = std::to_string(least) + " to " + std::to_string(most);
    const std::string digits = text.substr(text.starts_with('-') ? 1 : 0);
    if (!allDigits(digits) || digits.size() > 18)
        reject("'" + printable(text) + "' is not a number from " + range);
    const long long value = strtoll(text.c_str(), nullptr, 10);
    if (value < least || value > most)
        reject(text + " is not within " + range);
    return std::to_string(value);
}

std::string idRanges(const std::string &text)
{
    const std::vector<std::string> entries = partsOf(text, ',');
    const bool good = std::all_of(entries.begin(), entries.end(), [](const std::string &entry) {
        const auto [first, last] = idRange(entry);
        return first >= lowestVlan && first <= last && last <= highestVlan;
    });
    if (!good)
        reject("'" + printable(text) +
               "' is not a list of VLAN ids; write numbers from 1 to 4094 such as 10,20-29");
    return text;
}

bool inRanges(const std::string &ranges, int number)
{
    const std::vector<std::string> entries = partsOf(ranges, ',');
    return std::any_of(entries.begin(), entries.end(), [number](const std::string &entry) {
        const auto [first, last] = idRange(entry);
        return number >= first && number <= last;
    });
}

std::string wordAmong(const std::string &text, const std::vector<std::string> &words)
{
    if (std::find(words.begin(), words.end(), text) != words.end())
        return text;
    std::string list;
    for (const std::string &word : words)
        list += (list.empty() ? "" : ", ") + word;
    reject("'" + printable(text) + "' is not one of " + list);
}

std::string switchNameText(const std::string &text)
{
    if (text.empty() || text.size() > switchNameCapacity)
        reject("a switch name has 1 to " + std::to_string(switchNameCapacity) + " characters");
    if (printable(text) != text || text.find_first_of(":,") != std::string::npos)
        reject("'" + printable(text) + "' is not a switch name");
    return text;
}

std::string numberAmong(const std::string &text, const Column &column)
{
    std::vector<std::string> numbers;
    for (int64_t value = column.least; value <= column.most; ++value)
        if (column.accepts(value))
            numbers.push_back(std::to_string(value));
    return wordAmong(text, numbers);
}

namespace {

// "+4,-2": one number after each sign.
bool isRelative(const std::string &text)
{
    const std::vector<std::string> entries = partsOf(text, ',');
    return std::all_of(entries.begin(), entries.end(), [](const std::string &entry) {
        return (entry.starts_with('+') || entry.starts_with('-')) &&
               portNumber(entry.substr(1)) <= maxPort;
    });
}

} // namespace

std::string portList(const std::string &text)
{
    uint32_t mask = 0;
    if (isRelative(text))
        return text;
    if (!parsePorts(text, mask))
        reject(
            "'" + printable(text) +
            "' is not a list of ports; write numbers from 0 to 31 such as 1,2 or 0-3, or +4,-2 for "
            "what is to change");
    return listOf(mask);
}

std::string textOf(const std::string &text, size_t most)
{
    if (text.size() > most)
        reject(std::to_string(text.size()) + " characters are too long; at most " +
               std::to_string(most) + " fit");
    if (printable(text) != text)
        reject("'" + printable(text) + "' is not printable text");
    return text;
}

std::string interfaceName(const std::string &text)
{
    if (text.size() > interfaceNameCapacity)
        reject("an interface name has at most " + std::to_string(interfaceNameCapacity) +
               " characters");
    static constexpr const char *allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.:@-";
    if (text.find_first_not_of(allowed) != std::string::npos)
        reject("'" + printable(text) +
               "' is not an interface name; letters, digits and _ . : @ - are allowed");
    return text;
}

std::string portMapping(const std::string &text)
{
    if (text.size() > mappingCapacity)
        reject("a mapping has at most " + std::to_string(mappingCapacity) + " characters");
    if (text.empty())
        return text;
    for (const std::string &entry : partsOf(text, ',')) {
        const size_t colon = entry.find(':');
        if (colon == std::string::npos || colon == 0 || colon > switchNameCapacity ||
            portNumber(entry.substr(colon + 1)) > maxPort || printable(entry) != entry)
            reject("'" + printable(entry) + "' is not a mapping; write SWITCH:PORT, e.g. BCM:3");
    }
    return text;
}

std::string hexBytes(const std::string &text)
{
    std::string digits = text;
    std::erase_if(digits, [](char c) { return c == ' ' || c == ':'; });
    if (digits.size() % 2 != 0 ||
        digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        reject("'" + printable(digits) + "' is not a sequence of pairs of hexadecimal digits");
    return digits;
}

std::string onOff(const std::string &text)
{
    if (text != "on" && text != "off")
        reject("'" + printable(text) + "' is neither on nor off");
    return text == "on" ? "1" : "0";
}

std::string bytesFromHex(const std::string &digits)
{
    std::string bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(strtoul(digits.substr(i, 2).c_str(), nullptr, 16));
    return bytes;
}

} // namespace swctl
