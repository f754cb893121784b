// The machine on which a rehearsal takes place: the models of chip and engine, the
// interfaces that the script declares, and the files that were written.
#pragma once

#include "rehearsal/protocol.h"

#include <string>

namespace rehearsal {

// The devices' state; set up once, before anything else.
bool machineInit();
State &machine();

// Declared by the script.
void interfaceAdd(const unsigned char (&address)[6], const std::string &name);
void deviceAdd(const std::string &path);

// Answers as the platform gives them: a descriptor, a status, an address or an error.
int deviceOpen(const std::string &path);
int commandRun(const char *line);  // a tool of the engine or of the interfaces
int pipelineRun(const char *line); // a pipeline that sets or clears a register's bit
int addressGet(const char *name, unsigned char (&address)[6]); // 0 or -ENODEV

} // namespace rehearsal
