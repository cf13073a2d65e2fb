#include "tuning/near_names.h"

#include <algorithm>
#include <cctype>

namespace hdrtm::tool {
namespace {

constexpr int kMaxEdits = 2;  // farther names are not offered as the likely intent

int editDistance(std::string_view a, std::string_view b) {
    std::vector<int> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = static_cast<int>(j);
    for (size_t i = 1; i <= a.size(); ++i) {
        int diagonal = row[0];
        row[0] = static_cast<int>(i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const int up = row[j];
            const int cost = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                                     std::tolower(static_cast<unsigned char>(b[j - 1]))
                                 ? 0
                                 : 1;
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + cost});
            diagonal = up;
        }
    }
    return row[b.size()];
}

std::string_view withoutDashes(std::string_view s) {
    while (!s.empty() && s.front() == '-') s.remove_prefix(1);
    return s;
}

// "hw" abbreviates "hardware": same first letter, the rest in order.
bool abbreviates(std::string_view shortName, std::string_view longName) {
    if (shortName.size() < 2 || longName.empty() || shortName.front() != longName.front()) return false;
    size_t at = 0;
    for (char c : longName) {
        if (at < shortName.size() && c == shortName[at]) ++at;
    }
    return at == shortName.size();
}

}  // namespace

std::string closestName(std::string_view name, const std::vector<std::string>& candidates) {
    std::string best;
    int bestDistance = kMaxEdits + 1;
    for (const std::string& c : candidates) {
        const int d = editDistance(name, c);
        if (d < bestDistance) {
            bestDistance = d;
            best = c;
        }
    }
    if (!best.empty()) return best;
    // Else a name the mistyped one abbreviates or spells out.
    const std::string_view bare = withoutDashes(name);
    for (const std::string& c : candidates) {
        const std::string_view other = withoutDashes(c);
        if (abbreviates(other, bare) || abbreviates(bare, other)) return c;
    }
    return "";
}

}  // namespace hdrtm::tool
