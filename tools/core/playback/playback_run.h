// Runs the library's entry HDR_playback_strategies the way a display service
// does, against the colour-manager simulator, and collects what it produced:
// each 10-bit layer LUT, the pushed 12-bit hardware LUT, the checksums the
// library logged and the time per call.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "playback/lut_data.h"
#include "tm_params.h"

namespace hdrtm::tool {

// H.273 colour primaries beside BT.2020 (kPrimariesBt2020).
constexpr uint32_t kPrimariesBt709 = 1;
constexpr uint32_t kPrimariesP3 = 12;  // SMPTE EG 432-1 (Display P3, D65)

struct LayerConfig {
    uint32_t transfer = 16;      // H.273 transfer characteristics
    uint32_t primaries = 9;      // H.273 colour primaries
    uint32_t contentClass = 0;   // 2 marks SDR content
    uint32_t masterNits = 0;     // mastering peak, cd/m2 (0: none)
    bool cllPresent = false;
    uint32_t maxCll = 0;         // cd/m2

    std::string describe() const;  // "PQ 1000 nits MaxCLL 600"
    std::string slug() const;      // "pq1000-cll600"
    // The content's peak as its metadata gives it (mastering peak, else
    // MaxCLL); 0 when it gives none.
    double contentPeakNits() const;

    // The layer as parseLayerConfig reads it back, every key spelled out:
    // "pq,primaries=bt2020,class=0,master=1000,cll=600".
    std::string text() const;
};

// Parses "pq", "hlg", "sdr" or a transfer code, then optional ",key=value"
// pairs: primaries=bt2020|bt709|p3|CODE, class=N, master=NITS, cll=NITS.
// Returns false with `error` set for anything it cannot read.
bool parseLayerConfig(const std::string& text, LayerConfig* out, std::string* error);
// The primaries= value for an H.273 primaries code: bt709, bt2020, p3 or the
// code.
std::string primariesName(uint32_t code);

struct Configuration {
    std::vector<LayerConfig> layers;  // 1 to 4
    uint32_t blendSpace = 0;        // 0 PQ, 1 per layer, 2 HLG
    bool hardware = false;          // colour-manager path (PCC read, 12-bit push)

    std::string describe() const;
    std::string slug() const;
};

// The demo's layer configurations, which diff compares too: PQ at 1000 and
// 4000 nits with and without MaxCLL, HLG and SDR, across the blend spaces
// with and without the hardware path, and two mixed pairs.
std::vector<Configuration> demoConfigurations();

const char* blendSpaceName(uint32_t blend);
bool parseBlendSpace(const std::string& text, uint32_t* out);

// The label of the LUT a hardware row pushes to the panel.
constexpr const char* kHardwareLutLabel = "hardware";

// One LUT the entry produced.
struct ProducedLut {
    std::string label;            // "layer 0" or kHardwareLutLabel
    int layer = 0;                // the layer whose row produced it
    std::string pipeline;         // the stage function that built it, "lut3d_process"
    Lut3d lut;
    bool hasChecksum = false;
    int32_t checksum = 0;         // as the library logged it (running sum, signed)
    std::vector<uint32_t> hardwareGrid;  // 12-bit grid coordinates the push carried
    uint32_t payloadUniform = 1;  // the push's uniform flag
};

// What would give a LUT to a layer whose decision row gives none, for the
// caller to say in its own words (the CLI names its options).
enum class Remedy {
    kNone,                  // the row gives a LUT
    kPerLayerBlend,         // PQ after the hardware LUT: only the first PQ layer gets it
    kHardwareOrPerLayer,    // PQ blending without the hardware path
    kPqHardwareOrPerLayer,  // PQ under HLG blending: PQ blending on the hardware path, or per layer
    kHlgFirstOrPerLayer,    // HLG blending after the hardware LUT: one hardware LUT per call
    kHardwareOrLayerLut,    // HLG blending without the hardware path: that path, or a layer LUT
    kKnownBlendSpace,       // an unknown blend space
    kSdrBlendSpace,         // SDR needs a blending space (PQ or HLG) to map into
    kKnownTransfer,         // the entry builds LUTs for PQ, HLG and SDR (or SDR content) only
};

struct RunResult {
    int status = 0;                       // the entry's return value
    std::vector<std::string> rows;        // decision row per layer
    std::vector<Remedy> remedies;         // per layer
    std::vector<ProducedLut> luts;
    double msPerCall = 0.0;               // median over the timed calls
    std::string standardOutput;           // what the entry printed
    std::vector<std::string> problems;    // disagreements between expected and produced
};

// Runs one configuration: `1 + repeat` calls of the entry, the first one
// captured, the rest timed as well. `versionTwo` says whether the tuning in
// force selects the non-uniform hardware grid.
RunResult runConfiguration(const Configuration& config, int repeat, bool versionTwo);

// Points the library at a tuning file through the property the display
// service sets. Empty `path` clears it (built-in defaults). Returns false with
// `error` set when the path does not fit the property.
bool setTuningProperty(const std::string& path, std::string* error);

// Runs each configuration once on the tuning file at `path` ("" for the
// built-in defaults), which the loader reads as `params`, then clears the
// property again, so that the next tuning loads anew. The exponent of a
// custom output gamma, which the log does not name, comes from `params`.
// `between`, when given, is called before each configuration and may throw
// to stop the run (an interruption).
std::vector<RunResult> runOnTuning(const std::string& path, const TMParams& params,
                                   const std::vector<Configuration>& configs,
                                   const std::function<void()>& between = {});

// Sends the library's log (tag LIBHDR_TM) to the tool instead of stderr.
void captureLibraryLog();
// Log lines the library wrote since the last runConfiguration began, to echo
// and to check what the library did.
const std::vector<std::string>& lastLibraryLog();
// Whether that log says the library's loader failed on its tuning file.
bool libraryLoadFailed();

// Takes the upper-range knobs the entry used in its last captured call (the
// clipping luminance, the linear-scale start and ratio) from its log into
// `params` (every call logs them).
void upperRangeFromLog(TMParams* params);

}  // namespace hdrtm::tool
