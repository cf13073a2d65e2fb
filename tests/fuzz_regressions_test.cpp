// Every fuzz seed and past fuzzer failure, replayed through the fuzzers' own
// harnesses (a harness aborts naming the broken property); entry calls that
// lack one of their records.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include "fuzz_harness.h"
#include "hdr_tm.h"

namespace {

namespace fs = std::filesystem;

// name: the directory under fuzz/corpus and fuzz/regressions.
struct Target { const char* name; int (*harness)(const uint8_t* data, size_t size); };

class FuzzReplay : public ::testing::TestWithParam<Target> {};

TEST_P(FuzzReplay, EverySeedAndPastFailureRunsClean) {
    hdrtm_fuzz::discardLogs();
    std::vector<fs::path> files;
    for (const char* kind : {"corpus", "regressions"}) {
        const fs::path dir = fs::path(HDRTM_FUZZ_DIR) / kind / GetParam().name;
        if (fs::is_directory(dir)) files.insert(files.end(), fs::directory_iterator(dir), fs::directory_iterator());
    }
    std::sort(files.begin(), files.end());
    ASSERT_FALSE(files.empty());
    for (const fs::path& file : files) {
        std::ifstream in(file, std::ios::binary);
        const std::vector<uint8_t> input{std::istreambuf_iterator<char>(in), {}};
        EXPECT_EQ(GetParam().harness(input.data(), input.size()), 0) << file;
    }
}

INSTANTIATE_TEST_SUITE_P(Fuzzers, FuzzReplay,
                         ::testing::Values(Target{"tuning_loader", hdrtm_fuzz::fuzzTuningLoader},
                                           Target{"stage", hdrtm_fuzz::fuzzStages},
                                           Target{"entry", hdrtm_fuzz::fuzzEntry}),
                         [](const auto& target) { return std::string(target.param.name); });

// Without the layer records, the applied flags or the blend descriptor there
// is nothing to answer: the call is refused before any byte is written.
TEST(MissingRecords, CallIsRefusedAndNothingIsWritten) {
    HdrLayerColorInfo layer0{};
    HdrLayerLut layer{}, blend{};
    layer.enabled = blend.enabled = 0x77;
    uint8_t applied[kMaxLayers] = {0x77, 0x77, 0x77, 0x77};
    enum Missing { kInfo, kLuts, kLayers, kApplied, kBlend, kMissingCount };
    for (int missing = kInfo; missing < kMissingCount; ++missing) {
        HdrPlaybackInfo info{};
        info.num_layers = 1, info.layers = missing == kLayers ? nullptr : &layer0;
        HdrLutSet luts{};
        luts.layer_luts[0] = &layer, luts.layer_lut_applied = missing == kApplied ? nullptr : applied;
        luts.blend_lut = missing == kBlend ? nullptr : &blend;
        EXPECT_EQ(HDR_playback_strategies(missing == kInfo ? nullptr : &info, missing == kLuts ? nullptr : &luts), 0) << missing;
    }
    EXPECT_EQ(std::tuple(layer.enabled, blend.enabled, applied[0]), std::tuple(0x77, 0x77, 0x77));
}

}  // namespace
