// The tuning-file loader against crafted files.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include <unistd.h>

#include <android/log.h>

#include "hdr_playback.h"
#include "hdr_tm_xml.h"
#include "log_capture.h"

namespace {

constexpr unsigned char kSentinel = 0x5A;

class TuningLoader : public ::testing::Test {
protected:
    void SetUp() override {
        std::memset(&params_, kSentinel, sizeof(params_));
        std::memset(&pcc_, kSentinel, sizeof(pcc_));
        params_.pcc = &pcc_;
    }
    void TearDown() override { std::remove(path_.c_str()); }

    int load(const std::string& xml) {
        std::ofstream(path_, std::ios::binary) << xml;
        return HDR_load_tone_mapping_xml(path_.c_str(), &params_);
    }
    // A file whose root holds `body`, loaded over a curve of sentinel bytes.
    int loadBody(const std::string& body, const std::string& rootAttributes = "") {
        std::memset(&params_.curve, kSentinel, sizeof(params_.curve));
        return load("<hdr_lib" + rootAttributes + ">" + body + "</hdr_lib>");
    }
    bool untouched() const {
        TMParams expected;
        std::memset(&expected, kSentinel, sizeof(expected));
        expected.pcc = const_cast<PccCoefficients*>(&pcc_);
        return std::memcmp(&expected, &params_, sizeof(params_)) == 0;
    }
    bool hasDefaultPoints() const {
        const toneMapperLUT& d = hdrtm::kDefaultToneCurve;
        return params_.curve.num_points == 17 && std::equal(d.points_x, d.points_x + 17, params_.curve.points_x) &&
               std::equal(d.points_y, d.points_y + 17, params_.curve.points_y);
    }

    TMParams params_;
    PccCoefficients pcc_;
    const std::string path_ = "/tmp/hdrtm_tuning_" + std::to_string(getpid());
};

std::string points(int xCount, int yCount) {
    std::string body = "<tone_map><points>";
    for (int i = 0; i < xCount; ++i) body += "<x>" + std::to_string(i * 10) + "</x>";
    for (int i = 0; i < yCount; ++i) body += "<y>" + std::to_string(i * 20) + "</y>";
    return body + "</points></tone_map>";
}

TEST_F(TuningLoader, EmptyRootGivesEveryFallbackTheExampleFileOverridesThem) {
    ASSERT_EQ(loadBody(""), 0);
    using P = TMParams;
    const std::pair<float P::*, float> floats[] = {
        {&P::panel_min_luminance, 0.001f}, {&P::nominal_peak_luminance, 1500.0f}, {&P::output_gamma_val, 2.2f},
        {&P::t0, 0.01f}, {&P::sharp, 2.0f}, {&P::slope, 1.0f}, {&P::intl, 24.0f}, {&P::inth, 275.0f},
        {&P::pivot, 1000.0f}, {&P::LinearBoost, 1.0f}, {&P::tlower, 0.05f}, {&P::tupper, 400.0f},
        {&P::sysGamma, 1.0f}, {&P::t1, 0.005f}, {&P::t2, 0.05f}, {&P::kmax, 1.2f}, {&P::clipLuma, 1000.0f},
        {&P::scaleStart, 1000.0f}, {&P::ratio, 1.0f}};
    for (const auto& [field, value] : floats) EXPECT_EQ(params_.*field, value) << value;
    EXPECT_EQ(params_.version, 0u);
    EXPECT_EQ(params_.panel_max_luminance, 800);
    EXPECT_EQ(params_.panel_color_mode, SPACE_SRGB);
    EXPECT_EQ(params_.output_gamma_space, GAMMA_2P2);
    EXPECT_EQ(params_.bright_enable | params_.sat_enable | params_.linearScale, 0);
    EXPECT_EQ(params_.enableM & params_.fixedClip & params_.fixedRatio, 1);
    EXPECT_EQ(params_.pcc, nullptr);  // no panel_pcc: correction off for this tuning
    EXPECT_TRUE(hasDefaultPoints());
    EXPECT_EQ(params_.gamut_mode, kSentinel);  // fields the file does not set are left alone
    EXPECT_EQ(params_.grid_size, kSentinel);

    ASSERT_EQ(HDR_load_tone_mapping_xml(HDRTM_TEST_DATA_DIR "/../../tools/example_tuning.xml", &params_), 0);
    EXPECT_EQ(params_.version, 1u);
    EXPECT_EQ(params_.panel_min_luminance, 0.005f);
    EXPECT_EQ(params_.panel_color_mode, SPACE_DCIP3);
    EXPECT_EQ(params_.tlower, 0.05f);  // absent child of a present group
}

TEST_F(TuningLoader, VersionIsTwoOnlyForExactly2Point0) {
    LogCapture log;
    ASSERT_EQ(loadBody("", " version=\"2.0\""), 0);
    EXPECT_EQ(params_.version, 1u);
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].priority, ANDROID_LOG_ERROR);
    EXPECT_EQ(lines[0].tag + ":" + lines[0].text, "LIBHDR_TM:HDR_load_tone_mapping_xml:tm->version= 1\n");
    for (const char* other : {"2.00", "2", "1.0", " 2.0", ""}) {
        ASSERT_EQ(loadBody("", std::string(" version=\"") + other + "\""), 0);
        EXPECT_EQ(params_.version, 0u) << other;
    }
}

TEST_F(TuningLoader, SpaceNamesAreExactAndTheGammaValueIsKept) {
    const std::pair<const char*, HDR_COLOR_SPACE> cases[] = {
        {"sRGB", SPACE_SRGB},  {"BT709", SPACE_BT709},   {"ADOBE", SPACE_ADOBE},
        {"DCIP3", SPACE_DCIP3}, {"BT2020", SPACE_BT2020}, {"dcip3", SPACE_SRGB},
        {"P3", SPACE_SRGB},     {"", SPACE_SRGB}};
    for (const auto& [name, value] : cases) {
        ASSERT_EQ(loadBody(std::string("<panel_color_mode>") + name + "</panel_color_mode>"), 0);
        EXPECT_EQ(params_.panel_color_mode, value) << name;
    }
    const std::pair<const char*, OUTPUT_GAMMA_SPACE> gammas[] = {
        {nullptr, GAMMA_2P2},  // no space element: the fallback, and the value still read
        {"linear", GAMMA_LINEAR}, {"BT709", GAMMA_BT709}, {"sRGB", GAMMA_SRGB}, {"2p2", GAMMA_2P2},
        {"2d2", GAMMA_2P2}, {"custom", GAMMA_CUSTOM}, {"2.2", GAMMA_LINEAR}, {"Linear", GAMMA_LINEAR}};
    for (const auto& [name, value] : gammas) {
        const std::string space = name ? std::string("<space>") + name + "</space>" : "";
        ASSERT_EQ(loadBody("<output_gamma_space>" + space + "<val>2.4</val></output_gamma_space>"), 0);
        EXPECT_EQ(params_.output_gamma_space, value) << space;
        EXPECT_EQ(params_.output_gamma_val, 2.4f);
    }
}

TEST_F(TuningLoader, NumbersTruncateOrKeepTheFallbackAndOnlyTheFirstElementCounts) {
    ASSERT_EQ(loadBody("<panel_max_luminance>70000</panel_max_luminance>"
                       "<panel_max_luminance>900</panel_max_luminance>"
                       "<panel_min_luminance></panel_min_luminance>"
                       "<nominal_peak_luminance>1000nits</nominal_peak_luminance>"
                       "<bright><enable>256</enable></bright><sat><enable>-1</enable></sat>"
                       "<upper><enableM>257</enableM><fixedClip>0</fixedClip></upper>"
                       "<tone_map_curve_control><t0>zero</t0><sharp>inf</sharp>"
                       "<slope>nan</slope><pivot>1e60</pivot></tone_map_curve_control>"), 0);
    EXPECT_EQ(params_.panel_max_luminance, 4464);
    EXPECT_EQ(params_.bright_enable, 0);
    EXPECT_EQ(params_.sat_enable, 255);
    EXPECT_EQ(params_.enableM, 1);
    EXPECT_EQ(params_.fixedClip, 0);
    EXPECT_EQ(params_.nominal_peak_luminance, 1000.0f);  // a number followed by text reads as the number
    EXPECT_EQ(params_.panel_min_luminance, 0.001f);  // texts that do not convert
    EXPECT_EQ(params_.t0, 0.01f);
    EXPECT_TRUE(std::isinf(params_.sharp));  // texts the float conversion accepts, as read
    EXPECT_TRUE(std::isnan(params_.slope));
    EXPECT_TRUE(std::isinf(params_.pivot));
    for (const auto& [text, value] : {std::pair{"bright", 800}, {"600.5", 600}}) {
        ASSERT_EQ(loadBody(std::string("<panel_max_luminance>") + text + "</panel_max_luminance>"), 0);
        EXPECT_EQ(params_.panel_max_luminance, value) << text;
    }
}

TEST_F(TuningLoader, PanelPccRowsAndTheirFallbacks) {
    ASSERT_EQ(loadBody("<panel_pcc>"
                       "<r><c>0.01</c><r>0.9</r><g>0.05</g><b>0.02</b><rr>0.1</rr><gg>0.2</gg>"
                       "<bb>0.3</bb><rg>0.4</rg><gb>0.5</gb><rb>0.6</rb><rgb>0.7</rgb></r>"
                       "<g><g>0.95</g></g>"
                       "</panel_pcc>"), 0);
    ASSERT_EQ(params_.pcc, &pcc_);
    EXPECT_EQ(pcc_.reserved, 0.0);
    const float full[kPccTermCount] = {0.01f, 0.9f, 0.05f, 0.02f, 0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f, 0.7f};
    // A partial row falls back to 1.0 for every first-order term: not an identity.
    const double partial[kPccTermCount] = {0, 1.0, static_cast<double>(0.95f), 1.0, 0, 0, 0, 0, 0, 0, 0};
    for (int t = 0; t < kPccTermCount; ++t) {
        EXPECT_EQ(pcc_.row[0][t], static_cast<double>(full[t])) << t;
        EXPECT_EQ(pcc_.row[1][t], partial[t]) << t;
        EXPECT_EQ(pcc_.row[2][t], 0.0) << t;  // a missing channel stays all zero
    }
    params_.pcc = nullptr;  // no block to fill: the element is skipped, nothing allocated
    ASSERT_EQ(loadBody("<panel_pcc><r><c>1</c></r></panel_pcc>"), 0);
    EXPECT_EQ(params_.pcc, nullptr);
}

// Extra points are counted but not copied (the spare slots stay unwritten);
// fewer than 17 of either kind means the built-in curve.
TEST_F(TuningLoader, SeventeenPointsAreStoredExtrasOnlyCountedFewerIgnoredInputsClamped) {
    for (int count : {17, 20, 24, 30, 4000}) {
        ASSERT_EQ(loadBody(points(count, 17)), 0);
        EXPECT_EQ(params_.curve.num_points, count);
        for (int i = 0; i < 17; ++i) {
            EXPECT_EQ(std::pair(params_.curve.points_x[i], params_.curve.points_y[i]),
                      std::pair(static_cast<float>(i * 10), static_cast<float>(i * 20))) << count;
        }
        EXPECT_EQ(std::bit_cast<uint32_t>(params_.curve.points_x[17]), 0x5A5A5A5Au) << count;
    }
    for (const std::string& body : {points(16, 17), points(17, 16), points(0, 0),
                                    std::string("<tone_map/>"), std::string("<tone_map><x>1</x></tone_map>")}) {
        ASSERT_EQ(loadBody(body), 0);
        EXPECT_TRUE(hasDefaultPoints()) << body;
    }
    // Input codes are clamped into 10 bits, output codes kept as read.
    std::string body = points(17, 17);
    for (const auto& [from, to] : {std::pair{"<x>0<", "<x>-5<"}, {"<x>10<", "<x>abc<"}, {"<x>160<", "<x>5000<"},
                                   {"<y>0<", "<y>-3<"}, {"<y>320<", "<y>2000<"}})
        body.replace(body.find(from), std::strlen(from), to);
    ASSERT_EQ(loadBody(body), 0);
    EXPECT_EQ(params_.curve.points_x[0], 0.0f);
    EXPECT_EQ(params_.curve.points_x[1], 0.0f);  // not a number reads as 0
    EXPECT_EQ(params_.curve.points_x[16], 1023.0f);
    EXPECT_EQ(params_.curve.points_y[0], -3.0f);
    EXPECT_EQ(params_.curve.points_y[16], 2000.0f);
}

TEST_F(TuningLoader, BadFilesFailAndLeaveTheRecordUntouched) {
    std::string deep = "<hdr_lib>";  // nesting too deep to parse
    for (int i = 0; i < 5000; ++i) deep += "<a>";
    // Empty, truncated, not XML, wrong root, binary noise, too deep.
    for (const std::string& xml : {std::string(), std::string("<hdr_lib><panel_max_luminance>600"),
                                   std::string("this is not XML"), std::string("<hdr_config/>"),
                                   std::string("\xff\xfe<\x00h\x00"), deep}) {
        EXPECT_EQ(load(xml), -1) << xml.substr(0, 40);
        EXPECT_TRUE(untouched()) << xml.substr(0, 40);
    }
    EXPECT_EQ(HDR_load_tone_mapping_xml("/nonexistent/hdr.xml", &params_), -1);
    EXPECT_EQ(HDR_load_tone_mapping_xml("/tmp", &params_), -1);  // a directory
    EXPECT_EQ(HDR_load_tone_mapping_xml(nullptr, &params_), -1);
    EXPECT_EQ(HDR_load_tone_mapping_xml(path_.c_str(), nullptr), -1);
    EXPECT_TRUE(untouched());
}

}  // namespace
