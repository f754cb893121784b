// The commands that are not functions of the library, and what surrounds each of them.
#include "support/player.h"

#include "backends/bcm/device.h"
#include "base/state.h"
#include "platform/list_of.h"
#include "switch/registry.h"
#include "vlan/vlan.h"

#include <map>
#include <regex>
#include <sstream>
#include <unistd.h>

namespace {

// The lines that are, or are not, log records.
std::string only(const std::string &lines, bool ofLog)
{
    std::string kept;
    std::istringstream each(lines);
    for (std::string line; std::getline(each, line);)
        if (line.starts_with("log ") == ofLog || line.starts_with("= "))
            kept += line + "\n";
    return kept;
}

void noted(int status)
{
    platform::note("= " + std::to_string(status));
}

// A backend that only records what it got; `answer` can make it fail.
int toldCommand(Switch *sw, int cmd, const void *payload, uint32_t length, void *replyBuf,
                uint32_t *replyLen)
{
    std::ostringstream line;
    line << "backend " << sw->switchName << (sw->lowerLvlCfgEnable != 0 ? " forwards " : " ") << cmd
         << " length " << length;
    if (replyBuf != nullptr || replyLen == nullptr || *replyLen != 0)
        line << " reply " << (replyLen != nullptr ? std::to_string(*replyLen) : "none");
    if (payload != nullptr && length == switchVlanRecordLength) {
        const auto &vlan = *static_cast<const SwitchVlan *>(payload);
        line << " vlan " << vlan.vlanId << " fwd " << vlan.fwdMap << " untag " << vlan.untagMap
             << (vlan.ownerSwitch == sw ? "" : " of another switch");
    } else if (payload != nullptr) {
        for (uint32_t i = 0; i < length && i < 16; ++i)
            line << " " << std::hex << unsigned{static_cast<const uint8_t *>(payload)[i]};
    }
    return platform::called(line.str(), 0);
}

// answer RESULT [#NTH] [=BYTES] MATCH: calls whose line contains MATCH get the result.
void answer(Words &words)
{
    const auto result = static_cast<int>(words.number());
    int nth = 0;
    platform::Bytes reply;
    std::string match = words.remainder();
    for (; match[0] == '#' || match[0] == '='; match = words.remainder()) {
        words = Words(match.substr(1));
        if (match[0] == '#') {
            nth = static_cast<int>(words.number());
        } else {
            const std::string bytes = words.bytes();
            reply.assign(bytes.begin(), bytes.end());
        }
    }
    platform::answer(match, result, nth, reply);
}

// event TABLE OPERATION ROW [raw BLOCK | NAME=VALUE ...]
void event(Words &words)
{
    const std::string table = words.next();
    const auto operation = static_cast<int>(words.number());
    const int64_t row = words.number();
    std::vector<std::string> names, values;
    while (!words.end()) {
        const std::string word = words.next();
        if (word == "raw") {
            noted(dbEvent(table, operation, row, words.next()));
            return;
        }
        names.push_back(word.substr(0, word.find('=')));
        values.push_back(word.substr(word.find('=') + 1));
    }
    noted(dbEvent(table, operation, row, oldValues(names, values)));
}

// vlan add|delete ID INTERFACE [FWD UNTAG INSIDE]
void vlan(Words &words)
{
    const int type = words.next() == "add" ? SW_CMD_VLAN_ADD : SW_CMD_VLAN_DELETE;
    const auto id = static_cast<int>(words.number());
    const std::string interface = words.next();
    const auto fwdMap = static_cast<uint32_t>(words.number());
    const auto untagMap = static_cast<uint32_t>(words.number());
    noted(vlanRequest(type, id, interface, fwdMap, untagMap, static_cast<int>(words.number())));
}

// bandwidth CODE TOTAL PERCENTAGE
void bandwidth(Words &words)
{
    const auto code = static_cast<uint32_t>(words.number());
    const auto total = static_cast<uint32_t>(words.number());
    noted(interfaceEvent(code, total, static_cast<uint32_t>(words.number())));
}

// switch NAME COMMAND [PAYLOAD]
void switchCommand(Words &words)
{
    const std::string name = words.next();
    const auto command = static_cast<int>(words.number());
    noted(switchRequest(name, command, words.bytes()));
}

// request TYPE LENGTH [REPLY-LENGTH]: the data are zeros
void anyRequest(Words &words)
{
    const auto type = static_cast<int>(words.number());
    const auto length = static_cast<size_t>(words.number());
    noted(request(type, std::string(length, '\0'),
                  std::string(static_cast<size_t>(words.number()), 'r')));
}

// message HEADER TYPE LENGTH DATA REPLY [REPLY-LENGTH]: a call of the handler with none,
// zeros or the event of a row that was deleted; no header or no reply buffer if a word is
// "none", else one with a bandwidth of 1000 at 50 percent, padded as the messaging does
void message(Words &words)
{
    RelayMsgHdr header{1, 20, 3, 4, 1};
    const std::string kind = words.next();
    header.request = kind == "request" ? 9 : 0;
    const auto type = static_cast<int>(words.number());
    const auto length = static_cast<int>(words.number());
    const std::string kindOfData = words.next();
    const bool hasData = kindOfData == "data" || kindOfData == "deletion";
    std::vector<char> reply(RELAY_REPLY_SIZE);
    const SwMgrIfBandwidth bandwidthGiven = [] {
        SwMgrIfBandwidth given{};
        given.totalBandwidth = 1000;
        given.percentage = 50;
        return given;
    }();
    memcpy(reply.data(), &bandwidthGiven, sizeof(bandwidthGiven));
    const bool hasReply = words.next() != "none";
    const bool hasLength = !words.end();
    auto replyLength = static_cast<uint32_t>(words.number());
    std::vector<char> data(1364);
    const uint32_t code = 22;
    memcpy(data.data() + 132, &code, sizeof(code)); // of an interface event
    if (kindOfData == "deletion") {
        strcpy(data.data(), "swGlobalCfg");
        data[offsetof(SwMgrDbEvent, opCode)] = SWMGR_DB_DELETE;
    }
    noted(platform::handler()(
        nullptr, kind == "none" ? nullptr : &header, type, hasData ? data.data() : nullptr, length,
        hasReply ? reply.data() : nullptr, hasLength ? &replyLength : nullptr));
}

// backend NAME: gives the switch a backend that records its commands
void backend(Words &words)
{
    const std::string name = words.next();
    Switch *sw = switchByNameGet(name.c_str());
    if (sw == nullptr) {
        SwitchGlobalCfg cfg{};
        strcpy(cfg.switchName, name.c_str());
        sw = switchCreate(&cfg);
        sw->lowerLvlCfgEnable = 1;
        salListNodeAppend(&switchTbl, &sw->link);
    }
    sw->configFunc = toldCommand;
}

void forwarding(Words &words)
{
    Switch *sw = switchByNameGet(words.next().c_str());
    sw->lowerLvlCfgEnable = static_cast<int32_t>(words.number());
}

void file(Words &words)
{
    const std::string path = words.next();
    platform::fileContent(path, words.remainder());
}

const std::map<std::string, void (*)(Words &)> commands = {
    {"answer", answer},
    {"usual", [](Words &) { EXPECT_EQ("", platform::answerAsUsual()); }},
    {"event", event},
    {"vlan", vlan},
    {"bandwidth", bandwidth},
    {"switch", switchCommand},
    {"request", anyRequest},
    {"message", message},
    {"backend", backend},
    {"forwarding", forwarding},
    {"file", file},
    {"foreground", [](Words &words) { swMgrForeground = static_cast<int>(words.number()); }},
    {"developer", [](Words &words) { swMgrDevDebug = static_cast<int>(words.number()); }},
    {"descriptor", [](Words &words) { fd = static_cast<int>(words.number()); }},
    {"remove", [](Words &words) { unlink(words.next().c_str()); }},
    {"model", [](Words &) { platform::note(modelShown()); }},
};

} // namespace

Fixture &Player::fixture()
{
    if (!own)
        own.emplace();
    return *own;
}

void Player::perform(const std::string &command)
{
    Words words(command);
    const std::string name = words.next();
    if (name == "sql") {
        fixture().sql(words.remainder());
    } else if (name == "rows") {
        fixture().addSwitches();
        fixture().addPorts();
    } else if (name == "few") {
        fixture().addSwitches();
        fixture().sql("insert into swPortConfig(switchName, portNumber, PVID, trustMode, phyDevice)"
                      " values('BCM', 1, 5, 0, ''), ('BCM', 3, 1, 0, ''),"
                      " ('PSE', 1, 0, 2, 'BCM:1'), ('PSE', 2, 0, 4, 'BCM:3')");
    } else if (name == "start") {
        fixture();
        noted(swMgrInit(Fixture::path));
    } else if (name == "listen") {
        platform::onListen([this, later = words.remainder()] { perform(later); });
    } else if (name == "missing") {
        const std::string function = words.next();
        argumentsLeaveOut(function, words.remainder());
    } else if (name == "faulty") {
        performFaulty(words.remainder());
    } else if (const auto found = commands.find(name); found != commands.end()) {
        found->second(words);
    } else if (!exportedCall(name, words)) {
        ADD_FAILURE() << "no such command: " << command;
    }
}

std::string Player::play(const std::string &command)
{
    Words words(command);
    Words ahead = words;
    const std::string name = ahead.next();
    if (name == "abandoning") {
        perform(ahead.remainder());
        abandoned = unreachedBlocks();
        return platform::everything();
    }
    const bool isPart = name == "quiet" || name == "hardware" || name == "log";
    perform(isPart ? ahead.remainder() : command);
    std::string lines = platform::everything();
    if (name == "quiet")
        lines.clear();
    else if (isPart)
        lines = only(lines, name == "log");
    // The source line of a message is not part of any contract.
    if (swMgrDevDebug != 0)
        lines = std::regex_replace(lines, std::regex("(log 256 .*?[A-Za-z]):[0-9]+:"), "$1:");
    const std::string before = std::exchange(broken, brokenInvariant(abandoned));
    return broken.empty() || broken == before ? lines : lines + "BROKEN " + broken + "\n";
}

namespace {

std::ostream &operator<<(std::ostream &out, const SwitchPort &port)
{
    out << "  port " << port.portNumber << " index " << port.portIndex << " PVID " << port.PVID
        << " untagged " << port.non8021qFramesStatus << " on '"
        << std::string(port.interfaceName, strnlen(port.interfaceName, 64)) << "'";
    for (const int32_t value : {port.portType, port.trustMode, port.mirroring, port.rateLimit,
                                port.schedMode, port.numQueues, port.queue1Weight,
                                port.queue2Weight, port.queue3Weight, port.queue4Weight})
        out << " " << value;
    for (const SwitchLowerLvlNode &node :
         ListOf<SwitchLowerLvlNode>(const_cast<SalList &>(port.mappedList)))
        out << " -> " << node.mapped->ownerSwitch->switchName << ":" << node.mapped->portNumber;
    return out << "\n";
}

std::ostream &operator<<(std::ostream &out, const SwitchVlan &vlan)
{
    return out << "  vlan " << vlan.vlanId << " index " << vlan.vlanIndex << " '" << vlan.vlanName
               << "' on '" << vlan.interfaceName << "' '" << vlan.LogicalIfName << "' '"
               << vlan.ingressMap << vlan.egressMap << "' fwd " << vlan.fwdMap << " untag "
               << vlan.untagMap << " inside " << vlan.inSwitchOnly << "\n";
}

} // namespace

std::string modelShown()
{
    std::ostringstream out;
    const Switch *top = switchAtTopLevelGet();
    out << "top " << (top != nullptr ? top->switchName : "none") << " next index "
        << switchNextVlanIndexGet() << " descriptor " << fd << "\n";
    for (Switch &sw : ListOf<Switch>(switchTbl)) {
        out << "switch " << sw.switchName << " " << sw.switchIndex << " on '" << sw.switchDevice
            << "'";
        for (const int32_t value :
             {sw.vlanEnable, sw.qosEnable, sw.numPorts, sw.pauseFrameEnable, sw.igmpSnoopingEnable,
              sw.mldSnoopingEnable, sw.switchLevel, sw.lowerLvlCfgEnable})
            out << " " << value;
        for (const SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(sw.lowerLvlSwitchList))
            out << " above " << node.lower->switchName;
        out << "\n";
        for (const SwitchPort &port : ListOf<SwitchPort>(sw.portList))
            out << port;
        for (const SwitchVlan &vlan : ListOf<SwitchVlan>(sw.vlanList))
            out << vlan;
    }
    return out.str();
}
