// The switches of the gateway: one list, looked up by name and by level, and
// their ports, looked up by number.
#pragma once

#include "model/configuration.h"
#include "model/switch.h"
#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

extern "C" {
extern SWMGR_API SalList switchTbl; // Switch, in the order of adding

// Makes switchTbl empty and restarts the numbering of switches. The highest
// level seen so far is kept. Always 0.
SWMGR_API int switchLibInit(void);

// Does nothing: switches live as long as the process. Always 0.
SWMGR_API int switchLibDeinit(void);

// A new switch with the record's fields, not yet listed, or none: no record,
// name already listed, no memory.
[[nodiscard]] SWMGR_API Switch *switchCreate(const SwitchGlobalCfg *cfg);

// Does nothing: the object stays allocated and listed. Always 0.
SWMGR_API int switchDestroy(Switch *sw);

// The first listed switch of exactly that name, or none.
[[nodiscard]] SWMGR_API Switch *switchByNameGet(const char *name);

// The first listed switch at the highest level that any created switch had,
// or none.
[[nodiscard]] SWMGR_API Switch *switchAtTopLevelGet(void);

// The switch of that name among those below `sw`, or none.
[[nodiscard]] SWMGR_API Switch *switchLowerLvlSwitchByNameGet(Switch *sw, const char *name);

// Puts `lower` below `sw`, once. 0; -1 when either is none; -12 without memory.
[[nodiscard]] SWMGR_API int switchLowerLvlSwitchListAppend(Switch *sw, Switch *lower);

// The first port of `sw` with that number, or none.
[[nodiscard]] SWMGR_API SwitchPort *switchPortByNumberGet(Switch *sw, int number);

// The same on a switch given by its name; an unknown switch is reported.
[[nodiscard]] SWMGR_API SwitchPort *switchPortByNumberAndSwitchNameGet(const char *name,
                                                                       int number);

// Hands a relay request's command to the switch that it names, with the length
// of the whole payload area, 1300. -1 when no switch has that name, else the
// backend's result.
[[nodiscard]] SWMGR_API int switchConfig(const SwMgrSwitchCmdRequest *request, int cmd,
                                         void *replyBuf, uint32_t *replyLen);
}

// The number of the switch being added, counted from 1 since switchLibInit.
[[nodiscard]] uint32_t switchNextIndexTake();
