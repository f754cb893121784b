// Files that are read and written whole, so that a loss of power leaves the old or
// the new contents. Every failure is thrown with the system's reason.
#pragma once

#include <optional>
#include <string>

namespace swctl {

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

// Up to the last slash; empty without one.
std::string folderOf(const std::string &path);

// Throws with what failed, the path and the system's reason.
[[noreturn]] void failFile(const std::string &what, const std::string &path);

} // namespace swctl
