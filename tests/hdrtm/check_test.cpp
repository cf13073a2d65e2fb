// The tuning-file checker: one small file per rule. What the loader stores for
// these texts (4464, 600, the fallbacks, the partial PCC row) is pinned by the
// loader's own tests; exit statuses and the output format by hdrtm_cli.check_*.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tuning/tuning_check.h"

namespace {

using namespace hdrtm::tool;

std::string dataFile(const std::string& name) { return std::string(HDRTM_CHECK_DATA_DIR) + "/" + name; }

// A diagnostic the checker must give: its file, line, severity, rule code and part of its message.
struct Rule { const char* file; int line; Severity severity; const char* code; const char* text; };

using enum Severity;

const Rule kRules[] = {
    {"root_only.xml", 2, kNote, "missing", "<output_gamma_space> is missing: falls back to space 2p2"},
    {"root_only.xml", 2, kNote, "missing", "<bright> is missing: falls back to enable 0, tlower 0.05"},
    {"root_only.xml", 2, kNote, "missing", "<tone_map> is missing: falls back to the built-in"},
    {"not_a_number.xml", 3, kError, "not-a-number", "\"dark\" is not a number: falls back to 0.001"},
    {"not_a_number.xml", 4, kError, "not-a-number", "\"bright\" is not an integer: falls back to 800"},
    {"lenient_number.xml", 3, kError, "trailing-text", "\"600.5\" is read as the integer 600"},
    {"lenient_number.xml", 4, kError, "trailing-text", "\"1000nits\" is read as 1000"},
    {"unknown_name.xml", 3, kError, "unknown-name",
     "\"dcip3\" is not one of sRGB, BT709, ADOBE, DCIP3, BT2020"},
    {"unknown_name.xml", 3, kError, "unknown-name", "did you mean \"DCIP3\"?"},
    {"unknown_name.xml", 4, kError, "unknown-name", "\"gamma22\" is not one of linear"},
    {"empty_name.xml", 3, kWarning, "empty", "<panel_color_mode> is empty: falls back to sRGB"},
    // A near miss is a typo whose setting keeps its fallback; a name like no other may be a comment.
    {"unknown_element.xml", 3, kError, "unknown-element", "did you mean \"panel_max_luminance\"?"},
    {"unknown_element.xml", 4, kError, "unknown-element", "unknown element <enabel> in <bright>"},
    {"unknown_element.xml", 5, kWarning, "unknown-element", "unknown element <backlight>"},
    {"repeated_element.xml", 4, kError, "repeated-element", "only the first (line 3) counts"},
    {"truncated.xml", 4, kError, "truncated", "256 does not fit in 8 bits: the loader stores 0"},
    {"switch_value.xml", 3, kWarning, "switch-value", "2 is neither 0 nor 1"},
    {"not_positive.xml", 3, kError, "out-of-range", "-0.1 must not be negative"},
    {"not_positive.xml", 4, kError, "out-of-range", "<t0> 0 must be above 0"},
    {"black_above_peak.xml", 4, kError, "black-above-peak",
     "black level 600 nits is not below the panel peak"},
    // A table is used only beside exactly version="2.0": "2", "1.0" or none drop it.
    {"version_not_exact.xml", 2, kError, "version", "version \"2.00\" is neither \"2.0\" nor \"1.0\""},
    {"version_drops_table.xml", 3, kError, "version", "table (line 25) is not used: the loader takes it only"},
    {"points_extra.xml", 2, kError, "version", "this file has version=\"1.0\", so the LUTs follow the parametric"},
    {"y_falling.xml", 2, kError, "version", "this file has no version attribute"},
    {"../hdrtm/check/attributes.xml", 2, kError, "unknown-attribute", "Version of <hdr_lib> is ignored"},
    {"../hdrtm/check/attributes.xml", 3, kError, "not-a-number", "not its attribute value, so it falls back to 800"},
    {"../hdrtm/check/two_roots.xml", 5, kError, "repeated-element", "a second <hdr_lib> is ignored"},
    // An element outside its group: lost unless the group has its own.
    {"../hdrtm/check/misplaced.xml", 3, kError, "misplaced-element",
     "<t0> in <hdr_lib> is not read there: the loader reads it in <tone_map_curve_control>, so it keeps its "
     "fallback 0.01"},
    {"../hdrtm/check/misplaced.xml", 4, kError, "misplaced-element", "reads it in <bright> or <sat>"},
    {"../hdrtm/check/misplaced.xml", 5, kWarning, "misplaced-element", "which has its own (line 6)"},
    {"points_missing.xml", 3, kError, "misplaced-element", "<x> in <tone_map> is not read there"},
    {"../hdrtm/check/numbers_as_written.xml", 3, kError, "truncated", "0x11170 does not fit in 16 bits"},
    {"../hdrtm/check/numbers_as_written.xml", 4, kError, "out-of-range", "<t0> 0.0e0 must be above 0"},
    {"../hdrtm/check/gamma_value.xml", 3, kWarning, "gamma-value-not-used", "only <space>custom</space> reads it"},
    {"pcc_partial.xml", 3, kWarning, "pcc-row-missing", "has no row <b>: all its coefficients are 0"},
    {"pcc_partial.xml", 4, kWarning, "pcc-partial",
     "<panel_pcc><r> is partial and its fallbacks are not an identity (g 1)"},
    {"pcc_partial.xml", 3, kWarning, "pcc-not-used", "<panel_pcc> is not an identity, but no LUT uses it"},
    {"../hdrtm/check/pcc_implausible.xml", 4, kWarning, "pcc-implausible", "<panel_pcc><r><r> 1000000 is implausible"},
    {"../hdrtm/check/pcc_implausible.xml", 5, kWarning, "pcc-implausible", "<panel_pcc><g> is all zeros"},
    {"points_out_of_range.xml", 5, kError, "point-out-of-range",
     "x[16] = 1100 is outside the 10-bit codes"},
    {"points_not_rising.xml", 5, kError, "points-not-rising", "x[10] = 500 does not rise above 513"},
    {"y_falling.xml", 6, kWarning, "points-falling", "y[10] = 500 falls below 528"},
    {"../hdrtm/check/points_flat.xml", 6, kWarning, "points-flat", "y[5] = 131 repeats the point before it"},
    {"points_too_few.xml", 4, kError, "points-too-few", "16 <x> values; the format needs 17"},
    {"points_too_many.xml", 4, kError, "points-too-many", "25 <x> values: more than the table's 24 slots"},
    {"points_extra.xml", 4, kError, "points-extra", "20 <x> values: the loader stores only the first 17"},
    {"points_extra_v2.xml", 4, kError, "points-extra", "so the table curve reads 3 empty slots"},
    {"points_missing.xml", 3, kError, "points-missing", "<tone_map> has no <points>"},
    {"malformed.xml", 4, kError, "not-xml", "not well-formed XML (mismatched element"},
    {"wrong_root.xml", 2, kError, "wrong-root", "the root element is <hdr_tuning>, not <hdr_lib>"}};

TEST(Checker, ReportsEveryRuleAtItsLineWithItsSeverity) {
    for (const Rule& rule : kRules) {
        const CheckResult result = checkTuningFile(dataFile(rule.file));
        EXPECT_TRUE(std::any_of(result.diagnostics.begin(), result.diagnostics.end(),
                                [&](const Diagnostic& d) {
                                    return d.line == rule.line && d.severity == rule.severity &&
                                           d.code == rule.code &&
                                           d.message.find(rule.text) != std::string::npos;
                                }))
            << rule.file << ": no " << severityName(rule.severity) << " " << rule.code << " \"" << rule.text
            << "\" at line " << rule.line;
    }
}

TEST(Checker, DiagnosticsCarryTheColumnAndTheValueTheLoaderStores) {
    const CheckResult result = checkTuningFile(dataFile("truncated.xml"));
    const auto it =
        std::find_if(result.diagnostics.begin(), result.diagnostics.end(),
                     [](const Diagnostic& d) { return d.line == 3; });  // <panel_max_luminance>70000
    ASSERT_NE(it, result.diagnostics.end());
    const Diagnostic& d = *it;
    EXPECT_EQ(d.code, "truncated");
    EXPECT_EQ(d.stored, "4464");
    EXPECT_EQ(d.column, 5);
    EXPECT_EQ(formatDiagnostic("f.xml", d).rfind("f.xml:3:5: error: ", 0), 0u);
}

// Opening a FIFO or reading a device would wait or never end.
TEST(Checker, AnythingButARegularFileIsAnErrorNeverAWait) {
    const std::string fifo =
        (std::filesystem::temp_directory_path() / ("hdrtm_check_fifo_" + std::to_string(getpid()))).string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const auto& [path, kind] : {std::pair<std::string, std::string>{HDRTM_CHECK_DATA_DIR, "is a folder"},
                                     {fifo, "is a FIFO"},
                                     {"/dev/zero", "is a device"}}) {
        const CheckResult result = checkTuningFile(path);
        ASSERT_EQ(result.diagnostics.size(), 1u) << path;
        EXPECT_EQ(result.diagnostics[0].code, "unreadable");
        EXPECT_EQ(result.diagnostics[0].message, kind + ", not a tuning file");
    }
    std::filesystem::remove(fifo);
}

TEST(Checker, FindsNothingInACompleteValidFile) {
    const CheckResult result = checkTuningFile(dataFile("clean.xml"));
    EXPECT_TRUE(result.diagnostics.empty()) << result.diagnostics.front().message;
    EXPECT_TRUE(result.versionTwo);
}

}  // namespace
