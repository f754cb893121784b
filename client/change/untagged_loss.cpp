#include "client/change/untagged_loss.h"

#include "client/base/port_mask.h"
#include "client/rows/columns.h"

namespace swctl {
namespace {

uint32_t untaggedPorts(Database &database)
{
    uint32_t ports = 0;
    for (const Row &row : database.rows(vlanTableName))
        ports |= maskOf(row.text("untagMap"));
    return ports;
}

} // namespace

std::vector<std::string> untaggedLosses(Database &before, Database &after)
{
    std::vector<std::string> lines;
    for (const int port : portsIn(untaggedPorts(before) & ~untaggedPorts(after)))
        lines.push_back("port " + std::to_string(port) +
                        " is now untagged in no VLAN: its untagged frames are dropped");
    return lines;
}

} // namespace swctl
