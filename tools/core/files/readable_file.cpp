#include "files/readable_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "files/file_kind.h"

namespace hdrtm::tool {

void requireReadable(const std::string& path, const char* what) {
    namespace fs = std::filesystem;
    using Reason = UnreadableFileError::Reason;
    std::error_code ec;
    const std::string named = std::string(what) + " " + path;
    if (!fs::exists(path, ec)) throw UnreadableFileError(Reason::kMissing, named + " does not exist");
    const std::string kind = notARegularFile(path);
    if (!kind.empty()) {
        throw UnreadableFileError(fs::is_directory(path, ec) ? Reason::kDirectory : Reason::kNotAFile,
                                  named + " " + kind + ", not a file");
    }
    if (access(path.c_str(), R_OK) != 0) {
        throw UnreadableFileError(Reason::kDenied, named + " is not readable: " + std::strerror(errno));
    }
}

}  // namespace hdrtm::tool
