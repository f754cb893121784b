// Checks the files next to a database before SQLite opens it. A rollback journal may name a
// second file, which SQLite deletes after rolling the journal back: anyone who can write the
// folder could have any file deleted by whoever opens the database.
#pragma once

// Null if opening the database deletes nothing but its own journal, else the problem. If the
// database is a symbolic link, checks the files next to its target.
const char *databaseJournalFault(const char *path);

// From now on SQLite deletes only the journals of that database in this process, whoever plants
// a name while it is open; other deletions fail with an I/O error. Call it before opening the
// database; the last call counts. False if it cannot be done.
bool databaseDeletionsLimit(const char *path);

// Resolves the links in the path of the folder and keeps the file name, for opening with
// SQLITE_OPEN_NOFOLLOW, where SQLite refuses links in both. False if the folder does not exist
// or the path is too long; `resolved` takes PATH_MAX bytes.
bool databaseFolderResolve(const char *path, char *resolved);
