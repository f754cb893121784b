// The words of a command line that is carried out without running the program.
#pragma once

#include <cstring>
#include <net/if.h>

inline bool isTool(const char *word, const char *name)
{
    if (strncmp(word, "/sbin/", 6) == 0)
        word += 6;
    return strcmp(word, name) == 0;
}

// A plain decimal number below a limit; for any other, the tool prints its own message.
inline bool numberRead(const char *word, unsigned limit, unsigned &number)
{
    number = 0;
    for (const char *c = word; *c != '\0'; ++c) {
        if (*c < '0' || *c > '9' || number >= limit)
            return false;
        number = number * 10 + static_cast<unsigned>(*c - '0');
    }
    return *word != '\0' && number < limit;
}

// False for a name that the tool would truncate.
template <size_t N>
bool nameCopy(char (&to)[N], const char *name)
{
    const size_t length = strlen(name);
    if (length == 0 || length >= IFNAMSIZ)
        return false;
    memcpy(to, name, length + 1);
    return true;
}
