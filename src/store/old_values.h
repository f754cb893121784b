// The old values of a changed row as carried by an update event: a block of null-terminated
// strings, first the column names, then the values.
#pragma once

#include "platform/releaser.h"

#include <cstdint>

struct OldValues {
    char *block;     // or null
    uint32_t length; // bytes; 0 without a block

    [[nodiscard]] bool present() const { return length != 0; }

    // Whether the last string ends within the block. The block must not be empty.
    [[nodiscard]] bool terminated() const { return block[length - 1] == '\0'; }

    // The number of strings; `position` is set to where counting stopped. The block must be
    // terminated, or empty.
    [[nodiscard]] int count(uint32_t &position) const;

    // A table of one row whose entries point into the block; null if memory runs out. The block
    // must contain 2 x nCols strings.
    [[nodiscard]] PointerArray tableBuild(int nCols) const;
};
