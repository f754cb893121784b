// The library's exported functions by name. Arguments are read by type: "none" for a
// missing one, objects of the model as PSE, PSE:3 (a port) and PSE#10 (a VLAN), records as
// bytes.
#include "support/player.h"

#include "backends/backends.h"
#include "backends/bcm/bcm.h"
#include "backends/bcm/device.h"
#include "backends/bcm/port_vlan.h"
#include "backends/bcm/ports.h"
#include "backends/bcm/qos.h"
#include "backends/bcm/show.h"
#include "backends/bcm/vlan.h"
#include "backends/pse/lower.h"
#include "backends/pse/mac_address.h"
#include "backends/pse/membership.h"
#include "backends/pse/pse.h"
#include "backends/pse/settings.h"
#include "base/labels.h"
#include "base/zone.h"
#include "config/switch_config.h"
#include "config/vlan_config.h"
#include "service/interface_event.h"
#include "service/reload.h"
#include "store/database.h"
#include "store/decode.h"
#include "store/event.h"
#include "store/load.h"
#include "store/port_list.h"
#include "store/rows.h"
#include "switch/port.h"
#include "switch/port_mapping.h"
#include "switch/registry.h"
#include "vlan/encap.h"
#include "vlan/uptime.h"
#include "vlan/vlan.h"

#include <functional>
#include <map>
#include <sstream>

namespace {

Switch *objectOf(const std::string &name, Switch *)
{
    return switchByNameGet(name.c_str());
}

int numberIn(const std::string &name)
{
    return atoi(name.c_str() + name.find_first_of(":#") + 1);
}

Switch *ownerIn(const std::string &name)
{
    return switchByNameGet(name.substr(0, name.find_first_of(":#")).c_str());
}

SwitchPort *objectOf(const std::string &name, SwitchPort *)
{
    return switchPortByNumberGet(ownerIn(name), numberIn(name));
}

// PSE#10, or PSE#10,FWD,UNTAG,INSIDE,INTERFACE for an object that is in no list.
SwitchVlan *objectOf(const std::string &name, SwitchVlan *)
{
    const size_t comma = name.find(',');
    if (comma == std::string::npos)
        return switchVlanByIdGet(ownerIn(name), numberIn(name));
    static std::deque<SwitchVlan> images;
    SwitchVlan &image = images.emplace_back();
    image.ownerSwitch = ownerIn(name.substr(0, comma));
    image.vlanId = numberIn(name);
    sscanf(name.c_str() + comma, ",%x,%x,%d,%63s", &image.fwdMap, &image.untagMap,
           &image.inSwitchOnly, image.interfaceName);
    image.vlanIndex = 9;
    snprintf(image.vlanName, sizeof(image.vlanName), "v%d", image.vlanId);
    return &image;
}

std::string shown(const Switch *sw)
{
    return sw != nullptr ? sw->switchName : "none";
}

std::string shown(const SwitchPort *port)
{
    return port != nullptr ? shown(port->ownerSwitch) + ":" + std::to_string(port->portNumber)
                           : "none";
}

std::string shown(const SwitchVlan *vlan)
{
    return vlan != nullptr ? shown(vlan->ownerSwitch) + "#" + std::to_string(vlan->vlanId) : "none";
}

std::string shown(const char *text)
{
    return text;
}

std::string shown(int64_t number)
{
    return std::to_string(number);
}

std::string shown(char **table)
{
    const std::string text = table != nullptr ? "a table" : "none";
    sqlite3_free_table(table);
    return text;
}

// A result table with one row, NAME=VALUE;NAME=VALUE... Without "=", the value is NULL.
char **tableOf(const std::string &text)
{
    static std::deque<std::string> texts;
    static std::deque<std::vector<char *>> tables;
    std::vector<char *> names, values;
    std::istringstream cells(text);
    for (std::string cell; std::getline(cells, cell, ';');) {
        const size_t equals = cell.find('=');
        names.push_back(texts.emplace_back(cell.substr(0, equals)).data());
        const bool isNull = equals == std::string::npos;
        values.push_back(isNull ? nullptr
                                : texts.emplace_back(textOf(cell.substr(equals + 1))).data());
    }
    names.insert(names.end(), values.begin(), values.end());
    return tables.emplace_back(names).data();
}

// The non-zero bytes of a record, each run after its offset.
std::string recordShown(const std::vector<char> &bytes)
{
    std::ostringstream out;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == 0)
            continue;
        if (i == 0 || bytes[i - 1] == 0)
            out << " @" << i << " ";
        const auto byte = static_cast<uint8_t>(bytes[i]);
        if (isalnum(byte) != 0)
            out << bytes[i];
        else
            out << "\\" << unsigned{byte};
    }
    return out.str();
}

// An argument, read from the words, and what a call changed in it.
template <class Type>
struct Argument {
    explicit Argument(Words &words) : value(static_cast<Type>(words.number())) {}
    Type get() { return value; }
    static std::string left() { return ""; }
    Type value;
};

template <class Type>
struct Argument<Type *> {
    using Plain = std::remove_const_t<Type>;
    static constexpr bool isText = std::is_same_v<Plain, char>;
    static constexpr bool isObject = std::is_same_v<Plain, Switch> ||
                                     std::is_same_v<Plain, SwitchPort> ||
                                     std::is_same_v<Plain, SwitchVlan>;
    explicit Argument(Words &words)
    {
        Words ahead = words;
        if (ahead.next() == "none") {
            words = ahead;
        } else if constexpr (isObject) {
            value = objectOf(words.next(), static_cast<Plain *>(nullptr));
        } else if constexpr (std::is_same_v<Plain, sqlite3>) {
            value = pDB;
        } else if constexpr (std::is_same_v<Plain, char *>) {
            value = tableOf(words.next());
        } else {
            before = isText ? words.next() + '\0' : words.bytes();
            if constexpr (!isText && !std::is_void_v<Plain>)
                before.resize(sizeof(Plain));
            bytes.assign(before.begin(), before.end());
            if constexpr (!std::is_const_v<Type> && isText)
                bytes.resize(bytes.size() + 512);
            value = reinterpret_cast<Type *>(bytes.data());
        }
    }
    Type *get() { return value; }
    std::string left()
    {
        if (std::is_const_v<Type> || isObject || value == nullptr || bytes.empty())
            return "";
        if (isText)
            return std::string(" left \"") + bytes.data() + "\"";
        const bool changed = std::string(bytes.begin(), bytes.end()) != before;
        return changed ? " left" + recordShown(bytes) : "";
    }
    Type *value = nullptr;
    std::string before;
    std::vector<char> bytes; // in its own block, so that a sanitizer detects an access beyond it
};

struct Call {
    std::function<void(Words &words)> run;
    std::vector<bool> isPointer; // of each argument
};

template <class Result, class... Types>
Call callOf(Result (*function)(Types...))
{
    const auto run = [function](Words &words) {
        std::tuple<Argument<Types>...> arguments{Argument<Types>(words)...};
        std::apply(
            [function](auto &...each) {
                std::string result;
                if constexpr (std::is_void_v<Result>)
                    function(each.get()...);
                else
                    result = shown(function(each.get()...));
                ((result += each.left()), ...);
                platform::note("= " + result);
            },
            arguments);
    };
    return {run, {std::is_pointer_v<Types>...}};
}

// A command to a switch with whatever it is bound to, and one handed on to a lower switch.
int configFunc(Switch *sw, int cmd, const void *payload, uint32_t payloadLen, void *replyBuf,
               uint32_t *replyLen)
{
    return sw->configFunc(sw, cmd, payload, payloadLen, replyBuf, replyLen);
}

int confTransferFunc(Switch *sw, Switch *lower, int cmd, const void *payload, uint32_t payloadLen,
                     void *replyBuf, uint32_t *replyLen)
{
    return sw->confTransferFunc(sw, lower, cmd, payload, payloadLen, replyBuf, replyLen);
}

// clang-format off
#define F(name) {#name, callOf(name)}
const std::map<std::string, Call> functions = {
    F(bcmCPUPortNumberGet), F(bcmCosQueueMapConfigure), F(bcmDefPortVlanConfig), F(bcmIGMPSnoopSet),
    F(bcmIsPortInVlanFwdMap), F(bcmIsPortInVlanUntagMap), F(bcmLinkStatusGet), F(bcmMLDSnoopSet),
    F(bcmNon8021qFramesStateChange), F(bcmPauseFrameConfigure), F(bcmPortStatsGet),
    F(bcmPortVlanConfig), F(bcmPortVlanDeConfig), F(bcmPortVlanReset), F(bcmQoSConfigure),
    F(bcmQueueSchedConfigure), F(bcmRateLimitConfigure), F(bcmSwitchConfig),
    F(bcmSwitchPortConfigure), F(bcmSwitchPortPVIDSet), F(bcmSwitchRegister),
    F(bcmSwitchUnRegister), F(bcmTagsShow), F(bcmTrustModeConfigure), F(bcmVlanEnable),
    F(bcmVlanMembershipClear), F(bcmVlanMembershipConfigure), F(bcmVlanMembershipSet),
    F(bcmVlanMembershipUpdate), F(bcmVlanShow), F(confTransferFunc), F(configFunc), F(pseConfTransfer), F(pseCpuARLTableEntryAdd),
    F(pseCpuARLTableEntryDelete), F(pseLowerSwitchConfig), F(psePauseFrameConfigure),
    F(pseQoSConfigure), F(pseQueueSchedConfigure), F(pseRateLimitConfigure), F(pseSwitchConfig),
    F(pseSwitchRegister), F(pseSwitchUnRegister), F(pseTrustModeConfigure),
    F(pseVlanMembershipConfigure), F(pseVlanMembershipSet), F(str2num), F(swGlobalCfgDBEventHandler),
    F(swGlobalCfgDBInsertHandler), F(swGlobalCfgFromQueryResultRead), F(swMgrCfgApply),
    F(swMgrCfgReload), F(swMgrDBDeinit), F(swMgrDBInit), F(swMgrDBUpdateHandler), F(swMgrDeinit),
    F(swMgrHandleIfDevEvent), F(swMgrInit), F(swMgrRun), F(swMgrTableGet), F(swMgrZoneTypeGet),
    F(swPortCfgDBEventHandler), F(swPortCfgDBInsertHandler), F(swPortCfgFromQueryResultRead),
    F(swPortStrGet), F(swVlanCfgDBDeleteHandler), F(swVlanCfgDBEventHandler),
    F(swVlanCfgDBInsertHandler), F(swVlanCfgDBUpdateHandler), F(swVlanCfgFromQueryResultRead),
    F(swVlanStrGet), F(switchAllVlansDisable), F(switchAtTopLevelGet), F(switchByNameGet),
    F(switchCfgApply), F(switchCfgDisable), F(switchCfgLoad), F(switchConfAdd), F(switchConfig),
    F(switchConfigFuncRegister), F(switchConfigFuncUnRegister), F(switchCreate), F(switchDeinit),
    F(switchDestroy), F(switchInitialCfgApply), F(switchLibDeinit), F(switchLibInit),
    F(switchLowerLvlSwitchByNameGet), F(switchLowerLvlSwitchListAppend),
    F(switchMacAddressByIfNameGet), F(switchNextVlanIndexGet),
    F(switchPortByNumberAndSwitchNameGet), F(switchPortByNumberGet), F(switchPortCfgApply),
    F(switchPortCfgLoad), F(switchPortConfAdd), F(switchPortCreate), F(switchPortDeinit),
    F(switchPortDestroy), F(switchPortMapInit), F(switchPortMappedListAppend),
    F(switchPortTrustModeConfigure), F(switchPortVlanConfigure), F(switchPortVlanInfoConfigure),
    F(switchStrGet), F(switchVlanByConfCreate), F(switchVlanByIdGet), F(switchVlanByNameGet),
    F(switchVlanCfgApply), F(switchVlanCfgLoad), F(switchVlanConfAdd), F(switchVlanConfDelete),
    F(switchVlanConfParamsAssign), F(switchVlanConfUpdate), F(switchVlanConfigure),
    F(switchVlanCreate), F(switchVlanDelete), F(switchVlanDisable), F(switchVlanEncapCreate),
    F(switchVlanEncapDestroy), F(switchVlanEncapEgressCoSMapConfig),
    F(switchVlanEncapIngressCoSMapConfig), F(switchVlanIndexIncr), F(switchVlanMembershipUpdate),
    F(switchVlanUpdate), F(timeEventGet), F(timeEventRecord)};
#undef F
// clang-format on

} // namespace

bool exportedCall(const std::string &name, Words &words)
{
    const auto found = functions.find(name);
    if (found == functions.end())
        return false;
    testing::internal::CaptureStdout();
    found->second.run(words);
    const std::string printed = testing::internal::GetCapturedStdout();
    if (!printed.empty())
        platform::note("printed " + printed);
    return true;
}

void argumentsLeaveOut(const std::string &name, const std::string &words)
{
    const std::vector<bool> isPointer = functions.at(name).isPointer;
    for (size_t left = 0; left < isPointer.size(); ++left) {
        if (!isPointer[left])
            continue;
        std::string line;
        bool given = false;
        Words all(words);
        for (size_t i = 0; i < isPointer.size(); ++i) {
            const std::string word = all.next();
            line += (i == left ? "none" : word) + " ";
            given |= i == left && word != "none";
        }
        if (!given)
            continue;
        Words some(line);
        exportedCall(name, some);
    }
}
