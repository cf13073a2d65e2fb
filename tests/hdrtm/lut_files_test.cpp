// .cube files, grid files, previews and plots: what the tool writes reads
// back as the LUT it came from.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "colour/lut_lookup.h"
#include "drawing/preview.h"
#include "files/clf_file.h"
#include "files/codes_file.h"
#include "drawing/tone_curve_plot.h"
#include "files/cube_file.h"
#include "files/output_files.h"
#include "tm_params.h"

namespace {

namespace fs = std::filesystem;
using namespace hdrtm::tool;

std::string readAll(const fs::path& p) {
    std::stringstream s;
    s << std::ifstream(p).rdbuf();
    return s.str();
}

class LutFiles : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("hdrtm_lut_files_" +
                std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::create_directories(dir_);
        // A 12-bit LUT whose codes identify their grid point and channel.
        lut_.bitDepth = 12;
        for (int i = 0; i < kLutEntries; ++i) {
            lut_.codes[i] = {static_cast<uint32_t>(i % 4096), static_cast<uint32_t>((i * 7) % 4096),
                             static_cast<uint32_t>(4095 - i % 4096)};
        }
    }
    void TearDown() override { fs::remove_all(dir_); }

    fs::path dir_;
    Lut3d lut_;
};

TEST_F(LutFiles, CubeReadsBackAsTheCodesOverTheirMaximumWithItsGridAndBadOnesAreNamed) {
    const fs::path path = dir_ / "a.cube";
    writeCube(path.string(), lut_, "t", {"configuration: x", "checksum: 42"});
    for (const char* part : {"LUT_3D_SIZE 17\n", "# checksum: 42\n", "ends at 1023 rather than 1024"})
        EXPECT_NE(readAll(path).find(part), std::string::npos) << part;
    const CubeTable t = readCube(path.string());
    ASSERT_EQ(t.size, kLutSize);
    for (int i = 0; i < kLutEntries; ++i)
        for (int c = 0; c < 3; ++c)
            ASSERT_NEAR(t.values[i][c], lut_.codes[i][c] / 4095.0, 1e-6) << "entry " << i;
    // The grid comment restores the true sample positions: 64i/1023, not i/16.
    EXPECT_FLOAT_EQ(t.positions[15], 960.0f / 1023.0f);
    EXPECT_FLOAT_EQ(t.positions[16], 1.0f);
    // A non-uniform LUT gets its grid positions beside it.
    lut_.grid = kNonUniformGrid;
    lut_.uniformGrid = false;
    writeCube((dir_ / "h.cube").string(), lut_, "t", {});
    writeGridPositions(
        (dir_ / "h.grid.txt").string(), "h.cube", lut_,
        {0, 248, 492, 741, 1017, 1233, 1546, 1806, 1930, 2054, 2178, 2302, 2426, 2550, 2675, 3696, 4096});
    const std::string grid = readAll(dir_ / "h.grid.txt");
    EXPECT_NE(grid.find(" 1    62 0.060606 248\n"), std::string::npos);
    EXPECT_NE(grid.find("16  1023 1.000000 4096\n"), std::string::npos);
    EXPECT_FLOAT_EQ(readCube((dir_ / "h.cube").string()).positions[1], 62.0f / 1023.0f);
    std::ofstream(path) << "LUT_3D_SIZE 2\n0 0 0\n1 1 1\n";
    std::string what = "a short LUT was accepted";
    try { readCube(path.string()); } catch (const std::runtime_error& e) { what = e.what(); }
    EXPECT_NE(what.find("has 2 entries; LUT_3D_SIZE 2 needs 8"), std::string::npos) << what;
    std::ofstream(path) << "0 0 0\n";
    EXPECT_THROW(readCube(path.string()), std::runtime_error);
    EXPECT_THROW(readCube((dir_ / "missing.cube").string()), std::runtime_error);
}

// A table whose outputs are its inputs, sampled on the given grid.
CubeTable identityTable(const std::array<uint32_t, kLutSize>& grid) {
    Lut3d lut;
    lut.grid = grid;
    lut.bitDepth = 10;
    for (int i = 0; i < kLutEntries; ++i) {
        lut.codes[i] = {grid[i % kLutSize], grid[i / kLutSize % kLutSize], grid[i / (kLutSize * kLutSize)]};
    }
    return toCubeTable(lut);
}

TEST(Preview, LookUpReproducesAnIdentityOnEitherGridKeepsGreysOnTheAxisAndRenders) {
    for (const auto& grid : {kUniformGrid, kNonUniformGrid}) {
        const CubeTable t = identityTable(grid);
        using Rgb = std::array<float, 3>;
        for (const Rgb& rgb : {Rgb{0.1f, 0.7f, 0.33f}, Rgb{0.95f, 0.2f, 0.6f}, Rgb{1.0f, 0.0f, 0.5f}})
            for (int c = 0; c < 3; ++c) EXPECT_NEAR(lookUp(t, rgb)[c], rgb[c], 1e-6);
    }
    CubeTable t = identityTable(kUniformGrid);
    for (auto& v : t.values) {
        if (v[0] != v[1] || v[1] != v[2]) v = {1.0f, 0.0f, 0.0f};  // wild colours off the axis
    }
    for (float x = 0.0f; x <= 1.0f; x += 0.01f)
        for (float v : lookUp(t, {x, x, x})) EXPECT_NEAR(v, x, 1e-6);
    // Through an identity LUT to the panel the grey ramp rises from black to white.
    const std::unique_ptr<Raster> image = renderPreview(identityTable(kUniformGrid), "t", 64);
    const int left = image->width() - 2 * 64 - 16 - 10;
    int y = 0;
    while (y < image->height() && image->pixel(left + 63, y)[1] < 250) ++y;
    ASSERT_LT(y, image->height()) << "no white end of the grey ramp";
    for (int x = left + 1; x < left + 64; ++x)
        EXPECT_GE(image->pixel(x, y)[1], image->pixel(x - 1, y)[1]) << x;
    EXPECT_EQ(encodePng(*image).substr(1, 3), "PNG");
    // The panel's peak (500 nits) is marked on a PQ ramp, not on an SDR one, whose white is 100 nits.
    const auto hasPeakMarker = [](const Raster& r) {
        for (int row = 0; row < r.height(); ++row)
            for (int col = 0; col < r.width(); ++col)
                if (r.pixel(col, row) == kPeakMarkerColour) return true;
        return false;
    };
    EXPECT_TRUE(hasPeakMarker(*image));
    CubeTable sdr = identityTable(kUniformGrid);
    sdr.input = Signal::kSdr;
    EXPECT_FALSE(hasPeakMarker(*renderPreview(sdr, "t", 64)));
}

TEST_F(LutFiles, AFailedWriteLeavesTheOldFileAndNoTemporary) {
    const fs::path path = dir_ / "a.cube";
    writeFileAtomically(path.string(), "old");
    // A file-size limit makes the write fail part-way, as a full disk does.
    struct rlimit saved;
    getrlimit(RLIMIT_FSIZE, &saved);
    struct rlimit small = saved;
    small.rlim_cur = 1000;
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    std::string what;
    try {
        writeFileAtomically(path.string(), std::string(5000, 'x'));
    } catch (const std::runtime_error& e) {
        what = e.what();
    }
    setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_EQ(what, "cannot write " + path.string() + ": File too large");
    EXPECT_EQ(readAll(path), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_), fs::directory_iterator()), 1);
    EXPECT_THROW(writeFileAtomically((dir_ / "no" / "a.cube").string(), "x"), std::runtime_error);
}

TEST_F(LutFiles, CurvePlotRisesFromBlackToPeakTableFormAddsItsPointsWrittenAsSvgOrPng) {
    TMParams params{};
    set_default_vals(&params);
    const CurvePlotData data = sampleToneCurve(params, "t");
    ASSERT_EQ(data.curves.size(), 1u);  // defaults use the parametric form only
    const auto& pts = data.curves[0].points;
    for (size_t i = 1; i < pts.size(); ++i) ASSERT_GE(pts[i].second, pts[i - 1].second);
    EXPECT_NEAR(pts.front().second, 0.02, 5e-3);  // the toe starts at the panel black
    EXPECT_NEAR(pts.back().second, 500.0, 1e-2);
    params.version = 1;
    const CurvePlotData table = sampleToneCurve(params, "t");
    EXPECT_EQ(table.curves.size(), 2u);
    ASSERT_EQ(table.controlPoints.size(), 17u);
    EXPECT_NEAR(table.controlPoints[16].second, 500.0, 1e-2);  // code 1023 is the panel peak
    writeCurvePlot(data, (dir_ / "c.svg").string());
    writeCurvePlot(data, (dir_ / "c.png").string());
    EXPECT_EQ(readAll(dir_ / "c.svg").rfind("<svg", 0), 0u);
    EXPECT_EQ(readAll(dir_ / "c.png").substr(1, 3), "PNG");
    EXPECT_THROW(writeCurvePlot(data, (dir_ / "c.txt").string()), std::runtime_error);
}

// A run that does not commit leaves its folder as it found it: the earlier
// run's files, no temporaries, and no folder it made.
TEST_F(LutFiles, ARunThatFailsLeavesTheEarlierRunAndNoFolderItMade) {
    const fs::path out = dir_ / "out";
    {
        RunFolder first(out.string(), false);
        first.write("a.cube", "first");
        first.commit();
    }
    {
        RunFolder second(out.string(), false);
        second.write("b.cube", "second");
        EXPECT_THROW(second.write("c.cube/x", "no such folder"), std::runtime_error);
    }
    EXPECT_EQ(readAll(out / "a.cube"), "first");
    EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 2);  // a.cube, the manifest
    {
        RunFolder third(out.string(), false);
        third.write("b.cube", "third");
        third.commit();
    }
    EXPECT_FALSE(fs::exists(out / "a.cube"));  // the earlier run's file goes only now
    EXPECT_EQ(readAll(out / "b.cube"), "third");
    { RunFolder unused((dir_ / "new" / "deeper").string(), false); }
    EXPECT_FALSE(fs::exists(dir_ / "new"));
    std::ofstream(out / "notes.txt") << "mine";
    EXPECT_THROW(RunFolder((out).string(), false), ForeignFilesError);
}

// A foreign LUT's outputs must be display codes: full scale or less, never negative.
TEST_F(LutFiles, ValuesOutsideFullScaleAreRefusedWhereTheyAre) {
    const std::string cube = (dir_ / "wild.cube").string();
    std::ofstream(cube) << "LUT_3D_SIZE 2\n0 0 0\n1 0 0\n0 1 0\n1 1 0\n0 0 1\n1 0 1\n0 1 1\n1 1 -5\n";
    const std::string clf = (dir_ / "wild.clf").string();
    std::ofstream(clf) << "<ProcessList><LUT3D outBitDepth=\"10i\"><Array dim=\"2 2 2 3\">"
                       << "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 2046</Array></LUT3D></ProcessList>";
    for (const auto& [path, text] : {std::pair{cube, "1 output value(s) outside 0..1 (first at line 9: 1 1 -5)"},
                                     {clf, "1 LUT3D value(s) outside 0..1023 (first: 2046)"}}) {
        std::string what = "accepted";
        try {
            readLutFile(path);
        } catch (const std::runtime_error& e) {
            what = e.what();
        }
        EXPECT_NE(what.find(text), std::string::npos) << what;
    }
}

TEST_F(LutFiles, CodesRecordTheirTuningConfigurationAndChecksum) {
    ProducedLut p;
    p.label = "layer 0";
    p.lut = lut_;
    p.hasChecksum = true;
    p.checksum = 42;
    const CodesRecord record{"/t/tuning.xml", {"PQ; per layer; hw off"}};
    const std::string csv = codesText("c.csv", {p}, record);
    EXPECT_EQ(csv.rfind("# hdrtm codes; tuning: /t/tuning.xml\n# layer 0: configuration PQ; per layer; hw off; "
                        "checksum 42\nlut,node,",
                        0),
              0u)
        << csv.substr(0, 200);
    const std::string json = codesText("c.json", {p}, {});
    EXPECT_EQ(json.rfind("{\"luts\":[{\"checksum\":42,\"configuration\":null,", 0), 0u) << json.substr(0, 200);
    EXPECT_NE(json.find("\"tuning\":null"), std::string::npos);
}

}  // namespace
