// 'vlan show': a VLAN's row, what a fresh start makes of it, and its actual state.
#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/text.h"
#include "client/devices/host_links.h"
#include "client/gateway/devices.h"
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
    std::vector<Row> rows;               // more than one if the id occurs twice
    std::vector<Difference> differences; // of this VLAN

    std::vector<std::string> unknown; // settings that affect every VLAN

    [[nodiscard]] bool equal() const { return differences.empty() && inspection.unread.empty(); }
};

// A default tag concerns both the VLAN that it names and the one that it should name.
bool concerns(const Difference &difference, int id)
{
    return difference.vlanId == id || difference.everyVlan ||
           (difference.kind == DifferenceKind::defaultTag &&
            difference.found == std::to_string(id));
}

VlanView viewOf(const Globals &globals, int id)
{
    GatewayView gateway = openGateway(globals, Access::read);
    VlanView view{id, inspect(gateway, {id}), {}, {}, {}};
    view.rows = view.inspection.rowsOf(id);
    if (view.rows.empty())
        throw Failure(exitUsage, "there is no VLAN " + std::to_string(id) + " in the database");
    for (const Difference &difference : view.inspection.differences)
        if (concerns(difference, id))
            view.differences.push_back(difference);
    std::vector<UnknownSetting> unknown =
        unknownSettings(view.inspection.target, view.inspection.actual);
    std::erase_if(unknown, [](const UnknownSetting &setting) {
        return setting.wanted->name != std::string_view(vlanModeName);
    });
    view.unknown = textsOf(unknown);
    return view;
}

// The VLAN's wanted and actual sub-interfaces: name, wanted state, actual state.
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

void printStates(const VlanView &view)
{
    const Inspection &seen = view.inspection;
    TextTable table({"", "FRESH START", "NOW"});
    for (const Device *device : devices()) {
        if (!seen.has(*device))
            continue;
        const DeviceState &wanted = seen.target.of(*device);
        const StateRef &held = seen.actual.of(*device).held;
        table.add({std::string("  ") + device->part + " " + shown(wanted.label()),
                   wanted.vlanText(view.id), held ? held->vlanText(view.id) : "not read"});
    }
    const auto interfaces = interfacesOf(view);
    for (const auto &[name, states] : interfaces)
        table.add({"  " + shown(name), states.first, states.second});
    if (interfaces.empty())
        table.add({"  sub-interface", "none", seen.actual.kernel.held ? "none" : "not read"});
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

// Parts that could not be read, including the log of devices that only the log covers.
std::vector<std::string> unreadOf(const Inspection &seen)
{
    std::vector<std::string> unread = seen.unread;
    for (const Device *device : devices())
        if (const std::string &reason = seen.actual.of(*device).reason;
            !device->hasQuery && seen.has(*device) && !reason.empty())
            unread.push_back(std::string(device->part) + ": " + reason);
    return unread;
}

void printView(const VlanView &view)
{
    printf("VLAN %d\n", view.id);
    for (const Row &row : view.rows)
        printRow(row);
    printStates(view);
    if (view.inspection.network.stop)
        printf("%s.\n", stopText(*view.inspection.network.stop).c_str());
    for (const std::string &part : unreadOf(view.inspection))
        printf("not read: %s\n", shown(part).c_str());
    for (const Difference &difference : view.differences)
        printf("! %s\n  To fix it: %s\n", difference.text().c_str(), difference.mend().c_str());
    for (const std::string &setting : view.unknown)
        printf("%s\n", setting.c_str());
    if (view.equal())
        printf(view.unknown.empty() ? "Nothing differs.\n" : "Nothing that is known differs.\n");
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
    const Inspection &seen = view.inspection;
    const Part<Kernel> &kernel = seen.actual.kernel;
    Json start = {{"stopsAt", seen.network.stop ? stopJson(*seen.network.stop) : Json()}};
    Json now = Json::object();
    for (const Device *device : devices()) {
        const StateRef &held = seen.actual.of(*device).held;
        const bool there = seen.has(*device);
        start[device->part] = there ? seen.target.of(*device).vlanJson(view.id) : Json();
        now[device->part] = there && held ? held->vlanJson(view.id) : Json();
    }
    start["interfaces"] = interfacesJson(seen.target.kernel, view.id);
    now["interfaces"] = kernel.held ? interfacesJson(*kernel.held, view.id) : Json();
    return {{"vlan", view.id},
            {"outcome", view.equal() ? "equal" : "different"},
            {"rows", rowsJson(view.rows)},
            {"start", std::move(start)},
            {"now", std::move(now)},
            {"unread", unreadOf(seen)},
            {"notKnown", view.unknown},
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
    "Show one VLAN: its row, what a fresh start would make of it, the current state of the "
    "switches and the kernel, and what the log reports about the engine's tools",
    "  swctl vlan show 20\n  swctl vlan show 20 --json",
    runVlanShow,
    {keyOf(vlanOptions)}};

} // namespace swctl
