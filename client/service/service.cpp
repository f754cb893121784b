#include "client/service/service.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/base/wire.h"
#include "common/clock.h"
#include "platform/relay.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>

namespace swctl {
namespace {

constexpr int relayWaitMode = 1; // makes relayIoctl wait for the answer

bool asksOnce = false;
int64_t wholeEnd = 0; // of all answers together, ms of the monotonic clock; 0: no such limit
void (*waiting)(int module, bool begins) = nullptr;
std::set<int> silentModules; // that let a timeout pass

std::string whyNot(int module, int result)
{
    const char *name = module == LOGGING_RELAY_MODULE_ID ? "log daemon" : "switch manager";
    const char *directory = getenv("RELAY_DIR");
    const char *advice = result == -ENOENT || result == -ECONNREFUSED ? "is it running?"
                         : result == -EACCES                          ? "this user may not connect"
                         : result == -ETIMEDOUT                       ? "it does not answer"
                         : result == -ECONNRESET                      ? "it ended before answering"
                                                                      : "try again";
    return "the " + std::string(name) + " cannot be reached (relay module " +
           std::to_string(module) + (directory != nullptr ? " in " + printable(directory) : "") +
           ": " + strerror(-result) + "); " + advice;
}

} // namespace

void useRelayDirectory(const std::string &directory)
{
    if (!directory.empty())
        setenv("RELAY_DIR", directory.c_str(), /*overwrite=*/1);
}

void limitAnswers(int seconds, bool once)
{
    asksOnce = once;
    setenv("RELAY_TIMEOUT", std::to_string(std::max(seconds, 1)).c_str(), /*overwrite=*/1);
}

void limitWhole(int seconds)
{
    wholeEnd = millisecondsNow(CLOCK_MONOTONIC) + int64_t{seconds} * 1000;
    limitAnswers(seconds);
}

int secondsLeft(int otherwise)
{
    if (wholeEnd == 0)
        return otherwise;
    const int64_t left = wholeEnd - millisecondsNow(CLOCK_MONOTONIC);
    return left <= 0 ? 0 : static_cast<int>((left + 999) / 1000);
}

void watchWaiting(void (*waits)(int module, bool begins))
{
    waiting = waits;
}

int exchange(int module, int requestType, std::string_view data, std::string &buffer)
{
    if (silentModules.contains(module))
        throw Unanswered(whyNot(module, -ETIMEDOUT));
    if (wholeEnd != 0) {
        if (secondsLeft(0) == 0)
            throw Failure(exitUnreachable, "the time given with --wait is over");
        limitAnswers(secondsLeft(0), asksOnce);
    }
    std::string sent(data); // relayIoctl takes a writable buffer
    auto length = static_cast<uint32_t>(buffer.size());
    if (waiting != nullptr)
        waiting(module, true);
    errno = 0;
    const int result =
        relayIoctl(/*ctx=*/nullptr, module, requestType, sent.empty() ? nullptr : sent.data(),
                   static_cast<int>(sent.size()), buffer.empty() ? nullptr : buffer.data(),
                   buffer.empty() ? nullptr : &length, relayWaitMode, /*arg1=*/0, /*arg2=*/0);
    if (const int reason = errno; waiting != nullptr) {
        waiting(module, false);
        errno = reason;
    }
    // relayIoctl returns the handler's result and sets errno to 0; without an answer it sets
    // errno to the reason.
    if (result < 0 && errno != 0) {
        const std::string reason = whyNot(module, result);
        if (asksOnce && result == -ETIMEDOUT)
            silentModules.insert(module);
        if (result == -ECONNRESET || result == -ETIMEDOUT)
            throw Unanswered(reason);
        throw Failure(exitUnreachable, reason);
    }
    buffer.resize(std::min<size_t>(length, buffer.size()));
    return result;
}

int ask(int module, int requestType, std::string_view data, std::string_view buffer)
{
    std::string reply(buffer);
    return exchange(module, requestType, data, reply);
}

void askNothing(int rowId)
{
    SwMgrDbEvent event{};
    fillField(event.tableName, markerTable);
    event.rowId = rowId;
    event.opCode = SWMGR_DB_DELETE;
    static_cast<void>(ask(SWMGR_RELAY_MODULE_ID, SWMGR_MSG_DB_EVENT, bytesOf(event)));
}

bool serviceAnswers()
{
    try {
        askNothing(/*rowId=*/0);
        return true;
    } catch (const Failure &) {
        return false;
    }
}

std::string switchRequest(const std::string &switchName, std::string_view payload)
{
    SwMgrSwitchCmdRequest request{};
    fillField(request.switchName, switchName);
    memcpy(request.payload, payload.data(), payload.size());
    return std::string(bytesOf(request));
}

int askSwitch(const std::string &switchName, int command, std::string_view payload)
{
    return ask(SWMGR_RELAY_MODULE_ID, command, switchRequest(switchName, payload));
}

std::string statusInWords(int status)
{
    struct Meaning {
        int status;
        const char *words;
    };
    static constexpr Meaning meanings[] = {
        {SWMGR_STATUS_OK, "done"},
        {SWMGR_STATUS_FAILED, "failed"},
        {SWMGR_STATUS_INVALID, "refused as invalid"},
        {SWMGR_STATUS_NO_MEMORY, "the service is out of memory"},
        {SWMGR_STATUS_UNSUPPORTED, "this interface event is not supported"},
    };
    for (const Meaning &meaning : meanings)
        if (meaning.status == status)
            return std::to_string(status) + " (" + meaning.words + ")";
    // Other negative answers come from the hardware as errno values.
    return std::to_string(status) + " (" + printable(strerror(-status)) + ")";
}

} // namespace swctl
