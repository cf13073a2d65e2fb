// The exported interface: defaults, and the library's dynamic symbol table.
#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>

#include "golden_file.h"
#include "hdr_tm.h"

namespace {

// The defaults the entry logs (panel, colour and gamma spaces, curve knobs,
// control points) are checked line by line in playback_entry_test; these are
// the ones it does not log.
TEST(Defaults, StoreBuiltInValuesAndLeaveTheRest) {
    TMParams p;
    std::memset(&p, 0xA5, sizeof(p));
    set_default_vals(&p);
    for (const auto& [value, expected] :
         {std::pair{p.nominal_peak_luminance, 1500.0f}, {p.tlower, 0.5f}, {p.t1, 0.05f}, {p.t2, 0.5f}})
        EXPECT_EQ(value, expected);
    EXPECT_EQ(p.enableM, 1);
    EXPECT_EQ(p.linearScale, 0);  // the log cannot tell it from a zeroed record
    EXPECT_EQ(p.version, 0u);
    EXPECT_EQ(p.curve.num_points, 17);
    // Fields without a default keep what the caller had.
    EXPECT_EQ(p.gamut_mode, 0xA5);
    EXPECT_EQ(p.grid_size, 0xA5);
    EXPECT_EQ(std::bit_cast<uint32_t>(p.clipLuma), 0xA5A5A5A5u);
    // So do the spare control-point slots 17..23.
    for (int i = 17; i < kToneCurveMaxPoints; ++i)
        EXPECT_EQ(std::bit_cast<uint32_t>(p.curve.points_x[i]) & std::bit_cast<uint32_t>(p.curve.points_y[i]),
                  0xA5A5A5A5u) << i;
}

TEST(Globals, AreZeroAtLoad) {
    static const TMParams zero{};
    EXPECT_TRUE(g_params_ready != 0 || std::memcmp(&g_params, &zero, sizeof(zero)) == 0);
}

// Every exported name with its exact C++ signature is present, and nothing
// internal leaks out of the shared library.
TEST(SharedLibrary, ExportsExactlyTheInterface) {
    // HDRTM_NM is the build's binutils nm, which reads the target's ELF (a cross nm on cross
    // builds); its lines are "<address> <type> <name>", type A being version nodes.
    const std::string command = std::string("'") + HDRTM_NM + "' -D --defined-only -C '" +
                                HDRTM_SHARED_LIBRARY + "' | grep -v '^[0-9a-f]* A ' | cut -d' ' -f3-";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::set<std::string> exported;
    char buffer[1024];
    while (std::fgets(buffer, sizeof(buffer), pipe) != nullptr) {
        const std::string name(buffer, std::strcspn(buffer, "\n"));
        if (name.rfind("__odr_asan", 0) != 0) exported.insert(name);  // AddressSanitizer's ODR indicators
    }
    ASSERT_EQ(pclose(pipe), 0);
    const std::vector<std::string> lines = readLines(std::string(HDRTM_TEST_DATA_DIR) + "/exported_symbols.txt");
    const std::set<std::string> expected(lines.begin(), lines.end());
    ASSERT_FALSE(expected.empty());
    for (const std::string& name : expected) EXPECT_TRUE(exported.count(name)) << "missing: " << name;
    for (const std::string& name : exported) EXPECT_TRUE(expected.count(name)) << "leaked: " << name;
}

}  // namespace
