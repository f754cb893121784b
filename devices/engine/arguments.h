// The arguments of one tool call and how they are read: whole words only, checked for
// range, and with a message that names a wrong argument.
#pragma once

#include "devices/engine/state.h"

#include <cstdint>

namespace engine {

struct Host;

constexpr int maxArguments = 16;

// What a tool prints. Both texts end in a newline or are empty.
struct Reply {
    char output[128];
    char error[256];
};

struct Arguments {
    const char *tool;
    const char *values[maxArguments];
    int count;
    Reply *reply;
    const Host *host;

    bool is(int at, const char *word) const;

    // Each reads argument `at`, which the message calls `name`. On failure, returns
    // false with the message in the reply and leaves the result alone.
    bool decimal(int at, const char *name, uint32_t lowest, uint32_t highest,
                 uint32_t &result) const;
    bool prefixedHex(int at, const char *name, uint32_t highest, uint32_t &result) const;
    bool plainHex(int at, const char *name, uint32_t &result) const;
    bool address(int at, const char *name, uint32_t &result) const;
    bool mac(int at, const char *name, Mac &result) const;

    [[gnu::format(printf, 2, 3)]] int fail(const char *format, ...) const;
};

// Exit statuses of the tools.
constexpr int badArguments = 1; // wrong number, form or range
constexpr int refused = 2;      // well-formed, but not possible in this state
constexpr int noState = 3;      // the state file cannot be used

// Takes up to maxArguments words and drops empty ones: an unset address in a command
// line means that the word is missing. False if there are more.
bool collect(Arguments &arguments, int count, const char *const *words);

} // namespace engine
