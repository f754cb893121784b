// The network as SVG: boxes for the switches with their ports and mappings, and the membership
// matrix below. Text remains text, and the colours follow the viewer's light or dark scheme.
#include "client/base/text.h"
#include "swctl/show.h"

#include <algorithm>
#include <map>
#include <utility>

namespace swctl {
namespace {

// Lengths in user units, which are pixels at 100 %.
constexpr int margin = 24;
constexpr int portPitch = 64; // between ports in a switch box
constexpr int portWidth = 52;
constexpr int portHeight = 36;
constexpr int switchHeight = 84;
constexpr int switchGap = 64;    // between boxes, leaving room for the mapping lines
constexpr int leftOfPorts = 180; // room for the switch's name and device
constexpr int cellWidth = 40;
constexpr int cellHeight = 26;
constexpr int leftOfCells = 230; // room for VLAN, interface and logical name
constexpr int groupGap = 16;     // between the columns of adjacent switches
constexpr int headHeight = 44;   // for the names and numbers above the cells
constexpr size_t headEvery = 25; // VLANs per repetition of the heading

// Plain colours first, for viewers without support for colour schemes or variables.
constexpr const char *style = R"(<style>
text { font: 13px system-ui, sans-serif; fill: #1b1f24; }
.b { font-weight: 600; } .m { text-anchor: middle; } .e { text-anchor: end; }
.s { fill: #59636e; font-size: 11px; }
.back { fill: #ffffff; } .box { fill: #f6f8fa; stroke: #afb8c1; }
.map { fill: none; stroke: #59636e; stroke-width: 1.5; }
.T { fill: #cfe3fb; } .U { fill: #c4ecd0; } .C, .CU { fill: #fbe3b0; }
.grid { stroke: #afb8c1; stroke-width: .5; }
@media (prefers-color-scheme: dark) {
text { fill: #e6edf3; } .s { fill: #9ea7b1; }
.back { fill: #0d1117; } .box { fill: #161b22; stroke: #57606a; } .map { stroke: #9ea7b1; }
.T { fill: #14407a; } .U { fill: #14572b; } .C, .CU { fill: #6b4a05; }
.grid { stroke: #57606a; } }
</style>
)";

std::string escaped(const std::string &text)
{
    std::string safe = printable(text);
    // U+FFFE and U+FFFF are not allowed in XML.
    for (const char *none : {"\xef\xbf\xbe", "\xef\xbf\xbf"})
        for (size_t at = 0; (at = safe.find(none, at)) != std::string::npos;)
            safe.replace(at, 3, "\xef\xbf\xbd");
    std::string out;
    for (const char c : safe) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

// A name truncated to fit, with the full name as a tooltip.
std::string fitting(const std::string &text, size_t characters)
{
    const std::string whole = printable(text);
    if (displayWidth(whole) <= characters)
        return escaped(text);
    size_t end = 0;
    for (size_t count = 0; end < whole.size() && count < characters; ++count)
        do
            ++end;
        while (end < whole.size() && (static_cast<unsigned char>(whole[end]) & 0xc0) == 0x80);
    return escaped(whole.substr(0, end)) + "…<title>" + escaped(text) + "</title>";
}

class Drawing {
public:
    void text(int x, int y, const char *classes, const std::string &content)
    {
        body += "<text x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\" class=\"" +
                classes + "\">" + content + "</text>\n";
    }

    void box(int x, int y, int width, int height, const std::string &classes, int radius = 0)
    {
        body += "<rect x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\" width=\"" +
                std::to_string(width) + "\" height=\"" + std::to_string(height) + "\" rx=\"" +
                std::to_string(radius) + "\" class=\"" + classes + "\"/>\n";
        right = std::max(right, x + width);
        bottom = std::max(bottom, y + height);
    }

    // A line that leaves downwards and arrives from above.
    void curve(std::pair<int, int> from, std::pair<int, int> to)
    {
        const std::string middle = std::to_string((from.second + to.second) / 2);
        const std::string fromX = std::to_string(from.first);
        const std::string toX = std::to_string(to.first);
        body += "<path d=\"M" + fromX + " " + std::to_string(from.second) + "C" + fromX + " " +
                middle + " " + toX + " " + middle + " " + toX + " " + std::to_string(to.second) +
                "\" class=\"map\"/>\n";
    }

    [[nodiscard]] std::string finish(int leastWidth) const
    {
        const std::string width = std::to_string(std::max(right, leastWidth) + margin);
        const std::string height = std::to_string(bottom + margin);
        return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + width + "\" height=\"" +
               height + "\" viewBox=\"0 0 " + width + " " + height +
               "\" role=\"img\" aria-label=\"Switches and VLAN membership\">\n" + style +
               "<rect width=\"100%\" height=\"100%\" class=\"back\"/>\n" + body + "</svg>\n";
    }

    int right = 0;  // right edge of the drawing so far
    int bottom = 0; // bottom edge of the drawing so far

private:
    std::string body;
};

using PortKey = std::pair<std::string, int32_t>; // switch and port

void drawSwitch(Drawing &drawing, const SwitchConfig &sw, int y,
                std::map<PortKey, std::pair<int, int>> &places)
{
    const int width = leftOfPorts + static_cast<int>(sw.ports.size()) * portPitch + 12;
    drawing.box(margin, y, width, switchHeight, "box", 8);
    drawing.text(margin + 14, y + 30, "b", fitting(sw.name, 18));
    drawing.text(margin + 14, y + 48, "s", fitting(sw.node, 26));
    drawing.text(margin + 14, y + 64, "s",
                 "level " + std::to_string(sw.level) + ", VLAN " + (sw.vlanEnabled ? "on" : "off") +
                     ", QoS " + (sw.qosEnabled ? "on" : "off"));
    int x = margin + leftOfPorts;
    for (const PortConfig &port : sw.ports) {
        drawing.box(x, y + 14, portWidth, portHeight, "box", 4);
        drawing.text(x + portWidth / 2, y + 37, "b m", std::to_string(port.number));
        drawing.text(x + portWidth / 2, y + 66, "s m", fitting(port.interfaceName, 8));
        places[{sw.name, port.number}] = {x + portWidth / 2, y + 14};
        x += portPitch;
    }
}

void drawSwitches(Drawing &drawing, const Network &network, int y)
{
    std::map<PortKey, std::pair<int, int>> places; // top centre of each port
    for (const SwitchConfig &sw : network.switches) {
        drawSwitch(drawing, sw, y, places);
        y += switchHeight + switchGap;
    }
    for (const SwitchConfig &sw : network.switches)
        for (const PortConfig &port : sw.ports)
            for (const PortConfig::Mapping &mapping : port.mapped) {
                const auto [x, top] = places[{sw.name, port.number}];
                const auto lower = places.find({mapping.switchName, mapping.port});
                if (lower != places.end())
                    drawing.curve({x, top + portHeight + 22}, lower->second);
            }
}

std::vector<int> columnPlaces(const Network &network)
{
    std::vector<int> places;
    int x = margin + leftOfCells;
    for (size_t i = 0; i < network.columns.size(); ++i) {
        if (i > 0 && beginsSwitch(network, i))
            x += groupGap;
        places.push_back(x);
        x += cellWidth;
    }
    return places;
}

void drawHeadings(Drawing &drawing, const Network &network, const std::vector<int> &places, int y)
{
    drawing.text(margin, y + 36, "b", "VLAN");
    drawing.text(margin + 56, y + 36, "b", "Interface");
    drawing.text(margin + 140, y + 36, "b", "Logical");
    for (size_t i = 0; i < places.size(); ++i) {
        const PortColumn &column = network.columns[i];
        if (beginsSwitch(network, i))
            drawing.text(places[i], y + 14, "b", escaped(ownerName(network, column)));
        drawing.text(places[i] + cellWidth / 2, y + 36, "s m", std::to_string(column.port));
    }
}

std::string remarkOf(const VlanConfig &vlan)
{
    const std::string fate = fateText(vlan);
    return std::string(vlan.switchOnly ? "switch only" : "") +
           (vlan.switchOnly && !fate.empty() ? ", " : "") + fate;
}

void drawLine(Drawing &drawing, const VlanConfig &vlan, const std::vector<Cell> &line,
              const std::vector<int> &places, int y)
{
    const int baseline = y + 18;
    drawing.text(margin + 36, baseline, "e", std::to_string(vlan.id));
    drawing.text(margin + 56, baseline, "", fitting(vlan.interfaceName, 10));
    drawing.text(margin + 140, baseline, "", fitting(vlan.logicalName, 10));
    for (size_t i = 0; i < line.size(); ++i) {
        const std::string mark = cellMark(line[i]);
        drawing.box(places[i], y, cellWidth, cellHeight,
                    (line[i].member ? mark : std::string("back")) + " grid");
        if (line[i].member)
            drawing.text(places[i] + cellWidth / 2, baseline, "m", mark);
    }
    const std::string remark = remarkOf(vlan);
    if (!remark.empty())
        drawing.text((places.empty() ? margin + leftOfCells : places.back() + cellWidth + 10),
                     baseline, "s", remark);
}

void drawLegend(Drawing &drawing, int y)
{
    struct Entry {
        const char *mark;
        const char *meaning;
    };
    static constexpr Entry entries[] = {
        {"T", "tagged"}, {"U", "untagged"}, {"C", "CPU port (CU: untagged)"}};
    int x = margin;
    for (const Entry &entry : entries) {
        drawing.box(x, y, 26, 20, std::string(entry.mark) + " grid");
        drawing.text(x + 13, y + 15, "m", entry.mark);
        drawing.text(x + 34, y + 15, "s", entry.meaning);
        x += 110;
    }
}

void drawMatrix(Drawing &drawing, const Network &network, int y)
{
    const std::vector<int> places = columnPlaces(network);
    for (size_t i = 0; i < network.vlans.size(); ++i) {
        if (i % headEvery == 0) {
            drawHeadings(drawing, network, places, y);
            y += headHeight;
        }
        drawLine(drawing, network.vlans[i], network.lines[i], places, y);
        y += cellHeight;
    }
    drawing.text(margin, y + 20, "b", "PVID");
    for (size_t i = 0; i < places.size(); ++i)
        if (network.columns[i].pvid)
            drawing.text(places[i] + cellWidth / 2, y + 20, "m",
                         std::to_string(*network.columns[i].pvid));
    drawLegend(drawing, y + 40);
}

void drawNote(Drawing &drawing, const std::string &text)
{
    drawing.text(margin, drawing.bottom + 24, "s", escaped(text));
    drawing.bottom += 18;
}

} // namespace

std::string showSvg(const Network &network)
{
    Drawing drawing;
    drawSwitches(drawing, network, margin);
    drawMatrix(drawing, network, drawing.bottom + margin);
    if (network.stop) {
        drawNote(drawing, stopText(*network.stop));
        for (const std::string &reason : network.stop->reasons)
            drawNote(drawing, "service: " + reason);
    }
    for (const std::string &note : network.notes)
        drawNote(drawing, "note: " + note);
    const bool remarks =
        std::any_of(network.vlans.begin(), network.vlans.end(),
                    [](const VlanConfig &vlan) { return !remarkOf(vlan).empty(); });
    return drawing.finish(std::max(480, drawing.right + (remarks ? 170 : 0)));
}

} // namespace swctl
