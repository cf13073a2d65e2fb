// Where a pipeline configuration spends its time, stage by stage. The
// stages run one after the other as the pipeline runs them; each starts from
// a copy of its input (restored in a piece of its own) and is timed in turn
// with its maths replayed through the C library (<stage>_floor_us) and
// through the library's own plane forms (<stage>_maths_us, less
// <stage>_copies_us, the copies that replay makes); counters give CPU
// microseconds a call. Before timing, the stages chained are checked to give
// the pipeline's own output bit for bit.
//
// Names: BM_PipelineStages/<config> for every configuration of
// pipelineConfigs().
#include <benchmark/benchmark.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench_planes.h"
#include "floor_timing.h"
#include "maths_trace.h"
#include "pipeline_setup.h"
#include "tm_stages.h"
#include "transfer_functions.h"

namespace {

constexpr unsigned int kCount = BenchPlanes::kCount;
// The inverse pipelines always sample the uniform grid, set 1.
constexpr uint32_t kUniformGridSet = 1;

struct Stage {
    std::string name;
    std::function<void(TMParams*, float**)> run;
};

// Grid fill from `gridSet` with each axis code decoded once through a decode
// table, as the pipelines do it.
Stage decodeStage(uint32_t gridSet, const double* table) {
    return {"decode", [gridSet, table](TMParams* p, float** planes) {
                const uint32_t(*grid)[kGridPointsPerAxis] = p->grid_points[gridSet == 0 ? 0 : 1];
                float decoded[3][kGridPointsPerAxis];
                for (int axis = 0; axis < 3; ++axis) {
                    for (int i = 0; i < kGridPointsPerAxis; ++i) {
                        decoded[axis][i] = static_cast<float>(table[grid[axis][i]]);
                    }
                }
                hdrtm::fillPlanesFromAxes(decoded, planes, kGridPointsPerAxis);
            }};
}

// The stages of a configuration's pipeline, in its order.
std::vector<Stage> stagesOf(const PipelineConfig& c, const TMParams& params) {
    const Stage scale = {"scale", [](TMParams* p, float** planes) {
                             hdrtm::scaleToOutputCodes(planes, kCount, p->out_bit_depth);
                         }};
    const Stage ootf = {"ootf", [](TMParams* p, float** planes) {
                            OOTF_forward_tf(planes, kCount, 0, 0, p->nominal_peak_luminance);
                        }};
    std::vector<Stage> stages;
    if (c.panelStages) {
        stages.push_back(c.pipeline == lut3d_process
                             ? decodeStage(params.grid_set, hdrtm::kPqDecodeTable)
                             : decodeStage(params.grid_set, hdrtm::kHlgDecodeTable));
        if (c.pipeline == HLG_lut3d_process) stages.push_back(ootf);
        stages.push_back({"core", tone_mapping_core});
        if ((params.gamut_mode & 3) == 1) {
            stages.push_back({"gamut", [](TMParams* p, float** planes) {
                                  hdrtm::applyFixedGamutMatrix(planes, kCount, p->panel_color_mode);
                              }});
        } else if ((params.gamut_mode & 3) == 2) {
            stages.push_back({"gamut", rgb2rgb_gmap});
        }
        if (params.pcc_enable != 0) stages.push_back({"pcc", panel_mapping_PCC});
        stages.push_back({"encode", [](TMParams* p, float** planes) {
                              hdrtm::encodeOutputTransfer(planes, kCount, p->output_gamma_space,
                                                          p->output_gamma_val);
                          }});
    } else if (params.inverse_bt2020_luma != 0) {
        stages.push_back(decodeStage(kUniformGridSet, hdrtm::kHlgDecodeTable));
        stages.push_back(ootf);
        stages.push_back({"encode", [](TMParams*, float** planes) {
                              st2084_forward_tf(planes, kCount, 1, 1);
                          }});
    } else {
        stages.push_back(decodeStage(kUniformGridSet, hdrtm::kSrgbDecodeTable));
        stages.push_back({"core", inverse_tone_mapping_core});
        if (c.pipeline == inverse_lut3d_process) {
            stages.push_back({"encode", [](TMParams*, float** planes) {
                                  st2084_forward_tf(planes, kCount, 1, 1);
                              }});
        } else {
            stages.push_back({"ootf", [](TMParams* p, float** planes) {
                                  OOTF_inverse_tf(planes, kCount, 0, 0, p->nominal_peak_luminance);
                              }});
            stages.push_back({"encode", [](TMParams*, float** planes) {
                                  hdrtm::encodeHlgOetf(planes, kCount);
                              }});
        }
    }
    stages.push_back(scale);
    return stages;
}

bool samePlanes(const BenchPlanes& a, const BenchPlanes& b) {
    return std::memcmp(a.r.data(), b.r.data(), kCount * 4) == 0 &&
           std::memcmp(a.g.data(), b.g.data(), kCount * 4) == 0 &&
           std::memcmp(a.b.data(), b.b.data(), kCount * 4) == 0;
}

void runStages(benchmark::State& state, const PipelineConfig& c) {
    PipelineSetup setup(c);
    TMParams* params = &setup.params;
    const std::vector<Stage> stages = stagesOf(c, *params);
    // Each stage's input and maths calls, from one run of the chain.
    std::vector<BenchPlanes> inputs(stages.size());
    std::vector<mathstrace::Trace> traces;
    BenchPlanes work;
    for (size_t i = 0; i < stages.size(); ++i) {
        inputs[i].copyFrom(work);
        traces.push_back(mathstrace::record([&] { stages[i].run(params, work.planes); }));
    }
    BenchPlanes whole;
    c.pipeline(params, whole.planes);
    if (!samePlanes(work, whole)) {
        state.SkipWithError("the stages chained differ from the pipeline");
        return;
    }
    std::vector<float> sink, scratch;
    std::vector<TimedPiece> pieces;
    for (size_t i = 0; i < stages.size(); ++i) {
        pieces.push_back({"restore_" + stages[i].name, [&, i] { work.copyFrom(inputs[i]); }});
        pieces.push_back({stages[i].name, [&, i] { stages[i].run(params, work.planes); }});
        pieces.push_back({stages[i].name + "_floor", [&, i] {
                              mathstrace::replayThroughCLibrary(traces[i], sink);
                          }});
        pieces.push_back({stages[i].name + "_maths", [&, i] {
                              mathstrace::replayThroughOwnMaths(traces[i], scratch);
                          }});
        pieces.push_back({stages[i].name + "_copies", [&, i] {
                              mathstrace::replayCopiesOnly(traces[i], scratch);
                          }});
    }
    timeInTurn(state, pieces);
}

const bool kRegistered = (registerForEveryConfig("PipelineStages", runStages), true);

}  // namespace
