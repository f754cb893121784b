// Interface names end up in command lines that run as root, so names from outside are checked
// before they are used in one, and only then: a switch may be configured for an interface of
// any name.
#pragma once

// True if every character is a letter, a digit or one of _ . : @ -. The empty name is allowed,
// because a deleted row without old values has one.
[[nodiscard]] bool interfaceNameIsSafe(const char *name);
