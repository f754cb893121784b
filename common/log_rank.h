// How urgent a log record is to a person. The service logs every command line at
// error level, whatever its outcome; here it is ranked by its outcome.
#pragma once

#include "swmgr/swmgr_client.h"

#include <cstdint>
#include <cstring>
#include <string_view>

// Ranks are the levels plus two in between. Lower is more urgent.
enum LogRank : int32_t {
    LOG_RANK_ERROR = SWMGR_LOG_ERROR,
    LOG_RANK_WARNING = 16, // a tool that failed
    LOG_RANK_INFO = SWMGR_LOG_INFO,
    LOG_RANK_NOTICE = SWMGR_LOG_NOTICE,
    LOG_RANK_TOOL = 192, // a tool that succeeded, or had nothing to do
    LOG_RANK_DEBUG = SWMGR_LOG_DEVDEBUG
};

struct LogRankName {
    int32_t rank;
    const char *name;
};

// Most urgent first.
constexpr LogRankName logRankNames[] = {
    {LOG_RANK_ERROR, "error"},   {LOG_RANK_WARNING, "warning"}, {LOG_RANK_INFO, "info"},
    {LOG_RANK_NOTICE, "notice"}, {LOG_RANK_TOOL, "tool"},       {LOG_RANK_DEBUG, "debug"},
};
constexpr const char *logRankList = "error, warning, info, notice, tool, debug";

// The name of a rank; null if it has none.
inline const char *logRankName(int32_t rank)
{
    for (const LogRankName &known : logRankNames)
        if (known.rank == rank)
            return known.name;
    return nullptr;
}

// The rank of a name; false if there is none.
inline bool logRankByName(const char *name, int32_t &rank)
{
    for (const LogRankName &known : logRankNames) {
        if (strcmp(known.name, name) == 0) {
            rank = known.rank;
            return true;
        }
    }
    return false;
}

// The line "cmd (LINE) returned (STATUS)." of a command line that was run.
struct ToolLine {
    const char *line; // within the text
    size_t length;
    int status;
};

// While developer messages are on, every text begins with operation and line, as in
// "swMgrInit:12:".
inline std::string_view withoutPlace(std::string_view text)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto isOfName = [&](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(c) || c == '_';
    };
    size_t colon = 0;
    while (colon < text.size() && isOfName(text[colon]))
        ++colon;
    size_t end = colon + 1;
    while (end < text.size() && isDigit(text[end]))
        ++end;
    const bool found = colon != 0 && end > colon + 1 && end < text.size() && text[colon] == ':' &&
                       text[end] == ':';
    if (found)
        text.remove_prefix(end + 1); // substr would need the C++ runtime
    return text;
}

// False for any other text, which may lack a terminator.
inline bool toolLineRead(const char *whole, size_t wholeLength, ToolLine &tool)
{
    const std::string_view message = withoutPlace({whole, wholeLength});
    const char *text = message.data();
    const size_t length = message.size();
    constexpr char head[] = "cmd (";
    constexpr char tail[] = ") returned (";
    constexpr size_t headLength = sizeof(head) - 1;
    constexpr size_t tailLength = sizeof(tail) - 1;
    if (length < headLength || memcmp(text, head, headLength) != 0)
        return false;
    for (size_t at = length - headLength; at-- > 0;) {
        const char *found = text + headLength + at;
        const size_t left = length - headLength - at;
        if (left <= tailLength || memcmp(found, tail, tailLength) != 0)
            continue;
        tool.line = text + headLength;
        tool.length = at;
        tool.status = 0;
        const bool negative = found[tailLength] == '-';
        for (size_t i = tailLength + (negative ? 1 : 0);
             i < left && found[i] >= '0' && found[i] <= '9' && tool.status < 100000; ++i)
            tool.status = tool.status * 10 + (found[i] - '0');
        if (negative)
            tool.status = -tool.status;
        return true;
    }
    return false;
}

// Each addition of a sub-interface is preceded by a removal, which usually finds
// nothing to remove.
inline bool toolRemovesInterface(const ToolLine &tool)
{
    constexpr char removal[] = "vconfig rem ";
    return tool.length >= sizeof(removal) - 1 &&
           memcmp(tool.line, removal, sizeof(removal) - 1) == 0;
}

// The text after the label of a switch and a developer message's place.
inline std::string_view withoutLabel(std::string_view text)
{
    constexpr std::string_view label = "(switch=";
    constexpr std::string_view end = ") ";
    if (text.starts_with(label) && text.find(end) != std::string_view::npos)
        text.remove_prefix(text.find(end) + end.size());
    return withoutPlace(text);
}

// The chip has no handler for most commands that are handed down to it, and answers 0: two
// lines at every startup that say nothing to a person.
inline bool isCommandNotThere(std::string_view text)
{
    text = withoutLabel(text);
    if (text.starts_with("Invalid command ("))
        return true;
    constexpr std::string_view good = ") processing returned 0";
    const size_t close = text.find(')');
    if (!text.starts_with('(') || close == std::string_view::npos ||
        text.find_first_not_of("0123456789", 1) != close)
        return false;
    text.remove_prefix(close);
    return text.starts_with(good) &&
           (text.size() == good.size() || text[good.size()] == ' ' || text[good.size()] == '\n');
}

// The lines about the event that swctl sends to find out whether the service answers, and
// which records came before it. `rowId` is the event's.
inline bool isMarkerLine(std::string_view text, int32_t &rowId, bool &isLast)
{
    constexpr std::string_view begin = "DBUpdate event: Table: swctl opCode:9 rowId:";
    text = withoutPlace(text);
    if (!text.starts_with(begin))
        return false;
    text.remove_prefix(begin.size());
    rowId = 0;
    for (; !text.empty() && text[0] >= '0' && text[0] <= '9' && rowId < 100000000;
         text.remove_prefix(1))
        rowId = rowId * 10 + (text[0] - '0');
    isLast = text.starts_with(" status=");
    return true;
}

inline int32_t logRank(int32_t level, const char *text, size_t length)
{
    ToolLine tool;
    if (level == SWMGR_LOG_ERROR && isCommandNotThere({text, length}))
        return LOG_RANK_TOOL;
    if (level != SWMGR_LOG_ERROR || !toolLineRead(text, length, tool))
        return level;
    return tool.status == 0 || toolRemovesInterface(tool) ? LOG_RANK_TOOL : LOG_RANK_WARNING;
}
