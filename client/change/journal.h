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

} // namespace swctl
