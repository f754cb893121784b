// Whether the running service uses the database that swctl works on. Row numbers of one
// database mean nothing in another.
#pragma once

#include <string>

namespace swctl {

enum class Serving {
    nothing,     // no service can be reached
    thisFile,    //
    anotherFile, // includes the case that the file was moved or replaced
    untold       // not reported by the service, and this user may not ask the kernel
};

struct ServedFile {
    Serving serving = Serving::nothing;
    std::string path; // of the other file, as seen by the service's host
};

ServedFile servedFile(const std::string &databasePath);

// "the service uses another file, PATH; the hardware follows that one"
std::string otherFileText(const std::string &path);

// Throws with exitRefused if the service uses another file.
void refuseAnotherFile(const std::string &databasePath);

} // namespace swctl
