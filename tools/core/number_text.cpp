#include "number_text.h"

#include <cstdio>

namespace hdrtm::tool {

std::string numberText(double v) {
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%g", v);
    return buffer;
}

}  // namespace hdrtm::tool
