// The playback entry: the per-layer decision table, the defaults prologue,
// colour-manager faults, several layers, and the once-per-process tuning.
#include <android/log.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <krel/color_manager_sim.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "entry_caller.h"
#include "fresh_process.h"
#include "hdr_tm.h"
#include "log_capture.h"
#include "tuning_path.h"

namespace {

using Pipeline = void (*)(TMParams*, float**);
using Lines = std::vector<std::string>;
constexpr unsigned kCount = 17 * 17 * 17;
constexpr size_t kPrologueLines = 41;  // defaults path: 2 + 34 control points + 5 settings
const std::string kEnd = "E HDR_playback_strategies -----------";

std::string format(const char* fmt, long long v) {
    char text[128];
    std::snprintf(text, sizeof(text), fmt, v);
    return text;
}

// LUT codes as the library truncates them (the pipelines keep them in range).
uint32_t code(float v) { return v > 0.0f ? static_cast<uint32_t>(v) : 0u; }

struct Planes {
    std::vector<float> c[3];
    uint32_t checksum(uint32_t sum) const {
        for (unsigned k = 0; k < kCount; ++k)
            sum += code(static_cast<float>(code(c[0][k]) + code(c[1][k])) + c[2][k]);
        return sum;
    }
};

// What a row's pipeline gives on the working record after the defaults
// prologue and the per-call setup, with the row's fields on top; the PCC block
// holds the simulator's identity answer, or zeros when unread.
Planes expectedPlanes(uint8_t hw, Pipeline pipeline, void (*settings)(TMParams&),
                      bool pccRead = true) {
    PccCoefficients pcc{};
    for (int k = 0; hw && pccRead && k < 3; ++k) pcc.row[k][1 + k] = 1.0;
    TMParams p;
    std::memset(&p, 0, sizeof(p));
    set_default_vals(&p);
    p.gamut_mode = 2;
    p.out_bit_depth = 10;
    p.pcc_enable = hw;
    p.pcc = &pcc;
    p.grid_size = 17;
    for (int set = 0; set < 2; ++set)  // uniform codes 0, 64, ..., 960, 1023
        for (int axis = 0; axis < 3; ++axis)
            for (uint32_t i = 0; i < 17; ++i) p.grid_points[set][axis][i] = std::min(64 * i, 1023u);
    settings(p);
    Planes out;
    for (auto& plane : out.c) plane.resize(kCount);
    float* planes[3] = {out.c[0].data(), out.c[1].data(), out.c[2].data()};
    pipeline(&p, planes);
    return out;
}

std::string withSum(const char* fmt, uint32_t sum) { return format(fmt, static_cast<int32_t>(sum)); }

// The first line that starts with `prefix`, or "" when none does.
std::string lineStarting(const Lines& lines, const std::string& prefix) {
    for (const std::string& line : lines)
        if (line.rfind(prefix, 0) == 0) return line;
    return "";
}

class Entry : public ::testing::Test {
public:
    // Records and flags start as 0x5A bytes, buffers as all ones: any byte the
    // entry should leave alone shows.
    static constexpr uint8_t kUntouched = 0x5A;

    void SetUp() override { krel::sim::Reset(), property_set(kTuningProperty, ""); }

    int call(uint32_t blendSpace, uint8_t hw, const std::vector<EntryLayer>& layers) {
        log_.clear();
        return caller_.call(blendSpace, hw, layers);
    }

    // "E text" / "I text" lines after the prologue (or from line `skip`).
    Lines log(size_t skip = kPrologueLines) const {
        Lines out;
        const auto lines = log_.lines();
        for (size_t i = skip; i < lines.size(); ++i)
            out.push_back((lines[i].priority == ANDROID_LOG_ERROR ? "E " : "I ") + lines[i].text);
        return out;
    }

    // Layer i's descriptor, flag and buffer, byte by byte.
    void expectLayer(int i, const Planes* written) {
        HdrLayerLut expected;
        std::memset(&expected, kUntouched, sizeof(expected));
        expected.entries = const_cast<uint32_t*>(caller_.lut(i).data());
        expected.enabled = written ? 1 : 0;
        expected.reserved_flag = 0;
        if (written) expected.dim_x = expected.dim_y = 17;
        EXPECT_EQ(std::memcmp(&caller_.descriptor(i), &expected, sizeof(expected)), 0) << "layer " << i;
        EXPECT_EQ(caller_.appliedFlag(i), written ? 1 : 0) << "layer " << i;
        for (unsigned k = 0; k < kCount; ++k) {
            const uint32_t want = !written ? 0xFFFFFFFFu : 0xC0000000u | (code(written->c[0][k]) & 1023) |
                (code(written->c[1][k]) & 1023) << 10 | (code(written->c[2][k]) & 1023) << 20;
            ASSERT_EQ(caller_.lut(i)[k], want) << "layer " << i << " entry " << k;
        }
    }

    // Blend descriptor and flag; -1 leaves a byte as it was before the call.
    void expectBlend(int enabled, int reservedFlag, int applied) {
        HdrLayerLut expected;
        std::memset(&expected, kUntouched, sizeof(expected));
        expected.entries = nullptr;
        expected.enabled = static_cast<uint8_t>(enabled);
        if (reservedFlag >= 0) expected.reserved_flag = static_cast<uint8_t>(reservedFlag);
        if (enabled == 1) expected.dim_x = expected.dim_y = 17;
        EXPECT_EQ(std::memcmp(&caller_.blend(), &expected, sizeof(expected)), 0);
        EXPECT_EQ(caller_.blendAppliedFlag(), applied < 0 ? kUntouched : applied);
    }

    // The one push of this call: the 117928-byte record of a uniform 12-bit LUT of the planes.
    void expectPush(const Planes& planes) {
        std::vector<uint32_t> words(117928 / 4, 0);
        words[2] = 1;
        words[3] = kCount;
        for (unsigned k = 0; k < kCount; ++k)
            for (int c = 0; c < 3; ++c) words[4 + 6 * k + 3 + c] = code(planes.c[c][k]);
        const auto pushes = krel::sim::Pushes();
        ASSERT_EQ(pushes.size(), 1u);
        EXPECT_EQ(pushes[0].request_word0, 1u);
        EXPECT_EQ(pushes[0].request_word1 | pushes[0].request_tail, 0u);
        ASSERT_EQ(pushes[0].record.size(), 117928u);
        EXPECT_EQ(std::memcmp(pushes[0].record.data(), words.data(), 117928), 0);
    }

    EntryCaller caller_{0xFFFFFFFFu, kUntouched};
    LogCapture log_;
};

// ---- One row of the decision table per case.

enum class Result { kLayerLut, kCleared, kHardware };

struct Row {
    const char* name;
    EntryLayer layer;
    uint32_t blendSpace;
    uint8_t hw;
    Pipeline pipeline;                // null: no pipeline runs
    void (*settings)(TMParams& p);    // the row's fields on top of the per-call setup
    Result result;
    Lines log;                        // after prologue and PCC lines; "%lld" is the checksum
    int blendReserved, blendApplied;  // -1: untouched
};

void PrintTo(const Row& row, std::ostream* os) { *os << row.name; }

class DecisionRow : public Entry, public ::testing::WithParamInterface<Row> {};

TEST_P(DecisionRow, RunsItsPipelineAndFillsItsOutputs) {
    const Row& row = GetParam();
    Planes planes;
    if (row.pipeline != nullptr) planes = expectedPlanes(row.hw, row.pipeline, row.settings);
    ASSERT_EQ(call(row.blendSpace, row.hw, {row.layer}), 1);

    Lines expected;
    for (int k = 0; row.hw && k < 3; ++k) {  // the simulator's identity PCC
        expected.push_back("E PCC index[" + std::to_string(k) + "] :");
        for (int term = 0; term < 11; ++term) expected.back() += term == k ? " 1.000000" : " 0.000000";
    }
    const bool pqHardware = row.result == Result::kHardware && row.layer.transfer == 16;
    for (unsigned k = 0; pqHardware && k < 200; ++k)  // the first 200 entries it sends
        expected.push_back("E Index [" + std::to_string(k) + "] = R = " + std::to_string(code(planes.c[0][k])) +
                           " G = " + std::to_string(code(planes.c[1][k])) + " B = " + std::to_string(code(planes.c[2][k])));
    for (const std::string& line : row.log) expected.push_back(withSum(line.c_str(), planes.checksum(0)));
    expected.push_back(kEnd);
    EXPECT_EQ(log(), expected);

    expectLayer(0, row.result == Result::kLayerLut ? &planes : nullptr);
    expectBlend(row.result == Result::kHardware ? 1 : 0, row.blendReserved, row.blendApplied);
    if (row.result == Result::kHardware) expectPush(planes);
    else EXPECT_TRUE(krel::sim::Pushes().empty());
    EXPECT_FALSE(krel::sim::Held());
}

void none(TMParams&) {}
void hardwareSettings(TMParams& p) { p.grid_set = 0, p.out_bit_depth = 12; }
void sdrSettings(TMParams& p) { p.grid_set = 1; }

const Row kRows[] = {
    {"PqPerLayer", {16}, 1, 0, lut3d_process,
     [](TMParams& p) { p.pcc_enable = 0, p.grid_set = 1; }, Result::kLayerLut,
     {"I Line = 1852 Forward Tonemap checksum = %lld"}, 0, 0},
    {"PqUnderPqBlendWithoutHardware", {16}, 0, 0, nullptr, none, Result::kCleared, {}, 0, 0},
    {"PqHardware", {16}, 0, 1, lut3d_process, hardwareSettings, Result::kHardware,
     {"E Line: 1785 Forward checksum is = %lld", "I SetActiveParam for 3D LUt returned = 0"}, 0, 1},
    {"HlgUnderPqBlend", {18}, 0, 0, inverse_lut3d_process,
     [](TMParams& p) { p.gamut_mode = 0, p.inverse_bt2020_luma = 1, p.grid_set = 1; },
     Result::kLayerLut, {"E Line: 1988 Inverse Checksum = %lld"}, -1, -1},
    {"HlgPerLayer", {18}, 1, 0, HLG_lut3d_process,
     [](TMParams& p) { p.pcc_enable = 0, p.grid_set = 0; }, Result::kLayerLut,
     {"I Line: 2017 Inverse Checksum = %lld"}, -1, -1},
    {"HlgUnderHlgBlendWithoutHardware", {18}, 2, 0, nullptr, none, Result::kCleared, {}, -1, -1},
    {"HlgHardware", {18}, 2, 1, HLG_lut3d_process, hardwareSettings, Result::kHardware,
     {"I HLG_lut3d_process : peakLuma = 500  blackLevel = 0.020000",
      "I Line: 1922 Forward checksum is = %lld"}, 0, 1},
    {"HlgOtherBlend", {18}, 3, 1, nullptr, none, Result::kCleared, {}, -1, -1},
    {"SdrUnderPqBlend", {1}, 0, 0, inverse_lut3d_process, sdrSettings, Result::kLayerLut, {"E Inverse checksum = %lld"}, -1, -1},
    {"SdrClassUnderHlgBlend", {5, 2}, 2, 0, HLG_inverse_lut3d_process, sdrSettings,
     Result::kLayerLut, {"E Inverse checksum = %lld"}, -1, -1},
    {"SdrPerLayerBlend", {1, 2}, 1, 0, nullptr, none, Result::kCleared, {}, -1, -1},
    {"SdrOtherBlend", {1}, 7, 0, nullptr, none, Result::kCleared, {}, -1, -1},
    {"OtherLayer", {14, 1}, 0, 0, nullptr, none, Result::kCleared, {}, -1, -1},
};
INSTANTIATE_TEST_SUITE_P(Rows, DecisionRow, ::testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Entry, PqLayerUnderHlgBlendRefusesAndKeepsTheManager) {
    ASSERT_EQ(call(2, 1, {{1}, {16}}), 0);
    const Planes sdr = expectedPlanes(1, HLG_inverse_lut3d_process, sdrSettings);
    expectLayer(0, &sdr);  // written before the refusal, kept
    EXPECT_EQ(log().back(), withSum("E Inverse checksum = %lld", sdr.checksum(0)));
    EXPECT_TRUE(krel::sim::Held());
    ASSERT_EQ(call(0, 0, {}), 1);  // reuses the held manager, then releases it
    const auto calls = krel::sim::Calls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[2].kind, krel::sim::Call::kGet);
    EXPECT_EQ(calls[3].kind, krel::sim::Call::kRelease);
}

TEST_F(Entry, HlgLayerAfterTheHlgBlendLutPrintsItsRefusal) {
    ::testing::internal::CaptureStdout();
    const int result = call(2, 1, {{18}, {18}});
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "blending space can't be SPACE_HLG!");
    EXPECT_EQ(result, 0);
    const Planes hlg = expectedPlanes(1, HLG_lut3d_process, hardwareSettings);
    EXPECT_EQ(log().back(), withSum("I Line: 1922 Forward checksum is = %lld", hlg.checksum(0)));
    expectLayer(1, nullptr);
    ASSERT_EQ(call(0, 0, {}), 1);  // releases the manager the refusal kept
}

// No property, or a file that cannot be read: the defaults, each logged.
TEST_F(Entry, UnreadableTuningFileTakesTheDefaults) {
    ASSERT_EQ(call(0, 0, {}), 1);
    Lines expected = {"E HDR_playback_strategies ++++++++++++",
                      "E HDR xml File not present, default values are used."};
    for (int v : {0, 62, 123, 185, 254, 308, 386, 451, 482, 513, 544, 575, 606, 637, 668, 923, 1023})
        expected.push_back(format("I lut_in = %lld.000000  ", v));
    for (int v : {0, 35, 65, 95, 131, 190, 289, 400, 444, 528, 565, 674, 779, 840, 1000, 1023, 1023})
        expected.push_back(format("I lut_out = %lld.000000  ", v));
    expected.insert(
        expected.end(),
        {"E line = 1591 luma = 500 nits blackLevel = 0.020000 nits, clipping luma = 0.000000",
         "E output color space = 3", "E output gamma space = 1",
         "E TM control knobs:T0 = 0.000500, M=2.000000, lmid =8.000000, intl = 125.000000, "
         "inth = 275.000000, slope =1.150000",
         "E linear scale enable = 0, scale start =0.000000 nits, ratio =0.000000, ind = 0, val =0",
         kEnd});
    EXPECT_EQ(log(0), expected);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(caller_.appliedFlag(i), kUntouched);
    expectBlend(0, -1, -1);

    property_set(kTuningProperty, "/nonexistent/hdr_tuning.xml");
    ASSERT_EQ(call(0, 0, {}), 1);
    expected[1] = "E default values are applied";
    expected.insert(expected.begin() + 1, "E file name: /nonexistent/hdr_tuning.xml");
    EXPECT_EQ(log(0), expected);
    EXPECT_EQ(g_params_ready, 0);
}

TEST_F(Entry, LayersAboveFourAndMissingDescriptorsAreSkipped) {
    caller_.set().layer_luts[1] = nullptr;
    ASSERT_EQ(call(1, 0, {{18}, {18}, {18}, {18}}), 1);
    caller_.info().num_layers = 200;
    ASSERT_EQ(HDR_playback_strategies(&caller_.info(), &caller_.set()), 1);
    EXPECT_EQ(caller_.appliedFlag(1), kUntouched);
    EXPECT_EQ(caller_.appliedFlag(3), 1);
    EXPECT_EQ(HDR_playback_strategies(nullptr, &caller_.set()), 0);
    EXPECT_EQ(hdr_to_hdr_tm(), 0);
}

// PQ to the hardware, then HLG and SDR layers on one working record whose
// settings (gamut mode among them) carry from row to row, the inverse
// checksums adding up; a PQ layer after the blend LUT is taken is cleared.
void hlgAfterPq(TMParams& p) {
    hardwareSettings(p);
    p.gamut_mode = 0, p.inverse_bt2020_luma = 1, p.grid_set = 1, p.out_bit_depth = 10;
}

TEST_F(Entry, SeveralLayersShareStateAndSumTheirChecksums) {
    const Planes pq = expectedPlanes(1, lut3d_process, hardwareSettings);
    const Planes hlg = expectedPlanes(1, inverse_lut3d_process, hlgAfterPq);
    const Planes sdr = expectedPlanes(1, inverse_lut3d_process, [](TMParams& p) { hlgAfterPq(p), p.inverse_bt2020_luma = 0; });
    ASSERT_EQ(call(0, 1, {{16}, {18}, {1}, {16}}), 1);

    const uint32_t sum1 = hlg.checksum(0), sum2 = sdr.checksum(sum1);
    const Lines all = log();
    EXPECT_EQ(Lines(all.begin() + 3 + 200, all.end()),
              (Lines{withSum("E Line: 1785 Forward checksum is = %lld", pq.checksum(0)),
                     "I SetActiveParam for 3D LUt returned = 0",
                     withSum("E Line: 1988 Inverse Checksum = %lld", sum1),
                     withSum("E Inverse checksum = %lld", sum2), kEnd}));
    expectLayer(0, nullptr);
    expectLayer(1, &hlg);
    expectLayer(2, &sdr);
    expectLayer(3, nullptr);
    expectPush(pq);
}

// Colour-manager faults are logged and the call goes on: without PCC
// coefficients the block stays zero; without a manager nothing is pushed.
TEST_F(Entry, ColourManagerFaultsAreLoggedAndTheLutStillBuilt) {
    const Planes pq = expectedPlanes(1, lut3d_process, hardwareSettings, false);
    krel::sim::FailPccRead(-2);
    ASSERT_EQ(call(0, 1, {{16}}), 1);
    EXPECT_EQ(log().front(), "E Failed getting the Virtual PCC");
    expectPush(pq);
    krel::sim::Reset(), krel::sim::FailAcquire(true);
    ASSERT_EQ(call(0, 1, {{16}}), 1);
    const Lines all = log();
    EXPECT_EQ(all.front(), "E failed Acquiring ColorManager");
    EXPECT_EQ(Lines(all.end() - 2, all.end()),
              (Lines{withSum("E Line: 1785 Forward checksum is = %lld", pq.checksum(0)), kEnd}));
    expectBlend(1, 0, 1);
    EXPECT_TRUE(krel::sim::Pushes().empty());
    krel::sim::Reset(), krel::sim::FailPush(-5);
    ASSERT_EQ(call(0, 1, {{16}}), 1);
    EXPECT_EQ(*(log().end() - 2), "I SetActiveParam for 3D LUt returned = -5");
    ASSERT_EQ(call(2, 1, {{18}}), 1);
    EXPECT_EQ(*(log().end() - 2), "E SetActiveParam for 3D LUt returned = -5");
}

// ---- Tuning: loaded once per process, so these cases run in child processes.

TEST_F(Entry, FailedTuningLoadIsLoggedOnceAndNeverRetried) {
    inFreshProcess([&] {
        const std::string path = dataTuningPath("tuning_wrong_root.xml");
        ASSERT_EQ(property_set(kTuningProperty, path.c_str()), 0);
        ASSERT_EQ(call(1, 0, {}), 1);
        const Lines first = log(0);
        EXPECT_EQ(Lines(first.begin() + 1, first.begin() + 3),
                  (Lines{"E file name: " + path, "E TMParam loading fails!"}));
        EXPECT_EQ(g_params_ready, 1);
        EXPECT_EQ(g_params.pcc, &g_pcc);
        ASSERT_EQ(call(1, 0, {}), 1);
        EXPECT_EQ(lineStarting(log(0), "E TMParam"), "");
    });
}

// Clipping luminance from the first qualifying layer, or the tuning's, selects the linear scale.
TEST_F(Entry, ClippingLuminanceDrivesTheLinearScale) {
    inFreshProcess([&] {
        ASSERT_EQ(property_set(kTuningProperty, dataTuningPath("tuning_linear_scale.xml").c_str()), 0);
        struct Case { uint32_t master0, cll0, master1; const char* clip; const char* scale; };
        const Case cases[] = {
            {40000000, 0, 10000000, "4000.000000", "300.000000 nits, ratio =0.475676, ind = 6, val =2060"},
            {0, 600, 10000000, "1000.000000", "450.000000 nits, ratio =0.781818, ind = 0, val =880"},
            {44995000, 0, 0, "4499.500000", "500.000000 nits, ratio =1.000000, ind = 0, val =0"},
            {45000000, 0, 0, "4500.000000", "450.000000 nits, ratio =0.397531, ind = 0, val =2060"},
            {100000000, 0, 0, "10000.000000", "300.000000 nits, ratio =0.281443, ind = 6, val =3030"},
        };
        for (const Case& c : cases) {
            ASSERT_EQ(call(0, 0, {{16, 0, kPrimariesBt2020, c.master0, c.cll0},
                               {16, 0, kPrimariesBt2020, c.master1}}), 1);
            const Lines all = log(0);
            EXPECT_EQ(lineStarting(all, "I src0"), format("I src0: master = %lld, content = ", c.master0) +
                                                       std::to_string(c.cll0));
            EXPECT_EQ(lineStarting(all, "I src 1"), format("I src 1: master = %lld, content = 0", c.master1));
            EXPECT_EQ(lineStarting(all, "E line = 1591"),
                      "E line = 1591 luma = 500 nits blackLevel = 0.001000 nits, clipping luma = " + std::string(c.clip));
            EXPECT_EQ(lineStarting(all, "E linear"), "E linear scale enable = 1, scale start =" + std::string(c.scale));
        }
    });
    inFreshProcess([&] {  // a tuned clipping luminance below 1000 nits takes the first index
        ASSERT_EQ(property_set(kTuningProperty, dataTuningPath("tuning_low_clip.xml").c_str()), 0);
        ASSERT_EQ(call(0, 0, {}), 1);
        EXPECT_EQ(lineStarting(log(0), "E linear"),
                  "E linear scale enable = 1, scale start =450.000000 nits, ratio =1.228571, ind = 0, val =880");
    });
}

}  // namespace
