// Pins every pipeline's float output bit for bit, before the truncation to
// codes that the golden LUT test sees: a one-ulp change anywhere upstream
// shows here. Parameter sets cover both curve forms, every gamut and output
// branch, the brightness, saturation and linear-scale sections, both mapping
// directions and a non-identity panel correction.
//   HDRTM_UPDATE_GOLDEN=1 rewrites tests/data/golden_planes.txt.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "hdr_tm.h"
#include "lut3d.h"

namespace {

constexpr int kSamples = 17 * 17 * 17;

struct Variant {
    const char* name;
    std::function<void(TMParams&)> apply;
};

const Variant kVariants[] = {
    {"defaults_gmap_pcc_12bit", [](TMParams& p) {
         p.gamut_mode = 2;
         p.out_bit_depth = 12;
         p.pcc_enable = 1;
     }},
    {"table_curve_p3_srgb", [](TMParams& p) {
         p.version = 1;
         CalCurveLUT(&p);
         p.gamut_mode = 1;
         p.panel_color_mode = SPACE_DCIP3;
         p.output_gamma_space = GAMMA_SRGB;
     }},
    {"bright_sat_linear_bt709", [](TMParams& p) {
         p.bright_enable = 1;
         p.sysGamma = 1.2f;
         p.sat_enable = 1;
         p.linearScale = 1;
         p.scaleStart = 300.0f;
         p.ratio = 0.5f;
         p.gamut_mode = 1;
         p.panel_color_mode = SPACE_SRGB;
         p.output_gamma_space = GAMMA_BT709;
     }},
    {"derived_shoulder_adobe_custom", [](TMParams& p) {
         p.enableM = 0;
         p.clipLuma = 4000.0f;
         p.gamut_mode = 1;
         p.panel_color_mode = SPACE_ADOBE;
         p.output_gamma_space = GAMMA_CUSTOM;
         p.output_gamma_val = 2.4f;
         p.grid_set = 1;
     }},
    {"inverse_direction_sat_linear_out", [](TMParams& p) {
         p.map_direction = MAP_INVERSE;
         p.sat_enable = 1;
         p.bright_enable = 1;
         p.sysGamma = 0.9f;
         p.gamut_mode = 2;
         p.output_gamma_space = GAMMA_LINEAR;
     }},
};

struct NamedPipeline {
    const char* name;
    void (*run)(TMParams*, float**);
    uint32_t inverseBt2020Luma;
};

const NamedPipeline kPipelines[] = {
    {"pq_forward", lut3d_process, 0},
    {"hlg_forward", HLG_lut3d_process, 0},
    {"sdr_to_pq", inverse_lut3d_process, 0},
    {"hlg_to_pq", inverse_lut3d_process, 1},
    {"sdr_to_hlg", HLG_inverse_lut3d_process, 0},
};

TMParams baseParams(PccCoefficients* pcc) {
    TMParams p;
    std::memset(&p, 0, sizeof(p));
    set_default_vals(&p);
    p.grid_size = 17;
    p.out_bit_depth = 10;
    p.clipLuma = 1000.0f;
    p.LinearBoost = 1.0f;
    for (int axis = 0; axis < 3; ++axis) {
        std::memcpy(p.grid_points[0][axis], hdrtm::kNonUniformGridCodes,
                    sizeof(hdrtm::kNonUniformGridCodes));
        std::memcpy(p.grid_points[1][axis], hdrtm::kUniformGridCodes,
                    sizeof(hdrtm::kUniformGridCodes));
    }
    // A panel correction with every term in play.
    std::memset(pcc, 0, sizeof(*pcc));
    const double rows[3][kPccTermCount] = {
        {0.002, 0.95, 0.03, 0.01, 0.02, -0.01, 0.005, 0.01, -0.004, 0.003, -0.002},
        {-0.001, 0.02, 0.97, 0.015, -0.005, 0.01, 0.002, -0.003, 0.006, 0.001, 0.001},
        {0.003, 0.01, 0.025, 0.94, 0.004, 0.002, 0.012, 0.002, -0.002, -0.005, 0.003},
    };
    std::memcpy(pcc->row, rows, sizeof(rows));
    p.pcc = pcc;
    return p;
}

// FNV-1a 64 over the planes' bits, every NaN taken as one canonical NaN (the
// bits of a NaN differ between CPUs; that it is a NaN does not).
uint64_t hashPlanes(const std::vector<float>& planes) {
    uint64_t hash = 0xcbf29ce484222325ull;
    for (float v : planes) {
        uint32_t bits;
        std::memcpy(&bits, &v, 4);
        if (std::isnan(v)) bits = 0x7FC00000u;
        for (int byte = 0; byte < 4; ++byte) {
            hash ^= (bits >> (8 * byte)) & 0xFFu;
            hash *= 0x100000001b3ull;
        }
    }
    return hash;
}

std::map<std::string, std::string> computeAll() {
    std::map<std::string, std::string> results;
    for (const Variant& variant : kVariants) {
        for (const NamedPipeline& pipeline : kPipelines) {
            PccCoefficients pcc;
            TMParams p = baseParams(&pcc);
            variant.apply(p);
            p.inverse_bt2020_luma = pipeline.inverseBt2020Luma;
            std::vector<float> planes(3 * kSamples, -1.0f);
            float* ptr[3] = {planes.data(), planes.data() + kSamples, planes.data() + 2 * kSamples};
            pipeline.run(&p, ptr);
            char hex[17];
            std::snprintf(hex, sizeof(hex), "%016llx",
                          static_cast<unsigned long long>(hashPlanes(planes)));
            results[std::string(variant.name) + " " + pipeline.name] = hex;
        }
    }
    return results;
}

const std::string kGoldenFile = std::string(HDRTM_TEST_DATA_DIR) + "/golden_planes.txt";

TEST(GoldenPlanes, EveryPipelineOutputIsBitIdentical) {
    const std::map<std::string, std::string> computed = computeAll();
    if (std::getenv("HDRTM_UPDATE_GOLDEN") != nullptr) {
        std::ofstream out(kGoldenFile);
        out << "# <parameter set> <pipeline> <FNV-1a 64 of the float planes>\n";
        for (const auto& [key, hash] : computed) out << key << ' ' << hash << '\n';
        GTEST_SKIP() << "rewrote " << kGoldenFile;
    }
    std::ifstream in(kGoldenFile);
    ASSERT_TRUE(in) << kGoldenFile;
    std::map<std::string, std::string> expected;
    for (std::string variant, pipeline, hash; in >> variant;) {
        if (variant[0] == '#') {
            std::getline(in, hash);
            continue;
        }
        in >> pipeline >> hash;
        expected[variant + " " + pipeline] = hash;
    }
    EXPECT_EQ(expected.size(), computed.size());
    for (const auto& [key, hash] : computed) EXPECT_EQ(hash, expected[key]) << key;
}

}  // namespace
