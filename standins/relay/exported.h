// The messaging functions, visible outside the library; everything else in it is hidden.
// Included by the files that define them.
#pragma once

#pragma GCC visibility push(default)
#include "platform/relay.h"
#pragma GCC visibility pop
