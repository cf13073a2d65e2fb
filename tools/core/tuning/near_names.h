// "Did you mean": the known name closest to a mistyped one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hdrtm::tool {

// The candidate within two edits of `name` (case-insensitive) that is
// closest to it; else one that `name` abbreviates or spells out ("--hardware"
// for "--hw", leading dashes aside); else "".
std::string closestName(std::string_view name, const std::vector<std::string>& candidates);

}  // namespace hdrtm::tool
