// apply on the generated grid-node image: every node's pixel comes out as
// the LUT's own code, on the uniform grid (10-bit layer LUT) and on the
// non-uniform one (12-bit hardware LUT), and the image keeps its size.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>

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
        int rows = 0;
        writeFileAtomically(output, applyToImage(image, Signal::kPq, toCubeTable(lut), beside, nullptr,
                                                 [&rows](int done) { rows = done; }));
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

}  // namespace
