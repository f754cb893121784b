// The settings of a bridge and of its ports. The kernel reports those of the bridge; what its
// ports send was set by tc and ethtool, whose command lines the log keeps.
#include "client/devices/bridge/bridge_device.h"

#include "client/base/number.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr const char *snoopingName = "multicast snooping";
constexpr int fullFrame = 1514; // bytes that a weight of 1 stands for
constexpr int heaviest = 1000;  // higher weights are taken as this

// `strict` queues, the highest ones, send before all others.
std::string schedulingText(int queues, int strict, const std::vector<int> &weights)
{
    std::string text = std::to_string(queues) + (queues == 1 ? " queue" : " queues");
    if (queues == 1)
        return text;
    if (strict != 0)
        text += ", " + std::to_string(strict) + " strict";
    for (size_t i = 0; i < weights.size(); ++i)
        text += (i == 0 ? ", weights " : ":") + std::to_string(weights[i]);
    return text;
}

std::string textOf(const QueueWish &wish)
{
    const int strict = wish.mode == SW_SCHED_MODE_CODE_0   ? wish.queues
                       : wish.mode == SW_SCHED_MODE_CODE_1 ? 0
                                                           : 1;
    std::vector<int> weights;
    weights.reserve(std::size(wish.weights));
    for (int queue = 0; queue < wish.queues - strict; ++queue)
        weights.push_back(std::min(wish.weights[queue], heaviest));
    return schedulingText(wish.queues, strict, weights);
}

// "bands 4 strict 1 quanta 3028 1514 1514 priomap ...", the highest queue first.
std::string textOf(const std::vector<std::string> &words)
{
    int bands = 0, strict = 0;
    std::vector<int> weights;
    bool weighs = false;
    for (size_t i = 0; i < words.size() && words[i] != "priomap"; ++i) {
        if (weighs)
            weights.insert(weights.begin(), toInt(words[i]) / fullFrame);
        if (words[i] == "bands")
            bands = numberIn(words, i + 1);
        else if (words[i] == "strict")
            strict = numberIn(words, i + 1);
        weighs = weighs || words[i] == "quanta";
    }
    return schedulingText(bands, strict, weights);
}

// The newest call that begins like this; its line is null if there is none.
SentLog::Call newest(const SentLog &sent, const std::string &beginning)
{
    std::vector<SentLog::Call> all = sent.calls(beginning);
    return all.empty() ? SentLog::Call{} : std::move(all.back());
}

// Each request for a port's rate or queues deletes what was there and adds what is asked for.
void takeSending(const SentLog &sent, const DevicePort &port, std::vector<SettingInForce> &all)
{
    const std::string &name = port.interfaceName;
    const SentLog::Call begun = newest(sent, "tc qdisc del dev " + name + " root");
    if (begun.line == nullptr)
        return;
    const std::string adds = "tc qdisc add dev " + name + " ";
    const auto since = [&](const SentLog::Call &call) {
        return call.line != nullptr && call.line->number > begun.line->number;
    };
    const SentLog::Call rate = newest(sent, adds + "root handle 10: tbf rate ");
    SettingInForce &limit = addSetting(all, bridgePart, rateName, port.number);
    const bool limited = since(rate);
    limit.value = rateText(limited ? numberIn(rate.words, 0) : 0);
    takeSource(limit, limited ? *rate.line : *begun.line, limited ? rate.status : begun.status);
    SettingInForce &scheduling = addSetting(all, bridgePart, schedulingName, port.number);
    SentLog::Call queues = newest(sent, adds + "root handle 20: ets ");
    if (SentLog::Call below = newest(sent, adds + "parent 10:1 handle 20: ets "); since(below))
        queues = std::move(below);
    const bool queued = since(queues);
    scheduling.value = queued ? textOf(queues.words) : schedulingText(1, 0, {});
    takeSource(scheduling, queued ? *queues.line : *begun.line,
               queued ? queues.status : begun.status);
}

} // namespace

void wantBridgeSettings(const Bridge &started, const Row &own, const std::vector<Row> &ports,
                        std::vector<WantedSetting> &all)
{
    const auto number = [&](const char *column) { return toInt(own.text(column)); };
    const auto byte = [&](const char *column) {
        return std::string(1, number(column) != 0 ? '\1' : '\0');
    };
    if (started.filtering)
        all.push_back({.part = bridgePart,
                       .name = vlanModeName,
                       .value = onOff(*started.filtering),
                       .switchName = bridgeSwitch,
                       .requests = {stateRequest(SW_CMD_VLAN_ENABLE, *started.filtering)}});
    if (started.snooping)
        all.push_back({.part = bridgePart,
                       .name = snoopingName,
                       .value = onOff(*started.snooping),
                       .switchName = bridgeSwitch,
                       .requests = {{SW_CMD_IGMP_SNOOP, byte("igmpSnoopingEnable")},
                                    {SW_CMD_MLD_SNOOP, byte("mldSnoopingEnable")}}});
    const bool pauses = number("pauseFrameEnable") == 1;
    if (!started.name.empty())
        all.push_back({.part = bridgePart,
                       .name = pauseName,
                       .value = onOff(pauses),
                       .asked = pauses,
                       .switchName = bridgeSwitch,
                       .requests = {stateRequest(SW_CMD_PAUSE_FRAME, pauses)}});
    for (const Row &row : ports) {
        const int port = toInt(row.text("portNumber"));
        const int rate = toInt(row.text("rateLimit"));
        if (rate >= 0)
            all.push_back({.part = bridgePart,
                           .name = rateName,
                           .port = port,
                           .value = rateText(rate),
                           .asked = rate != 0,
                           .byStart = false,
                           .switchName = bridgeSwitch,
                           .requests = {rateRequest(port, rate)}});
        if (const std::optional<QueueWish> wish = queueWishOf(row))
            all.push_back({.part = bridgePart,
                           .name = schedulingName,
                           .port = port,
                           .value = textOf(*wish),
                           .asked = !wish->isUsual(),
                           .byStart = false,
                           .switchName = bridgeSwitch,
                           .requests = {wish->request(port)}});
    }
}

void readBridgeSettings(const SentLog &sent, const BridgeState &held,
                        std::vector<SettingInForce> &all)
{
    if (held.bridge.filtering)
        addSetting(all, bridgePart, vlanModeName, wholeSwitch).value =
            onOff(*held.bridge.filtering);
    if (held.bridge.snooping)
        addSetting(all, bridgePart, snoopingName, wholeSwitch).value = onOff(*held.bridge.snooping);
    if (const SentLog::Call pause = newest(sent, "ethtool -A "); pause.line != nullptr) {
        SettingInForce &setting = addSetting(all, bridgePart, pauseName, wholeSwitch);
        setting.value = pause.words.size() > 2 ? pause.words[2] : "unknown";
        takeSource(setting, *pause.line, pause.status);
    }
    for (const DevicePort &port : held.ports)
        takeSending(sent, port, all);
}

} // namespace swctl
