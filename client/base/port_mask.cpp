#include "client/base/port_mask.h"

#include "client/base/number.h"
#include "client/base/text.h"

namespace swctl {

std::vector<int> portsIn(uint32_t mask)
{
    std::vector<int> ports;
    for (int port = 0; port < maskPorts; ++port)
        if ((mask & portBit(port)) != 0)
            ports.push_back(port);
    return ports;
}

std::string listOf(uint32_t mask)
{
    std::string text;
    for (const int port : portsIn(mask))
        text += (text.empty() ? "" : ",") + std::to_string(port);
    return text;
}

uint32_t maskOf(const std::string &list)
{
    uint32_t mask = 0;
    for (const std::string &entry : entriesOf(list))
        mask |= portBit(toInt(entry));
    return mask;
}

} // namespace swctl
