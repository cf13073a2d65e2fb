#include "files/readable_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace hdrtm::tool {

void requireReadable(const std::string& path, const char* what) {
    namespace fs = std::filesystem;
    using Reason = UnreadableFileError::Reason;
    std::error_code ec;
    const std::string named = std::string(what) + " " + path;
    if (!fs::exists(path, ec)) throw UnreadableFileError(Reason::kMissing, named + " does not exist");
    if (fs::is_directory(path, ec)) throw UnreadableFileError(Reason::kDirectory, named + " is a directory");
    if (access(path.c_str(), R_OK) != 0) {
        throw UnreadableFileError(Reason::kDenied, named + " is not readable: " + std::strerror(errno));
    }
}

}  // namespace hdrtm::tool
