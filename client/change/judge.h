// What a look at the gateway makes of a change's last word.
#pragma once

#include "client/change/carry_out.h"

#include <string>

namespace swctl {

// What a fresh start from these rows would give.
Target targetOfStart(const GatewayView &gateway, Snapshot &snapshot);

// "a start of the service would stop at row 2 of vlanEncapIf", and why.
std::string stoppedText(const StoppedAt &stopped);

void addNote(Verdict &verdict, const std::string &text);

// Takes over what was settled and what could not be read: `otherwise` where nothing
// is left that differs, and differs else.
void judge(Verdict &verdict, Settled settled, Word otherwise);

} // namespace swctl
