// Checks the database file before the service opens it, which would create a missing
// file and notice any other fault only at the first query.
#pragma once

// Null if the file can be used, otherwise what is wrong with it.
const char *databaseFileFault(const char *path);
