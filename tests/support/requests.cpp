// Builds the requests, each buffer exactly as long as it says, so that a sanitizer detects
// a read or write beyond it.
#include "support/requests.h"

#include "support/platform.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>
#include <cstring>

std::string oldValues(const std::vector<std::string> &names, const std::vector<std::string> &values)
{
    std::string block;
    for (const auto *strings : {&names, &values})
        for (const std::string &text : *strings)
            block += text + '\0';
    return block;
}

int request(int type, std::string data, std::string reply)
{
    RelayMsgHdr header{0, 55, 0, 0, 1};
    auto length = static_cast<uint32_t>(reply.size());
    std::vector<char> bytes(data.begin(), data.end());
    std::vector<char> answer(reply.begin(), reply.end());
    return platform::handler()(nullptr, &header, type, bytes.data(), static_cast<int>(bytes.size()),
                               reply.empty() ? nullptr : answer.data(), &length);
}

int dbEvent(const std::string &table, int opCode, int64_t rowId, const std::string &old)
{
    SwMgrDbEvent event{};
    memcpy(event.tableName, table.data(), std::min(table.size(), sizeof(event.tableName)));
    event.rowId = rowId;
    event.opCode = opCode;
    return request(SWMGR_MSG_DB_EVENT, bytesOf(event), old);
}

int switchRequest(const std::string &switchName, int command, const std::string &payload)
{
    SwMgrSwitchCmdRequest body{};
    memcpy(body.switchName, switchName.data(),
           std::min(switchName.size(), sizeof(body.switchName)));
    memcpy(body.payload, payload.data(), payload.size());
    return request(command, bytesOf(body));
}

int vlanRequest(int type, int id, const std::string &interfaceName, uint32_t fwdMap,
                uint32_t untagMap, int inSwitchOnly)
{
    SwMgrVlanRequest body{};
    memset(body.reserved, 'x', sizeof(body.reserved));
    body.vlan.vlanId = id;
    memcpy(body.vlan.interfaceName, interfaceName.data(),
           std::min(interfaceName.size(), sizeof(body.vlan.interfaceName)));
    body.vlan.fwdMap = fwdMap;
    body.vlan.untagMap = untagMap;
    body.vlan.inSwitchOnly = inSwitchOnly;
    return request(type, bytesOf(body));
}

int interfaceEvent(uint32_t code, uint32_t total, uint32_t percentage)
{
    SwMgrIfDevEvent event{};
    strcpy(event.interfaceName, "eth1");
    event.eventCode = code;
    SwMgrIfBandwidth bandwidth{};
    bandwidth.totalBandwidth = total;
    bandwidth.percentage = percentage;
    return request(SWMGR_MSG_IFDEV_EVENT, bytesOf(event), bytesOf(bandwidth));
}
