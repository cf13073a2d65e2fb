// A parameter record set up for one pipeline configuration, shared by the
// pipeline benchmarks and their maths floors, and the list of configurations
// they cover.
#pragma once

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "hdr_tm.h"
#include "lut3d.h"

using PipelineFunction = void (*)(TMParams*, float**);

// The panel correction a configuration runs: none, the identity (the host
// colour manager's), a matrix with offsets (a typical calibration: first-order
// terms only, which take the short sum) or one with every term in play.
enum PccForm : uint8_t { kNoPcc, kIdentityPcc, kMatrixPcc, kQuadraticPcc };

// One pipeline and the settings that choose what it runs: the curve form, the
// brightness and saturation sections, and (forward pipelines only) the gamut
// stage, the panel correction and the output encoding. The rest is the
// built-in default tuning.
struct PipelineConfig {
    const char* pipelineName;
    PipelineFunction pipeline;
    uint32_t inverseBt2020Luma;
    bool panelStages;  // the forward pipelines' gamut, PCC and output encoding
    OUTPUT_GAMMA_SPACE outputGamma = GAMMA_2P2;
    bool tableCurve = false;  // the control-point table of a version 2.0 tuning
    bool brightness = false;
    bool saturation = false;
    uint8_t gamutMode = 2;
    PccForm pcc = kIdentityPcc;
    uint8_t outBitDepth = 12;

    // "PqForward/srgb_table_bright_sat_gmap_pcc_12bit", "SdrToPq/table_sat_10bit"
    std::string name() const {
        static const char* const kGammaNames[] = {"linear", "2p2", "srgb", "bt709", "custom"};
        static const char* const kGamutNames[] = {"nogamut", "matrix", "gmap"};
        static const char* const kPccNames[] = {"", "_pcc", "_pccmatrix", "_pccquad"};
        std::string n = std::string(pipelineName) + '/';
        if (panelStages) n += std::string(kGammaNames[outputGamma]) + '_';
        n += tableCurve ? "table" : "param";
        if (brightness) n += "_bright";
        if (saturation) n += "_sat";
        if (panelStages) n += std::string("_") + kGamutNames[gamutMode] + kPccNames[pcc];
        return n + "_" + std::to_string(outBitDepth) + "bit";
    }
};

struct PipelineSetup {
    explicit PipelineSetup(const PipelineConfig& c) {
        set_default_vals(&params);
        params.grid_size = 17;
        params.clipLuma = 1000.0f;
        params.out_bit_depth = c.outBitDepth;
        params.gamut_mode = c.gamutMode;
        params.inverse_bt2020_luma = c.inverseBt2020Luma;
        params.output_gamma_space = c.outputGamma;
        params.output_gamma_val = 2.4f;
        params.bright_enable = c.brightness ? 1 : 0;
        params.sysGamma = 1.2f;
        params.sat_enable = c.saturation ? 1 : 0;
        if (c.tableCurve) {
            params.version = 1;
            CalCurveLUT(&params);
        }
        params.pcc_enable = c.pcc != kNoPcc ? 1 : 0;
        params.pcc = &pcc;
        for (int channel = 0; channel < 3; ++channel) {
            double* row = pcc.row[channel];
            row[kPccR + channel] = 1.0;
            if (c.pcc == kIdentityPcc) continue;
            row[kPccC] = 0.002 * (channel + 1);
            row[kPccR + channel] = 0.96;
            row[kPccR + (channel + 1) % 3] = 0.03;
            row[kPccR + (channel + 2) % 3] = -0.01;
            if (c.pcc == kMatrixPcc) continue;
            for (int term = kPccRR; term <= kPccRGB; ++term) row[term] = 0.001 * (term - channel);
        }
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

// The configurations benchmarked. Forward pipelines: the entry's hardware
// set-up (2.2 output, parametric curve, gamut mapping, identity PCC, 12 bits),
// each setting changed on its own (the PCC off, a matrix, every term), then
// the table curve with both sections under every output encoding, and the
// per-layer row of a version 2.0 tuning.
// The inverse pipelines have no gamut stage, panel correction or output
// encoding: their curve and sections vary, at the entry's 10 bits (HLG to PQ
// runs no tone curve at all).
inline std::vector<PipelineConfig> pipelineConfigs() {
    std::vector<PipelineConfig> configs;
    auto add = [&configs](PipelineConfig c, auto change) {
        change(c);
        configs.push_back(c);
    };
    auto tableBrightSat = [](PipelineConfig& c) { c.tableCurve = c.brightness = c.saturation = true; };
    const PipelineConfig forward[] = {{"PqForward", lut3d_process, 0, true},
                                      {"HlgForward", HLG_lut3d_process, 0, true}};
    for (const PipelineConfig& base : forward) {
        configs.push_back(base);
        for (OUTPUT_GAMMA_SPACE gamma : {GAMMA_LINEAR, GAMMA_SRGB, GAMMA_BT709, GAMMA_CUSTOM}) {
            add(base, [gamma](PipelineConfig& c) { c.outputGamma = gamma; });
        }
        add(base, [](PipelineConfig& c) { c.tableCurve = true; });
        add(base, [](PipelineConfig& c) { c.brightness = true; });
        add(base, [](PipelineConfig& c) { c.saturation = true; });
        for (uint8_t gamut : {0, 1}) add(base, [gamut](PipelineConfig& c) { c.gamutMode = gamut; });
        add(base, [](PipelineConfig& c) { c.pcc = kNoPcc; });
        add(base, [](PipelineConfig& c) { c.pcc = kMatrixPcc; });
        add(base, [](PipelineConfig& c) { c.pcc = kQuadraticPcc; });
        add(base, [](PipelineConfig& c) { c.outBitDepth = 10; });
        for (OUTPUT_GAMMA_SPACE gamma :
             {GAMMA_LINEAR, GAMMA_2P2, GAMMA_SRGB, GAMMA_BT709, GAMMA_CUSTOM}) {
            add(base, [&](PipelineConfig& c) {
                tableBrightSat(c);
                c.outputGamma = gamma;
            });
        }
        // The per-layer row of a version 2.0 tuning.
        add(base, [&](PipelineConfig& c) {
            tableBrightSat(c);
            c.pcc = kNoPcc;
            c.outBitDepth = 10;
        });
    }
    for (PipelineConfig base : {PipelineConfig{"SdrToPq", inverse_lut3d_process, 0, false},
                                PipelineConfig{"SdrToHlg", HLG_inverse_lut3d_process, 0, false},
                                PipelineConfig{"HlgToPq", inverse_lut3d_process, 1, false}}) {
        base.gamutMode = 0;
        base.pcc = kNoPcc;
        base.outBitDepth = 10;
        configs.push_back(base);
        add(base, [](PipelineConfig& c) { c.outBitDepth = 12; });
        if (base.inverseBt2020Luma != 0) continue;  // no tone curve on this path
        add(base, [](PipelineConfig& c) { c.tableCurve = true; });
        add(base, [](PipelineConfig& c) { c.brightness = true; });
        add(base, [](PipelineConfig& c) { c.saturation = true; });
        add(base, tableBrightSat);
    }
    return configs;
}

// Registers BM_<family>/<config> for every configuration, run by `run`.
inline void registerForEveryConfig(const std::string& family,
                                   void (*run)(benchmark::State&, const PipelineConfig&)) {
    // Long enough for a mean over a few hundred calls a repetition, short
    // enough that every family runs in well under a minute.
    constexpr double kMinSeconds = 0.1;
    for (const PipelineConfig& c : pipelineConfigs()) {
        benchmark::RegisterBenchmark(("BM_" + family + "/" + c.name()).c_str(),
                                     [c, run](benchmark::State& s) { run(s, c); })
            ->MinTime(kMinSeconds)
            ->Unit(benchmark::kMicrosecond);
    }
}
