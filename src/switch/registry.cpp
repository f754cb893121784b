// Owns the switch list, tracks the levels, and finds switches and ports.
#include "switch/registry.h"

#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "platform/list_of.h"
#include "platform/text.h"
#include "switch/command.h"

#include <cstdlib>

constinit SalList switchTbl = {}; // set by switchLibInit and by additions

namespace {

constinit int32_t switchTopLevel = 0; // highest level of any switch ever created
constinit uint32_t switchCount = 0;   // switches added since switchLibInit

} // namespace

uint32_t switchNextIndexTake()
{
    return ++switchCount;
}

extern "C" int switchLibInit(void)
{
    salListInit(&switchTbl);
    switchCount = 0;
    return 0;
}

extern "C" int switchLibDeinit(void)
{
    return 0;
}

extern "C" Switch *switchCreate(const SwitchGlobalCfg *cfg)
{
    if (cfg == nullptr)
        return nullptr;
    LOG_INFO(noLabel, "Creating %s Switch \n", cfg->switchName);
    if (switchByNameGet(cfg->switchName) != nullptr) {
        LOG_ERROR(noLabel, "There is a switch created already for this name\n");
        return nullptr;
    }
    auto *sw = static_cast<Switch *>(calloc(1, sizeof(Switch)));
    if (sw == nullptr)
        return nullptr;

    textCopy(sw->switchName, cfg->switchName);
    textCopy(sw->switchDevice, cfg->switchDevice);
    sw->qosEnable = cfg->qosEnable;
    sw->vlanEnable = cfg->vlanEnable;
    sw->pauseFrameEnable = cfg->pauseFrameEnable;
    sw->igmpSnoopingEnable = cfg->igmpSnoopingEnable;
    sw->mldSnoopingEnable = cfg->mldSnoopingEnable;
    sw->numPorts = cfg->numPorts;
    sw->switchLevel = cfg->switchLevel;
    if (sw->switchLevel > switchTopLevel)
        switchTopLevel = sw->switchLevel;
    return sw;
}

extern "C" int switchDestroy(Switch *)
{
    return 0;
}

extern "C" Switch *switchByNameGet(const char *name)
{
    if (name == nullptr)
        return nullptr;
    for (Switch &sw : ListOf<Switch>(switchTbl))
        if (strcmp(sw.switchName, name) == 0)
            return &sw;
    return nullptr;
}

extern "C" Switch *switchAtTopLevelGet(void)
{
    for (Switch &sw : ListOf<Switch>(switchTbl))
        if (sw.switchLevel == switchTopLevel)
            return &sw;
    return nullptr;
}

extern "C" Switch *switchLowerLvlSwitchByNameGet(Switch *sw, const char *name)
{
    if (sw == nullptr || name == nullptr)
        return nullptr;
    for (const SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(sw->lowerLvlSwitchList))
        if (strcmp(node.lower->switchName, name) == 0)
            return node.lower;
    return nullptr;
}

extern "C" int switchLowerLvlSwitchListAppend(Switch *sw, Switch *lower)
{
    if (sw == nullptr || lower == nullptr)
        return statusFailed;
    if (switchLowerLvlSwitchByNameGet(sw, lower->switchName) != nullptr) {
        LOG_DEVELOPER(noLabel, "This switch(%s) is already present in (%s) lower levelswitches \n",
                      sw->switchName, lower->switchName);
        return 0;
    }
    auto *node = static_cast<SwitchLowerLvlNode *>(calloc(1, sizeof(SwitchLowerLvlNode)));
    if (node == nullptr)
        return statusNoMemory;
    node->lower = lower;
    salListNodeAppend(&sw->lowerLvlSwitchList, &node->link);
    return 0;
}

extern "C" SwitchPort *switchPortByNumberGet(Switch *sw, int number)
{
    if (sw == nullptr)
        return nullptr;
    for (SwitchPort &port : ListOf<SwitchPort>(sw->portList))
        if (port.portNumber == number)
            return &port;
    return nullptr;
}

extern "C" SwitchPort *switchPortByNumberAndSwitchNameGet(const char *name, int number)
{
    Switch *sw = switchByNameGet(name);
    if (sw == nullptr) {
        LOG_ERROR(noLabel, "%s switch is not yet created \n", name != nullptr ? name : "");
        return nullptr;
    }
    return switchPortByNumberGet(sw, number);
}

extern "C" int switchConfig(const SwMgrSwitchCmdRequest *request, int cmd, void *replyBuf,
                            uint32_t *replyLen)
{
    if (request == nullptr)
        return statusFailed;
    char name[sizeof(request->switchName) + 1]; // the request's field may lack a terminator
    textCopy(name, request->switchName);
    Switch *sw = switchByNameGet(name);
    if (sw == nullptr)
        return statusFailed;
    const int status =
        switchCommandSend(*sw, cmd, request->payload, commandAreaLength, replyBuf, replyLen);
    if (status < 0)
        LOG_ERROR(noLabel, "Failed to process cmd %d on %s \n", cmd, sw->switchName);
    return status;
}
