// One change at a time, and none half done: a lock beside the database, and a
// file that says what is about to be done until it is done.
#pragma once

#include "client/rows/row_change.h"
#include "common/descriptor.h"

#include <functional>
#include <optional>
#include <string>

namespace swctl {

// Held for the length of a change. Waits for another swctl up to `seconds`;
// `waiting` is called once when it has to.
class ChangeLock {
public:
    ChangeLock(const std::string &databasePath, int seconds, const std::function<void()> &waiting);

private:
    Descriptor file;
};

// The change that is being carried out, in a file beside the database.
class Journal {
public:
    explicit Journal(const std::string &databasePath);

    [[nodiscard]] std::optional<ChangeSet> unfinished() const; // what an earlier run left
    void begin(const ChangeSet &changes) const;                // on disk before anything is done
    void end() const;                                          // nothing is unfinished any more

private:
    std::string path;
};

// Replaces a file as a whole: its old or its new contents are there, also after a
// loss of power.
void replaceFile(const std::string &path, const std::string &contents);

// A name in a folder is as durable as the folder: writes that of `path` to disk.
void syncFolder(const std::string &path);

// Adds to the end of a file, which is made where there is none.
void appendToFile(const std::string &path, const std::string &contents);

// A file that is not there is removed already.
void removeFile(const std::string &path);

// The contents of a file; none when it is not there.
std::optional<std::string> fileContents(const std::string &path, size_t most);

} // namespace swctl
