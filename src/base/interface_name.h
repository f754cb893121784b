// Interface names end up in command lines that run as root, so a name from
// outside is looked at before it becomes part of one, and only then: a switch may be
// configured for an interface of any name.
#pragma once

// True when every character is a letter, a digit or one of _ . : @ -. The empty
// name is allowed: a deleted row without old values has one.
[[nodiscard]] bool interfaceNameIsSafe(const char *name);
