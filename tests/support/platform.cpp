// Defines the symbols of the platform seam, except for those in process.cpp and the lists,
// which are the stand-in's.
#include "support/platform.h"

#include "platform/sal.h"
#include "swmgr/swmgr.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <deque>
#include <map>
#include <net/if.h>
#include <utility>

namespace {

struct Rule {
    std::string match;
    int result;
    int nth; // 0: every
    platform::Bytes reply;
    int seen;
    bool used = false;
};

struct State {
    std::string lines; // with a line break after each
    std::vector<Rule> rules;
    std::map<std::string, std::string> files{{"/proc/uptime", "512.34 1000.00\n"}};
    std::map<FILE *, std::string> open; // and the path of each
    std::deque<std::function<void()>> bodies;
    platform::Intercept hook;
    platform::LogSent sent{};
    RelayHandler handler = nullptr;
};

State &state()
{
    static State *one = new State;
    return *one;
}

void append(std::string &lines, const std::string &line)
{
    for (const char c : line)
        if (c == '\n')
            lines += "\\n";
        else
            lines += c;
    lines += '\n';
}

int record(const std::string &line, int result, platform::Bytes *reply = nullptr)
{
    State &s = state();
    // Memory and SQLite's own calls can fail but are not visible behaviour.
    if (line != "calloc" && line.rfind("sqlite3_", 0) != 0)
        append(s.lines, line);
    for (Rule &rule : s.rules) {
        if (line.find(rule.match) == std::string::npos ||
            (rule.nth != 0 && ++rule.seen != rule.nth))
            continue;
        rule.used = true;
        result = rule.result;
        if (reply != nullptr)
            *reply = rule.reply;
        break;
    }
    return s.hook ? s.hook(line, result) : result;
}

struct IoctlName {
    unsigned request;
    const char *name;
    size_t size; // of its record
};

constexpr IoctlName ioctlNames[] = {{0x5301, "VLAN_ENABLE", 0},
                                    {0x5302, "VLAN_DISABLE", 0},
                                    {0x40045303, "PORT_VLAN_MEMBER_GET", 4},
                                    {0x40045304, "PORT_VLAN_MEMBER_ADD", 4},
                                    {0x40045305, "PORT_VLAN_MEMBER_DEL", 4},
                                    {0xc0065306, "DEFAULT_TAG_GET", 6},
                                    {0x40065307, "DEFAULT_TAG_SET", 6},
                                    {0x40055308, "VLAN_FWD_MEMBER_GET", 5},
                                    {0x4005530b, "VLAN_UNTAG_MEMBER_GET", 5},
                                    {0x40055310, "VLAN_CLEAR", 5},
                                    {0x40065311, "NON8021Q_FRAMES_SET", 6},
                                    {0x40075312, "VLAN_ENTRY_SET", 7},
                                    {0xc0325314, "PORT_STATS_GET", 50},
                                    {0x5319, "LINK_STATUS_GET", 0},
                                    {0xc006531e, "TRUST_MODE_SET", 6},
                                    {0xc008531f, "QUEUE_SCHED_SET", 8},
                                    {0xc0045320, "QOS_SET", 4},
                                    {0xc0045321, "PAUSE_FRAME_SET", 4},
                                    {0xc0075322, "RATE_LIMIT_SET", 7},
                                    {0xc0055323, "COS_QUEUE_MAP_SET", 5}};

// The interfaces of the gateway and their hardware addresses.
int hardwareAddress(ifreq &request)
{
    const std::string name(request.ifr_name);
    platform::Bytes reply;
    const bool known = name == "eth0" || name == "eth1";
    const int result = record("ioctl HWADDR " + name, known ? 0 : -19, &reply);
    const unsigned char mac[6] = {
        0x00, 0x11, 0x22, 0x33, 0x44, static_cast<unsigned char>(name == "eth1" ? 0x55 : 0x50)};
    if (result >= 0)
        memcpy(request.ifr_hwaddr.sa_data, mac, sizeof(mac));
    return result;
}

RelayCtx *relayHandle()
{
    static int object;
    return reinterpret_cast<RelayCtx *>(&object);
}

} // namespace

namespace platform {

void answer(const std::string &match, int result, int nth, Bytes reply)
{
    state().rules.push_back({match, result, nth, std::move(reply), 0, false});
}
std::string answerAsUsual()
{
    std::string unused;
    for (const Rule &rule : std::exchange(state().rules, {}))
        if (!rule.used)
            unused += "unused answer: " + rule.match + "\n";
    return unused;
}
std::string everything()
{
    return std::exchange(state().lines, "");
}
void forget()
{
    state().lines.clear();
}
void note(const std::string &lines)
{
    state().lines += lines + (lines.ends_with('\n') ? "" : "\n");
}
int called(const std::string &line, int result)
{
    return record(line, result);
}
const LogSent &lastLog()
{
    return state().sent;
}
void fileContent(const std::string &path, const std::string &content)
{
    if (content.empty())
        state().files.erase(path);
    else
        state().files[path] = content;
}
int filesOpen()
{
    return static_cast<int>(state().open.size());
}
void onListen(std::function<void()> body)
{
    state().bodies.push_back(std::move(body));
}
RelayHandler handler()
{
    return state().handler;
}
void intercept(Intercept hook)
{
    state().hook = std::move(hook);
}

} // namespace platform

extern "C" {

int relayInit(void)
{
    return record("relayInit", 0);
}

RelayCtx *relayRegister(int moduleId, int mode, RelayHandler handler, void *arg)
{
    state().handler = handler;
    const int result = record("relayRegister " + std::to_string(moduleId) + " " +
                                  std::to_string(mode) + (arg == nullptr ? "" : " arg"),
                              0);
    return result < 0 ? nullptr : relayHandle();
}

int relayListen(RelayCtx *ctx, int timeout)
{
    const int result = record("relayListen " + std::to_string(timeout) +
                                  (ctx == relayHandle() ? "" : " without handle"),
                              0);
    if (state().bodies.empty()) {
        swMgrInitialized = 0;
        return result;
    }
    const auto body = state().bodies.front();
    state().bodies.pop_front();
    body();
    return result;
}

int relayUnRegister(RelayCtx *ctx)
{
    return record(ctx == relayHandle() ? "relayUnRegister" : "relayUnRegister without handle", 0);
}

int relayDeInit(void)
{
    return record("relayDeInit", 0);
}

int relayIoctl(RelayCtx *ctx, int destModule, int requestType, void *data, int dataLen, void *buf,
               uint32_t *bufLen, int mode, int arg1, int arg2)
{
    auto *bytes = static_cast<uint8_t *>(data);
    int32_t level = 0;
    memcpy(&level, bytes + 4, sizeof(level));
    platform::LogSent &sent = state().sent;
    sent.ctx = ctx;
    sent.module = destModule;
    sent.type = requestType;
    sent.mode = mode;
    sent.arg1 = arg1;
    sent.arg2 = arg2;
    sent.record.assign(bytes, bytes + dataLen);
    sent.text = static_cast<char *>(buf);
    sent.length = *bufLen;
    return record("log " + std::to_string(level) + " " + sent.text, 0);
}

int salOpen(const char *path, int flags, int mode)
{
    return record(
        std::string("open ") + path + " " + std::to_string(flags) + " " + std::to_string(mode), 7);
}

int salClose(int descriptor)
{
    return record("close " + std::to_string(descriptor), 0);
}

int salIoctl(int descriptor, unsigned int request, void *arg)
{
    if (request == 0x8927) // SIOCGIFHWADDR
        return hardwareAddress(*static_cast<ifreq *>(arg));
    const auto known = std::find_if(std::begin(ioctlNames), std::end(ioctlNames),
                                    [&](const IoctlName &one) { return one.request == request; });
    if (known == std::end(ioctlNames))
        return record("ioctl of unknown number " + std::to_string(request), -25);
    std::string line = std::string("ioctl ") + known->name + " ";
    if (descriptor != 7)
        line += "on " + std::to_string(descriptor) + " ";
    if (known->size == 0)
        line += std::to_string(reinterpret_cast<intptr_t>(arg));
    for (size_t i = 0; i < known->size; ++i) {
        char hex[3];
        snprintf(hex, sizeof(hex), "%02x", static_cast<uint8_t *>(arg)[i]);
        line += hex;
    }
    platform::Bytes reply;
    const int result = record(line, 0, &reply);
    if (!reply.empty())
        memcpy(arg, reply.data(), std::min(reply.size(), known->size));
    return result;
}

int salCmdExec(const char *commandLine, int arg1, int arg2)
{
    return record(
        std::string("cmd ") + commandLine + (arg1 == 0 && arg2 == 0 ? "" : " with arguments"), 0);
}

FILE *salFileOpen(const char *path, const char *mode)
{
    State &s = state();
    const bool reading = *mode == 'r';
    const auto found = s.files.find(path);
    const bool there = !reading || found != s.files.end();
    if (record(std::string("file ") + path + " " + mode, there ? 0 : -1) < 0 || !there)
        return nullptr;
    FILE *stream = reading ? fmemopen(found->second.data(), found->second.size(), "r")
                           : fopen("/dev/null", "w");
    s.open[stream] = path;
    return stream;
}

int salFilePrintf(FILE *stream, const char *format, ...)
{
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    if (stream == stderr)
        return record(std::string("stderr [") + format + "] " + text, 1);
    const int result = record("write " + state().open[stream] + " " + text, 1);
    return result < 0 ? result : fputs(text, stream);
}

int salFileClose(FILE *stream)
{
    state().open.erase(stream);
    fclose(stream);
    return record("file closed", 0);
}

int salUnlink(const char *path)
{
    return record(std::string("unlink ") + path, 0);
}

int socket(int domain, int type, int protocol)
{
    return record("socket " + std::to_string(domain) + " " + std::to_string(type) + " " +
                      std::to_string(protocol),
                  9);
}
}
