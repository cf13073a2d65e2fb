// apply on the generated grid-node image: every node's pixel comes out as
// the LUT's own code, on the uniform grid (10-bit layer LUT) and on the
// non-uniform one (12-bit hardware LUT), and the image keeps its size, its
// alpha and gains captions; narrow-range samples are spread first, and the
// output is tagged with its colours.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <tuple>

#include "apply/apply_image.h"
#include "files/output_files.h"
#include "files/png_image.h"
#include "hdr_playback.h"
#include "playback/playback_run.h"

namespace {

namespace fs = std::filesystem;
using namespace hdrtm::tool;

constexpr int kNodeRow = kLutSize * kLutSize;  // pixels per row of the node image

Configuration pqLayer(uint32_t blend, bool hw) {
    Configuration c{{LayerConfig{}}, blend, hw};
    std::string error;
    EXPECT_TRUE(parseLayerConfig("pq,primaries=bt2020", &c.layers[0], &error)) << error;
    return c;
}

// The one LUT that `tuning` ("defaults" or a file) gives for `config`.
Lut3d lutOf(const std::string& tuning, const Configuration& config, bool versionTwo) {
    std::string error;
    EXPECT_TRUE(setTuningProperty(tuning == "defaults" ? "" : tuning, &error)) << error;
    const RunResult r = runConfiguration(config, 0, versionTwo);
    setTuningProperty("", &error);
    EXPECT_EQ(r.luts.size(), 1u);
    return r.luts.empty() ? Lut3d{} : r.luts[0].lut;
}

class ApplyTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        // One folder per process: ctest runs the suite's tests side by side.
        dir_ = fs::temp_directory_path() / ("hdrtm_apply_test_" + std::to_string(getpid()));
        fs::create_directories(dir_);
        const std::string command =
            "/usr/bin/python3 " HDRTM_SCRIPTS_DIR "/make_test_images.py '" + dir_.string() + "'";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }
    static void TearDownTestSuite() { fs::remove_all(dir_); }

    // Applies `lut` to the PQ image `name` and writes it to `output`;
    // returns how many rows were reported done.
    static int apply(const std::string& name, const Lut3d& lut, Beside beside, const std::string& output) {
        PngReader image((dir_ / name).string());
        const CubeTable table = toCubeTable(lut);
        ApplySetup setup;
        setup.input = Signal::kPq;
        setup.lut = &table;
        setup.beside = beside;
        int rows = 0;
        writeFileAtomically(output, applyToImage(image, setup, [&rows](int done) { rows = done; }));
        return rows;
    }

    // Checks the nodes of grid rows [firstRow, firstRow + 17) of the applied
    // node image against `lut`.
    static void expectNodesMatch(const Lut3d& lut, int firstRow) {
        const std::string output = (dir_ / "out.png").string();
        apply("grid_nodes_pq.png", lut, Beside::kNothing, output);
        PngReader out(output);
        ASSERT_EQ(out.width(), kNodeRow);
        ASSERT_EQ(out.height(), 2 * kLutSize);
        std::vector<uint16_t> row;
        for (int y = 0; y < 2 * kLutSize; ++y) {
            out.readRow(row);
            if (y < firstRow || y >= firstRow + kLutSize) continue;
            for (int x = 0; x < kNodeRow; ++x) {
                const int node = (y - firstRow) * kNodeRow + x;
                for (int c = 0; c < 3; ++c) {
                    const long code = std::lround(row[x * 3 + c] * double(lut.maxCode()) / 65535.0);
                    ASSERT_EQ(code, lut.codes[node][c]) << "node " << node << " channel " << c;
                }
            }
        }
    }

    static fs::path dir_;
};

fs::path ApplyTest::dir_;

TEST_F(ApplyTest, UniformLayerLutComesOutExactlyAtItsNodes) {
    expectNodesMatch(lutOf("defaults", pqLayer(kBlendSpacePerLayer, false), false), 0);
}

TEST_F(ApplyTest, NonUniformHardwareLutComesOutExactlyAtItsNodes) {
    expectNodesMatch(lutOf(HDRTM_CHECK_DATA_DIR "/clean.xml", pqLayer(kBlendSpacePq, true), true), kLutSize);
}

TEST_F(ApplyTest, TheImageKeepsItsSizeAndItsClipSitsBeside) {
    const std::string output = (dir_ / "pattern.png").string();
    const Lut3d lut = lutOf("defaults", pqLayer(kBlendSpacePerLayer, false), false);
    const int rows = apply("test_pattern_pq.png", lut, Beside::kPlainClip, output);
    PngReader in((dir_ / "test_pattern_pq.png").string()), out(output);
    Signal signal = Signal::kPanel;
    ASSERT_TRUE(in.hasCicp());
    EXPECT_TRUE(signalOfTransfer(in.cicp().transfer, &signal));
    EXPECT_EQ(signal, Signal::kPq);
    EXPECT_EQ(out.width(), 2 * in.width());
    EXPECT_EQ(out.height(), in.height());
    EXPECT_EQ(rows, in.height());
}

TEST_F(ApplyTest, AlphaIsKeptAndTheHalvesAreCaptioned) {
    const Lut3d lut = lutOf("defaults", pqLayer(kBlendSpacePerLayer, false), false);
    const CubeTable table = toCubeTable(lut);
    PngReader image((dir_ / "ramp_narrow_alpha_pq.png").string());
    ASSERT_TRUE(image.hasAlpha());
    ApplySetup setup;
    setup.lut = &table;
    setup.narrowRange = true;
    setup.beside = Beside::kPlainClip;
    setup.captions = {"LUT", "clip"};
    const std::string output = (dir_ / "captioned.png").string();
    writeFileAtomically(output, applyToImage(image, setup, [](int) {}));
    PngReader out(output);
    ASSERT_TRUE(out.hasAlpha());
    EXPECT_EQ(out.width(), 2 * image.width());
    ASSERT_EQ(out.height(), image.height() + kCaptionBandHeight);
    std::vector<uint16_t> rgb, alpha;
    uint16_t brightest = 0;
    for (int y = 0; y < kCaptionBandHeight; ++y) {
        out.readRow(rgb, alpha);
        brightest = std::max(brightest, *std::max_element(rgb.begin(), rgb.end()));
    }
    EXPECT_GT(brightest, 30000) << "no caption text in the band";
    PngReader in((dir_ / "ramp_narrow_alpha_pq.png").string());
    std::vector<uint16_t> inRgb, inAlpha;
    in.readRow(inRgb, inAlpha);
    out.readRow(rgb, alpha);
    for (int x = 0; x < in.width(); ++x) {
        EXPECT_EQ(alpha[x], inAlpha[x]);
        EXPECT_EQ(alpha[x + in.width()], inAlpha[x]);
    }
    // Narrow-range black (16) and white (235) reach the LUT as codes 0 and 1023.
    EXPECT_EQ(rgb[0], 0);
    EXPECT_EQ(rgb[(in.width() - 1) * 3 + 1], std::lround(lut.codes[kLutEntries - 1][1] * 65535.0 / lut.maxCode()));
}

TEST(NarrowRange, BlackAndWhiteOfAnyDepthSpreadToTheFullRange) {
    for (const auto& [bits, black, white] : {std::tuple{16, 16 * 256, 235 * 256}, {8, 16 * 257, 235 * 257}}) {
        std::vector<uint16_t> samples = {static_cast<uint16_t>(black), static_cast<uint16_t>(white), 0, 65535};
        narrowToFullRange(samples, bits);
        EXPECT_EQ(samples, (std::vector<uint16_t>{0, 65535, 0, 65535})) << bits;
    }
}

// The output says its colours as PNG can: cICP codes where H.273 has them,
// cHRM and gAMA where it has none, nothing for halves of different signals.
TEST(AppliedImageTags, NameTheOutputSignalOrSayWhyNot) {
    struct Case {
        Signal output;
        uint32_t colorMode;
        uint32_t gammaSpace;
        bool cicp;
        Cicp codes;
        double fileGamma;
        const char* words;
    };
    const Case cases[] = {
        {Signal::kPanel, SPACE_DCIP3, GAMMA_2P2, true, {12, 4, 0, 1}, 0.0, "Display P3 primaries, gamma 2.2 (cICP)"},
        {Signal::kPanel, SPACE_BT709, GAMMA_SRGB, true, {1, 13, 0, 1}, 0.0, "BT.709 primaries, sRGB (cICP)"},
        {Signal::kPanel, SPACE_ADOBE, GAMMA_2P2, false, {}, 1 / 2.2, "Adobe RGB primaries, gamma 2.2 (cHRM, gAMA)"},
        {Signal::kPanel, SPACE_BT2020, GAMMA_CUSTOM, false, {}, 1 / 2.4, "BT.2020 primaries, gamma 2.4 (cHRM, gAMA)"},
        {Signal::kPq, SPACE_DCIP3, GAMMA_2P2, true, {9, 16, 0, 1}, 0.0, "BT.2020 PQ (cICP)"},
    };
    for (const Case& c : cases) {
        CubeTable lut;
        lut.output = c.output;
        lut.panel.colorMode = c.colorMode;
        lut.panel.gammaSpace = c.gammaSpace;
        lut.panel.gammaValue = 2.4f;
        ApplySetup setup;
        setup.lut = &lut;
        std::string words;
        const PngTags tags = appliedImageTags(setup, &words);
        EXPECT_EQ(words, std::string("tagged ") + c.words);
        ASSERT_EQ(tags.hasCicp, c.cicp) << words;
        if (c.cicp) {
            EXPECT_EQ(std::tuple(tags.cicp.primaries, tags.cicp.transfer, tags.cicp.matrix, tags.cicp.fullRange),
                      std::tuple(c.codes.primaries, c.codes.transfer, c.codes.matrix, c.codes.fullRange));
        }
        EXPECT_EQ(tags.hasChromaticities, !c.cicp);
        EXPECT_NEAR(tags.fileGamma, c.fileGamma, 1e-6);
    }
    CubeTable panel, pq;
    pq.output = Signal::kPq;
    ApplySetup mixed;
    mixed.lut = &panel;
    mixed.beside = Beside::kSecondLut;
    mixed.second = &pq;
    std::string words;
    const PngTags none = appliedImageTags(mixed, &words);
    EXPECT_FALSE(none.hasCicp || none.hasChromaticities || none.fileGamma > 0.0);
    EXPECT_EQ(words, "untagged: its halves hold different signals");
}

}  // namespace
