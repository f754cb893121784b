// One change at a time, and none half done: a lock beside the database, and a
// file that says what is about to be done until it is done.
#pragma once

#include "client/rows/row_change.h"
#include "common/descriptor.h"

#include <optional>
#include <string>

namespace swctl {

// Held for the length of a change. Taken on construction where it is free.
class ChangeLock {
public:
    explicit ChangeLock(const std::string &databasePath);

    [[nodiscard]] bool held() const { return locked; }

    // For another swctl to finish, up to so many seconds; throws when that is too short.
    void wait(int seconds);

private:
    bool take();

    std::string path;
    Descriptor file;
    bool locked = false;
};

// The change that is being carried out, in a file beside the database.
class Journal {
public:
    explicit Journal(const std::string &databasePath);

    [[nodiscard]] bool isThere() const; // a run has left something
    [[nodiscard]] std::optional<ChangeSet> unfinished() const;
    void begin(const ChangeSet &changes) const; // on disk before anything is done
    void end() const;                           // nothing is unfinished any more

private:
    std::string path;
};

} // namespace swctl
