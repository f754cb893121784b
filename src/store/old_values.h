// The old values of a changed row, as an update event carries them: one block
// of null-terminated strings, first the column names, then the values.
#pragma once

#include "platform/releaser.h"

#include <cstdint>

struct OldValues {
    char *block;     // or none
    uint32_t length; // bytes; 0 without a block

    [[nodiscard]] bool present() const { return length != 0; }

    // Whether the last string ends within the block.
    [[nodiscard]] bool terminated() const { return block[length - 1] == '\0'; }

    // The number of strings; `position` receives where the count stopped. The
    // block must be terminated, or empty.
    [[nodiscard]] int count(uint32_t &position) const;

    // A table of one row over the block, which it points into; none without
    // memory. The block must hold 2 x nCols strings.
    [[nodiscard]] PointerArray tableBuild(int nCols) const;
};
