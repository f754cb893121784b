// The settings of a device other than its VLANs and links, such as a rate limit: what the rows
// ask for, which request puts it into force, and what is known to be in force.
#pragma once

#include "client/rows/database.h"
#include "client/service/log.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace swctl {

constexpr const char *vlanModeName = "802.1Q";
constexpr int wholeSwitch = -1; // in place of a port

struct SettingRequest {
    int command;        // SW_CMD_...
    std::string record; // its payload
};

// What the rows ask for, as the device will hold it.
struct WantedSetting {
    const char *part = ""; // of the gateway, e.g. "engine"
    const char *name = ""; // e.g. "rate limit"
    int port = wholeSwitch;
    std::string value{};   // "on", "20480 kbit/s"
    std::string rounded{}; // the row's value, if the device can only come close to it
    bool asked = true;     // false: the rows ask for nothing that a device does not do anyway
    bool byStart = true;   // a start of the service sends it
    bool isCostly = false; // programs have to run to see what is in force

    std::string switchName{};               // that gets the requests
    std::vector<SettingRequest> requests{}; // that put it into force; none: only a start does

    [[nodiscard]] std::string label() const; // "rate limit of engine port 1"
};

// What is in force.
struct SettingInForce {
    const char *part = "";
    const char *name = "";
    int port = wholeSwitch;
    std::string value{};
    std::string source{};  // "last sent 2026-01-31 12:00:00"; empty: read from the device
    bool byOthers = false; // set on purpose by something other than the rows
    std::string unknown{}; // why it is not known after all; empty: it is
};

std::string settingLabel(const char *part, const char *name, int port);

// The lines about settings that the log daemon keeps, of whoever sent the request.
class SentLog {
public:
    // A call of a tool, its words after the known beginning.
    struct Call {
        std::vector<std::string> words;
        int status = 0;
        const LogLine *line = nullptr;
    };

    std::vector<LogLine> lines; // oldest first
    std::string reason;         // why what is missing is not known

    [[nodiscard]] std::vector<Call> calls(std::string_view beginning) const; // "tc_func set "
    // The newest other line that begins like this, after a switch's label; null: none.
    [[nodiscard]] const LogLine *find(std::string_view beginning) const;
};

// `reason` says why the log cannot be relied on; empty: it can.
SentLog readSentLog(const std::string &reason);

// What was last sent is known to have failed, so that it differs from whatever is wanted.
void takeFailure(SettingInForce &setting, const char *what);

// Where a value that a line of the log tells comes from, and whether it can be relied on:
// lines lost since make it unknown, and a tool that failed makes it a failure.
void takeSource(SettingInForce &setting, const LogLine &line, int status = 0);

// The number in the word; 0 if it has none.
int numberIn(const std::vector<std::string> &words, size_t index);

const char *onOff(bool on);
std::string rateText(int rate); // "20480 kbit/s", "none"

// The settings that several kinds of devices have.
constexpr const char *pauseName = "pause frames";
constexpr const char *rateName = "rate limit";
constexpr const char *schedulingName = "scheduling";

// Adds one of which nothing is known yet.
SettingInForce &addSetting(std::vector<SettingInForce> &all, const char *part, const char *name,
                           int port = wholeSwitch);

// The port's queues as its row has them; none if the row asks for what no switch can do.
struct QueueWish {
    int queues = 0;
    int mode = 0;
    int weights[4] = {};

    [[nodiscard]] bool isUsual() const; // what rows have unless somebody sets it
    [[nodiscard]] SettingRequest request(int port) const;
};
std::optional<QueueWish> queueWishOf(const Row &portRow);

SettingRequest rateRequest(int port, int rate); // rate in kbit/s, 0: no limit
SettingRequest stateRequest(int command, bool on);

} // namespace swctl
