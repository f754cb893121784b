// Recognises the lines of requests and tools by their beginnings.
#include "standins/logd/counters.h"

#include "common/log_rank.h"
#include "standins/logd/ring.h"

#include <cerrno>
#include <cstring>
#include <string_view>

namespace logd {

namespace {

// Written by counterNote, on the daemon's only thread.
constinit SwMgrLogCounters counters = {};

// A line about a request. One that is refused before its kind is known has a line that
// says both.
struct RequestLine {
    std::string_view begin;
    SwMgrLogRequests SwMgrLogCounters::*kind;
    bool received;
    bool refused;
};
constexpr RequestLine requestLines[] = {
    {"Received interface event=", &SwMgrLogCounters::interfaceEvents, true, false},
    {"failed to handle interface events", &SwMgrLogCounters::interfaceEvents, false, true},
    {"Invalid database event", &SwMgrLogCounters::malformed, true, true},
    {"swMgrIoctlHandler: short ifDev event", &SwMgrLogCounters::malformed, true, true},
    {"short VLAN request (", &SwMgrLogCounters::malformed, true, true},
    {"short switch command (", &SwMgrLogCounters::malformed, true, true},
    {"VLAN request (", &SwMgrLogCounters::malformed, true, true},
    {"Failed to process cmd ", &SwMgrLogCounters::switchCommands, true, true},
};

// The last line about a database event ends with its status. An event for the table that
// swctl names just to see whether the service answers does not count as a request.
bool noteDatabaseEvent(std::string_view text)
{
    constexpr std::string_view begin = "DBUpdate event: Table: ";
    constexpr std::string_view status = " status=";
    constexpr std::string_view marker = "swctl ";
    if (!text.starts_with(begin))
        return false;
    const size_t at = text.rfind(status);
    text.remove_prefix(begin.size());
    if (at == std::string_view::npos || text.starts_with(marker))
        return true;
    text.remove_prefix(at + status.size() - begin.size());
    ++counters.databaseEvents.received;
    if (text.starts_with('-'))
        ++counters.databaseEvents.refused;
    return true;
}

} // namespace

void counterNote(const SwMgrLogEntry &entry, const char *text)
{
    if (entry.module != SWMGR_RELAY_MODULE_ID)
        return;
    std::string_view message(text, entry.textLength);
    if (entry.level == SWMGR_LOG_DEVDEBUG)
        message = withoutPlace(message);
    ToolLine tool;
    if (toolLineRead(message.data(), message.size(), tool)) {
        ++counters.toolRuns;
        if (tool.status != 0 && !toolRemovesInterface(tool))
            ++counters.toolFailures;
        return;
    }
    if (noteDatabaseEvent(message))
        return;
    for (const RequestLine &line : requestLines) {
        if (!message.starts_with(line.begin))
            continue;
        SwMgrLogRequests &kind = counters.*line.kind;
        kind.received += line.received ? 1 : 0;
        kind.refused += line.refused ? 1 : 0;
        return;
    }
}

int countersAnswer(const void *request, int requestLength, void *answer, uint32_t *answerLength)
{
    SwMgrLogFollowRequest wanted;
    SwMgrLogAnswer header;
    const int status = answerBegin(request, requestLength, answer, answerLength, wanted, header);
    if (status != 0)
        return status;
    if (*answerLength < sizeof(header) + sizeof(counters))
        return -EINVAL;
    memcpy(answer, &header, sizeof(header));
    memcpy(static_cast<unsigned char *>(answer) + sizeof(header), &counters, sizeof(counters));
    *answerLength = sizeof(header) + sizeof(counters);
    return 0;
}

} // namespace logd
