// Serialises changes and makes them recoverable: a lock next to the database, and a file that
// describes the change in progress.
#pragma once

#include "client/rows/row_change.h"
#include "common/descriptor.h"

#include <optional>
#include <string>

namespace swctl {

// Held while a change is carried out. The constructor takes it if it is free.
class ChangeLock {
public:
    explicit ChangeLock(const std::string &databasePath);

    [[nodiscard]] bool held() const { return locked; }

    // Waits up to `seconds` for another swctl to finish; throws when the time is up.
    void wait(int seconds);

private:
    bool take();

    std::string path;
    Descriptor file;
    bool locked = false;
};

// The change in progress, in a file next to the database.
class Journal {
public:
    explicit Journal(const std::string &databasePath);

    [[nodiscard]] bool isThere() const; // an earlier run left a journal
    [[nodiscard]] std::optional<ChangeSet> unfinished() const;
    void begin(const ChangeSet &changes) const; // on disk before anything else happens
    void end() const;                           // removes the journal

private:
    std::string path;
};

} // namespace swctl
