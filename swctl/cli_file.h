// Configuration files as arguments.
#pragma once

#include "swctl/call.h"

namespace swctl {

// Prints what 'apply' would change in the rows to match the file; exit status 4 if anything.
int diffWithFile(const Call &call);

} // namespace swctl
