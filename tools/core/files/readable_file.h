// Input files checked before they are read, so that a missing file, a folder
// (or a FIFO or device, which could block a read or never end) or a file
// without read permission is named as such rather than as bad content.
#pragma once

#include <stdexcept>
#include <string>

namespace hdrtm::tool {

// A path that cannot be read as a file; `reason` says why, so that each face
// can report it in its own way (a Python module as FileNotFoundError, ...).
struct UnreadableFileError : std::runtime_error {
    enum class Reason { kMissing, kDirectory, kNotAFile, kDenied };
    UnreadableFileError(Reason r, const std::string& message) : std::runtime_error(message), reason(r) {}
    Reason reason;
};

// Throws UnreadableFileError unless `path` is a readable regular file; `what`
// names it in the message ("tuning file x.xml does not exist", "... is a
// folder, not a file").
void requireReadable(const std::string& path, const char* what);

}  // namespace hdrtm::tool
