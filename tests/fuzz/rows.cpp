// Values worth trying, and how an input chooses among them.
#include "rows.h"

namespace fuzz {

namespace {

constexpr const char *texts[] = {"eth0",       "eth1",        "eth0;reboot",
                                 "$(reboot)",  "a b",         "-1",
                                 "0,1,2",      "0,1,2,31",    "31,32,-1",
                                 ",,1,",       "BCM",         "PSE",
                                 "BCM:1",      "BCM:1,BCM:2", "PSE:1",
                                 "BCM:9",      "BCM",         "BCM:",
                                 ":1",         "BCM:1,X:1",   "",
                                 "2147483648", "-2147483649", " 7x",
                                 "%s%n",       "/../../tmp",  "'; DROP TABLE vlanEncapIf",
                                 "1e3",        "0x1f"};

constexpr int32_t numbers[] = {0, 1, 2, 3, 4, 31, 32, 4094, 4095, -1, INT32_MAX, INT32_MIN};

constexpr uint16_t lengths[] = {1, 15, 62, 63, 64, 65, 127, 128, 511, 512, 513, 5000};

} // namespace

const std::vector<Table> &tables()
{
    static const auto *all = new std::vector<Table>{
        {"swGlobalCfg",
         {"switchName", "switchDevice", "vlanEnable", "qosEnable", "numPorts", "pauseFrameEnable",
          "igmpSnoopingEnable", "mldSnoopingEnable", "switchLevel"},
         {"BCM", "/dev/bcm", "1", "1", "5", "0", "1", "1", "#"}},
        {"swPortConfig",
         {"switchName", "portNumber", "PVID", "portType", "mirroring", "trustMode", "interfaceName",
          "phyDevice", "rateLimit", "schedMode", "numQueues", "queue1Weight", "queue2Weight",
          "queue3Weight", "queue4Weight"},
         {"PSE", "#", "1", "0", "0", "4", "eth0", "BCM:1,BCM:#", "0", "0", "4", "1", "2", "4",
          "8"}},
        {"vlanEncapIf",
         {"vlanId", "interfaceName", "LogicalIfName", "ingressMap", "egressMap", "fwdMap",
          "untagMap", "inSwitchOnly"},
         {"#", "eth0", "home", "0:1", "1:0", "0,1,#", "#", "0"}},
    };
    return *all;
}

const Table &tableOf(Input &input)
{
    return tables()[input.below(tables().size())];
}

Cell cellRead(Input &input)
{
    switch (input.below(6)) {
    case 0:
        return {false, ""};
    case 1:
        return {true, std::to_string(input.pick(numbers))};
    case 2:
        return {true, std::to_string(input.number<int32_t>())};
    case 3:
        return {true, input.pick(texts)};
    case 4: {
        const auto length = input.pick(lengths);
        return {true, std::string(length, static_cast<char>(input.byte() | 1))};
    }
    default: {
        // A value ends at its first terminator, whoever wrote it.
        return {true, std::string(input.text().c_str())};
    }
    }
}

std::vector<Cell> rowRead(Input &input, const Table &table)
{
    const std::string small = std::to_string(input.below(12));
    std::vector<Cell> row;
    for (const std::string &value : table.values) {
        const size_t place = value.find('#');
        row.push_back({true, place == std::string::npos
                                 ? value
                                 : value.substr(0, place) + small + value.substr(place + 1)});
    }
    for (size_t replaced = input.below(4); replaced > 0; --replaced) {
        const size_t column = input.below(row.size());
        row[column] = cellRead(input);
    }
    return row;
}

std::string oldValuesRead(Input &input, const Table &table)
{
    const size_t kind = input.below(4);
    if (kind == 0)
        return "";
    if (kind == 1)
        return input.text();
    std::string block;
    for (const std::string &name : table.columns)
        block += name + '\0';
    for (const Cell &cell : rowRead(input, table))
        block += cell.text + '\0';
    if (kind == 2)
        return block;
    const size_t cut = input.number<uint16_t>() % (block.size() + 1);
    return block.substr(0, cut) + input.text();
}

} // namespace fuzz
