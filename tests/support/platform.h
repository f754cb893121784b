// A platform that records instead of acting. It is part of the test program, so its
// symbols override those of librelay.so and libsal.so; libswmgr.so runs unchanged. Every
// call becomes one line of text, and answers can be scripted.
#pragma once

#include "platform/relay.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace platform {

using Bytes = std::vector<uint8_t>;

// Answers the calls whose line contains `match` with `result`: all of them, or
// only the nth (from 1). `reply` is copied over the beginning of an ioctl's record.
void answer(const std::string &match, int result, int nth = 0, Bytes reply = {});

// Forgets the scripted answers, so that calls get their defaults again. Returns a line for
// each answer that was never used.
std::string answerAsUsual();

// The lines recorded since the last call of either, one per call. A line break
// inside a text shows as \n.
std::string everything();
void forget();

// Adds a line of the test's own to the record, or a call that can be answered.
void note(const std::string &lines);
int called(const std::string &line, int result);

// The log record with all its bytes: what relayIoctl received last.
struct LogSent {
    RelayCtx *ctx;
    int module, type, mode, arg1, arg2;
    Bytes record;
    std::string text;
    uint32_t length;
};
const LogSent &lastLog();

// The contents of /proc/uptime and other files; a file without content is missing.
void fileContent(const std::string &path, const std::string &content);

// relayListen runs these in order, one per call; after the last one it clears
// swMgrInitialized. Negative ones can be scripted with answer("relayListen").
void onListen(std::function<void()> body);

// The registered handler.
RelayHandler handler();

// Called before each call is answered, with its line and its default result; it
// returns the result to use. The fault test injects from here.
using Intercept = std::function<int(const std::string &line, int result)>;
void intercept(Intercept hook);

// The library's allocations: address and size. Empty if its calls are recognised by their
// address and a sanitizer has the allocator.
struct Block {
    const void *address;
    size_t size;
};
std::vector<Block> blocksHeld();
void blocksForget();

// Whether calls are recorded if the library is part of the program itself.
void watch(bool on);

// Files that the library has opened and not closed.
int filesOpen();

// Connections to databases that the library has opened and not closed.
int connectionsOpen();

// Result tables and query texts that the library has not released.
int sqliteHeld();

} // namespace platform
