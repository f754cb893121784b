// Reading and writing whole files. Every failure is thrown with the system's reason.
#pragma once

#include <optional>
#include <string>

namespace swctl {

// Replaces a file atomically: after a power failure it has either its old or its new contents.
void replaceFile(const std::string &path, const std::string &contents);

// Replaces a file that programs of other users read: they find the old or the new
// contents. Not flushed to disk.
void publishFile(const std::string &path, const std::string &contents);

// A directory entry is only as durable as its directory: syncs the directory of `path`.
void syncFolder(const std::string &path);

// Appends to a file, creating it if necessary.
void appendToFile(const std::string &path, const std::string &contents);

// A missing file is not an error.
void removeFile(const std::string &path);

// The contents of a file, nullopt if it does not exist.
std::optional<std::string> fileContents(const std::string &path, size_t most);

// Up to the last slash; empty if there is none.
std::string folderOf(const std::string &path);

// Throws with the operation, the path and the system's reason.
[[noreturn]] void failFile(const std::string &what, const std::string &path);

} // namespace swctl
