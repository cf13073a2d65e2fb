// A parameter record set up as the playback entry sets it for a pipeline
// (default tuning, identity panel correction), shared by the pipeline
// benchmarks and their maths floors.
#pragma once

#include <cstring>

#include "hdr_tm.h"
#include "lut3d.h"

struct PipelineSetup {
    PipelineSetup(uint8_t outBitDepth, uint8_t gamutMode, uint32_t inverseBt2020Luma) {
        set_default_vals(&params);
        params.grid_size = 17;
        params.clipLuma = 1000.0f;
        params.out_bit_depth = outBitDepth;
        params.gamut_mode = gamutMode;
        params.inverse_bt2020_luma = inverseBt2020Luma;
        params.pcc_enable = 1;
        params.pcc = &pcc;
        for (int c = 0; c < 3; ++c) pcc.row[c][kPccR + c] = 1.0;
        for (int axis = 0; axis < 3; ++axis) {
            std::memcpy(params.grid_points[0][axis], hdrtm::kNonUniformGridCodes,
                        sizeof(hdrtm::kNonUniformGridCodes));
            std::memcpy(params.grid_points[1][axis], hdrtm::kUniformGridCodes,
                        sizeof(hdrtm::kUniformGridCodes));
        }
    }
    PipelineSetup(const PipelineSetup&) = delete;  // params points at this pcc
    PipelineSetup& operator=(const PipelineSetup&) = delete;
    TMParams params{};
    PccCoefficients pcc{};
};

using PipelineFunction = void (*)(TMParams*, float**);

// The five pipeline cases the entry runs: the pipeline and its set-up.
struct PipelineCase {
    PipelineFunction pipeline;
    uint8_t outBitDepth;
    uint8_t gamutMode;
    uint32_t inverseBt2020Luma;
};

// Forward pipelines: 12-bit output, gamut mapping by rgb2rgb_gmap.
inline const PipelineCase kPqForwardCase{lut3d_process, 12, 2, 0};
inline const PipelineCase kHlgForwardCase{HLG_lut3d_process, 12, 2, 0};
// Inverse pipelines: 10-bit output, no gamut stage.
inline const PipelineCase kSdrToPqCase{inverse_lut3d_process, 10, 0, 0};
inline const PipelineCase kHlgToPqCase{inverse_lut3d_process, 10, 0, 1};
inline const PipelineCase kSdrToHlgCase{HLG_inverse_lut3d_process, 10, 0, 0};
