// The network as a picture: text for a terminal, JSON, or an SVG file.
#pragma once

#include "client/view/network.h"
#include "common/json.h"

#include <cstdio>
#include <string>

namespace swctl {

// "T", "U", "C", "CU" or ".": tagged, untagged, CPU port, CPU port that sends
// untagged, not a member.
std::string cellMark(const Cell &cell);

// "BCM:0, BCM:1": the lower ports of a port, empty when it has none.
std::string mappingText(const PortConfig &port);

// "a fresh start stops at row 2 of vlanEncapIf, VLAN 40", and what the service's
// log says about it; the missing parts, as "VLANs 40, 50".
std::string stopText(const Stop &stop);
std::string missingText(const Stop &stop);
Json stopJson(const Stop &stop);

// "" for a VLAN that a start applies as the row says.
std::string fateText(const VlanConfig &vlan);

// In lines of at most `columns` characters; 0 for lines as long as need be.
void showText(FILE *stream, const Network &network, bool colour, size_t columns);
Json showJson(const Network &network);
std::string showSvg(const Network &network);

} // namespace swctl
