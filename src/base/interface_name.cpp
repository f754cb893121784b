// The one rule for text from outside in command lines.
#include "base/interface_name.h"

#include <cstring>

bool interfaceNameIsSafe(const char *name)
{
    constexpr const char *allowed = "abcdefghijklmnopqrstuvwxyz"
                                    "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                    "0123456789_.:@-";
    return name[strspn(name, allowed)] == '\0';
}
