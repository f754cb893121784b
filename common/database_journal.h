// Looks at what lies beside a database before SQLite opens it. A rollback journal may
// name a second file, which SQLite deletes after it has rolled the journal back: who may
// write the folder would have any file deleted by whoever opens the database.
#pragma once

// Null when opening the database deletes nothing but its own journal, otherwise what is
// in the way. A database that is a link is looked at where the link leads to.
const char *databaseJournalFault(const char *path);

// From then on SQLite deletes in this process the journals of that database and no other
// file, whoever plants a name while it is open; such a deletion fails as one of the disk's.
// Called before the database is opened; the last call counts. False: it cannot be done.
bool databaseDeletionsLimit(const char *path);

// Resolves the links that lead to the folder and keeps the name in it, for an open with
// SQLITE_OPEN_NOFOLLOW: SQLite refuses links in either. False: there is no such folder, or
// the path is too long; `resolved` takes PATH_MAX bytes.
bool databaseFolderResolve(const char *path, char *resolved);
