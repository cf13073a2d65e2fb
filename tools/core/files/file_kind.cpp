#include "files/file_kind.h"

#include <filesystem>

namespace hdrtm::tool {

std::string notARegularFile(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::file_status status = fs::status(path, ec);
    switch (status.type()) {
        case fs::file_type::regular:
        case fs::file_type::not_found:
        case fs::file_type::none: return "";
        case fs::file_type::directory: return "is a folder";
        case fs::file_type::fifo: return "is a FIFO";
        case fs::file_type::character:
        case fs::file_type::block: return "is a device";
        case fs::file_type::socket: return "is a socket";
        default: return "is not a regular file";
    }
}

}  // namespace hdrtm::tool
