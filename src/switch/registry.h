// The gateway's switches in one list, looked up by name and by level, and their ports, looked
// up by number.
#pragma once

#include "model/configuration.h"
#include "model/switch.h"
#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

extern "C" {
extern SWMGR_API SalList switchTbl; // of Switch, in order of addition

// Empties switchTbl and restarts the numbering of switches, but keeps the highest level seen so
// far. Always returns 0.
SWMGR_API int switchLibInit(void);

// Does nothing: switches live as long as the process. Always returns 0.
SWMGR_API int switchLibDeinit(void);

// Creates a switch with the record's fields, not yet listed. Null if the record is null, the
// name is already listed, or memory runs out.
[[nodiscard]] SWMGR_API Switch *switchCreate(const SwitchGlobalCfg *cfg);

// Does nothing: the object stays allocated and listed. Always returns 0.
SWMGR_API int switchDestroy(Switch *sw);

// The first listed switch with exactly that name, or null.
[[nodiscard]] SWMGR_API Switch *switchByNameGet(const char *name);

// The first listed switch at the highest level that any created switch had, or null.
[[nodiscard]] SWMGR_API Switch *switchAtTopLevelGet(void);

// The switch with that name among those below `sw`, or null.
[[nodiscard]] SWMGR_API Switch *switchLowerLvlSwitchByNameGet(Switch *sw, const char *name);

// Places `lower` below `sw`, once. Returns 0; -1 if either is null; -12 if memory runs out.
[[nodiscard]] SWMGR_API int switchLowerLvlSwitchListAppend(Switch *sw, Switch *lower);

// The first port of `sw` with that number, or null.
[[nodiscard]] SWMGR_API SwitchPort *switchPortByNumberGet(Switch *sw, int number);

// The same for a switch given by name; an unknown switch is logged.
[[nodiscard]] SWMGR_API SwitchPort *switchPortByNumberAndSwitchNameGet(const char *name,
                                                                       int number);

// Passes a relay request's command to the switch that it names, with the length of the whole
// payload area, 1300. Returns -1 if no switch has that name, else the backend's result.
[[nodiscard]] SWMGR_API int switchConfig(const SwMgrSwitchCmdRequest *request, int cmd,
                                         void *replyBuf, uint32_t *replyLen);
}

// The number of the switch being added, counted from 1 since switchLibInit.
[[nodiscard]] uint32_t switchNextIndexTake();
