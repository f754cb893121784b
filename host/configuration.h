// The stored configuration from the host's side: the outcome of loading it, and the
// recovery, which needs write access that the service does not have.
#pragma once

// The outcome of loading and applying the stored configuration at startup: 0, or the
// negative status at which it stopped.
int configurationStatus();

// Rolls back a change that a crash left half written, and folds a write-ahead log into
// the database, so that a service with read access finds everything. Null if the
// database is in order, otherwise what is wrong.
const char *databaseRecover(const char *path);
