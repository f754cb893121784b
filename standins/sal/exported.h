// The functions of the operating-system layer and the database helpers, visible outside
// the library; everything else in it is hidden.
#pragma once

#pragma GCC visibility push(default)
#include "platform/database.h"
#include "platform/sal.h"
#pragma GCC visibility pop
