// Sample planes for benchmarks: a full 17^3 grid of three planes.
#pragma once

#include <algorithm>
#include <vector>

struct BenchPlanes {
    static constexpr unsigned int kCount = 17 * 17 * 17;
    std::vector<float> r = std::vector<float>(kCount), g = std::vector<float>(kCount),
                       b = std::vector<float>(kCount);
    float* planes[3] = {r.data(), g.data(), b.data()};

    // Fills every plane with values spread over [0, scale].
    void fill(float scale) {
        for (unsigned int i = 0; i < kCount; ++i) {
            r[i] = scale * static_cast<float>(i % 17) / 16.0f;
            g[i] = scale * static_cast<float>((i / 17) % 17) / 16.0f;
            b[i] = scale * static_cast<float>(i / 289) / 16.0f;
        }
    }

    // Copies the samples of another set; the plane pointers stay this set's.
    void copyFrom(const BenchPlanes& other) {
        std::copy(other.r.begin(), other.r.end(), r.begin());
        std::copy(other.g.begin(), other.g.end(), g.begin());
        std::copy(other.b.begin(), other.b.end(), b.begin());
    }
};
