// Checks what reaches the platform.
#include "platform.h"

#include "input.h"
#include "support/platform.h"
#include "swmgr/swmgr_client.h"

#include <cctype>
#include <cstdlib>
#include <set>
#include <string_view>

using fuzz::require;

namespace {

constexpr size_t longestLine = 511;

struct State {
    fuzz::Fault fault{};
    std::set<std::string> shellLines;
    bool shellLinesFrozen = false;
};

State &state()
{
    static auto *one = new State;
    return *one;
}

// Whether `text` is `head`, then letters, digits and other allowed characters, then
// `tail`.
bool isMadeOf(std::string_view text, std::string_view head, std::string_view allowed,
              std::string_view tail)
{
    const auto isAllowed = [allowed](unsigned char c) {
        return isalnum(c) != 0 || allowed.find(static_cast<char>(c)) != allowed.npos;
    };
    return text.size() >= head.size() + tail.size() && text.starts_with(head) &&
           text.ends_with(tail) &&
           std::all_of(text.begin() + static_cast<ptrdiff_t>(head.size()),
                       text.end() - static_cast<ptrdiff_t>(tail.size()), isAllowed);
}

// Whatever a request or a row contains, a line is one of the device's tools with words
// that mean nothing to a shell.
void commandLineCheck(std::string_view line)
{
    constexpr std::string_view tools[] = {
        "vconfig",         "ifconfig", "/sbin/vconfig",     "vlan_table_func", "arl_table_func",
        "rate_limit_func", "tc_func",  "queue_weight_func", "pri_ctl_func",    "sppe_ioctl"};
    const std::string_view tool = line.substr(0, line.find(' '));
    require(std::find(std::begin(tools), std::end(tools), tool) != std::end(tools),
            "a command line starts with a known tool");
    require(line.size() > tool.size() && line.size() <= longestLine,
            "a command line has arguments, not too many");
    require(isMadeOf(line, tool, " _.:@-", ""), "the arguments of a command line are harmless");
}

// A query reads one table, or one row of it.
void queryCheck(std::string_view query)
{
    constexpr std::string_view head = "SELECT * from ";
    constexpr std::string_view condition = " WHERE rowid=";
    const size_t end = std::min(query.find(condition), query.size());
    require(isMadeOf(query.substr(0, end), head, "_", "") &&
                (end == query.size() || isMadeOf(query.substr(end), condition, "-", "")),
            "a query holds a name and a number and nothing else");
}

void fileCheck(std::string_view path)
{
    require(path == "/proc/uptime r" || isMadeOf(path, "/var/VLAN.", "-", ".Uptime w+"),
            "a file is the uptime record of a VLAN");
}

void unlinkCheck(std::string_view path)
{
    require(isMadeOf(path, "/var/VLAN.", "-", ".Uptime"), "an uptime record is removed");
}

void shellLineCheck(std::string_view line)
{
    if (!state().shellLinesFrozen)
        state().shellLines.emplace(line);
    require(state().shellLines.count(std::string(line)) == 1, "the shell gets fixed lines only");
}

void closeCheck(std::string_view descriptor)
{
    require(descriptor[0] != '-', "a descriptor that is closed is one");
}

void logCheck(std::string_view)
{
    const platform::LogSent &sent = platform::lastLog();
    SwMgrLogRecord record;
    require(sent.module == LOGGING_RELAY_MODULE_ID && sent.type == LOGGING_MSG_LOG &&
                sent.record.size() == sizeof(record),
            "a message is a log record");
    memcpy(&record, sent.record.data(), sizeof(record));
    require(record.level == SWMGR_LOG_ERROR || record.level == SWMGR_LOG_INFO ||
                record.level == SWMGR_LOG_NOTICE || record.level == SWMGR_LOG_DEVDEBUG,
            "a log record has a level");
    require(sent.length <= 1024 && sent.text.size() + 1 == sent.length,
            "a log text is one terminated string");
}

constexpr struct {
    std::string_view call;
    void (*check)(std::string_view rest);
    bool fails;
} calls[] = {{"log ", logCheck, false},        {"relay", nullptr, false},
             {"cmd ", commandLineCheck, true}, {"query ", queryCheck, true},
             {"file closed", nullptr, true},   {"file ", fileCheck, true},
             {"unlink ", unlinkCheck, true},   {"system ", shellLineCheck, true},
             {"close ", closeCheck, true},     {"", nullptr, true}};

int answer(int usual)
{
    fuzz::Fault &fault = state().fault;
    if (fault.count == 0)
        return usual;
    if (fault.after > 0) {
        --fault.after;
        return usual;
    }
    --fault.count;
    return fault.result;
}

int look(const std::string &line, int usual)
{
    platform::forget();
    for (const auto &[call, check, fails] : calls) {
        if (!line.starts_with(call))
            continue;
        if (check != nullptr)
            check(std::string_view(line).substr(call.size()));
        return fails ? answer(usual) : usual;
    }
    return usual;
}

} // namespace

namespace fuzz {

void faultArm(const Fault &fault)
{
    state().fault = fault;
}

void watchBegin()
{
    platform::blocksForget();
    platform::intercept(look);
    platform::watch(true);
}

void blocksFree()
{
    platform::watch(false);
    for (const platform::Block &block : platform::blocksHeld())
        free(const_cast<void *>(block.address));
    platform::blocksForget();
}

void shellLinesFreeze()
{
    require(state().shellLines.size() == 6, "three registers are set and cleared");
    state().shellLinesFrozen = true;
}

} // namespace fuzz
