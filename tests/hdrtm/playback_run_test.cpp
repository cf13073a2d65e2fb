// Running the entry as a display service does: the tool's reading of the
// decision table agrees with the library, and its .cube files read back
// through OpenColorIO as the LUT the library wrote.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <tuple>

#include "colour/lut_lookup.h"
#include "files/clf_file.h"
#include "files/cube_file.h"
#include "hdr_playback.h"
#include "playback/playback_run.h"

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

// The log names a custom output gamma without its exponent; the LUT's record
// and its file carry the tuning's exponent, so diff and apply decode it.
TEST(PlaybackRun, CustomOutputGammaTravelsWithTheLut) {
    std::string error;
    ASSERT_TRUE(setTuningProperty(HDRTM_TOOL_DATA_DIR "/custom_gamma.xml", &error)) << error;
    const RunResult r = runConfiguration(single("pq", kBlendSpacePerLayer, false), 0, false);
    ASSERT_TRUE(setTuningProperty("", &error)) << error;
    ASSERT_EQ(r.luts.size(), 1u);
    EXPECT_EQ(r.luts[0].lut.panel.gammaSpace, static_cast<uint32_t>(GAMMA_CUSTOM));
    EXPECT_EQ(r.luts[0].lut.panel.gammaValue, 2.4f);
    const std::string path = (fs::temp_directory_path() / "hdrtm_custom_gamma.cube").string();
    writeCube(path, r.luts[0].lut, "custom gamma", {});
    EXPECT_EQ(readLutFile(path).panel.gammaValue, 2.4f);
    fs::remove(path);
}

// OpenColorIO's reading of a LUT file at every point of `positions`^3, red fastest.
std::vector<std::array<float, 3>> sampleWithOcio(const std::string& file, const std::vector<float>& positions) {
    std::string list;
    char number[32];
    for (float p : positions) {
        std::snprintf(number, sizeof(number), "%.9g", p);
        list += (list.empty() ? "" : ",") + std::string(number);
    }
    const std::string command =
        "/usr/bin/python3 " HDRTM_TOOL_TEST_DIR "/ocio_sample.py '" + file + "' " + list;
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::vector<std::array<float, 3>> out;
    std::array<float, 3> v{};
    while (pipe && std::fscanf(pipe.get(), "%f %f %f", &v[0], &v[1], &v[2]) == 3) out.push_back(v);
    return out;
}

std::vector<float> evenPositions() {
    std::vector<float> p;
    for (int i = 0; i < kLutSize; ++i) p.push_back(static_cast<float>(i) / (kLutSize - 1));
    return p;
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
        const auto read = sampleWithOcio(path, evenPositions());
        ASSERT_EQ(read.size(), static_cast<size_t>(kLutEntries))
            << "OpenColorIO (python3-pyopencolorio) did not read " << path;
        for (int k = 0; k < kLutEntries; ++k)
            for (int ch = 0; ch < 3; ++ch)
                ASSERT_NEAR(read[k][ch], double(lut.codes[k][ch]) / lut.maxCode(), 2e-6)
                    << c.describe() << " @" << k;
    }
    fs::remove_all(dir);
}

// A CLF file read by OpenColorIO at the library's own grid positions gives
// the library's codes, and between the points what hdrtm's interpolation
// gives; hdrtm reads its own file back to the same table.
TEST(ClfReadBack, OpenColorIOFindsTheCodesAtTheTrueGridPositions) {
    const fs::path dir = fs::temp_directory_path() / "hdrtm_clf_readback";
    fs::create_directories(dir);
    std::string error;
    ASSERT_TRUE(setTuningProperty(HDRTM_CHECK_DATA_DIR "/clean.xml", &error)) << error;
    const std::pair<Configuration, bool> cases[] = {
        {single("pq,master=1000", kBlendSpacePerLayer, false), false},  // uniform, 10-bit
        {single("pq,master=1000", kBlendSpacePq, true), true},          // non-uniform, 12-bit
    };
    for (const auto& [config, nonUniform] : cases) {
        const RunResult r = runConfiguration(config, 0, nonUniform);
        ASSERT_EQ(r.luts.size(), 1u);
        const Lut3d& lut = r.luts[0].lut;
        ASSERT_EQ(lut.uniformGrid, !nonUniform);
        const std::string path = (dir / (config.slug() + ".clf")).string();
        writeClf(path, lut, config.describe(), {"a note & <brackets>"});
        const CubeTable own = readLutFile(path);
        EXPECT_EQ(own.positions, toCubeTable(lut).positions);
        EXPECT_EQ(own.values, toCubeTable(lut).values);
        EXPECT_EQ(own.bitDepth, lut.bitDepth);

        std::vector<float> nodes, between;
        for (int i = 0; i < kLutSize; ++i) nodes.push_back(lut.grid[i] / float(kInputCodeMax));
        for (int i = 0; i + 1 < kLutSize; i += 3) {
            between.push_back((lut.grid[i] + lut.grid[i + 1]) / 2 / float(kInputCodeMax));
        }
        const auto atNodes = sampleWithOcio(path, nodes);
        ASSERT_EQ(atNodes.size(), static_cast<size_t>(kLutEntries)) << "OpenColorIO did not read " << path;
        for (int k = 0; k < kLutEntries; ++k)
            for (int ch = 0; ch < 3; ++ch)
                ASSERT_NEAR(atNodes[k][ch], double(lut.codes[k][ch]) / lut.maxCode(), 1e-6)
                    << config.describe() << " node " << k;
        const auto atBetween = sampleWithOcio(path, between);
        size_t k = 0;
        for (float b : between)
            for (float g : between)
                for (float red : between) {
                    const auto expected = lookUp(own, {red, g, b});
                    for (int ch = 0; ch < 3; ++ch)
                        ASSERT_NEAR(atBetween[k][ch], expected[ch], 2e-6) << red << " " << g << " " << b;
                    ++k;
                }
    }
    setTuningProperty("", &error);
    fs::remove_all(dir);
}

}  // namespace
