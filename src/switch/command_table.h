// Tables of the commands that a backend supports.
#pragma once

#include "model/switch.h"

#include <cstddef>

struct BackendCommand {
    int code;
    uint32_t length;     // exact length that the sender must declare, or anyLength
    const char *message; // logged on arrival, with one %d for the code
    int (*run)(Switch *sw, const void *payload);

    static constexpr uint32_t anyLength = 0;

    [[nodiscard]] bool accepts(uint32_t payloadLen) const
    {
        return length == anyLength || length == payloadLen;
    }
};

template <size_t N>
constexpr bool codesAreUnique(const BackendCommand (&commands)[N])
{
    for (size_t i = 0; i < N; ++i) {
        for (size_t j = 0; j < i; ++j)
            if (commands[i].code == commands[j].code)
                return false;
    }
    return true;
}

// The row for a code, or null.
template <size_t N>
const BackendCommand *commandOf(const BackendCommand (&commands)[N], int code)
{
    for (const BackendCommand &command : commands)
        if (command.code == code)
            return &command;
    return nullptr;
}
