// Interface names end up in command lines that run as root, so a name from
// outside is looked at before anything is done with it.
#pragma once

// True when every character is a letter, a digit or one of _ . : @ -. The empty
// name is allowed: a deleted row without old values has one.
[[nodiscard]] bool interfaceNameIsSafe(const char *name);
