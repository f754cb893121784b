#include "client/devices/settings.h"

#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/text.h"
#include "client/base/time_text.h"
#include "client/base/wire.h"
#include "common/clock.h"
#include "common/log_rank.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>

namespace swctl {

std::string settingLabel(const char *part, const char *name, int port)
{
    std::string text = std::string(name) + " of ";
    if (port == wholeSwitch)
        return text.append("the ").append(part);
    return text.append(part).append(" port ").append(std::to_string(port));
}

std::string WantedSetting::label() const
{
    return settingLabel(part, name, port);
}

std::vector<SentLog::Call> SentLog::calls(std::string_view beginning) const
{
    std::vector<Call> all;
    for (const LogLine &line : lines) {
        ToolLine tool;
        if (!toolLineRead(line.text.data(), line.text.size(), tool))
            continue;
        const std::string_view words(tool.line, tool.length);
        if (words.starts_with(beginning))
            all.push_back(
                {partsOf(std::string(words.substr(beginning.size())), ' '), tool.status, &line});
    }
    return all;
}

const LogLine *SentLog::find(std::string_view beginning) const
{
    for (auto line = lines.rbegin(); line != lines.rend(); ++line)
        if (line->text.starts_with(beginning))
            return &*line;
    return nullptr;
}

SentLog readSentLog(const std::string &reason)
{
    SentLog sent;
    sent.reason = reason;
    if (!reason.empty())
        return sent;
    try {
        settingLines([&](const LogLine &line) { sent.lines.push_back(line); });
        sent.reason = "nothing was sent since the log daemon started";
    } catch (const Failure &) {
        sent.lines.clear();
        sent.reason = "the log daemon does not keep what was sent";
    }
    return sent;
}

void takeFailure(SettingInForce &setting, const char *what)
{
    setting.value = "not known";
    setting.source = what + setting.source;
    setting.unknown.clear();
}

void takeSource(SettingInForce &setting, const LogLine &line, int status)
{
    setting.source = "last sent " + dateText(line.time / nanosecondsPerSecond);
    if (status != 0)
        takeFailure(setting, "the tool failed when it was ");
    else if (line.dropped != 0)
        setting.unknown =
            std::to_string(line.dropped) + " records were lost since it was " + setting.source;
}

int numberIn(const std::vector<std::string> &words, size_t index)
{
    return index < words.size() ? toInt(words[index]) : 0;
}

const char *onOff(bool on)
{
    return on ? "on" : "off";
}

std::string rateText(int rate)
{
    return rate == 0 ? "none" : std::to_string(rate) + " kbit/s";
}

SettingInForce &addSetting(std::vector<SettingInForce> &all, const char *part, const char *name,
                           int port)
{
    SettingInForce &setting = all.emplace_back();
    setting.part = part;
    setting.name = name;
    setting.port = port;
    return setting;
}

bool QueueWish::isUsual() const
{
    return queues == 4 && mode == 0 &&
           std::all_of(
               std::begin(weights), std::end(weights), [](int one) { return one == 1; });
}

SettingRequest QueueWish::request(int port) const
{
    const SwCmdQueueSched record{port,       queues,     mode,      weights[0],
                                 weights[1], weights[2], weights[3]};
    return {SW_CMD_QUEUE_SCHED, std::string(bytesOf(record))};
}

std::optional<QueueWish> queueWishOf(const Row &portRow)
{
    QueueWish wish{toInt(portRow.text("numQueues")), toInt(portRow.text("schedMode")), {}};
    constexpr const char *columns[] = {"queue1Weight", "queue2Weight", "queue3Weight",
                                       "queue4Weight"};
    for (size_t i = 0; i < std::size(columns); ++i)
        wish.weights[i] = toInt(portRow.text(columns[i]));
    const bool good = (wish.queues == 1 || wish.queues == 2 || wish.queues == 4) &&
                      (wish.mode == SW_SCHED_MODE_CODE_0 || wish.mode == SW_SCHED_MODE_CODE_1 ||
                       wish.mode == SW_SCHED_MODE_CODE_2) &&
                      std::all_of(std::begin(wish.weights), std::end(wish.weights),
                                  [](int one) { return one >= 1; });
    return good ? std::optional(wish) : std::nullopt;
}

SettingRequest rateRequest(int port, int rate)
{
    SwCmdRateLimit record{};
    record.portNumber = static_cast<uint32_t>(port);
    record.limitCmd = rate == 0 ? SW_RATE_LIMIT_REMOVE : SW_RATE_LIMIT_APPLY;
    record.rateLimit = rate;
    return {SW_CMD_RATE_LIMIT, std::string(bytesOf(record))};
}

SettingRequest stateRequest(int command, bool on)
{
    const int32_t value = on ? 1 : 0;
    return {command, std::string(bytesOf(value))};
}

} // namespace swctl
