// The mapping of a port onto ports of the switches below, which is what builds
// the hierarchy of switches.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Maps `port` onto the ports that the text names: entries "switchName:number",
// separated by commas. Parsing modifies the text. 0, or the negative result of the first
// entry that fails; earlier entries stay mapped.
[[nodiscard]] SWMGR_API int switchPortMapInit(SwitchPort *port, char *mapping);

// Maps `port` onto one port and puts that port's switch below the switch of
// `port`. 0; -1 when either is none; -12 without memory.
[[nodiscard]] SWMGR_API int switchPortMappedListAppend(SwitchPort *port, SwitchPort *mapped);
}

// Releases the mappings of a port that is being given up before it was listed.
void switchPortMappingsFree(SwitchPort &port);
