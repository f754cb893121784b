// Reads numbers and addresses from a tool's arguments.
#include "devices/engine/arguments.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace engine {

namespace {

int digitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return 16;
}

bool number(const char *text, uint32_t base, uint32_t highest, uint32_t &result)
{
    uint64_t value = 0;
    if (*text == '\0')
        return false;
    for (; *text != '\0'; ++text) {
        const auto digit = static_cast<uint32_t>(digitValue(*text));
        if (digit >= base)
            return false;
        value = value * base + digit;
        if (value > highest)
            return false;
    }
    result = static_cast<uint32_t>(value);
    return true;
}

bool hasPrefix(const char *text)
{
    return text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

bool macAddress(const char *text, Mac &result)
{
    if (strlen(text) != 17)
        return false;
    for (size_t i = 0; i < sizeof(result.bytes); ++i) {
        const int high = digitValue(text[3 * i]);
        const int low = digitValue(text[3 * i + 1]);
        if (high > 15 || low > 15 || (i < 5 && text[3 * i + 2] != ':'))
            return false;
        result.bytes[i] = static_cast<uint8_t>(high << 4 | low);
    }
    return true;
}

} // namespace

bool Arguments::is(int at, const char *word) const
{
    return at < count && strcmp(values[at], word) == 0;
}

bool Arguments::decimal(int at, const char *name, uint32_t lowest, uint32_t highest,
                        uint32_t &result) const
{
    uint32_t value = 0;
    if (number(values[at], 10, highest, value) && value >= lowest) {
        result = value;
        return true;
    }
    fail("%s '%.32s' is not a number from %u to %u", name, values[at], lowest, highest);
    return false;
}

bool Arguments::prefixedHex(int at, const char *name, uint32_t highest, uint32_t &result) const
{
    if (hasPrefix(values[at]) && number(values[at] + 2, 16, highest, result))
        return true;
    fail("%s '%.32s' is not a number from 0x0 to 0x%x", name, values[at], highest);
    return false;
}

bool Arguments::plainHex(int at, const char *name, uint32_t &result) const
{
    if (number(values[at] + (hasPrefix(values[at]) ? 2 : 0), 16, UINT32_MAX, result))
        return true;
    fail("%s '%.32s' is not a 32-bit hexadecimal number", name, values[at]);
    return false;
}

bool Arguments::address(int at, const char *name, uint32_t &result) const
{
    const bool isHex = hasPrefix(values[at]);
    if (number(values[at] + (isHex ? 2 : 0), isHex ? 16 : 10, UINT32_MAX, result))
        return true;
    fail("%s '%.32s' is not a 32-bit number", name, values[at]);
    return false;
}

bool Arguments::mac(int at, const char *name, Mac &result) const
{
    if (macAddress(values[at], result))
        return true;
    fail("%s '%.32s' is not an address like 00:11:22:33:44:55", name, values[at]);
    return false;
}

int Arguments::fail(const char *format, ...) const
{
    char text[192];
    va_list list;
    va_start(list, format);
    vsnprintf(text, sizeof(text), format, list);
    va_end(list);
    snprintf(reply->error, sizeof(reply->error), "%s: %s\n", tool, text);
    return badArguments;
}

bool collect(Arguments &arguments, int count, const char *const *words)
{
    arguments.count = 0;
    for (int i = 0; i < count; ++i) {
        if (words[i][0] == '\0')
            continue;
        if (arguments.count == maxArguments)
            return false;
        arguments.values[arguments.count++] = words[i];
    }
    return true;
}

} // namespace engine
