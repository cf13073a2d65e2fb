// TMParams: the one parameter record every stage of the tone-mapping engine
// reads. Plain data, copied whole by value; the byte layout is part of the
// library's interface and is pinned by the static_asserts below.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hdr_tm_export.h"

// Panel colour space (the LUT's output primaries).
enum HDR_COLOR_SPACE : uint32_t {
    SPACE_SRGB = 0,
    SPACE_BT709 = 1,
    SPACE_ADOBE = 2,
    SPACE_DCIP3 = 3,
    SPACE_BT2020 = 4,
};

// Transfer function applied to the LUT output.
enum OUTPUT_GAMMA_SPACE : uint32_t {
    GAMMA_LINEAR = 0,
    GAMMA_2P2 = 1,
    GAMMA_SRGB = 2,
    GAMMA_BT709 = 3,
    GAMMA_CUSTOM = 4,
};

// Direction of luminance and chroma mapping; any nonzero value acts as inverse.
enum MAP_DIRECTION : uint32_t {
    MAP_FORWARD = 0,
    MAP_INVERSE = 1,
};

// Row of the primaries-conversion table (linear RGB to linear RGB, D65).
enum IndexRGB : uint32_t {
    BT709_TO_BT2020 = 0,
    BT2020_TO_BT709 = 1,
    ADOBE_TO_BT2020 = 2,
    BT2020_TO_ADOBE = 3,
    P3_TO_BT2020 = 4,
    BT2020_TO_P3 = 5,
};

// Tone-curve control points: 10-bit codes as loaded, log10 nits after
// CalCurveLUT. Only the first 17 slots are ever filled; lookups cap the count
// at 24.
constexpr int kToneCurveMaxPoints = 24;
struct toneMapperLUT {
    int32_t num_points;
    float points_x[kToneCurveMaxPoints];
    float points_y[kToneCurveMaxPoints];
};

// Panel polynomial colour correction: one reserved word, then rows r, g, b of
// eleven terms each, in the order of PccTerm.
enum PccTerm : int {
    kPccC = 0, kPccR, kPccG, kPccB, kPccRR, kPccGG, kPccBB, kPccRG, kPccGB, kPccRB, kPccRGB,
    kPccTermCount
};
struct PccCoefficients {
    double reserved;
    double row[3][kPccTermCount];
};

constexpr int kGridPointsPerAxis = 17;  // LUT points per axis everywhere in the system
constexpr int kGridSetCount = 2;        // set 0: tuned (non-uniform for version 2.0), set 1: uniform

struct TMParams {
    uint16_t panel_max_luminance;          // nits
    float panel_min_luminance;             // nits
    float nominal_peak_luminance;          // nits, HLG OOTF peak
    uint8_t gamut_mode;                    // low two bits: 1 matrix, 2 rgb2rgb_gmap, 0/3 none
    uint32_t inverse_bt2020_luma;
    uint8_t out_bit_depth;
    uint8_t grid_size;
    HDR_COLOR_SPACE panel_color_mode;
    float output_gamma_val;
    OUTPUT_GAMMA_SPACE output_gamma_space;
    uint8_t pcc_enable;
    uint32_t grid_points[kGridSetCount][3][kGridPointsPerAxis];
    PccCoefficients* pcc;
    uint32_t map_direction;
    uint32_t grid_set;
    float t0;                              // printed as "T0"
    float sharp;                           // printed as "M"
    float slope;
    float intl;                            // nits
    float inth;                            // nits
    float pivot;                           // nits, printed as "lmid"
    float LinearBoost;
    uint8_t bright_enable;
    float sysGamma;
    float tlower;
    float tupper;
    uint8_t sat_enable;
    float t1;
    float t2;
    float kmax;
    float clipLuma;                        // nits
    uint8_t enableM;
    uint8_t fixedClip;
    uint8_t fixedRatio;
    uint8_t linearScale;
    float scaleStart;                      // nits
    float ratio;
    toneMapperLUT curve;                   // num_points, points_x, points_y
    uint32_t version;                      // 1 for a "2.0" tuning file, else 0
};

static_assert(sizeof(PccCoefficients) == 272, "PCC block is 34 doubles");
static_assert(sizeof(toneMapperLUT) == 196, "toneMapperLUT layout");
static_assert(sizeof(TMParams) == 744, "TMParams size");
static_assert(offsetof(TMParams, panel_max_luminance) == 0);
static_assert(offsetof(TMParams, panel_min_luminance) == 4);
static_assert(offsetof(TMParams, nominal_peak_luminance) == 8);
static_assert(offsetof(TMParams, gamut_mode) == 12);
static_assert(offsetof(TMParams, inverse_bt2020_luma) == 16);
static_assert(offsetof(TMParams, out_bit_depth) == 20);
static_assert(offsetof(TMParams, grid_size) == 21);
static_assert(offsetof(TMParams, panel_color_mode) == 24);
static_assert(offsetof(TMParams, output_gamma_val) == 28);
static_assert(offsetof(TMParams, output_gamma_space) == 32);
static_assert(offsetof(TMParams, pcc_enable) == 36);
static_assert(offsetof(TMParams, grid_points) == 40);
static_assert(offsetof(TMParams, pcc) == 448);
static_assert(offsetof(TMParams, map_direction) == 456);
static_assert(offsetof(TMParams, grid_set) == 460);
static_assert(offsetof(TMParams, t0) == 464);
static_assert(offsetof(TMParams, LinearBoost) == 488);
static_assert(offsetof(TMParams, bright_enable) == 492);
static_assert(offsetof(TMParams, sysGamma) == 496);
static_assert(offsetof(TMParams, sat_enable) == 508);
static_assert(offsetof(TMParams, t1) == 512);
static_assert(offsetof(TMParams, clipLuma) == 524);
static_assert(offsetof(TMParams, enableM) == 528);
static_assert(offsetof(TMParams, linearScale) == 531);
static_assert(offsetof(TMParams, scaleStart) == 532);
static_assert(offsetof(TMParams, ratio) == 536);
static_assert(offsetof(TMParams, curve) == 540);
static_assert(offsetof(TMParams, curve) + offsetof(toneMapperLUT, points_x) == 544);
static_assert(offsetof(TMParams, curve) + offsetof(toneMapperLUT, points_y) == 640);
static_assert(offsetof(TMParams, version) == 736);

// Process-wide state, zero when the library is loaded.
HDRTM_EXPORT extern TMParams g_params;        // tuning, loaded at most once per process
HDRTM_EXPORT extern int32_t g_params_ready;   // nonzero once a load has been attempted
HDRTM_EXPORT extern PccCoefficients g_pcc;    // block that g_params.pcc points to

// Stores the built-in defaults into the fields that have one; other fields
// are left as they were.
HDRTM_EXPORT void set_default_vals(TMParams* params);
