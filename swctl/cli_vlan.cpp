// One VLAN: its row, what a fresh start makes of it, and what the gateway holds.
#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/view/inspection.h"
#include "common/json.h"
#include "swctl/cli_change.h"
#include "swctl/cli_list.h"
#include "swctl/commands.h"
#include "swctl/configuration_columns.h"
#include "swctl/report.h"
#include "swctl/show.h"

#include <algorithm>

namespace swctl {
namespace {

struct VlanView {
    int id = 0;
    Inspection inspection;
    std::vector<Row> rows;               // more than one when the id is there twice
    std::vector<Difference> differences; // of this VLAN

    [[nodiscard]] bool equal() const { return differences.empty() && inspection.unread.empty(); }
};

// A port's default tag concerns the VLAN that it has and the one that it should have.
bool concerns(const Difference &difference, int id)
{
    return difference.vlanId == id || (difference.kind == DifferenceKind::defaultTag &&
                                       difference.found == std::to_string(id));
}

VlanView viewOf(const Globals &globals, int id)
{
    GatewayView gateway = openGateway(globals, Access::read);
    VlanView view{id, inspect(gateway, {id}), {}, {}};
    view.rows = view.inspection.rowsOf(id);
    if (view.rows.empty())
        throw Failure(exitUsage, "there is no VLAN " + std::to_string(id) + " in the database");
    for (const Difference &difference : view.inspection.differences)
        if (concerns(difference, id))
            view.differences.push_back(difference);
    return view;
}

std::string engineText(const EngineVlan &vlan)
{
    // As in an entry of the chip, where the untagged ports are marked instead.
    return membersText(vlan.members, vlan.members & ~vlan.tagged);
}

// The VLAN's sub-interfaces that should be there or are.
std::map<std::string, std::pair<std::string, std::string>> interfacesOf(const VlanView &view)
{
    std::map<std::string, std::pair<std::string, std::string>> states;
    for (const auto &[name, sub] : view.inspection.target.kernel.interfaces)
        if (sub.vlanId == view.id)
            states[name] = {stateText(sub),
                            view.inspection.actual.kernel.held ? "missing" : "not read"};
    if (view.inspection.actual.kernel.held)
        for (const auto &[name, sub] : view.inspection.actual.kernel.held->interfaces)
            if (sub.vlanId == view.id) {
                const std::string wanted = states.contains(name) ? states[name].first : "none";
                states[name] = {wanted, stateText(sub)};
            }
    return states;
}

std::string engineNow(const VlanView &view)
{
    if (!view.inspection.actual.engine.held)
        return "not read";
    return view.inspection.actual.engine.held->failed.contains(view.id)
               ? "a tool failed, by the log"
               : "no tool failed, by the log";
}

void printStates(const VlanView &view)
{
    const std::string chipName = view.inspection.nameOf(Backend::chip);
    const std::string engineName = view.inspection.nameOf(Backend::engine);
    TextTable table({"", "FRESH START", "NOW"});
    const auto chip = view.inspection.actual.chip.held;
    if (!chipName.empty())
        table.add({"  chip " + shown(chipName),
                   membersText(entryOf(view.inspection.target.chip, view.id)),
                   chip ? membersText(entryOf(*chip, view.id)) : "not read"});
    if (!engineName.empty())
        table.add({"  engine " + shown(engineName), engineText(view.inspection.engineOf(view.id)),
                   engineNow(view)});
    const Bridge &wanted = view.inspection.target.bridge;
    if (!wanted.name.empty())
        table.add({"  bridge " + shown(wanted.name), bridgeText(wanted, view.id),
                   view.inspection.actual.bridge.held
                       ? bridgeText(*view.inspection.actual.bridge.held, view.id)
                       : "not read"});
    const auto interfaces = interfacesOf(view);
    for (const auto &[name, states] : interfaces)
        table.add({"  " + shown(name), states.first, states.second});
    if (interfaces.empty())
        table.add(
            {"  sub-interface", "none", view.inspection.actual.kernel.held ? "none" : "not read"});
    table.print(stdout);
}

void printRow(const Row &row)
{
    std::string text = "row " + std::to_string(row.rowId);
    const auto add = [&](const char *what, const char *column) {
        if (!row.text(column).empty())
            text += std::string(", ") + what + " " + shown(row.text(column));
    };
    add("interface", "interfaceName");
    add("logical", "LogicalIfName");
    add("ports", "fwdMap");
    add("untagged", "untagMap");
    if (toInt(row.text("inSwitchOnly")) != 0)
        text += ", switch only";
    printf("  %s\n", text.c_str());
}

void printView(const VlanView &view)
{
    printf("VLAN %d\n", view.id);
    for (const Row &row : view.rows)
        printRow(row);
    printStates(view);
    if (view.inspection.network.stop)
        printf("%s.\n", stopText(*view.inspection.network.stop).c_str());
    for (const std::string &part : view.inspection.unread)
        printf("not read: %s\n", shown(part).c_str());
    if (!view.inspection.nameOf(Backend::engine).empty() &&
        !view.inspection.actual.engine.reason.empty())
        printf("not read: engine: %s\n", shown(view.inspection.actual.engine.reason).c_str());
    for (const Difference &difference : view.differences)
        printf("! %s\n  To mend it: %s\n", difference.text().c_str(), difference.mend().c_str());
    if (view.equal())
        printf("Nothing differs.\n");
}

Json portsJson(uint32_t map)
{
    return portsIn(map);
}

Json chipJson(const ChipVlan &vlan)
{
    return {{"members", portsJson(vlan.fwdMap)}, {"untagged", portsJson(vlan.untagMap)}};
}

Json interfacesJson(const Kernel &kernel, int id)
{
    Json interfaces = Json::array();
    for (const auto &[name, sub] : kernel.interfaces)
        if (sub.vlanId == id)
            interfaces.push_back({{"name", name}, {"state", stateText(sub)}});
    return interfaces;
}

Json viewJson(const VlanView &view)
{
    const auto &[chip, chipIds, kernel, foreign, bridge, engine] = view.inspection.actual;
    const Bridge &wantedBridge = view.inspection.target.bridge;
    const bool isBridge = !wantedBridge.name.empty();
    const std::string chipName = view.inspection.nameOf(Backend::chip);
    const std::string engineName = view.inspection.nameOf(Backend::engine);
    const EngineVlan ports = view.inspection.engineOf(view.id);
    std::vector<std::string> unread = view.inspection.unread;
    if (!engineName.empty() && !engine.reason.empty())
        unread.push_back("engine: " + engine.reason);
    Json failed = Json::array();
    if (engine.held && engine.held->failed.contains(view.id))
        failed = engine.held->failed.at(view.id);
    return {
        {"vlan", view.id},
        {"outcome", view.equal() ? "equal" : "different"},
        {"rows", rowsJson(view.rows)},
        {"start",
         {{"stopsAt",
           view.inspection.network.stop ? stopJson(*view.inspection.network.stop) : Json()},
          {"chip",
           chipName.empty() ? Json() : chipJson(entryOf(view.inspection.target.chip, view.id))},
          {"engine", engineName.empty() ? Json()
                                        : Json{{"members", portsJson(ports.members)},
                                               {"tagged", portsJson(ports.tagged)}}},
          {"bridge", isBridge ? Json(bridgeText(wantedBridge, view.id)) : Json()},
          {"interfaces", interfacesJson(view.inspection.target.kernel, view.id)}}},
        {"now",
         {{"chip", chip.held ? chipJson(entryOf(*chip.held, view.id)) : Json()},
          {"engine", engine.held ? Json{{"failedTools", failed}} : Json()},
          {"bridge", isBridge && bridge.held ? Json(bridgeText(*bridge.held, view.id)) : Json()},
          {"interfaces", kernel.held ? interfacesJson(*kernel.held, view.id) : Json()}}},
        {"unread", unread},
        {"differences", differencesJson(view.differences)}};
}

int runVlanShow(const Call &call)
{
    const VlanView view = viewOf(call.globals, call.integer("ID"));
    if (call.globals.json)
        printJson(viewJson(view));
    else
        printView(view);
    return view.equal() ? exitDone : exitDiffers;
}

} // namespace

constexpr CommandRow commands::vlanShow = {
    "vlan",
    "show",
    "Show one VLAN: its row, what a fresh start would make of it, what chip and kernel hold "
    "now, and what the log says of the engine's tools",
    "  swctl vlan show 20\n  swctl vlan show 20 --json",
    runVlanShow,
    {keyOf(vlanOptions)}};

} // namespace swctl
