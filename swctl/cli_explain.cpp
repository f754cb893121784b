// 'explain': what happens to a VLAN's frames at a port, and the state of an interface.
#include "client/base/failure.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/check/check_rules.h"
#include "client/gateway/devices.h"
#include "client/view/explain.h"
#include "common/json.h"
#include "swctl/cli_change.h"
#include "swctl/commands.h"
#include "swctl/report.h"
#include "swctl/show.h"
#include "swctl/validate.h"

namespace swctl {
namespace {

constexpr const char *everyPort = "all";

// The part after the last colon, or all of it if there is none.
std::string portWord(const std::string &text)
{
    return text.substr(text.rfind(':') + 1); // npos + 1 is 0
}

// The first switch, in the order of the devices, that a start sets up; empty: none.
std::string firstSwitch(const Inspection &inspection)
{
    for (const Device *device : devices())
        if (inspection.has(*device))
            return device->name;
    return {};
}

// The requested ports. Without a switch name, they are those of the first switch.
std::vector<PortName> portsOf(const Inspection &inspection, const std::string &text)
{
    const size_t colon = text.rfind(':');
    PortName port;
    port.switchName = colon != std::string::npos ? text.substr(0, colon) : firstSwitch(inspection);
    const SwitchConfig *found = nullptr;
    for (const SwitchConfig &sw : inspection.network.switches)
        if (sw.name == port.switchName)
            found = &sw;
    if (found == nullptr)
        throw Failure(exitUsage, port.switchName.empty()
                                     ? "the database has no switch that a start sets up"
                                     : "there is no switch '" + printable(port.switchName) +
                                           "' in the database");
    port.device = found->device;
    if (port.device == nullptr)
        throw Failure(
            exitDiffers,
            "a fresh start does not set up switch '" + printable(found->name) + "'" +
                (inspection.network.stop ? ": " + stopText(*inspection.network.stop) : ""));
    const int highest = port.device->portCount - 1;
    std::set<int> rows;
    for (const PortConfig &row : found->ports)
        if (row.number >= 0 && row.number <= highest)
            rows.insert(row.number);
    const std::string word = portWord(text);
    std::set<int> numbers = rows;
    if (word != everyPort)
        numbers = {std::stoi(word)};
    if (numbers.empty())
        throw Failure(exitUsage, "switch '" + printable(port.switchName) + "' has no port");
    if (*numbers.begin() > highest)
        throw Failure(exitUsage, "switch '" + printable(port.switchName) + "' has ports 0 to " +
                                     std::to_string(highest));
    if (port.device->portsAreInterfaces && !rows.contains(*numbers.begin()))
        throw Failure(exitUsage, "no row describes port " + word + " of switch '" +
                                     printable(port.switchName) + "', so it has no interface");
    std::vector<PortName> ports;
    ports.reserve(numbers.size());
    for (const int number : numbers) {
        port.number = number;
        ports.push_back(port);
    }
    return ports;
}

// Checks only the syntax, e.g. "3" or "PSE:3"; the port need not exist.
std::string portText(const std::string &text)
{
    const std::string word = portWord(text);
    const bool good =
        !text.starts_with(':') &&
        (word == everyPort || (!word.empty() && word.size() <= 2 &&
                               word.find_first_not_of("0123456789") == std::string::npos));
    if (!good)
        throw Failure(exitUsage, "'" + printable(text) +
                                     "' is not a port; use 3 for a port of the first switch, PSE:3 "
                                     "for one of switch PSE, PSE:all for all ports in its rows");
    return text;
}

void printLine(const std::string &head, const std::string &text)
{
    constexpr size_t column = 13;
    printWrapped(stdout, padded(head, static_cast<int>(column) - 2) + shown(text), outputColumns,
                 /*indent=*/2, column);
}

const char *verdictOf(bool asWanted, const std::vector<std::string> &unread,
                      const std::vector<Difference> &differs)
{
    return asWanted                             ? "as wanted"
           : !differs.empty() || unread.empty() ? "different"
                                                : "not all of it could be read";
}

// The common end of both kinds of explanation.
template <class Explanation>
void printWhy(const Explanation &all, const std::vector<std::string> &unread,
              const std::vector<Difference> &differs)
{
    for (const std::string &part : unread)
        printLine("not read", part);
    for (const Difference &difference : differs) {
        printf("  ! %s\n", difference.text().c_str());
        printf("    To fix it: %s\n", difference.mend().c_str());
    }
    for (const std::string &reason : all.reasons)
        printLine("because", reason);
    for (const Finding &finding : all.findings) {
        printLine(severityName(finding.severity),
                  finding.name + ": " + finding.message + " (" + finding.rule->id + ")");
        printLine("fix", finding.rule->mend);
    }
}

void printPortExplanation(const PortExplanation &all)
{
    const PortAnswer &answer = all.answer;
    printf("VLAN %d at port %d of %s: %s\n", all.vlanId, all.port.number,
           shown(all.port.switchName).c_str(),
           verdictOf(all.asWanted(), answer.unread, answer.differs));
    for (const std::string &row : all.rows)
        printLine("database", row);
    if (all.rows.empty())
        printLine("database", "no row has this VLAN");
    printLine("should be", answer.wanted + ", after a fresh start");
    printLine("is", answer.held);
    printLine("tagged", answer.tagged.text());
    printLine("untagged", answer.untagged.text());
    printLine("sends", answer.sends.empty() ? "no frames of this VLAN" : answer.sends);
    printLine("based on", answer.basis);
    printWhy(all, answer.unread, answer.differs);
    if (!all.remedy.empty())
        printLine("to add it", all.remedy);
}

Json fateJson(const FrameFate &fate)
{
    return {{"outcome", !fate.unknown.empty()   ? "unknown"
                        : !fate.dropped.empty() ? "dropped"
                                                : "forwarded"},
            {"vlan", fate.vlanId != 0 ? Json(fate.vlanId) : Json()},
            {"ports", portsIn(fate.to)},
            {"withoutTag", portsIn(fate.bare)},
            {"others", fate.others},
            {"host", fate.host},
            {"text", fate.text()}};
}

template <class Explanation>
void addWhy(Json &json, const Explanation &all, const std::vector<std::string> &unread,
            const std::vector<Difference> &differs)
{
    Json findings = Json::array();
    for (const Finding &finding : all.findings)
        findings.push_back({{"rule", finding.rule->id},
                            {"severity", severityName(finding.severity)},
                            {"message", finding.message},
                            {"mend", finding.rule->mend}});
    json["unread"] = unread;
    json["differences"] = differencesJson(differs);
    json["reasons"] = all.reasons;
    json["findings"] = std::move(findings);
}

Json portJson(const PortExplanation &all)
{
    const PortAnswer &answer = all.answer;
    Json json = {{"vlan", all.vlanId},
                 {"switch", all.port.switchName},
                 {"port", all.port.number},
                 {"outcome", verdictOf(all.asWanted(), answer.unread, answer.differs)},
                 {"rows", all.rows},
                 {"wanted", answer.wanted},
                 {"held", answer.held},
                 {"read", answer.read},
                 {"tagged", fateJson(answer.tagged)},
                 {"untagged", fateJson(answer.untagged)},
                 {"sends", answer.sends.empty() ? Json() : Json(answer.sends)},
                 {"basis", answer.basis}};
    addWhy(json, all, answer.unread, answer.differs);
    json["remedy"] = all.remedy.empty() ? Json() : Json(all.remedy);
    return json;
}

int runExplainVlan(const Call &call)
{
    const Globals &globals = call.globals;
    const int vlanId = call.integer("ID");
    const std::string word = portWord(call.text("PORT"));
    std::set<int> numbers;
    for (int port = 0; port < portListBits; ++port)
        if (word == everyPort || port == std::stoi(word))
            numbers.insert(port);
    GatewayView gateway = openGateway(globals, Access::read);
    const Inspection inspection = inspect(gateway, {vlanId}, numbers);
    bool asWanted = true;
    Json json = Json::array();
    for (const PortName &port : portsOf(inspection, call.text("PORT"))) {
        const PortExplanation all = explainPort(inspection, port, vlanId);
        asWanted = asWanted && all.asWanted();
        json.push_back(portJson(all));
        if (!globals.json) {
            if (json.values().size() > 1)
                putchar('\n');
            printPortExplanation(all);
        }
    }
    if (globals.json)
        printJson(word == everyPort ? json : json.values().front());
    return asWanted ? exitDone : exitDiffers;
}

void printInterface(const InterfaceExplanation &all)
{
    printf("interface %s: %s\n", shown(all.name).c_str(),
           !all.exists ? "does not exist" : verdictOf(all.asWanted(), all.unread, all.differs));
    std::string ports;
    for (const std::string &port : all.ports)
        ports += (ports.empty() ? "" : ", ") + port;
    printLine("rows", ports.empty() ? "no port row names " + all.parent : ports);
    for (const SubInterfaceState &sub : all.subs) {
        printLine(sub.name, "");
        printLine("should be", sub.wanted);
        printLine("is", sub.held);
        printLine("gets", "frames of VLAN " + std::to_string(sub.vlanId) + " " + sub.gets.text);
    }
    if (all.subs.empty())
        printLine("VLANs", "no row names " + all.name);
    printWhy(all, all.unread, all.differs);
}

int runExplainInterface(const Call &call)
{
    const Globals &globals = call.globals;
    const std::string &name = call.text("NAME");
    GatewayView gateway = openGateway(globals, Access::read);
    Database &database = gateway.database();
    const Inspection inspection = inspect(gateway, vlanIdsIn(database));
    const InterfaceExplanation all =
        explainInterface(inspection, database.rows("swPortConfig"), name);
    if (!all.exists && all.subs.empty() && all.ports.empty())
        throw Failure(exitUsage,
                      "there is no interface '" + printable(name) + "', and no row names it");
    if (globals.json) {
        Json subs = Json::array();
        for (const SubInterfaceState &sub : all.subs)
            subs.push_back({{"name", sub.name},
                            {"vlan", sub.vlanId},
                            {"wanted", sub.wanted},
                            {"held", sub.held},
                            {"chipPorts", sub.gets.ports},
                            {"hostPorts", sub.gets.hostPorts}});
        Json json = {{"interface", all.name},
                     {"outcome", verdictOf(all.asWanted(), all.unread, all.differs)},
                     {"exists", all.exists},
                     {"ports", all.ports},
                     {"subInterfaces", std::move(subs)}};
        addWhy(json, all, all.unread, all.differs);
        printJson(json);
    } else {
        printInterface(all);
    }
    return all.asWanted() ? exitDone : exitDiffers;
}

std::string thePortWord(const std::string &text)
{
    if (text != "port")
        throw Failure(exitUsage, "'" + printable(text) + "' is not the word 'port'");
    return text;
}

constexpr OptionRow vlanArguments[] = {
    {.name = "ID",
     .type = "ID",
     .help = "802.1Q VLAN id, 1 to 4094",
     .check = decimal<lowestVlan, highestVlan>,
     .required = true},
    {.name = "port",
     .type = "port",
     .help = "The word 'port'",
     .check = thePortWord,
     .required = true},
    {.name = "PORT",
     .type = "PORT",
     .help = "Port of the first switch, SWITCH:PORT, or 'all'",
     .check = portText,
     .required = true},
};
constexpr OptionRow interfaceArguments[] = {
    {.name = "NAME",
     .type = "INTERFACE",
     .help = "Interface, e.g. eth0 or eth0.20",
     .required = true},
};

} // namespace

constexpr CommandRow commands::explainVlan = {
    "explain",
    "vlan",
    "Explain what happens to a VLAN's frames at a port: the row, the current state of the switch, "
    "where tagged and untagged frames go, and why; exit status 0 if as wanted, 4 if different",
    "  swctl explain vlan 20 port 3\n  swctl explain vlan 20 port PSE:3 --json\n"
    "  swctl explain vlan 20 port BRIDGE:all",
    runExplainVlan,
    {vlanArguments}};

constexpr CommandRow commands::explainInterface = {
    "explain",
    "interface",
    "Explain the state of an interface or of a VLAN's sub-interface, what reaches it, and why; "
    "exit status 0 if as wanted, 4 if different",
    "  swctl explain interface eth0\n  swctl explain interface eth0.20",
    runExplainInterface,
    {interfaceArguments}};

} // namespace swctl
