// The events of a rehearsal, in words.
#pragma once

#include "client/rehearse/rehearsal.h"

#include <string>

namespace swctl {

// "tool", "chip", "log", ...
const char *kindName(rehearsal::Kind kind);

std::string eventText(const Event &event);

// Something that a device, a tool or a file would notice.
bool isAction(rehearsal::Kind kind);

// "a start of the service would stop at row 2 of vlanEncapIf", and why.
std::string stoppedText(const StoppedAt &stopped);

} // namespace swctl
