// Fuzzes the exported stage functions: one function per input, on a random
// parameter record and random planes. The record is taken raw from the input
// and then held to the contract every stage relies on: grid_size at most 17,
// grid codes within 0..1023 (they index the decode tables), at most 24
// control points, and pcc either null or a real block. Planes hold exactly
// the samples a stage may touch, so a stage that strays past its count is an
// out-of-bounds access. Decoders get samples within [0, inMax], as their
// callers guarantee.
//
// Input layout: selector byte; the 744-byte record; a byte whose low bit
// gives a PCC block, then its 272 bytes; the function's own arguments; the
// planes' samples.
#include <algorithm>
#include <cmath>
#include <vector>

#include "fuzz_harness.h"
#include "fuzz_input.h"
#include "tm_common.h"
#include "tm_params.h"
#include "tm_stages.h"

namespace hdrtm_fuzz {
namespace {

constexpr unsigned int kMaxGridSize = kGridPointsPerAxis;
constexpr unsigned int kGridCodeCount = 1024;  // 10-bit codes index 1024-entry tables
constexpr unsigned int kMaxCount = hdrtm::kLutPoints;
constexpr int kIndexEntries = 129;  // entries nonuniformity_mapping writes
constexpr uint32_t kCallerBits = 0x3;

// Three planes of exactly `count` samples each, filled from the input.
class Planes {
public:
    Planes(FuzzInput& in, unsigned int count) {
        for (int c = 0; c < hdrtm::kPlaneCount; ++c) {
            storage_[c].resize(count);
            in.fill(storage_[c].data(), count * sizeof(float));
            pointers_[c] = storage_[c].data();
        }
    }
    float** get() { return pointers_; }
    std::vector<float>& plane(int c) { return storage_[c]; }

private:
    std::vector<float> storage_[hdrtm::kPlaneCount];
    float* pointers_[hdrtm::kPlaneCount] = {};
};

unsigned int takeCount(FuzzInput& in) { return in.take<uint16_t>() % (kMaxCount + 1); }

unsigned int gridCount(const TMParams& params) {
    const unsigned int n = params.grid_size;
    return n * n * n;
}

// Decoders index their table with the sample scaled to 0..1023: samples
// stay within [0, inMax] (NaN passes: it reads entry 0).
void keepWithinInMax(Planes& planes, unsigned short inMax) {
    if (inMax == 0) return;
    const float max = static_cast<float>(inMax);
    for (int c = 0; c < hdrtm::kPlaneCount; ++c) {
        for (float& v : planes.plane(c)) {
            v = std::fabs(v);
            if (v > max) v = std::fmod(v, max);
        }
    }
}

// Every pipeline ends by clamping to [0, 1] and scaling to the largest code.
void checkOutputCodes(Planes& planes, const TMParams& params) {
    const float fullScale = static_cast<float>((1u << (params.out_bit_depth % 32u)) - 1u);
    for (int c = 0; c < hdrtm::kPlaneCount; ++c) {
        for (float v : planes.plane(c)) HDRTM_FUZZ_CHECK(!(v < 0.0f) && !(v > fullScale));
    }
}

enum Stage : unsigned int {
    kSt2084Inverse, kSt2084Forward, kHlgForward, kHlgInverse, kBt709Forward, kBt709Inverse,
    kSrgbForward, kSrgbInverse, kGamma2p2Forward, kGamma2p2Inverse, kGammaCustomForward,
    kOotfForward, kOotfInverse, kRgb2RgbConv, kRgb2Xyz, kXyz2Rgb, kXyz2Lab, kXyz2RgbLuma,
    kRgb2RgbGmap, kPanelPcc, kLogCurves, kLogCurveTables, kCalCurveLut, kYtm, kSatGain,
    kRgbSatBoost, kToneMappingCore, kInverseToneMappingCore, kInputGen, kNonuniformity,
    kLut3d, kHlgLut3d, kInverseLut3d, kHlgInverseLut3d, kClipping, kStageCount
};

struct TransferArgs {
    unsigned int count;
    unsigned short planeCount, inScale, outScale;
};

TransferArgs takeTransferArgs(FuzzInput& in) {
    TransferArgs a;
    a.count = takeCount(in);
    a.planeCount = in.take<uint16_t>();
    a.inScale = in.take<uint16_t>();
    a.outScale = in.take<uint16_t>();
    return a;
}

// Formula transfer functions: planes, count, planeCount, inScale, outScale.
using FormulaTransfer = void (*)(float**, unsigned int, unsigned short, unsigned short,
                                 unsigned short);
// Table decoders: planes, count, inMax, outScale.
using TableDecoder = void (*)(float**, unsigned int, unsigned short, unsigned short);

void runFormula(FormulaTransfer transfer, FuzzInput& in) {
    const TransferArgs a = takeTransferArgs(in);
    Planes planes(in, a.count);
    transfer(planes.get(), a.count, a.planeCount, a.inScale, a.outScale);
}

// The input's inScale serves as inMax, raised to `lowestInMax`.
void runDecoder(TableDecoder decoder, FuzzInput& in, unsigned short lowestInMax) {
    TransferArgs a = takeTransferArgs(in);
    a.inScale = std::max(a.inScale, lowestInMax);
    Planes planes(in, a.count);
    keepWithinInMax(planes, a.inScale);
    decoder(planes.get(), a.count, a.inScale, a.outScale);
}

void runPipeline(void (*pipeline)(TMParams*, float**), TMParams& params, FuzzInput& in) {
    Planes planes(in, gridCount(params));
    pipeline(&params, planes.get());
    checkOutputCodes(planes, params);
}

void runStage(Stage stage, TMParams& params, FuzzInput& in) {
    switch (stage) {
        case kSt2084Inverse: {
            const TransferArgs a = takeTransferArgs(in);
            const unsigned int planeCount = in.take<uint32_t>();
            Planes planes(in, a.count);
            keepWithinInMax(planes, a.inScale);
            st2084_inverse_tf(planes.get(), a.count, planeCount, a.inScale, a.outScale);
            break;
        }
        case kSt2084Forward: {
            const TransferArgs a = takeTransferArgs(in);
            Planes planes(in, a.count);
            st2084_forward_tf(planes.get(), a.count, a.inScale, a.outScale);
            break;
        }
        case kHlgForward:
            runFormula(HLG_forward_tf, in);
            break;
        case kHlgInverse:
            runDecoder(HLG_inverse_tf, in, 1);  // inMax 0 is outside this decoder's contract
            break;
        case kBt709Forward:
            runFormula(bt709_forward_tf, in);
            break;
        case kBt709Inverse:
            runDecoder(bt709_inverse_tf, in, 0);
            break;
        case kSrgbForward:
            runFormula(sRGB_forward_tf, in);
            break;
        case kSrgbInverse:
            runDecoder(sRGB_inverse_tf, in, 0);
            break;
        case kGamma2p2Forward:
            runFormula(gamma2p2_forward_tf, in);
            break;
        case kGamma2p2Inverse:
            runFormula(gamma2p2_inverse_tf, in);
            break;
        case kGammaCustomForward: {
            const TransferArgs a = takeTransferArgs(in);
            const float gamma = in.take<float>();
            Planes planes(in, a.count);
            gamma_custom_forward_tf(gamma, planes.get(), a.count, a.planeCount, a.inScale,
                                    a.outScale);
            break;
        }
        case kOotfForward:
        case kOotfInverse: {
            const TransferArgs a = takeTransferArgs(in);
            const float peak = in.take<float>();
            Planes planes(in, a.count);
            if (stage == kOotfForward) {
                OOTF_forward_tf(planes.get(), a.count, a.inScale, a.outScale, peak);
            } else {
                OOTF_inverse_tf(planes.get(), a.count, a.inScale, a.outScale, peak);
            }
            break;
        }
        case kRgb2RgbConv: {
            const unsigned int count = takeCount(in);
            const auto conversion = static_cast<IndexRGB>(in.smallOrRaw(BT2020_TO_P3 + 1));
            Planes planes(in, count);
            rgb2rgb_conv(planes.get(), conversion, count);
            break;
        }
        case kRgb2Xyz:
        case kXyz2Rgb:
        case kXyz2Lab: {
            const auto primaries = in.take<uint8_t>();
            Planes from(in, gridCount(params));
            Planes to(in, gridCount(params));
            if (stage == kRgb2Xyz) rgb2xyz(&params, primaries, from.get(), to.get());
            if (stage == kXyz2Rgb) xyz2rgb(&params, primaries, from.get(), to.get());
            if (stage == kXyz2Lab) xyz2lab(&params, from.get(), to.get());
            break;
        }
        case kXyz2RgbLuma: {
            Planes luma(in, gridCount(params));  // planes 0 and 1: luminance before and after
            Planes xyz(in, gridCount(params));
            Planes rgb(in, gridCount(params));
            XYZ2rgb(&params, luma.get()[0], luma.get()[1], xyz.get(), rgb.get());
            break;
        }
        case kRgb2RgbGmap: {
            Planes planes(in, gridCount(params));
            rgb2rgb_gmap(&params, planes.get());
            break;
        }
        case kPanelPcc: {
            Planes planes(in, gridCount(params));
            panel_mapping_PCC(&params, planes.get());
            break;
        }
        case kLogCurves: {
            float f[10];
            in.fill(f, sizeof(f));
            const auto mode = in.take<uint8_t>();
            logTM(f[0], f[1], f[2], f[3], f[4], mode, f[5], f[6], f[7], f[8], f[9]);
            logTMInverse(f[0], f[1], f[2], f[3], f[4], mode, f[5], f[6], f[7], f[8], f[9]);
            break;
        }
        case kLogCurveTables: {
            const float v = in.take<float>();
            logTM_LUT(v, &params.curve);
            logTMInverse_LUT(v, &params.curve);
            break;
        }
        case kCalCurveLut:
            CalCurveLUT(&params);
            break;
        case kYtm: {
            Planes luma(in, gridCount(params));  // plane 0 in, plane 1 out
            yTM(&params, luma.get()[0], luma.get()[1]);
            break;
        }
        case kSatGain: {
            float f[4];
            in.fill(f, sizeof(f));
            satGain(f[0], f[1], f[2], f[3]);
            break;
        }
        case kRgbSatBoost: {
            const unsigned int count = takeCount(in);
            float f[3];
            in.fill(f, sizeof(f));
            const auto direction = static_cast<MAP_DIRECTION>(in.smallOrRaw(MAP_INVERSE + 1));
            Planes planes(in, count);
            rgbSatBoost(planes.get(), count, f[0], f[1], f[2], direction);
            break;
        }
        case kToneMappingCore:
        case kInverseToneMappingCore: {
            Planes planes(in, gridCount(params));
            if (stage == kToneMappingCore) {
                tone_mapping_core(&params, planes.get());
            } else {
                inverse_tone_mapping_core(&params, planes.get());
            }
            break;
        }
        case kInputGen: {
            unsigned int grid[hdrtm::kPlaneCount][kGridPointsPerAxis];
            in.fill(grid, sizeof(grid));
            const auto pointsPerAxis = in.take<uint8_t>();
            const unsigned int n = std::min<unsigned int>(pointsPerAxis, kMaxGridSize);
            FuzzInput none(nullptr, 0);
            Planes planes(none, n * n * n);
            input_gen(grid, planes.get(), pointsPerAxis);
            break;
        }
        case kNonuniformity: {
            unsigned int grid[hdrtm::kPlaneCount][kGridPointsPerAxis];
            in.fill(grid, sizeof(grid));
            Color10Bit out[kIndexEntries];
            in.fill(out, sizeof(out));
            uint32_t callerBits[kIndexEntries];
            for (int i = 0; i < kIndexEntries; ++i) callerBits[i] = out[i].caller_bits;
            nonuniformity_mapping(grid, out);
            for (int i = 0; i < kIndexEntries; ++i) {
                HDRTM_FUZZ_CHECK((out[i].caller_bits & kCallerBits) == callerBits[i]);
            }
            break;
        }
        case kLut3d:
            runPipeline(lut3d_process, params, in);
            break;
        case kHlgLut3d:
            runPipeline(HLG_lut3d_process, params, in);
            break;
        case kInverseLut3d:
            runPipeline(inverse_lut3d_process, params, in);
            break;
        case kHlgInverseLut3d:
            runPipeline(HLG_inverse_lut3d_process, params, in);
            break;
        case kClipping: {
            float f[3];
            in.fill(f, sizeof(f));
            Clipping(f[0], f[1], f[2]);
            break;
        }
        case kStageCount:
            break;
    }
}

}  // namespace

int fuzzStages(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    const auto stage = static_cast<Stage>(in.pick(kStageCount));

    TMParams params;
    in.fill(&params, sizeof(params));
    params.grid_size %= kMaxGridSize + 1;
    for (auto& set : params.grid_points) {
        for (auto& row : set) {
            for (uint32_t& code : row) code %= kGridCodeCount;
        }
    }
    if (params.curve.num_points > kToneCurveMaxPoints) {
        params.curve.num_points %= kToneCurveMaxPoints + 1;
    }
    PccCoefficients pcc;
    params.pcc = nullptr;
    if (in.take<uint8_t>() & 1) {
        in.fill(&pcc, sizeof(pcc));
        params.pcc = &pcc;
    }

    runStage(stage, params, in);
    return 0;
}

}  // namespace hdrtm_fuzz

HDRTM_FUZZ_TARGET(hdrtm_fuzz::fuzzStages)
