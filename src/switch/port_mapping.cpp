// Parses mappings and links ports of adjacent levels.
#include "switch/port_mapping.h"

#include "base/labels.h"
#include "base/log.h"
#include "model/status.h"
#include "platform/list_of.h"
#include "platform/number.h"
#include "switch/registry.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t longestSwitchName = 63;

// One entry of a mapping.
struct Entry {
    const char *switchName;
    int32_t portNumber;
    bool wellFormed; // with a colon, a number, and a name that fits
};

// Splits an entry at its first colon, in place.
Entry entryRead(char *text)
{
    Entry entry{text, 0, false};
    char *colon = strchr(text, ':');
    if (colon != nullptr)
        *colon = '\0';
    entry.wellFormed = colon != nullptr && decimalRead(colon + 1, entry.portNumber) &&
                       strlen(text) <= longestSwitchName;
    return entry;
}

// A malformed entry, or one that maps a port onto its own switch and so would make commands
// loop for ever, is treated like an unknown switch.
Switch *switchBelow(const SwitchPort &port, const Entry &entry)
{
    Switch *lower = entry.wellFormed ? switchByNameGet(entry.switchName) : nullptr;
    return lower != port.ownerSwitch ? lower : nullptr;
}

int entryMap(SwitchPort &port, const Entry &entry, const char *func)
{
    Switch *lower = switchBelow(port, entry);
    if (lower == nullptr) {
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__, "Failed to get the switch entry for %s \n",
               entry.switchName);
        return statusFailed;
    }
    SwitchPort *mapped = switchPortByNumberGet(lower, entry.portNumber);
    if (mapped == nullptr) {
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__,
               "Failed to get the switch port for %d in %s \n", entry.portNumber, entry.switchName);
        return statusFailed;
    }
    return switchPortMappedListAppend(&port, mapped);
}

} // namespace

extern "C" int switchPortMapInit(SwitchPort *port, char *mapping)
{
    if (port == nullptr)
        return statusFailed;
    salListInit(&port->mappedList);
    if (mapping == nullptr)
        return 0;

    char *rest = nullptr;
    for (char *text = strtok_r(mapping, ",", &rest); text != nullptr;
         text = strtok_r(nullptr, ",", &rest)) {
        const int status = entryMap(*port, entryRead(text), __func__);
        if (status < 0) {
            LOG_ERROR(swPortStrGet(port), "Failed to update port mapping for port%d in %s \n",
                      port->portNumber, port->ownerSwitch->switchName);
            return status;
        }
    }
    return 0;
}

extern "C" int switchPortMappedListAppend(SwitchPort *port, SwitchPort *mapped)
{
    if (port == nullptr || mapped == nullptr)
        return statusFailed;
    auto *node = static_cast<SwitchLowerLvlNode *>(calloc(1, sizeof(SwitchLowerLvlNode)));
    if (node == nullptr)
        return statusNoMemory;
    LOG_DEVELOPER(swPortStrGet(port), "Mapping %s:%d to %s:%d \n", mapped->ownerSwitch->switchName,
                  mapped->portNumber, port->ownerSwitch->switchName, port->portNumber);
    node->mapped = mapped;
    salListNodeAppend(&port->mappedList, &node->link);
    return switchLowerLvlSwitchListAppend(port->ownerSwitch, mapped->ownerSwitch);
}

void switchPortMappingsFree(SwitchPort &port)
{
    for (SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(port.mappedList)) {
        salListNodeRemove(&port.mappedList, &node.link);
        free(&node);
    }
}
