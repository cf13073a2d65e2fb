#include "colour/lut_lookup.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace hdrtm::tool {
namespace {

// Segment and fraction of `x` among the sample positions.
std::pair<int, float> locate(const std::vector<float>& pos, float x) {
    const int last = static_cast<int>(pos.size()) - 1;
    x = std::clamp(x, pos.front(), pos.back());
    int i = static_cast<int>(std::upper_bound(pos.begin(), pos.end(), x) - pos.begin()) - 1;
    i = std::clamp(i, 0, last - 1);
    const float span = pos[i + 1] - pos[i];
    return {i, span > 0.0f ? (x - pos[i]) / span : 0.0f};
}

}  // namespace

std::array<float, 3> lookUp(const CubeTable& t, const std::array<float, 3>& rgb) {
    const auto [r, fr] = locate(t.positions, rgb[0]);
    const auto [g, fg] = locate(t.positions, rgb[1]);
    const auto [b, fb] = locate(t.positions, rgb[2]);
    const int n = t.size;
    // Captured by value: clang 14 cannot capture structured bindings.
    const auto at = [&t, n, r = r, g = g, b = b](int dr, int dg,
                                                  int db) -> const std::array<float, 3>& {
        return t.values[((b + db) * n + (g + dg)) * n + (r + dr)];
    };
    // Tetrahedral interpolation, as display hardware does: walk from the
    // cell's first corner to its last along the axes in order of their
    // fractions, so greys stay on the grey axis (trilinear interpolation
    // would bend them through off-axis corners).
    std::array<std::pair<float, int>, 3> steps = {{{fr, 0}, {fg, 1}, {fb, 2}}};
    std::stable_sort(steps.begin(), steps.end(),
                     [](const auto& a, const auto& x) { return a.first > x.first; });
    int offset[3] = {0, 0, 0};
    const std::array<float, 3>* previous = &at(0, 0, 0);
    std::array<float, 3> out = *previous;
    for (const auto& [fraction, axis] : steps) {
        offset[axis] = 1;
        const std::array<float, 3>& corner = at(offset[0], offset[1], offset[2]);
        for (int c = 0; c < 3; ++c) out[c] += fraction * (corner[c] - (*previous)[c]);
        previous = &corner;
    }
    return out;
}

}  // namespace hdrtm::tool
