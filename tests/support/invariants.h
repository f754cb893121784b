// What must hold whenever the service is not at work.
#pragma once

#include <set>
#include <string>

// Each listed switch hands commands on and has a backend, each object is in one
// list, that of its owner, numbers and names are unique, look-ups find what lists
// hold, and what the library holds is reachable, but for the blocks in
// `abandoned`. Returns what does not hold, or the empty text.
std::string brokenInvariant(const std::set<const void *> &abandoned = {});

// Blocks of the library to which no list leads.
std::set<const void *> unreachedBlocks();
