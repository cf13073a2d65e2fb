// apply on the generated grid-node image: every node's pixel comes out as
// the LUT's own code, on the uniform grid (10-bit layer LUT) and on the
// non-uniform one (12-bit hardware LUT), and the image keeps its size.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "commands.h"
#include "hdr_playback.h"
#include "png_image.h"
#include "playback_run.h"

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

    // Applies `tuning` ("defaults" or a file) with `config` to the node image
    // and checks the nodes of grid rows [firstRow, firstRow + 17) against `lut`.
    void expectNodesMatch(const std::string& tuning, const Configuration& config, int firstRow, bool versionTwo) {
        std::string error;
        ASSERT_TRUE(setTuningProperty(tuning == "defaults" ? "" : tuning, &error)) << error;
        const RunResult r = runConfiguration(config, 0, versionTwo);
        ASSERT_EQ(r.luts.size(), 1u);
        const Lut3d& lut = r.luts[0].lut;
        ApplyOptions options;
        options.image = (dir_ / "grid_nodes_pq.png").string();
        options.lut = tuning;
        options.output = (dir_ / "out.png").string();
        options.config = config;
        ASSERT_EQ(runApply(options), kExitOk);
        PngReader out(options.output);
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
        setTuningProperty("", &error);
    }

    static fs::path dir_;
};

fs::path ApplyTest::dir_;

TEST_F(ApplyTest, UniformLayerLutComesOutExactlyAtItsNodes) {
    expectNodesMatch("defaults", pqLayer(kBlendSpacePerLayer, false), 0, false);
}

TEST_F(ApplyTest, NonUniformHardwareLutComesOutExactlyAtItsNodes) {
    expectNodesMatch(HDRTM_CHECK_DATA_DIR "/clean.xml", pqLayer(kBlendSpacePq, true), kLutSize, true);
}

TEST_F(ApplyTest, TheImageKeepsItsSizeAndItsClipSitsBeside) {
    ApplyOptions options;
    options.image = (dir_ / "test_pattern_pq.png").string();
    options.lut = "defaults";
    options.output = (dir_ / "pattern.png").string();
    options.compare = "clip";
    options.config = pqLayer(kBlendSpacePerLayer, false);
    options.config.layers.clear();  // the image's own signal
    ASSERT_EQ(runApply(options), kExitOk);
    PngReader in(options.image), out(options.output);
    EXPECT_TRUE(in.hasCicp());
    EXPECT_EQ(in.cicp().transfer, 16);
    EXPECT_EQ(out.width(), 2 * in.width());
    EXPECT_EQ(out.height(), in.height());
}

}  // namespace
