// Parses an old-values block without reading past its end.
#include "store/old_values.h"

#include <cstdlib>
#include <cstring>

int OldValues::count(uint32_t &position) const
{
    int strings = 0;
    position = 0;
    while (position < length) {
        position += static_cast<uint32_t>(strlen(block + position)) + 1;
        ++strings;
    }
    return strings;
}

PointerArray OldValues::tableBuild(int nCols) const
{
    const size_t strings = 2 * static_cast<size_t>(nCols);
    // One spare entry, so that a table without columns is not null.
    auto **table = static_cast<char **>(calloc(strings + 1, sizeof(char *)));
    if (table == nullptr)
        return nullptr;
    char *text = block;
    for (size_t s = 0; s < strings; ++s) {
        table[s] = text;
        text += strlen(text) + 1;
    }
    return PointerArray(table);
}
