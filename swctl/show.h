// The network as a diagram: text for a terminal, JSON, or SVG.
#pragma once

#include "client/view/network.h"
#include "common/json.h"

#include <cstdio>
#include <string>

namespace swctl {

// "T" tagged, "U" untagged, "C" CPU port, "CU" untagged CPU port, "." not a member.
std::string cellMark(const Cell &cell);

// "BCM:0, BCM:1": the lower ports of a port, empty if there are none.
std::string mappingText(const PortConfig &port);

// "a fresh start stops at row 2 of vlanEncapIf, VLAN 40" with the log's explanation, and the
// missing parts, e.g. "VLANs 40, 50".
std::string stopText(const Stop &stop);
std::string missingText(const Stop &stop);
Json stopJson(const Stop &stop);

// "" if a start applies the VLAN as configured.
std::string fateText(const VlanConfig &vlan);

// `columns` is the line length; 0 means unlimited.
void showText(FILE *stream, const Network &network, bool colour, size_t columns);
Json showJson(const Network &network);
std::string showSvg(const Network &network);

} // namespace swctl
