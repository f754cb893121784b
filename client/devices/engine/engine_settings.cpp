// The settings of the engine. Its tools write them and none reads them back, but for the
// registers that hold the pause frames.
#include "client/devices/engine/engine.h"

#include "client/base/number.h"
#include "client/devices/engine/pause_registers.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace swctl {
namespace {

constexpr const char *qosName = "QoS";
constexpr const char *trustName = "trust mode";
constexpr const char *queuesName = "queues";

// The steps of the limiter in kbit/s, by its unit code, and the highest rate with each.
struct Band {
    int step;
    int highest;
};
constexpr Band bands[] = {{64, 8128}, {1024, 130048}, {10240, 1300480}};
constexpr int leastRate = 64; // lower ones are taken as multiples of the second step

// The rate in kbit/s that the engine makes of a row's.
int engineRate(int rate)
{
    for (const Band &band : bands)
        if (rate <= band.highest && (rate >= leastRate || &band != &bands[0]))
            return rate / band.step * band.step;
    return 0;
}

// The trust mode that each flag of its tool stands for, in their order.
constexpr std::array trustModes = {0, 4, 2, 1, 3};

// The scheduling mode that each code of its tool stands for.
constexpr std::array schedulingModes = {1, 0, 3};

constexpr std::array queueCounts = {1, 2, 4}; // by code

std::string schedulingText(int mode, const std::array<int, 4> &weights)
{
    std::string text = "mode " + std::to_string(mode) + ", weights ";
    for (size_t i = 0; i < weights.size(); ++i)
        text += (i == 0 ? "" : ":") + std::to_string(weights[i]);
    return text;
}

// The engine takes the next lower power of two.
int engineWeight(int weight)
{
    return 1 << std::ilogb(std::max(weight, 1));
}

void wantQueues(int port, const QueueWish &wish, std::vector<WantedSetting> &all)
{
    std::array<int, 4> weights{}, given{};
    for (size_t i = 0; i < weights.size(); ++i) {
        given[i] = wish.weights[i];
        weights[i] = engineWeight(given[i]);
    }
    all.push_back({.part = enginePart,
                   .name = schedulingName,
                   .port = port,
                   .value = schedulingText(wish.mode, weights),
                   .rounded = weights == given ? "" : schedulingText(wish.mode, given),
                   .asked = !wish.isUsual(),
                   .byStart = false,
                   .switchName = engineName,
                   .requests = {wish.request(port)}});
}

void wantRate(int port, int rate, std::vector<WantedSetting> &all)
{
    if (rate < 0 || rate > mostRate)
        return; // refused by the engine
    const int taken = rate == 0 ? 0 : engineRate(rate);
    all.push_back({.part = enginePart,
                   .name = rateName,
                   .port = port,
                   .value = rateText(taken),
                   .rounded = taken == rate ? "" : rateText(rate),
                   .asked = rate != 0,
                   .byStart = false,
                   .switchName = engineName,
                   .requests = {rateRequest(port, rate)}});
}

// There is one number of queues for all ports: that of the last port that asks for queues.
void wantQueueCount(const std::vector<Row> &ports, std::vector<WantedSetting> &all)
{
    const Row *last = nullptr;
    for (const Row &row : ports)
        if (const std::optional<QueueWish> wish = queueWishOf(row))
            if (last == nullptr || !wish->isUsual())
                last = &row;
    if (last == nullptr)
        return;
    const QueueWish wish = *queueWishOf(*last);
    all.push_back({.part = enginePart,
                   .name = queuesName,
                   .value = std::to_string(wish.queues),
                   .asked = !wish.isUsual(),
                   .byStart = false,
                   .switchName = engineName,
                   .requests = {wish.request(toInt(last->text("portNumber")))}});
}

// A bandwidth that an interface event reports becomes a limit of port 1.
void takeRates(const SentLog &sent, std::vector<SettingInForce> &all)
{
    constexpr int eventPort = 1;
    constexpr uint64_t mostBetween = 8; // records of one event, up to that of its tool
    constexpr std::string_view event = "Configure upstream bandwdith limit of ";
    const LogLine *upstream = sent.find(event);
    const size_t to = upstream != nullptr ? upstream->text.rfind(" to ") : std::string::npos;
    const int eventRate = to != std::string::npos ? toInt(upstream->text.substr(to + 4)) : 0;
    for (const SentLog::Call &call : sent.calls("rate_limit_func set ")) {
        const int unit = numberIn(call.words, 2);
        SettingInForce &setting = addSetting(all, enginePart, rateName, numberIn(call.words, 0));
        const int step = unit >= 0 && unit < static_cast<int>(std::size(bands))
                             ? bands[static_cast<size_t>(unit)].step
                             : 0;
        setting.value = rateText(numberIn(call.words, 1) * step);
        takeSource(setting, *call.line, call.status);
        setting.byOthers = upstream != nullptr && setting.port == eventPort &&
                           upstream->number < call.line->number &&
                           call.line->number - upstream->number <= mostBetween &&
                           setting.value == rateText(engineRate(eventRate));
        if (setting.byOthers)
            setting.source += ", for the bandwidth of an interface";
    }
}

void takeQueues(const SentLog &sent, std::vector<SettingInForce> &all)
{
    for (const SentLog::Call &call : sent.calls("tc_func set ")) {
        SettingInForce &setting = addSetting(all, enginePart, queuesName, wholeSwitch);
        const auto code = static_cast<size_t>(numberIn(call.words, 0));
        setting.value = code < queueCounts.size() ? std::to_string(queueCounts[code]) : "unknown";
        takeSource(setting, *call.line, call.status);
    }
    for (const SentLog::Call &call : sent.calls("queue_weight_func set ")) {
        SettingInForce &setting =
            addSetting(all, enginePart, schedulingName, numberIn(call.words, 0));
        const auto code = static_cast<size_t>(numberIn(call.words, 1));
        std::array<int, 4> weights{};
        for (size_t i = 0; i < weights.size(); ++i)
            weights[i] = 1 << std::clamp(numberIn(call.words, i + 2), 0, 30);
        setting.value =
            schedulingText(code < schedulingModes.size() ? schedulingModes[code] : -1, weights);
        takeSource(setting, *call.line, call.status);
    }
}

void takePauses(const Site &site, std::vector<SettingInForce> &all)
{
    const Part<PauseRegisters> registers = readPauseRegisters(site);
    SettingInForce &setting = addSetting(all, enginePart, pauseName, wholeSwitch);
    if (!registers.held) {
        setting.unknown = registers.reason;
        return;
    }
    std::string on;
    for (size_t i = 0; i < registers.held->size(); ++i)
        if (((*registers.held)[i] & pauseBit) != 0)
            on += (on.empty() ? "" : ", ") + registerName(pauseRegisters[i]);
    const auto count = std::count(on.begin(), on.end(), ',') + (on.empty() ? 0 : 1);
    setting.value = on.empty()                                                ? "off"
                    : count == static_cast<ptrdiff_t>(registers.held->size()) ? "on"
                                                                              : "on in " + on;
}

} // namespace

void wantEngineSettings(const Rehearsal &start, const std::vector<Row> &ports,
                        std::vector<WantedSetting> &all)
{
    const engine::State &engine = start.state().engine;
    const auto has = [&](rehearsal::Kind kind, std::string_view text) {
        return std::any_of(start.events().begin(), start.events().end(), [&](const Event &event) {
            return event.kind == kind && event.data.starts_with(text);
        });
    };
    if (has(rehearsal::Kind::command, "sppe_ioctl rl "))
        all.push_back({.part = enginePart,
                       .name = qosName,
                       .value = onOff(engine.rateLimiter != 0),
                       .switchName = engineName,
                       .requests = {stateRequest(SW_CMD_QOS_ENABLE, engine.rateLimiter != 0)}});
    if (has(rehearsal::Kind::shell, "")) {
        const bool on = (pauseRegistersOf(engine)[0] & pauseBit) != 0;
        all.push_back({.part = enginePart,
                       .name = pauseName,
                       .value = onOff(on),
                       .isCostly = true,
                       .switchName = engineName,
                       .requests = {stateRequest(SW_CMD_PAUSE_FRAME, on)}});
    }
    wantQueueCount(ports, all);
    for (const Row &row : ports) {
        const int port = toInt(row.text("portNumber"));
        const auto at = static_cast<size_t>(port);
        if (at < engine::portCount && engine.ports[at].trustSet != 0)
            all.push_back({.part = enginePart,
                           .name = trustName,
                           .port = port,
                           .value = std::to_string(trustModes[engine.ports[at].trustFlag]),
                           .asked = engine.ports[at].trustFlag != 0,
                           .switchName = engineName});
        wantRate(port, toInt(row.text("rateLimit")), all);
        if (const std::optional<QueueWish> wish = queueWishOf(row))
            wantQueues(port, *wish, all);
    }
}

void readEngineSettings(const SentLog &sent, const Site *site, std::vector<SettingInForce> &all)
{
    for (const SentLog::Call &call : sent.calls("sppe_ioctl rl ")) {
        SettingInForce &setting = addSetting(all, enginePart, qosName, wholeSwitch);
        setting.value = onOff(!call.words.empty() && call.words[0] == "enable");
        takeSource(setting, *call.line, call.status);
    }
    if (site != nullptr)
        takePauses(*site, all);
    for (const SentLog::Call &call : sent.calls("pri_ctl_func set ")) {
        SettingInForce &setting = addSetting(all, enginePart, trustName, numberIn(call.words, 0));
        setting.value = "unknown";
        for (size_t i = 0; i < trustModes.size(); ++i)
            if (numberIn(call.words, i + 1) == 1)
                setting.value = std::to_string(trustModes[i]);
        takeSource(setting, *call.line, call.status);
    }
    takeRates(sent, all);
    takeQueues(sent, all);
}

} // namespace swctl
