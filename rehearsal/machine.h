// The machine that a rehearsal takes place on: the models of chip and engine,
// the interfaces that are said to exist, and the files that were written.
#pragma once

#include "rehearsal/protocol.h"

#include <string>

namespace rehearsal {

// Where the devices' state lies; set up once, before anything else.
bool machineInit();
State &machine();

// What the script says is there.
void interfaceAdd(const unsigned char (&address)[6], const std::string &name);
void deviceAdd(const std::string &path);

// As the platform answers: a descriptor, a status, an address or an error.
int deviceOpen(const std::string &path);
int commandRun(const char *line);  // a tool of the engine or of the interfaces
int pipelineRun(const char *line); // a pipeline that sets or clears a register's bit
int addressGet(const char *name, unsigned char (&address)[6]); // 0 or -ENODEV

} // namespace rehearsal
