// Pins every pipeline's float output bit for bit, before the truncation to
// codes: a one-ulp change anywhere upstream shows here. Parameter sets cover
// both curve forms, every gamut and output branch, the brightness, saturation
// and linear-scale sections with each curve form and each output encoding,
// both mapping directions and a non-identity panel correction.
// HDRTM_UPDATE_GOLDEN=1 rewrites tests/data/golden_planes.txt.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "golden_file.h"
#include "hdr_tm.h"
#include "lut3d.h"

namespace {

const struct {
    const char* name;
    void (*apply)(TMParams&);
} kVariants[] = {
    {"defaults_gmap_pcc_12bit", [](TMParams& p) { p.gamut_mode = 2, p.out_bit_depth = 12, p.pcc_enable = 1; }},
    {"table_curve_p3_srgb", [](TMParams& p) {
         p.version = 1, CalCurveLUT(&p);
         p.gamut_mode = 1, p.panel_color_mode = SPACE_DCIP3, p.output_gamma_space = GAMMA_SRGB;
     }},
    {"bright_sat_linear_bt709", [](TMParams& p) {
         p.bright_enable = 1, p.sysGamma = 1.2f, p.sat_enable = 1, p.linearScale = 1, p.scaleStart = 300.0f;
         p.ratio = 0.5f, p.gamut_mode = 1, p.panel_color_mode = SPACE_SRGB, p.output_gamma_space = GAMMA_BT709;
     }},
    {"derived_shoulder_adobe_custom", [](TMParams& p) {
         p.enableM = 0, p.clipLuma = 4000.0f, p.grid_set = 1, p.gamut_mode = 1, p.panel_color_mode = SPACE_ADOBE;
         p.output_gamma_space = GAMMA_CUSTOM, p.output_gamma_val = 2.4f;
     }},
    {"inverse_direction_sat_linear_out", [](TMParams& p) {
         p.map_direction = MAP_INVERSE, p.sat_enable = 1, p.bright_enable = 1, p.sysGamma = 0.9f;
         p.gamut_mode = 2, p.output_gamma_space = GAMMA_LINEAR;
     }},
    {"table_sat_bright_srgb_gmap_pcc_12bit", [](TMParams& p) {
         p.version = 1, CalCurveLUT(&p), p.sat_enable = 1, p.bright_enable = 1, p.sysGamma = 1.2f;
         p.gamut_mode = 2, p.pcc_enable = 1, p.out_bit_depth = 12, p.output_gamma_space = GAMMA_SRGB;
     }},
    {"table_sat_bright_bt709_fixed", [](TMParams& p) {
         p.version = 1, CalCurveLUT(&p), p.sat_enable = 1, p.bright_enable = 1, p.sysGamma = 0.8f;
         p.gamut_mode = 1, p.panel_color_mode = SPACE_BT709, p.output_gamma_space = GAMMA_BT709;
     }},
    {"table_sat_bright_linear_custom", [](TMParams& p) {
         p.version = 1, CalCurveLUT(&p), p.sat_enable = 1, p.bright_enable = 1, p.sysGamma = 1.2f;
         p.linearScale = 1, p.scaleStart = 300.0f, p.ratio = 0.5f, p.output_gamma_space = GAMMA_CUSTOM;
         p.output_gamma_val = 2.6f;
     }},
    {"sat_bright_srgb_gmap_pcc", [](TMParams& p) {
         p.sat_enable = 1, p.bright_enable = 1, p.sysGamma = 1.2f, p.gamut_mode = 2, p.pcc_enable = 1;
         p.output_gamma_space = GAMMA_SRGB;
     }},
    {"table_inverse_direction_sat_bright", [](TMParams& p) {
         p.version = 1, CalCurveLUT(&p), p.map_direction = MAP_INVERSE, p.sat_enable = 1;
         p.bright_enable = 1, p.sysGamma = 0.9f, p.output_gamma_space = GAMMA_BT709;
     }},
};

const struct {
    const char* name;
    void (*run)(TMParams*, float**);
    uint32_t inverseBt2020Luma;
} kPipelines[] = {
    {"pq_forward", lut3d_process, 0},
    {"hlg_forward", HLG_lut3d_process, 0},
    {"sdr_to_pq", inverse_lut3d_process, 0},
    {"hlg_to_pq", inverse_lut3d_process, 1},
    {"sdr_to_hlg", HLG_inverse_lut3d_process, 0},
};

TMParams baseParams(PccCoefficients* pcc) {
    TMParams p{};
    set_default_vals(&p);
    p.grid_size = 17, p.out_bit_depth = 10, p.clipLuma = 1000.0f, p.LinearBoost = 1.0f;
    for (int axis = 0; axis < 3; ++axis) {
        std::copy_n(hdrtm::kNonUniformGridCodes, 17, p.grid_points[0][axis]);
        std::copy_n(hdrtm::kUniformGridCodes, 17, p.grid_points[1][axis]);
    }
    // A panel correction with every term in play.
    *pcc = {0.0,
            {{0.002, 0.95, 0.03, 0.01, 0.02, -0.01, 0.005, 0.01, -0.004, 0.003, -0.002},
             {-0.001, 0.02, 0.97, 0.015, -0.005, 0.01, 0.002, -0.003, 0.006, 0.001, 0.001},
             {0.003, 0.01, 0.025, 0.94, 0.004, 0.002, 0.012, 0.002, -0.002, -0.005, 0.003}}};
    p.pcc = pcc;
    return p;
}

// Every NaN is hashed as one canonical NaN: a NaN's bits differ between CPUs.
TEST(GoldenPlanes, EveryPipelineOutputIsBitIdentical) {
    static constexpr uint32_t kCanonicalNaN = 0x7FC00000u;
    std::vector<std::string> lines;
    for (const auto& variant : kVariants) {
        for (const auto& pipeline : kPipelines) {
            PccCoefficients pcc;
            TMParams p = baseParams(&pcc);
            variant.apply(p);
            p.inverse_bt2020_luma = pipeline.inverseBt2020Luma;
            std::vector<float> planes(3 * hdrtm::kLutPoints, -1.0f);
            float* ptr[3] = {planes.data(), planes.data() + hdrtm::kLutPoints, planes.data() + 2 * hdrtm::kLutPoints};
            pipeline.run(&p, ptr);
            Fnv1a64 fnv;
            for (float v : planes) fnv.add(std::isnan(v) ? static_cast<const void*>(&kCanonicalNaN) : &v, 4);
            lines.push_back(std::string(variant.name) + " " + pipeline.name + " " + fnv.hex());
        }
    }
    std::sort(lines.begin(), lines.end());
    expectGoldenLines("golden_planes.txt", "<parameter set> <pipeline> <FNV-1a 64 of the float planes>", lines);
}

}  // namespace
