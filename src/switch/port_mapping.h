// Mapping ports onto ports of lower switches, which builds the hierarchy of switches.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Maps `port` onto the ports in the text, which has comma-separated entries "switchName:number"
// and is modified by parsing. Returns 0, or the negative result of the first entry that fails;
// earlier entries stay mapped.
[[nodiscard]] SWMGR_API int switchPortMapInit(SwitchPort *port, char *mapping);

// Maps `port` onto one port and places that port's switch below the switch of `port`. Returns
// 0; -1 if either is null; -12 if memory runs out.
[[nodiscard]] SWMGR_API int switchPortMappedListAppend(SwitchPort *port, SwitchPort *mapped);
}

// Releases the mappings of a port that was never listed.
void switchPortMappingsFree(SwitchPort &port);
