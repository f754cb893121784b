// Settings of switches and ports: what rows ask for, what the log tells, and the road between.
#include "gateway.h"

#include "client/base/failure.h"
#include "client/base/wire.h"
#include "client/change/carry_out.h"
#include "client/change/preview.h"
#include "client/change/repair.h"
#include "client/devices/bridge/bridge_device.h"
#include "client/devices/chip/chip.h"
#include "client/devices/engine/engine.h"
#include "client/service/service.h"

#include <algorithm>

namespace swctl::test {
namespace {

// "rate limit of engine port 1: none" for each, "(TEXT)" after it for what the row has, "-" in
// front of what no row asks for.
std::string text(const std::vector<WantedSetting> &all, std::string_view only = {})
{
    std::string lines;
    for (const WantedSetting &one : all) {
        if (!only.empty() && only != one.name)
            continue;
        lines += (lines.empty() ? "" : "; ") + std::string(one.asked ? "" : "-") + one.label() +
                 ": " + one.value + (one.rounded.empty() ? "" : " (" + one.rounded + ")");
    }
    return lines;
}

std::string text(const std::vector<SettingInForce> &all)
{
    std::string lines;
    for (const SettingInForce &one : all) {
        if (one.name == std::string_view("pause frames") && one.part == std::string_view("engine"))
            continue; // read from its registers
        lines += (lines.empty() ? "" : "; ") + settingLabel(one.part, one.name, one.port) + ": " +
                 (one.unknown.empty() ? one.value : "unknown") +
                 (one.byOthers ? ", by others" : "");
    }
    return lines;
}

SentLog logOf(const std::vector<std::string> &lines)
{
    SentLog log;
    for (const std::string &line : lines) {
        LogLine &one = log.lines.emplace_back();
        one.number = log.lines.size();
        one.text = line;
    }
    return log;
}

std::vector<SettingInForce> told(const Device &device, const SentLog &log,
                                 const DeviceReading &reading = {})
{
    std::vector<SettingInForce> all;
    Site site;
    site.engineState = "none";
    device.readSettings(log, &site, reading, all);
    return all;
}

std::string joined(const std::vector<std::string> &all)
{
    std::string text;
    for (const std::string &one : all)
        text += (text.empty() ? "" : "; ") + one;
    return text;
}

struct Settings : Played {
    Settings()
    {
        startChip();
        startLog();
        restart();
    }

    Target wanted()
    {
        const GatewayView gateway = view();
        Snapshot snapshot(database);
        return targetOfStart(gateway, snapshot);
    }

    Verdict carry(const Wish &wish, const ChangeOptions &options = {})
    {
        GatewayView gateway = view();
        History history(databaseFile());
        return carryOut(gateway, history, wish, options);
    }

    Verdict look(bool mend)
    {
        GatewayView gateway = view();
        History history(databaseFile());
        return mend ? repair(gateway, history, false, {}) : compare(gateway, history, false, {});
    }

    std::string differing()
    {
        std::string lines;
        for (const Difference &one : look(/*mend=*/false).left)
            lines += (lines.empty() ? "" : "; ") + one.setting + " " + one.found + " for " +
                     one.wanted + ", " + one.mend();
        return lines;
    }

    std::string cell(const char *what, const char *table, int row) const
    {
        Database rows(databaseFile(), Access::read);
        return rows.rowById(table, row)->text(what);
    }

    Database database{databaseFile(), Access::read};
};

RowWish portWish(int64_t number, std::vector<Assignment> values)
{
    return {RowWish::Kind::set,
            portTableName,
            "port",
            {{"switchName", std::string("PSE")}, {"portNumber", number}},
            std::move(values)};
}

RowWish switchWish(const char *name, std::vector<Assignment> values)
{
    return {RowWish::Kind::set,
            switchTableName,
            "switch",
            {{"switchName", std::string(name)}},
            std::move(values)};
}

TEST_F(Settings, thatRowsAskForAreAsTheDeviceHoldsThem)
{
    EXPECT_EQ(text(wanted().settings, vlanModeName), "802.1Q of the chip: on");
    EXPECT_EQ(text(wanted().settings, "QoS"), "QoS of the engine: off");
    sql("UPDATE swGlobalCfg SET vlanEnable = 0 WHERE switchName = 'BCM'"); // the top switch counts
    EXPECT_EQ(text(wanted().settings, vlanModeName), "802.1Q of the chip: on");
    sql("UPDATE swGlobalCfg SET vlanEnable = 0, pauseFrameEnable = 1 WHERE switchName = 'PSE'");
    EXPECT_EQ(text(wanted().settings, vlanModeName), "802.1Q of the chip: off");
    EXPECT_EQ(text(wanted().settings, "pause frames"), "pause frames of the engine: on");
    const std::pair<int, const char *> rates[] = {{0, "-"},
                                                  {1, "none (1 kbit/s)"},
                                                  {63, "none (63 kbit/s)"},
                                                  {64, "64 kbit/s"},
                                                  {100, "64 kbit/s (100 kbit/s)"},
                                                  {8128, "8128 kbit/s"},
                                                  {8129, "7168 kbit/s (8129 kbit/s)"},
                                                  {130048, "130048 kbit/s"},
                                                  {130049, "122880 kbit/s (130049 kbit/s)"},
                                                  {1300480, "1300480 kbit/s"}};
    for (const auto &[rate, expected] : rates) {
        sql("UPDATE swPortConfig SET rateLimit = " + std::to_string(rate) +
            " WHERE switchName = 'PSE' AND portNumber = 2");
        EXPECT_HAS(text(wanted().settings, "rate limit"),
                   (rate == 0 ? std::string("-rate limit of engine port 2: none")
                              : "; rate limit of engine port 2: " + std::string(expected))
                       .c_str());
    }
    EXPECT_EQ(text(wanted().settings, "queues"), "-queues of the engine: 4");
    sql("UPDATE swPortConfig SET numQueues = 2, queue2Weight = 3, schedMode = 1 "
        "WHERE switchName = 'PSE' AND portNumber = 3");
    EXPECT_EQ(text(wanted().settings, "queues"), "queues of the engine: 2");
    EXPECT_HAS(text(wanted().settings, "scheduling"),
               "; scheduling of engine port 3: mode 1, weights 1:2:1:1 (mode 1, weights 1:3:1:1); "
               "-scheduling of engine port 4: mode 0, weights 1:1:1:1");
    sql("UPDATE swPortConfig SET numQueues = 0"); // as in rows of old
    EXPECT_EQ(text(wanted().settings, "queues") + text(wanted().settings, "scheduling"), "");
    sql("UPDATE swPortConfig SET trustMode = 3 WHERE switchName = 'PSE' AND portNumber = 3");
    EXPECT_HAS(text(wanted().settings, "trust mode"), "; trust mode of engine port 3: 3; -");
}

TEST(Setting, isKnownByTheLastLineAboutIt)
{
    struct Case {
        const Device &device;
        std::vector<std::string> lines;
        const char *expected;
    };
    const Device &engine = engineDevice(), &chip = chipDevice();
    const std::string event =
        "Configure upstream bandwdith limit of eth1 to 640 kbps (50% of total)";
    const Case cases[] = {
        {engine,
         {"cmd (rate_limit_func set 2 20 1) returned (0)."},
         "rate limit of engine port 2: 20480 kbit/s"},
        {engine,
         {"cmd (rate_limit_func set 2 0 0) returned (0)."},
         "rate limit of engine port 2: none"},
        {engine,
         {"cmd (rate_limit_func set 2 20 1) returned (2)."},
         "rate limit of engine port 2: not known"},
        {engine,
         {event, "cmd (rate_limit_func set 1 10 0) returned (0)."},
         "rate limit of engine port 1: 640 kbit/s, by others"},
        {engine,
         {event, "cmd (rate_limit_func set 1 20 0) returned (0)."}, // another request right after
         "rate limit of engine port 1: 1280 kbit/s"},
        {engine,
         {event, "cmd (rate_limit_func set 2 10 0) returned (0)."},
         "rate limit of engine port 2: 640 kbit/s"},
        {engine,
         {"cmd (rate_limit_func set 1 10 0) returned (0).", event},
         "rate limit of engine port 1: 640 kbit/s"},
        {engine, {"cmd (sppe_ioctl rl enable) returned (0)."}, "QoS of the engine: on"},
        {engine,
         {"cmd (pri_ctl_func set 3 0 0 1 0 0) returned (0)."},
         "trust mode of engine port 3: 2"},
        {engine,
         {"cmd (tc_func set 1) returned (0).",
          "cmd (queue_weight_func set 4 2 0 1 2 3) returned (0)."},
         "queues of the engine: 2; scheduling of engine port 4: mode 3, weights 1:2:4:8"},
        {engine,
         {"cmd (queue_weight_func set 4) returned (0).", "cmd (tc_func set 9) returned (0)."},
         "queues of the engine: unknown; scheduling of engine port 4: mode 1, weights 1:1:1:1"},
        {chip, {"VLAN Enable status 1", "VLAN Enable status 0"}, "802.1Q of the chip: off"},
        {chip,
         {"VLAN Enable status 0", "Failed to process cmd 33 on BCM"},
         "802.1Q of the chip: not known"},
        {chip,
         {"Failed to process cmd 33 on BCM", "VLAN Enable status 1"},
         "802.1Q of the chip: on"},
        {chip, {"VLAN Enable"}, ""},
    };
    for (const Case &one : cases)
        EXPECT_EQ(text(told(one.device, logOf(one.lines))), one.expected) << joined(one.lines);
    SentLog lossy = logOf({"VLAN Enable status 1"});
    lossy.lines[0].dropped = 3;
    const std::vector<SettingInForce> unsure = told(chip, lossy);
    ASSERT_EQ(unsure.size(), 1u);
    EXPECT_HAS(unsure[0].unknown, "3 records were lost since it was last sent ");
}

TEST(Setting, ofABridgeIsReadFromTheKernelOrKnownByTheLog)
{
    const auto state = std::make_shared<BridgeState>();
    state->bridge.filtering = false;
    state->ports = {{1, "lan1"}, {2, "lan2"}};
    const SentLog log = logOf(
        {"cmd (tc qdisc add dev lan2 root handle 10: tbf rate 9kbit burst 4000) returned (0).",
         "cmd (tc qdisc del dev lan1 root) returned (0).",
         "cmd (tc qdisc add dev lan1 root handle 10: tbf rate 640kbit burst 4000 latency "
         "50ms) returned (0).",
         "cmd (tc qdisc add dev lan1 parent 10:1 handle 20: ets bands 4 strict 1 quanta 6056 "
         "3028 1514 priomap 3 3) returned (0).",
         "cmd (tc qdisc del dev lan2 root) returned (0)."});
    EXPECT_EQ(text(told(bridgeDevice(), log, {state, ""})),
              "802.1Q of the bridge: off; rate limit of bridge port 1: 640 kbit/s; scheduling of "
              "bridge port 1: 4 queues, 1 strict, weights 1:2:4; rate limit of bridge port 2: "
              "none; scheduling of bridge port 2: 1 queue");
    EXPECT_EQ(text(told(bridgeDevice(), log)), "");
    std::vector<WantedSetting> wanted;
    Row own, port;
    Bridge started;
    started.name = "br0";
    started.filtering = true;
    for (const auto &[column, value] : {std::pair<const char *, int>{"portNumber", 1},
                                        {"rateLimit", 640},
                                        {"numQueues", 4},
                                        {"schedMode", 3},
                                        {"queue1Weight", 1},
                                        {"queue2Weight", 2},
                                        {"queue3Weight", 4},
                                        {"queue4Weight", 2000}})
        port.cells.push_back({column, int64_t{value}, std::to_string(value)});
    wantBridgeSettings(started, own, {port}, wanted);
    EXPECT_EQ(text(wanted), "802.1Q of the bridge: on; -pause frames of the bridge: off; rate "
                            "limit of bridge port 1: 640 kbit/s; scheduling of bridge port 1: 4 "
                            "queues, 1 strict, weights 1:2:4");
}

TEST_F(Settings, thatOthersSentDifferAndAreMended)
{
    serve();
    EXPECT_EQ(differing(), "");
    const int32_t off = 0, on = 1;
    askSwitch("BCM", SW_CMD_VLAN_ENABLE, bytesOf(off));
    EXPECT_EQ(differing(), "802.1Q of the chip off for on, swctl repair");
    askSwitch("PSE", SW_CMD_QOS_ENABLE, bytesOf(on));
    askSwitch("PSE", SW_CMD_RATE_LIMIT, rateRequest(2, 640).record);
    EXPECT_EQ(differing(),
              "802.1Q of the chip off for on, swctl repair; QoS of the engine on for off, swctl "
              "repair; rate limit of engine port 2 640 kbit/s for none, swctl repair");
    heard();
    const Verdict mended = look(/*mend=*/true);
    EXPECT_EQ(mended.outcome, Outcome::applied);
    EXPECT_EQ(heard(), "command 33 for BCM, command 47 for PSE, command 50 for PSE");
    EXPECT_EQ(differing(), "");
}

TEST_F(Settings, areSentAfterTheirRowsAndSeenInForce)
{
    serve();
    const Verdict done = carry(portWish(1, {{"rateLimit", int64_t{100}}}));
    EXPECT_EQ(done.outcome, Outcome::applied) << done.note;
    EXPECT_EQ(joined(done.changes.consequences), "the engine takes 64 kbit/s for 100 kbit/s");
    EXPECT_EQ(heard(), "command 50 for PSE");
    // The rows of both: the top switch's mode ends up in the chip.
    EXPECT_EQ(carry(switchWish("BCM", {{"vlanEnable", int64_t{0}}})).outcome, Outcome::applied);
    EXPECT_EQ(heard(), "");
    EXPECT_EQ(carry(switchWish("PSE", {{"vlanEnable", int64_t{0}}})).outcome, Outcome::applied);
    EXPECT_EQ(heard(), "command 33 for BCM");
    ChangeOptions named;
    named.named = {{"PSE", rateRequest(1, 100)}};
    const Verdict again = carry(portWish(1, {{"rateLimit", int64_t{100}}}), named);
    EXPECT_EQ(joined(again.settled), "the service was sent it again");
    EXPECT_EQ(heard(), "command 50 for PSE");
    GatewayView gateway = view();
    const Preview seen = preview(gateway, portWish(1, {{"rateLimit", int64_t{0}}}), {});
    EXPECT_EQ(joined(seen.lines), "~ rate limit of engine port 1: 64 kbit/s -> none");
    EXPECT_EQ(joined(seen.actions), "rate_limit_func set 1 0 0 -> 0");
}

TEST_F(Settings, thatAreRefusedOrNotSeenAreNotApplied)
{
    serve({Reply::refuse}, Reply::accept);
    const Verdict refused = carry(portWish(1, {{"rateLimit", int64_t{640}}}));
    EXPECT_EQ(refused.outcome, Outcome::refused);
    EXPECT_EQ(heard(), "command 50 for PSE, command 50 for PSE"); // the second takes it back
    EXPECT_EQ(cell("rateLimit", "swPortConfig", 6), "0");
    serve({Reply::ignore}, Reply::accept);
    const Verdict ignored = carry(portWish(1, {{"rateLimit", int64_t{640}}}));
    EXPECT_EQ(ignored.outcome, Outcome::applied); // sent again when it was seen not to be
    EXPECT_EQ(heard(), "command 50 for PSE, command 50 for PSE");
    serve({}, Reply::ignore);
    EXPECT_EQ(carry(portWish(1, {{"rateLimit", int64_t{1280}}})).outcome, Outcome::differs);
    EXPECT_EQ(differing(), "rate limit of engine port 1 640 kbit/s for 1280 kbit/s, swctl repair");
}

TEST_F(Settings, thatAStartDoesNotSendAreSentAfterIt)
{
    serve();
    sql("UPDATE swPortConfig SET rateLimit = 640, numQueues = 2 WHERE switchName = 'PSE' AND "
        "portNumber = 2");
    EXPECT_EQ(joined(look(/*mend=*/false).unknown),
              "queues of the engine: not known: nothing was sent since the log daemon started; "
              "rate limit of engine port 2: not known: nothing was sent since the log daemon "
              "started; scheduling of engine port 2: not known: nothing was sent since the log "
              "daemon started");
    GatewayView gateway = view();
    EXPECT_EQ(joined(sendAfterStart(gateway)),
              "queues of the engine sent: 2; rate limit of engine port 2 sent: 640 kbit/s; "
              "scheduling of engine port 2 sent: mode 0, weights 1:1:1:1");
    EXPECT_EQ(joined(look(/*mend=*/false).unknown) + differing(), "");
    EXPECT_EQ(joined(sendAfterStart(gateway)), "");
    // What a start sends is not touched.
    const int32_t off = 0;
    askSwitch("BCM", SW_CMD_VLAN_ENABLE, bytesOf(off));
    EXPECT_EQ(joined(sendAfterStart(gateway)), "");
}

} // namespace
} // namespace swctl::test
