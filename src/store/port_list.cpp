// Port lists from the database, as bit masks.
#include "store/port_list.h"

#include "platform/number.h"

#include <cstring>

namespace {

constexpr int32_t ports = 32; // bits in a mask

} // namespace

extern "C" uint32_t str2num(char *list)
{
    uint32_t mask = 0;
    if (list == nullptr)
        return mask;
    char *rest = nullptr;
    for (char *text = strtok_r(list, ",", &rest); text != nullptr;
         text = strtok_r(nullptr, ",", &rest)) {
        int32_t port = 0;
        static_cast<void>(decimalRead(text, port)); // text without digits counts as 0
        if (port >= 0 && port < ports)
            mask |= 1u << port;
    }
    return mask;
}
