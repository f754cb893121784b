// All commands of swctl. To add one, define its row next to its code, declare it here, and add
// it to the table.
#pragma once

#include "swctl/call.h"

namespace swctl {

extern const CommandTable commandTable;
extern const CommandTable changeTable; // for batches: changes of single rows

// Whether the command gives up soon on a service that does not answer, and prints what is
// known without it.
bool onlyReads(const CommandRow &command);
bool neverEnds(const CommandRow &command); // by itself

Globals globalsOf(const Call &call); // for a call that was parsed with the full table

namespace commands {

extern const CommandRow vlanAdd, vlanSet, vlanDelete, vlanList, vlanShow;
extern const CommandRow portAdd, portSet, portDelete, portList, portStats;
extern const CommandRow switchAdd, switchSet, switchDelete, switchList;
extern const CommandRow rateLimit, queues, qos, pauseFrames, vlanMode, snooping;
extern const CommandRow requestVlanAdd, requestVlanDelete, bandwidth, event, command;
extern const CommandRow show, log;
extern const CommandRow exportFile, apply, batch, init;
extern const CommandRow confirm, history, undo;
extern const CommandRow diff, repair, recover, rehearse;
extern const CommandRow status, metrics, check;
extern const CommandRow explainVlan, explainInterface, watch;

} // namespace commands

} // namespace swctl
