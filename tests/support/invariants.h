// What must hold whenever the service is idle.
#pragma once

#include <set>
#include <string>

// Each listed switch passes commands on and has a backend, each object is only in its
// owner's list, numbers and names are unique, look-ups find what is in the lists, and all
// of the library's memory is reachable, except for the blocks in `abandoned`. Returns what
// does not hold, or an empty text.
std::string brokenInvariant(const std::set<const void *> &abandoned = {});

// Blocks of the library that are not reachable from any list.
std::set<const void *> unreachedBlocks();
