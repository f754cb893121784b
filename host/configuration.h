// The database's configuration from the host's side: what loading it came to, and
// the recovery that needs write access, which the service does not have.
#pragma once

// What the service's start made of the stored configuration: 0, or the negative
// status at which loading or applying it stopped.
int configurationStatus();

// Rolls a change back that a crash left half written and turns a write-ahead log
// into a plain file, so that a service which may only read finds everything.
// Null when the database is in order, otherwise what is wrong.
const char *databaseRecover(const char *path);
