// The network as text and as JSON; see show.h.
#include "client/base/text.h"
#include "swctl/show.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr const char *reset = "\x1b[0m";
constexpr size_t mostNotes = 20;    // shown in text output
constexpr size_t usualColumns = 80; // line width for notes in a file or pipe

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

// The characters that draw the tree of ports: box-drawing characters if the terminal can
// display them.
struct Strokes {
    const char *branch, *lastBranch, *arrow;
};

const Strokes &strokes()
{
    static constexpr Strokes lines = {"├─ ", "└─ ", " ─> "};
    static constexpr Strokes plain = {"|- ", "`- ", " -> "};
    return utf8Wanted() ? lines : plain;
}

void showSwitch(FILE *stream, const SwitchConfig &sw, bool top)
{
    fprintf(stream, "%s  level %d%s%s%s  VLAN %s  QoS %s\n", shown(sw.name).c_str(), sw.level,
            top ? " (top)" : "", sw.node.empty() ? "" : "  ", shown(sw.node).c_str(),
            onOffText(sw.vlanEnabled), onOffText(sw.qosEnabled));
    for (const PortConfig &port : sw.ports) {
        const bool last = &port == &sw.ports.back();
        std::string line = std::string(last ? strokes().lastBranch : strokes().branch) + "port " +
                           padded(std::to_string(port.number), 2) + "  " +
                           padded(port.interfaceName.empty() ? "-" : shown(port.interfaceName), 10);
        if (!port.mapped.empty())
            line += strokes().arrow + mappingText(port);
        line.erase(line.find_last_not_of(' ') + 1);
        fprintf(stream, "%s\n", line.c_str());
    }
}

// Widths in characters.
struct Layout {
    int nameWidth = 4;
    int interfaceWidth = 9;
    int cellWidth = 2; // of each port column, without the preceding blank
    int fateWidth = 0; // of the remark at the end of a line

    [[nodiscard]] int left() const { return nameWidth + 2 + interfaceWidth; }
};

// The remark at the end of a VLAN's line.
std::string remarkOf(const VlanConfig &vlan)
{
    const std::string fate = fateText(vlan);
    return std::string(vlan.switchOnly ? "  switch only" : "") + (fate.empty() ? "" : "  ") + fate;
}

Layout layoutOf(const Network &network)
{
    Layout layout;
    for (const VlanConfig &vlan : network.vlans) {
        const int width = static_cast<int>(displayWidth(shown(vlan.interfaceName)));
        layout.interfaceWidth = std::max(layout.interfaceWidth, width);
        layout.fateWidth = std::max(layout.fateWidth, static_cast<int>(remarkOf(vlan).size()));
    }
    for (const PortColumn &column : network.columns)
        if (column.pvid)
            layout.cellWidth =
                std::max(layout.cellWidth, static_cast<int>(std::to_string(*column.pvid).size()));
    return layout;
}

// A range of columns that fits side by side.
struct Fold {
    size_t first, end;
};

// An extra blank separates the columns of two switches.
std::string gapBefore(const Network &network, const Fold &fold, size_t column)
{
    return column == fold.first || beginsSwitch(network, column) ? "  " : " ";
}

// Each gets as many columns as fit, at least one.
std::vector<Fold> foldsOf(const Network &network, const Layout &layout, size_t width)
{
    std::vector<Fold> folds{{0, 0}};
    const int limit = width == 0 ? 0 : static_cast<int>(width) - layout.fateWidth;
    int used = layout.left();
    for (size_t i = 0; i < network.columns.size(); ++i) {
        const auto more = [&] {
            return static_cast<int>(gapBefore(network, folds.back(), i).size()) + layout.cellWidth;
        };
        if (width != 0 && i > folds.back().first && used + more() > limit) {
            folds.push_back({i, i});
            used = layout.left();
        }
        used += more();
        folds.back().end = i + 1;
    }
    return folds;
}

// The names of the switches, each above its first column.
std::string switchHeading(const Network &network, const Layout &layout, const Fold &fold)
{
    std::string line;
    int place = layout.left();
    for (size_t i = fold.first; i < fold.end; ++i) {
        place += static_cast<int>(gapBefore(network, fold, i).size()) + layout.cellWidth;
        if (i == fold.first || beginsSwitch(network, i))
            line = padded(line, place - 1) + shown(ownerName(network, network.columns[i])) + " ";
    }
    line.pop_back();
    return line;
}

std::string vlanLine(const Network &network, const Layout &layout, const Fold &fold, size_t row,
                     bool colour)
{
    const VlanConfig &vlan = network.vlans[row];
    std::string line =
        padded(std::to_string(vlan.id), -layout.nameWidth) + "  " +
        padded(vlan.interfaceName.empty() ? "-" : shown(vlan.interfaceName), layout.interfaceWidth);
    for (size_t i = fold.first; i < fold.end; ++i) {
        const Cell &cell = network.lines[row][i];
        const std::string mark = padded(cellMark(cell), -layout.cellWidth);
        line += gapBefore(network, fold, i) + (colour ? cellColour(cell) + mark + reset : mark);
    }
    return line + remarkOf(vlan);
}

void showFold(FILE *stream, const Network &network, const Layout &layout, const Fold &fold,
              bool colour)
{
    fprintf(stream, "\n%s\n", switchHeading(network, layout, fold).c_str());
    std::string heading =
        padded("VLAN", -layout.nameWidth) + "  " + padded("interface", layout.interfaceWidth);
    std::string pvids =
        padded("PVID", -layout.nameWidth) + "  " + padded("", layout.interfaceWidth);
    for (size_t i = fold.first; i < fold.end; ++i) {
        const PortColumn &column = network.columns[i];
        const std::string pvid = column.pvid ? std::to_string(*column.pvid) : "-";
        heading +=
            gapBefore(network, fold, i) + padded(std::to_string(column.port), -layout.cellWidth);
        pvids += gapBefore(network, fold, i) + padded(pvid, -layout.cellWidth);
    }
    fprintf(stream, "%s\n", heading.c_str());
    for (size_t row = 0; row < network.vlans.size(); ++row)
        fprintf(stream, "%s\n", vlanLine(network, layout, fold, row, colour).c_str());
    fprintf(stream, "%s\n", pvids.c_str());
}

void showMatrix(FILE *stream, const Network &network, bool colour, size_t columns)
{
    const Layout layout = layoutOf(network);
    for (const Fold &fold : foldsOf(network, layout, columns))
        showFold(stream, network, layout, fold, colour);
    fprintf(stream, "\nT tagged  U untagged  C CPU port (CU: untagged)  . not a member\n");
}

// "1 error", "2 errors"
std::string countText(size_t count, const char *what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void showNotes(FILE *stream, const Network &network, size_t terminal)
{
    const size_t columns = terminal != 0 ? terminal : usualColumns;
    if (network.stop) {
        printWrapped(stream, stopText(*network.stop), columns, 0, 2);
        for (const std::string &reason : network.stop->reasons)
            printWrapped(stream, "service: " + shown(reason), columns, 2, 2);
        const std::string missing = missingText(*network.stop);
        if (!missing.empty())
            printWrapped(stream, "not applied: " + missing, columns, 2, 2);
    }
    for (size_t i = 0; i < std::min(network.notes.size(), mostNotes); ++i)
        printWrapped(stream, "note: " + shown(network.notes[i]), columns, 0, 2);
    if (network.notes.size() > mostNotes || network.warnings > 0)
        printWrapped(stream,
                     "note: 'swctl check' reports " +
                         (network.notes.empty()
                              ? std::string()
                              : countText(network.notes.size(), "error") + " and ") +
                         countText(network.warnings, "warning"),
                     columns, 0, 2);
}

Json switchJson(const Network &network, size_t owner)
{
    const SwitchConfig &sw = network.switches[owner];
    Json ports = Json::array();
    for (const PortConfig &port : sw.ports) {
        const auto column = std::find_if(
            network.columns.begin(), network.columns.end(), [&](const PortColumn &candidate) {
                return candidate.owner == owner && candidate.port == port.number;
            });
        Json mapped = Json::array();
        for (const PortConfig::Mapping &mapping : port.mapped)
            mapped.push_back({{"switch", mapping.switchName}, {"port", mapping.port}});
        const bool known = column != network.columns.end() && column->pvid;
        ports.push_back({{"port", port.number},
                         {"interface", port.interfaceName},
                         {"pvid", known ? Json(*column->pvid) : Json()},
                         {"mapped", std::move(mapped)}});
    }
    return {{"name", sw.name},
            {"level", sw.level},
            {"device", sw.node},
            {"vlanEnabled", sw.vlanEnabled},
            {"qosEnabled", sw.qosEnabled},
            {"ports", std::move(ports)}};
}

Json vlanJson(const Network &network, size_t row)
{
    const VlanConfig &vlan = network.vlans[row];
    const std::vector<Cell> &line = network.lines[row];
    Json members = Json::array();
    for (size_t i = 0; i < line.size(); ++i)
        if (line[i].member)
            members.push_back({{"switch", ownerName(network, network.columns[i])},
                               {"port", network.columns[i].port},
                               {"untagged", line[i].untagged},
                               {"cpu", line[i].cpu}});
    return {{"vlan", vlan.id},
            {"interface", vlan.interfaceName},
            {"logical", vlan.logicalName},
            {"switchOnly", vlan.switchOnly},
            {"applied", vlan.fate == Fate::applied},
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
        text += (text.empty() ? "" : ", ") + shown(mapping.switchName) + ":" +
                std::to_string(mapping.port);
    return text;
}

std::string fateText(const VlanConfig &vlan)
{
    return vlan.fate == Fate::stopsHere ? "start stops here"
           : vlan.fate == Fate::missing ? "not applied"
                                        : "";
}

std::string stopText(const Stop &stop)
{
    if (stop.row == 0)
        return "A fresh start fails, but not at a row: status " + std::to_string(stop.status);
    return "A fresh start stops at row " + std::to_string(stop.row) + " of " + stop.table + ", " +
           shown(stop.name);
}

std::string missingText(const Stop &stop)
{
    std::string text;
    for (const std::string &name : stop.missing)
        text += (text.empty() ? "" : ", ") + shown(name);
    for (size_t i = 0; i < stop.vlans.size(); ++i)
        text += (i > 0 ? ", " : text.empty() ? "VLAN " : ", VLAN ") + std::to_string(stop.vlans[i]);
    return text;
}

Json stopJson(const Stop &stop)
{
    return {{"table", stop.table},       {"row", stop.row},         {"name", stop.name},
            {"status", stop.status},     {"reasons", stop.reasons}, {"missing", stop.missing},
            {"missingVlans", stop.vlans}};
}

void showText(FILE *stream, const Network &network, bool colour, size_t columns)
{
    for (const SwitchConfig &sw : network.switches)
        showSwitch(stream, sw, &sw == &network.switches.front());
    if (network.switches.empty())
        fprintf(stream, "No switches are configured.\n");
    if (!network.columns.empty() && !network.vlans.empty())
        showMatrix(stream, network, colour, columns);
    for (const SentSetting &setting : network.sent)
        fprintf(stream, "%s: %s (%s)%s\n", setting.label.c_str(), shown(setting.held).c_str(),
                setting.source.c_str(),
                setting.held == setting.wanted ? "" : (", should be " + setting.wanted).c_str());
    showNotes(stream, network, columns);
}

Json showJson(const Network &network)
{
    Json switches = Json::array();
    for (size_t i = 0; i < network.switches.size(); ++i)
        switches.push_back(switchJson(network, i));
    Json vlans = Json::array();
    for (size_t i = 0; i < network.vlans.size(); ++i)
        vlans.push_back(vlanJson(network, i));
    Json sent = Json::array();
    for (const SentSetting &setting : network.sent)
        sent.push_back({{"setting", setting.label},
                        {"wanted", setting.wanted},
                        {"held", setting.held},
                        {"source", setting.source}});
    return {{"switches", std::move(switches)},
            {"settings", std::move(sent)},
            {"vlans", std::move(vlans)},
            {"start", {{"stopsAt", network.stop ? stopJson(*network.stop) : Json()}}},
            {"notes", network.notes}};
}

} // namespace swctl
