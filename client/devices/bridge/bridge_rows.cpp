// The rules that a bridge adds for rows.
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/devices/bridge/bridge_device.h"

namespace swctl {
namespace {

constexpr Rule rules[] = {
    {switchTableName, "bridge-kernel", Severity::error,
     "the kernel's bridges have no VLAN filtering",
     "Membership, tags and the VLAN of untagged frames depend on the kernel's VLAN filtering; a "
     "bridge without it ignores VLANs when it forwards, and a start stops at its row.",
     "Use a kernel with CONFIG_BRIDGE_VLAN_FILTERING."},
    {portTableName, "bridge-port-interface", Severity::error,
     "a bridge port needs a network interface of its own",
     "A bridge port is the interface that its row names; one that does not exist, or that two "
     "rows name, cannot join the bridge, and a start stops at its row.",
     "Name the port's own interface, e.g. 'swctl port set BRIDGE 1 --interface lan1'."},
};

constexpr Guard guards[] = {
    {"bridge-port-interface", portTableName,
     "NEW.switchName = $self AND (length(ifnull(NEW.interfaceName, '')) NOT BETWEEN 1 AND 15\n"
     "      OR NEW.interfaceName LIKE '-%' OR EXISTS (SELECT 1 FROM swPortConfig o WHERE\n"
     "      o.rowid <> NEW.rowid AND o.switchName = $self AND\n"
     "      o.interfaceName = NEW.interfaceName))"},
};

std::string interfaceOf(const Configuration &all, size_t row)
{
    return all.portTable.rows[row].text("interfaceName");
}

bool isOfBridge(const PortRow &port)
{
    return port.owner == bridgeDevice().name;
}

void checkPort(const Configuration &all, const Surroundings &where, size_t row,
               std::vector<RowFault> &faults)
{
    const auto add = [&](const std::string &subject, std::string message) {
        faults.push_back(
            {"bridge-port-interface", &all.portTable, row, subject, std::move(message)});
    };
    const std::string name = interfaceOf(all, row);
    if (name.empty() || name.size() > longestInterfaceName || name.front() == '-') {
        add("",
            "'" + printable(name) + "' is not the name of an interface that could join the bridge");
        return;
    }
    for (size_t i = 0; i < row; ++i)
        if (isOfBridge(all.ports[i]) && interfaceOf(all, i) == name)
            add("", "an earlier row already uses the interface " + printable(name));
    if (where.interfaces && !where.interfaces->contains(name))
        add(name, "there is no interface " + printable(name) + " on this machine");
}

} // namespace

std::span<const Rule> bridgeRules()
{
    return rules;
}

std::span<const Guard> bridgeGuards()
{
    return guards;
}

void checkBridgeRows(const Configuration &all, const Surroundings &where,
                     std::vector<RowFault> &faults)
{
    for (size_t row = 0; row < all.switches.size(); ++row)
        if (all.switches[row].name == bridgeDevice().name &&
            where.unsupported.contains(bridgeDevice().name))
            faults.push_back({"bridge-kernel", &all.switchTable, row, "",
                              "this machine's kernel has no VLAN filtering for bridges"});
    for (size_t row = 0; row < all.ports.size(); ++row)
        if (isOfBridge(all.ports[row]))
            checkPort(all, where, row, faults);
}

// Every port in a VLAN's lists needs a row of the bridge.
void checkBridgeLists(const Configuration &all, std::vector<RowFault> &faults)
{
    uint32_t rows = 0;
    for (const PortRow &port : all.ports)
        if (isOfBridge(port))
            rows |= portBit(port.number);
    for (size_t row = 0; row < all.vlans.size(); ++row) {
        const VlanRow &vlan = all.vlans[row];
        for (const int port : portsIn(vlan.members.mask & ~rows)) {
            const std::string number = std::to_string(port);
            faults.push_back(
                {"port-missing", &all.vlanTable, row, "fwdMap " + number,
                 "port " + number +
                     " in fwdMap is not a port of the bridge; the service refuses the VLAN"});
        }
        checkUntagged(all, row, vlan.members.mask, bridgeDevice().portCount, faults);
    }
}

} // namespace swctl
