// Creates and lists ports, and sends the commands that name a port.
#include "switch/port.h"

#include "base/labels.h"
#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "platform/list_of.h"
#include "platform/text.h"
#include "switch/command.h"
#include "switch/port_mapping.h"
#include "switch/registry.h"

#include <cstdlib>

namespace {

constinit uint32_t switchPortCount = 0; // ports added since the library was loaded

// A name of 64 characters fills the field, leaving no terminator.
void interfaceNameCopy(SwitchPort &port, const SwitchPortCfg &cfg)
{
    memcpy(port.interfaceName, cfg.interfaceName,
           strnlen(cfg.interfaceName, sizeof(cfg.interfaceName)));
}

SwitchPort *portAllocate(const SwitchPortCfg &cfg, Switch &sw)
{
    auto *port = static_cast<SwitchPort *>(calloc(1, sizeof(SwitchPort)));
    if (port == nullptr)
        return nullptr;
    port->portNumber = cfg.portNumber;
    port->ownerSwitch = &sw;
    port->PVID = cfg.PVID;
    port->portType = cfg.portType;
    port->trustMode = cfg.trustMode;
    port->mirroring = cfg.mirroring;
    interfaceNameCopy(*port, cfg);
    port->rateLimit = cfg.rateLimit;
    port->schedMode = cfg.schedMode;
    port->numQueues = cfg.numQueues;
    port->queue1Weight = cfg.queue1Weight;
    port->queue2Weight = cfg.queue2Weight;
    port->queue3Weight = cfg.queue3Weight;
    port->queue4Weight = cfg.queue4Weight;
    return port;
}

} // namespace

extern "C" int switchPortConfAdd(const SwitchPortCfg *cfg)
{
    SwitchPort *port = switchPortCreate(cfg);
    if (port == nullptr) {
        LOG_ERROR(noLabel, "Failed to create switch port configuration \n");
        return statusFailed;
    }
    port->portIndex = ++switchPortCount;
    salListNodeAppend(&port->ownerSwitch->portList, &port->link);
    const int status = switchPortCfgApply(port->ownerSwitch, port);
    if (status < 0) {
        LOG_ERROR(swPortStrGet(port), "Failed to apply switch port configuration \n");
        return status;
    }
    LOG_INFO(swPortStrGet(port), "Added switch port configuration.\n");
    return 0;
}

extern "C" SwitchPort *switchPortCreate(const SwitchPortCfg *cfg)
{
    if (cfg == nullptr)
        return nullptr;
    LOG_DEVELOPER(noLabel, "Creating %d port in %s \n", cfg->portNumber, cfg->switchName);
    Switch *sw = switchByNameGet(cfg->switchName);
    if (sw == nullptr) {
        LOG_ERROR(noLabel, "%s switch is not yet created \n", cfg->switchName);
        return nullptr;
    }
    const SwitchPort *taken = switchPortByNumberGet(sw, cfg->portNumber);
    if (taken != nullptr) {
        LOG_ERROR(swPortStrGet(taken), "There is a switch port created already for this name\n");
        return nullptr;
    }
    SwitchPort *port = portAllocate(*cfg, *sw);
    if (port == nullptr)
        return nullptr;
    char mapping[sizeof(cfg->phyDevice)]; // modified by parsing
    textCopy(mapping, cfg->phyDevice);
    if (switchPortMapInit(port, mapping) < 0) {
        LOG_ERROR(swPortStrGet(port), "Failed to initiate port mappings \n");
        switchPortMappingsFree(*port);
        free(port);
        return nullptr;
    }
    return port;
}

extern "C" int switchPortDestroy(void)
{
    return 0;
}

extern "C" int switchPortDeinit(const SwitchPortCfg *cfg)
{
    if (cfg == nullptr)
        return statusInvalid;
    SwitchPort *port = switchPortByNumberAndSwitchNameGet(cfg->switchName, cfg->portNumber);
    if (port == nullptr) {
        LOG_ERROR(noLabel, "Failed to find switch profile for %s \n", cfg->switchName);
        return statusInvalid;
    }
    const int status = switchPortDestroy();
    if (status < 0) {
        LOG_ERROR(swPortStrGet(port), "Failed to destroy the port %d in switch %s \n",
                  cfg->portNumber, cfg->switchName);
        return status;
    }
    return 0;
}

extern "C" int switchPortCfgApply(Switch *sw, SwitchPort *port)
{
    if (sw == nullptr)
        return statusInvalid;
    for (SwitchPort &listed : ListOf<SwitchPort>(sw->portList)) {
        if (port != nullptr && port != &listed)
            continue;
        const int status = switchPortTrustModeConfigure(&listed);
        if (status < 0) {
            LOG_ERROR(swPortStrGet(&listed), "Failed to configure trust mode of port (%d)",
                      listed.portNumber);
            return status;
        }
    }
    return 0;
}

extern "C" int switchPortTrustModeConfigure(SwitchPort *port)
{
    if (port == nullptr)
        return statusInvalid;
    Switch &sw = *port->ownerSwitch;
    SwCmdTrustMode mode{};
    mode.portNumber = port->portNumber;
    mode.trustMode = port->trustMode;
    const int status = switchCommandSend(sw, SW_CMD_TRUST_MODE, &mode, sizeof(mode));
    if (status < 0)
        LOG_ERROR(noLabel, "Failed to configure trustmode on port%d in %s\n", port->portNumber,
                  sw.switchName);
    return status;
}

extern "C" int switchPortVlanInfoConfigure(Switch *sw, SwitchPort *port)
{
    if (sw == nullptr)
        return statusInvalid;
    const int status = switchCommandSend(*sw, SW_CMD_PORT_CONFIG_SET, port, switchPortRecordLength);
    if (status < 0)
        LOG_ERROR(noLabel, "Failed to configure port%d in %s\n",
                  port != nullptr ? port->portNumber : int{SWMGR_EVERY_PORT}, sw->switchName);
    return status;
}
