// The configuration as text and as JSON; see show.h.
#include "swctl/show.h"
#include "swctl/text.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr const char *reset = "\x1b[0m";

const char *cellColour(const Cell &cell)
{
    if (cell.cpu)
        return "\x1b[33m";
    if (!cell.member)
        return "\x1b[2m";
    return cell.untagged ? "\x1b[32m" : "\x1b[36m";
}

const char *onOffText(bool on)
{
    return on ? "on" : "off";
}

void showSwitch(FILE *stream, const SwitchConfig &sw, bool top)
{
    fprintf(stream, "%s  level %d%s%s%s  VLAN %s  QoS %s\n", printable(sw.name).c_str(), sw.level,
            top ? " (top)" : "", sw.device.empty() ? "" : "  ", printable(sw.device).c_str(),
            onOffText(sw.vlanEnabled), onOffText(sw.qosEnabled));
    for (const PortConfig &port : sw.ports) {
        const bool last = &port == &sw.ports.back();
        std::string line =
            std::string(last ? "└─ " : "├─ ") + "port " + padded(std::to_string(port.number), 2) +
            "  " + padded(port.interfaceName.empty() ? "-" : printable(port.interfaceName), 10);
        if (!port.mapped.empty())
            line += " ─> " + mappingText(port);
        line.erase(line.find_last_not_of(' ') + 1);
        fprintf(stream, "%s\n", line.c_str());
    }
}

// Widths in characters.
struct Layout {
    int nameWidth = 4;      // of the first column
    int interfaceWidth = 9; // of the second
    int cellWidth = 2;      // of every port column, without the blank before it
};

Layout layoutOf(const Model &model, const Matrix &matrix)
{
    Layout layout;
    for (const VlanConfig &vlan : model.vlans)
        layout.interfaceWidth = std::max(
            layout.interfaceWidth, static_cast<int>(displayWidth(printable(vlan.interfaceName))));
    for (const PortColumn &column : matrix.columns)
        if (column.pvid)
            layout.cellWidth =
                std::max(layout.cellWidth, static_cast<int>(std::to_string(*column.pvid).size()));
    return layout;
}

// A further blank keeps the columns of two switches apart.
std::string gapBefore(const Matrix &matrix, size_t column)
{
    const bool newSwitch =
        column == 0 || matrix.columns[column].owner != matrix.columns[column - 1].owner;
    return newSwitch ? "  " : " ";
}

// The names of the switches, each above its first column.
std::string switchHeading(const Matrix &matrix, const Layout &layout)
{
    std::string line;
    int place = layout.nameWidth + 2 + layout.interfaceWidth;
    for (size_t i = 0; i < matrix.columns.size(); ++i) {
        place += static_cast<int>(gapBefore(matrix, i).size()) + layout.cellWidth;
        if (i == 0 || matrix.columns[i].owner != matrix.columns[i - 1].owner)
            line = padded(line, place - 1) + printable(matrix.columns[i].owner->name) + " ";
    }
    line.pop_back();
    return line;
}

void showMatrix(FILE *stream, const Model &model, const Matrix &matrix, bool colour)
{
    const Layout layout = layoutOf(model, matrix);
    fprintf(stream, "\n%s\n", switchHeading(matrix, layout).c_str());
    std::string heading =
        padded("VLAN", -layout.nameWidth) + "  " + padded("interface", layout.interfaceWidth);
    std::string pvids =
        padded("PVID", -layout.nameWidth) + "  " + padded("", layout.interfaceWidth);
    for (size_t i = 0; i < matrix.columns.size(); ++i) {
        const PortColumn &column = matrix.columns[i];
        const std::string pvid = column.pvid ? std::to_string(*column.pvid) : "-";
        heading += gapBefore(matrix, i) + padded(std::to_string(column.port), -layout.cellWidth);
        pvids += gapBefore(matrix, i) + padded(pvid, -layout.cellWidth);
    }
    fprintf(stream, "%s\n", heading.c_str());
    for (size_t row = 0; row < model.vlans.size(); ++row) {
        const VlanConfig &vlan = model.vlans[row];
        std::string line = padded(std::to_string(vlan.id), -layout.nameWidth) + "  " +
                           padded(vlan.interfaceName.empty() ? "-" : printable(vlan.interfaceName),
                                  layout.interfaceWidth);
        for (size_t i = 0; i < matrix.columns.size(); ++i) {
            const Cell &cell = matrix.lines[row][i];
            const std::string mark = padded(cellMark(cell), -layout.cellWidth);
            line += gapBefore(matrix, i) + (colour ? cellColour(cell) + mark + reset : mark);
        }
        fprintf(stream, "%s%s\n", line.c_str(), vlan.switchOnly ? "  switch only" : "");
    }
    fprintf(stream, "%s\n\n", pvids.c_str());
    fprintf(stream, "T tagged  U untagged  C CPU port (CU: untagged)  . not a member\n");
}

Json switchJson(const SwitchConfig &sw, const Matrix &matrix)
{
    Json ports = Json::array();
    for (const PortConfig &port : sw.ports) {
        const auto column = std::find_if(
            matrix.columns.begin(), matrix.columns.end(), [&](const PortColumn &candidate) {
                return candidate.owner == &sw && candidate.port == port.number;
            });
        Json mapped = Json::array();
        for (const PortConfig::Mapping &mapping : port.mapped)
            mapped.push_back({{"switch", mapping.switchName}, {"port", mapping.port}});
        const bool known = column != matrix.columns.end() && column->pvid;
        ports.push_back({{"port", port.number},
                         {"interface", port.interfaceName},
                         {"pvid", known ? Json(*column->pvid) : Json()},
                         {"mapped", std::move(mapped)}});
    }
    return {{"name", sw.name},
            {"level", sw.level},
            {"device", sw.device},
            {"vlanEnabled", sw.vlanEnabled},
            {"qosEnabled", sw.qosEnabled},
            {"ports", std::move(ports)}};
}

Json vlanJson(const VlanConfig &vlan, const std::vector<Cell> &line, const Matrix &matrix)
{
    Json members = Json::array();
    for (size_t i = 0; i < line.size(); ++i)
        if (line[i].member)
            members.push_back({{"switch", matrix.columns[i].owner->name},
                               {"port", matrix.columns[i].port},
                               {"untagged", line[i].untagged},
                               {"cpu", line[i].cpu}});
    return {{"vlan", vlan.id},
            {"interface", vlan.interfaceName},
            {"logical", vlan.logicalName},
            {"switchOnly", vlan.switchOnly},
            {"members", std::move(members)}};
}

} // namespace

std::string cellMark(const Cell &cell)
{
    if (cell.cpu)
        return cell.untagged ? "CU" : "C";
    if (!cell.member)
        return ".";
    return cell.untagged ? "U" : "T";
}

std::string mappingText(const PortConfig &port)
{
    std::string text;
    for (const PortConfig::Mapping &mapping : port.mapped)
        text += (text.empty() ? "" : ", ") + printable(mapping.switchName) + ":" +
                std::to_string(mapping.port);
    return text;
}

void showText(FILE *stream, const Model &model, const Matrix &matrix, bool colour)
{
    for (const SwitchConfig &sw : model.switches)
        showSwitch(stream, sw, &sw == &model.switches.front());
    if (model.switches.empty())
        fprintf(stream, "No switches are configured.\n");
    if (!matrix.columns.empty() && !model.vlans.empty())
        showMatrix(stream, model, matrix, colour);
    for (const std::string &note : model.notes)
        fprintf(stream, "note: %s\n", printable(note).c_str());
}

Json showJson(const Model &model, const Matrix &matrix)
{
    Json switches = Json::array();
    for (const SwitchConfig &sw : model.switches)
        switches.push_back(switchJson(sw, matrix));
    Json vlans = Json::array();
    for (size_t i = 0; i < model.vlans.size(); ++i)
        vlans.push_back(vlanJson(model.vlans[i], matrix.lines[i], matrix));
    return {{"switches", std::move(switches)}, {"vlans", std::move(vlans)}, {"notes", model.notes}};
}

} // namespace swctl
