// Text for the events of a rehearsal.
#pragma once

#include "client/rehearse/rehearsal.h"

#include <string>

namespace swctl {

// "tool", "chip", "log", ...
const char *kindName(rehearsal::Kind kind);

std::string eventText(const Event &event);

// Whether it affects a device, a tool or a file.
bool isAction(rehearsal::Kind kind);

// "a start of the service would stop at row 2 of vlanEncapIf", with the reason.
std::string stoppedText(const StoppedAt &stopped);

} // namespace swctl
