#include "client/view/watch.h"

#include "client/base/number.h"
#include "client/base/time_text.h"
#include "client/devices/host_links.h"
#include "client/gateway/devices.h"
#include "client/rows/check_rows.h"
#include "client/service/service_life.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr const char *tables[] = {switchTableName, portTableName, vlanTableName};

// All non-empty columns.
std::string valuesOf(const Row &row)
{
    std::string text;
    for (const Row::Cell &cell : row.cells)
        if (!cell.text.empty() && cell.column != "id")
            text += (text.empty() ? "" : ", ") + cell.column + " " + cell.text;
    return text;
}

std::string subjectOf(const std::string &table, const Row &row)
{
    const std::string number = "row " + std::to_string(row.rowId);
    return table == vlanTableName ? number : nameOf(table, row) + " (" + number + ")";
}

std::vector<std::string> partsOf(const std::string &text)
{
    constexpr const char *gap = ", ";
    std::vector<std::string> parts;
    size_t begin = 0;
    for (size_t end = 0; (end = text.find(gap, begin)) != std::string::npos; begin = end + 2)
        parts.push_back(text.substr(begin, end - begin));
    parts.push_back(text.substr(begin));
    return parts;
}

// The parts of `text` that `other` does not have.
std::string partsBesides(const std::string &text, const std::string &other)
{
    const std::vector<std::string> known = partsOf(other);
    std::string left;
    for (const std::string &part : partsOf(text))
        if (std::find(known.begin(), known.end(), part) == known.end())
            left += (left.empty() ? "" : ", ") + part;
    return left.empty() ? "-" : left;
}

} // namespace

std::string SceneChange::text() const
{
    const std::string what = (vlanId != 0 ? "VLAN " + std::to_string(vlanId) + " " : "") + subject;
    if (was.empty())
        return "+ " + what + ": " + is;
    if (is.empty())
        return "- " + what + ": " + was;
    return "! " + what + ": " + partsBesides(was, is) + " -> " + partsBesides(is, was);
}

std::vector<SceneChange> changesBetween(const Scene &before, const Scene &after)
{
    std::map<std::pair<int, std::string>, SceneChange> changes;
    for (const auto &[key, is] : after) {
        const auto found = before.find(key);
        const std::string was = found != before.end() ? found->second : "";
        if (was != is)
            changes[key] = {key.first, key.second, was, is};
    }
    for (const auto &[key, was] : before)
        if (!after.contains(key))
            changes[key] = {key.first, key.second, was, ""};
    std::vector<SceneChange> all;
    all.reserve(changes.size());
    for (const auto &[key, change] : changes)
        all.push_back(change);
    return all;
}

Watcher::Watcher(GatewayView &observed) : gateway(observed) {}

bool Watcher::databaseMoved()
{
    Statement statement(gateway.database(), "SELECT 1, data_version FROM pragma_data_version");
    std::string now;
    if (statement.step())
        now = statement.row().text("data_version");
    return std::exchange(version, now) != now;
}

Scene Watcher::observe(bool table)
{
    Scene scene;
    addService(scene);
    addRows(scene);
    addKernel(scene);
    for (const Device *device : devices())
        addDevice(scene, *device, table);
    addSettings(scene);
    return scene;
}

void Watcher::addRows(Scene &scene)
{
    for (const char *table : tables)
        for (const Row &row : gateway.database().rows(table)) {
            const bool isVlan = std::string_view(table) == vlanTableName;
            const int id = isVlan ? toInt(row.text("vlanId")) : 0;
            scene[{id, subjectOf(table, row)}] = valuesOf(row);
            if (isVlan)
                ids.insert(id);
        }
}

void Watcher::addKernel(Scene &scene)
{
    const Part<Kernel> kernel = readKernel(gateway.site());
    if (!kernel.held) {
        scene[{0, "kernel"}] = "not read: " + kernel.reason;
        return;
    }
    for (const auto &[name, sub] : kernel.held->interfaces) {
        scene[{sub.vlanId, name}] = stateText(sub);
        ids.insert(sub.vlanId);
    }
}

void Watcher::addDevice(Scene &scene, const Device &device, bool table)
{
    const std::optional<std::string> node = nodeOf(gateway.database(), device);
    if (!node || !device.hasQuery)
        return;
    const std::string part = device.part;
    Scene &known = entries[&device];
    const auto unread = [&](const std::string &reason) {
        scene[{0, part}] = "not read: " + reason;
        known.clear();
    };
    if (const auto ports = device.readPorts(gateway.site(), *node)) {
        if (!ports->held)
            return unread(ports->reason);
        for (size_t port = 0; port < ports->held->size(); ++port) {
            const PortState &held = (*ports->held)[port];
            const std::string name = part + " port " + std::to_string(port);
            scene[{0, name + " link"}] = held.linkUp ? "up" : "down";
            scene[{0, name + " default tag"}] = std::to_string(held.pvid);
        }
    }
    if (table || known.empty()) {
        const DeviceReading reading = gateway.readDevice(device, *node, ids);
        if (reading.held == nullptr)
            return unread(reading.reason);
        known.clear();
        for (const int id : reading.held->vlanIds())
            known[{id, part}] = reading.held->vlanText(id);
    }
    scene.insert(known.begin(), known.end());
}

// What the log knows of; its daemon can be asked without the service.
void Watcher::addSettings(Scene &scene)
{
    const SentLog log = readSentLog("");
    std::vector<SettingInForce> settings;
    for (const Device *device : devices())
        if (nodeOf(gateway.database(), *device))
            device->readSettings(log, /*site=*/nullptr, {}, settings);
    for (const SettingInForce &setting : settings)
        scene[{0, settingLabel(setting.part, setting.name, setting.port)}] =
            setting.unknown.empty() ? setting.value : "not known: " + setting.unknown;
}

void Watcher::addService(Scene &scene)
{
    // Asks the kernel which process serves the socket: a request would be logged each time.
    const std::optional<int64_t> start = serviceStart();
    const std::string text = start ? "up since " + dateText(*start / 1000) : "not reachable";
    scene[{0, "service"}] = text;
}

} // namespace swctl
