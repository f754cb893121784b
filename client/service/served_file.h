// Whether the service that runs serves the database that swctl works on: row numbers of
// one mean nothing in another.
#pragma once

#include <string>

namespace swctl {

enum class Serving {
    nothing,     // no service can be reached
    thisFile,    //
    anotherFile, // also one that was moved away, or that another has taken the place of
    untold       // the service does not tell, and the kernel does not to this user
};

struct ServedFile {
    Serving serving = Serving::nothing;
    std::string path; // of another file, as the service's host sees it
};

ServedFile servedFile(const std::string &databasePath);

// Throws with exitRefused for another file.
void refuseAnotherFile(const std::string &databasePath);

} // namespace swctl
