// Running the entry as a display service does: the tool's reading of the
// decision table agrees with the library, and its .cube files read back
// through OpenColorIO as the LUT the library wrote.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <tuple>

#include "commands.h"
#include "cube_file.h"
#include "hdr_playback.h"
#include "playback_run.h"

namespace {

namespace fs = std::filesystem;
using namespace hdrtm::tool;

Configuration single(const char* layer, uint32_t blend, bool hw) {
    Configuration c;
    c.layers.resize(1);
    c.blendSpace = blend, c.hardware = hw;
    std::string error;
    EXPECT_TRUE(parseLayerConfig(layer, &c.layers[0], &error)) << error;
    return c;
}

TEST(LayerConfigs, ParseNamesKeysAndCodesAndRejectTheRestWithTheReason) {
    LayerConfig s;
    std::string error;
    const auto fields = [&] {
        return std::tuple(s.transfer, s.primaries, s.contentClass, s.masterNits, s.cllPresent, s.maxCll);
    };
    ASSERT_TRUE(parseLayerConfig("pq,master=4000,cll=1500", &s, &error));
    EXPECT_EQ(fields(), std::tuple(16u, 9u, 0u, 4000u, true, 1500u));
    ASSERT_TRUE(parseLayerConfig("sdr", &s, &error));
    EXPECT_EQ(fields(), std::tuple(1u, 1u, 2u, 0u, false, 0u));
    ASSERT_TRUE(parseLayerConfig("14,class=2,primaries=p3", &s, &error));
    EXPECT_EQ(fields(), std::tuple(14u, 12u, 2u, 0u, false, 0u));
    for (const auto& [text, reason] :
         {std::pair{"", "give pq, hlg, sdr"},
          {"dolby", "pq, hlg, sdr or an H.273 transfer code 0..255"},
          {"pq,master=10001", "master must be a whole number of nits, 0..10000"},
          {"pq,master=-5", "not \"-5\""},
          {"pq,cll=1e3", "cll must be"},
          {"pq,primaries=rec2020", "bt2020, bt709, p3 or an H.273 code 0..255"},
          {"hlg,class=99", "class must be 0..2"},
          {"pq,master=1000,master=4000", "master is given twice"},
          {"pq,peak=1000", "unknown key \"peak\""}}) {
        EXPECT_FALSE(parseLayerConfig(text, &s, &error)) << text;
        EXPECT_NE(error.find(reason), std::string::npos) << text << ": " << error;
    }
}

TEST(PlaybackRun, DemoConfigurationsGetTheirLutsAndARefusalIsTheEntrysAnswer) {
    for (const Configuration& c : demoConfigurations()) {
        const RunResult r = runConfiguration(c, 0, false);
        EXPECT_TRUE(r.problems.empty()) << c.describe() << ": " << r.problems.front();
        EXPECT_EQ(r.rows.size(), c.layers.size()) << c.describe();
    }
    const RunResult r = runConfiguration(single("pq", kBlendSpaceHlg, false), 0, false);
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.luts.empty());
    EXPECT_EQ(r.rows[0].rfind("refused", 0), 0u);
    EXPECT_TRUE(r.problems.empty());
}

TEST(PlaybackRun, HardwareLutComesFromThePushAndCarriesItsChecksum) {
    const RunResult r = runConfiguration(single("pq,master=1000", kBlendSpacePq, true), 1, false);
    ASSERT_EQ(r.luts.size(), 1u);
    const ProducedLut& lut = r.luts[0];
    EXPECT_EQ(lut.label, "hardware");
    EXPECT_EQ(lut.lut.bitDepth, 12);
    EXPECT_EQ(lut.payloadUniform, 1u);
    EXPECT_TRUE(lut.hasChecksum);
    EXPECT_EQ(lut.lut.codes[0], (std::array<uint32_t, 3>{0, 0, 0}));  // black stays black
    EXPECT_GT(r.msPerCall, 0.0);
    constexpr int kGreyStep = kLutSize * kLutSize + kLutSize + 1;  // (i, i, i) to (i+1, i+1, i+1)
    for (int k = kGreyStep; k < kLutEntries; k += kGreyStep) {  // the grey axis rises
        EXPECT_GE(lut.lut.codes[k][1], lut.lut.codes[k - kGreyStep][1]);
    }
}

// OpenColorIO's reading of a .cube file at every grid point i/16.
std::vector<std::array<float, 3>> sampleWithOcio(const std::string& cube) {
    const std::string command = "/usr/bin/python3 " HDRTM_TOOL_TEST_DIR "/ocio_sample_cube.py '" +
                                cube + "' 17";
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::vector<std::array<float, 3>> out;
    std::array<float, 3> v{};
    while (pipe && std::fscanf(pipe.get(), "%f %f %f", &v[0], &v[1], &v[2]) == 3) out.push_back(v);
    return out;
}

TEST(CubeReadBack, OpenColorIOReadsTheLibrarysLuts) {
    const fs::path dir = fs::temp_directory_path() / "hdrtm_cube_readback";
    fs::create_directories(dir);
    const Configuration configs[] = {single("pq,master=1000", kBlendSpacePerLayer, false),
                                     single("pq,master=1000", kBlendSpacePq, true),
                                     single("sdr", kBlendSpacePq, false)};
    for (const Configuration& c : configs) {
        const RunResult r = runConfiguration(c, 0, false);
        ASSERT_EQ(r.luts.size(), 1u);
        const Lut3d& lut = r.luts[0].lut;
        const std::string path = (dir / (c.slug() + ".cube")).string();
        writeCube(path, lut, c.describe(), {});
        const auto read = sampleWithOcio(path);
        ASSERT_EQ(read.size(), static_cast<size_t>(kLutEntries))
            << "OpenColorIO (python3-pyopencolorio) did not read " << path;
        for (int k = 0; k < kLutEntries; ++k)
            for (int ch = 0; ch < 3; ++ch)
                ASSERT_NEAR(read[k][ch], double(lut.codes[k][ch]) / lut.maxCode(), 2e-6)
                    << c.describe() << " @" << k;
    }
    fs::remove_all(dir);
}

}  // namespace
