// Numbers in messages, labels and plots as a reader writes them: "600",
// "0.005", "1e+04" ("%g").
#pragma once

#include <string>

namespace hdrtm::tool {

std::string numberText(double v);

}  // namespace hdrtm::tool
