// One rule for names from requests and from rows.
#include "base/interface_name.h"

#include <cstring>

bool interfaceNameIsSafe(const char *name)
{
    constexpr const char *allowed = "abcdefghijklmnopqrstuvwxyz"
                                    "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                    "0123456789_.:@-";
    return name[strspn(name, allowed)] == '\0';
}
