// Requests to the switch manager over relay, and what the answers mean.
#pragma once

#include "swmgr/swmgr_client.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace swctl {

// The directory of the service's sockets; if empty, RELAY_DIR applies.
void useRelayDirectory(const std::string &directory);

// The timeout for each answer, in whole seconds, at least 1. With `once`, a module that has let
// it pass is not asked again in this run.
void limitAnswers(int seconds, bool once = false);

// One limit for all answers together, from now on, in seconds.
void limitWhole(int seconds);

// The seconds left of it, at least 0; `otherwise` if there is no such limit.
int secondsLeft(int otherwise);

// Calls `waits` before and after each wait for an answer of a module.
void watchWaiting(void (*waits)(int module, bool begins));

// Sends a request to a module and waits for the answer. `buffer` is sent as the reply buffer
// unless empty. Returns the handler's result; throws with exitUnreachable if there is no
// answer.
int ask(int module, int requestType, std::string_view data, std::string_view buffer = {});

// Like ask, but `buffer` also receives the answer and is resized to it.
int exchange(int module, int requestType, std::string_view data, std::string &buffer);

// The body of a switch command's request.
std::string switchRequest(const std::string &switchName, std::string_view payload);

// A request without effect: the deletion of a row in a table unknown to the service, which logs
// it with table and row.
constexpr const char *markerTable = "swctl";
void askNothing(int rowId);

bool serviceAnswers(); // whether the switch manager answers such a request

// Sends a switch command whose record is at the start of the payload.
int askSwitch(const std::string &switchName, int command, std::string_view payload);

// A status with its meaning, e.g. "-22 (refused as invalid)".
std::string statusInWords(int status);

} // namespace swctl
