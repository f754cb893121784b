// Requests to the switch manager over relay, and what its answers mean.
#pragma once

#include "swmgr/swmgr_client.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace swctl {

// Where the service's sockets are; empty leaves it to RELAY_DIR.
void useRelayDirectory(const std::string &directory);

// How long each answer is waited for, in whole seconds from 1.
void limitAnswers(int seconds);

// Sends a request to a module and waits for the answer. `buffer` travels as the
// reply buffer; an empty one is not sent. Gives the handler's result, or throws
// with exitUnreachable when nobody answered.
int ask(int module, int requestType, std::string_view data, std::string_view buffer = {});

// As ask, with a reply buffer that takes the answer: it goes out with its size
// and comes back with the answer's.
int exchange(int module, int requestType, std::string_view data, std::string &buffer);

// The body of a switch command's request.
std::string switchRequest(const std::string &switchName, std::string_view payload);

// A request that does nothing: the deletion of a row in a table that the service does
// not know. It logs that with table and row.
constexpr const char *markerTable = "swctl";
void askNothing(int rowId);

bool serviceAnswers(); // the switch manager, to such a request

// A switch command with its record at the start of the payload.
int askSwitch(const std::string &switchName, int command, std::string_view payload);

// What an answer says, e.g. "-22 (refused as invalid)".
std::string statusInWords(int status);

} // namespace swctl
