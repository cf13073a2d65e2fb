// What a path names, for inputs that must be regular files: a folder, a FIFO
// or a device could block a read or never end.
#pragma once

#include <string>

namespace hdrtm::tool {

// "" for a regular file or a path that does not exist; else what it is, as
// the rest of a sentence: "is a folder", "is a FIFO", "is a device".
std::string notARegularFile(const std::string& path);

}  // namespace hdrtm::tool
