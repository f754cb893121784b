// Puts settings of switches and ports into force, by the requests of the service.
#pragma once

#include "client/gateway/comparison.h"
#include "client/rehearse/rehearsal.h"

#include <string>
#include <vector>

namespace swctl {

// Sends its requests up to the first that is refused, and returns the last answer. Throws if
// there is none.
int sendSetting(const WantedSetting &setting);

// The same in a rehearsal.
void addRequests(Script &script, const WantedSetting &setting);

// Sends what these differences are about and adds a line for each to `done`.
void sendDifferent(const std::vector<Difference> &differences, const Target &target,
                   std::vector<std::string> &done);

// Sends what the rows ask for and is not known to be in force: all of it, or only what a start
// of the service does not send.
void sendUnknown(const Target &target, const Actual &actual, bool alsoOfStart,
                 std::vector<std::string> &done);

// Sentences about values that the device can only come close to.
std::vector<std::string> roundings(const std::vector<const WantedSetting *> &settings);

} // namespace swctl
