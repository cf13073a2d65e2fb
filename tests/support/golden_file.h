// Golden files: an FNV-1a 64 hash of output bytes, and computed lines held
// against a file under tests/data (HDRTM_UPDATE_GOLDEN=1 rewrites the file).
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

struct Fnv1a64 {
    uint64_t hash = 0xCBF29CE484222325ull;
    void add(const void* data, size_t size) {
        for (size_t i = 0; i < size; ++i) hash = (hash ^ static_cast<const uint8_t*>(data)[i]) * 0x100000001B3ull;
    }
    std::string hex() const {
        char text[17];
        std::snprintf(text, sizeof(text), "%016llx", static_cast<unsigned long long>(hash));
        return text;
    }
};

// The lines of a text file, less empty lines and "#" comments.
inline std::vector<std::string> readLines(const std::string& file) {
    std::vector<std::string> lines;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line[0] != '#') lines.push_back(line);
    return lines;
}

// `computed` must equal the lines of tests/data/<name> after its "# <header>".
inline void expectGoldenLines(const std::string& name, const std::string& header,
                              const std::vector<std::string>& computed) {
    const std::string file = std::string(HDRTM_TEST_DATA_DIR) + "/" + name;
    if (const char* update = std::getenv("HDRTM_UPDATE_GOLDEN"); update && *update == '1') {
        std::ofstream out(file);
        out << "# " << header << '\n';
        for (const std::string& line : computed) out << line << '\n';
        GTEST_SKIP() << "rewrote " << file;
    }
    EXPECT_EQ(computed, readLines(file)) << file;
}
