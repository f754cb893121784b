// Walks everything reachable from the list of switches.
#include "support/invariants.h"

#include "support/platform.h"

#include "model/switch.h"
#include "model/vlan.h"
#include "platform/list_of.h"
#include "store/database.h"
#include "switch/registry.h"
#include "vlan/vlan.h"

namespace {

struct Walk {
    Walk()
    {
        for (Switch &sw : ListOf<Switch>(switchTbl))
            visit(sw);
    }

    void require(bool holds, const char *name, const char *what)
    {
        if (!holds && broken.empty())
            broken = std::string(name) + what;
    }

    void add(const Switch &sw, const void *block)
    {
        require(reached.insert(block).second, sw.switchName, ": an object is in two lists");
    }

    void visit(Switch &sw)
    {
        const char *name = sw.switchName;
        add(sw, &sw);
        require(sw.lowerLvlCfgEnable == 1, name, " does not hand commands on");
        require(sw.configFunc != nullptr, name, " has no backend");
        require(names.insert(name).second, name, " names two switches");
        for (SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(sw.lowerLvlSwitchList)) {
            add(sw, &node);
            require(node.lower != &sw, name, " is below itself");
        }
        std::set<int32_t> numbers;
        for (SwitchPort &port : ListOf<SwitchPort>(sw.portList)) {
            visit(sw, port);
            require(numbers.insert(port.portNumber).second, name, ": a port number is used twice");
        }
        for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw.vlanList)) {
            add(sw, &vlan);
            require(vlan.ownerSwitch == &sw, name, ": a VLAN is in a list of another switch");
            require(vlan.vlanIndex > 0, name, ": a VLAN has no index");
        }
    }

    void visit(Switch &sw, SwitchPort &port)
    {
        const char *name = sw.switchName;
        add(sw, &port);
        require(port.ownerSwitch == &sw, name, ": a port is in a list of another switch");
        require(indices.insert(port.portIndex).second, name, ": a port index is used twice");
        for (SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(port.mappedList)) {
            add(sw, &node);
            require(node.mapped->ownerSwitch != &sw, name, ": a port is mapped within its switch");
        }
    }

    std::string broken;
    std::set<const void *> reached;
    std::set<std::string> names;
    std::set<uint32_t> indices;
};

} // namespace

std::string brokenInvariant(const std::set<const void *> &abandoned)
{
    Walk walk;
    // A switch is never freed, whether its set-up succeeded or failed.
    for (const platform::Block &block : platform::blocksHeld())
        walk.require(walk.reached.count(block.address) == 1 ||
                         abandoned.count(block.address) == 1 || block.size == sizeof(Switch),
                     "", "a block of the library is lost");
    walk.require(platform::sqliteHeld() == 0, "", "a result table or a query text is lost");
    walk.require(platform::connectionsOpen() == (pDB != nullptr ? 1 : 0), "",
                 "a connection to the database is lost");
    walk.require(platform::filesOpen() == 0, "", "a file stays open");
    return walk.broken;
}

std::set<const void *> unreachedBlocks()
{
    const Walk walk;
    std::set<const void *> unreached;
    for (const platform::Block &block : platform::blocksHeld())
        if (walk.reached.count(block.address) == 0)
            unreached.insert(block.address);
    return unreached;
}
