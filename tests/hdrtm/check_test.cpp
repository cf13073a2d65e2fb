// The tuning-file checker: one small file per rule, and the checker's claims
// about what the loader stores held against the loader itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "hdr_tm.h"
#include "tuning_check.h"

namespace {

using namespace hdrtm::tool;

std::string dataFile(const std::string& name) { return std::string(HDRTM_CHECK_DATA_DIR) + "/" + name; }

struct Rule {
    const char* file;
    int line;
    Severity severity;
    const char* text;  // part of the message
};

class CheckerRule : public ::testing::TestWithParam<Rule> {};

TEST_P(CheckerRule, ReportsTheProblemAtItsLine) {
    const Rule& rule = GetParam();
    const CheckResult result = checkTuningFile(dataFile(rule.file));
    EXPECT_TRUE(std::any_of(result.diagnostics.begin(), result.diagnostics.end(), [&](const Diagnostic& d) {
        return d.line == rule.line && d.severity == rule.severity && d.message.find(rule.text) != std::string::npos;
    })) << rule.file << ": no diagnostic \"" << rule.text << "\" at line " << rule.line;
}

using enum Severity;

INSTANTIATE_TEST_SUITE_P(
    EveryRule, CheckerRule,
    ::testing::Values(
        Rule{"root_only.xml", 2, kWarning, "<output_gamma_space> is missing: falls back to space 2p2"},
        Rule{"root_only.xml", 2, kWarning, "<bright> is missing: falls back to enable 0, tlower 0.05"},
        Rule{"root_only.xml", 2, kWarning, "<tone_map> is missing: falls back to the built-in"},
        Rule{"not_a_number.xml", 3, kError, "\"dark\" is not a number: falls back to 0.001"},
        Rule{"not_a_number.xml", 4, kError, "\"bright\" is not an integer: falls back to 800"},
        Rule{"lenient_number.xml", 3, kError, "\"600.5\" is read as the integer 600"},
        Rule{"lenient_number.xml", 4, kError, "\"1000nits\" is read as 1000"},
        Rule{"unknown_name.xml", 3, kError, "\"dcip3\" is not one of sRGB, BT709, ADOBE, DCIP3, BT2020"},
        Rule{"unknown_name.xml", 3, kError, "did you mean \"DCIP3\"?"},
        Rule{"unknown_name.xml", 4, kError, "\"gamma22\" is not one of linear"},
        Rule{"empty_name.xml", 3, kWarning, "<panel_color_mode> is empty: falls back to sRGB"},
        Rule{"unknown_element.xml", 3, kWarning, "did you mean \"panel_max_luminance\"?"},
        Rule{"unknown_element.xml", 4, kWarning, "unknown element <enabel> in <bright>"},
        Rule{"unknown_element.xml", 5, kWarning, "unknown element <backlight>"},
        Rule{"repeated_element.xml", 4, kWarning, "only the first (line 3) counts"},
        Rule{"truncated.xml", 4, kError, "256 does not fit in 8 bits: the loader stores 0"},
        Rule{"switch_value.xml", 3, kWarning, "2 is neither 0 nor 1"},
        Rule{"not_positive.xml", 3, kError, "-0.1 must not be negative"},
        Rule{"not_positive.xml", 4, kError, "<t0> 0 must be above 0"},
        Rule{"black_above_peak.xml", 4, kError, "black level 600 nits is not below the panel peak"},
        Rule{"version_not_exact.xml", 2, kWarning, "version \"2.00\" is not exactly \"2.0\""},
        Rule{"pcc_partial.xml", 3, kWarning, "has no row <b>: all its coefficients are 0"},
        Rule{"pcc_partial.xml", 4, kWarning, "<panel_pcc><r> is partial and its fallbacks are not an identity (g 1)"},
        Rule{"points_out_of_range.xml", 5, kError, "x[16] = 1100 is outside the 10-bit codes"},
        Rule{"points_not_rising.xml", 5, kError, "x[10] = 500 does not rise above 513"},
        Rule{"y_falling.xml", 6, kError, "y[10] = 500 falls below 528"},
        Rule{"points_too_few.xml", 4, kError, "16 <x> values; the format needs 17"},
        Rule{"points_too_many.xml", 4, kError, "25 <x> values: more than the table's 24 slots"},
        Rule{"points_extra.xml", 4, kWarning, "20 <x> values: only the first 17 are stored"},
        Rule{"points_extra_v2.xml", 4, kError, "the table curve reads empty slots"},
        Rule{"points_missing.xml", 3, kError, "<tone_map> has no <points>"},
        Rule{"malformed.xml", 4, kError, "not well-formed XML (mismatched element"},
        Rule{"wrong_root.xml", 2, kError, "the root element is <hdr_tuning>, not <hdr_lib>"}));

TEST(Checker, FindsNothingInACompleteValidFile) {
    const CheckResult result = checkTuningFile(dataFile("clean.xml"));
    EXPECT_TRUE(result.diagnostics.empty()) << result.diagnostics.front().message;
    EXPECT_TRUE(result.versionTwo);
}

// The checker's claims about what the loader stores, held against the loader.
// (Exit statuses and the output format: hdrtm_cli.check_*.)
TEST(Checker, ClaimsAgreeWithTheLoader) {
    PccCoefficients pcc;
    std::memset(&pcc, 0x5A, sizeof(pcc));
    auto load = [&](const char* file) {
        TMParams p{};
        p.pcc = &pcc;
        EXPECT_EQ(HDR_load_tone_mapping_xml(dataFile(file).c_str(), &p), 0) << file;
        return p;
    };
    const TMParams truncated = load("truncated.xml");
    EXPECT_EQ(truncated.panel_max_luminance, 4464);
    EXPECT_EQ(truncated.bright_enable, 0);
    EXPECT_EQ(load("lenient_number.xml").panel_max_luminance, 600);
    EXPECT_EQ(load("unknown_name.xml").panel_color_mode, SPACE_SRGB);
    const TMParams fallbacks = load("not_a_number.xml");
    EXPECT_EQ(fallbacks.panel_min_luminance, 0.001f);
    EXPECT_EQ(fallbacks.panel_max_luminance, 800);
    EXPECT_EQ(load("version_not_exact.xml").version, 0u);
    load("pcc_partial.xml");
    EXPECT_EQ(pcc.row[0][kPccG], 1.0);  // red row picks up green
    EXPECT_EQ(pcc.row[2][kPccB], 0.0);  // missing blue row stays zero
}

}  // namespace
