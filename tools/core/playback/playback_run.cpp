#include "playback/playback_run.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <krel/color_manager_sim.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>
#include <stdexcept>

#include "hdr_playback.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace {

constexpr const char* kTuningProperty = "ro.vendor.display.hdr.config";
constexpr const char* kLibraryTag = "LIBHDR_TM";
constexpr uint32_t kMasteringUnitsPerNit = 10000;  // mastering luminance is in 0.0001 cd/m2
constexpr int kHardwareLutBits = 12;
constexpr int kLayerLutBits = 10;
constexpr uint32_t kLayerCodeMask = 0x3FF;       // one 10-bit channel of a packed entry
constexpr size_t kRecordUniformOffset = 8;       // LUT data record: uniform flag
constexpr size_t kRecordEntriesOffset = 16;      // LUT data record: first entry
constexpr size_t kRecordEntryWords = 6;          // in_r, in_g, in_b, out_r, out_g, out_b
constexpr uint32_t kMaxH273Code = 255;           // H.273 codes are 8-bit
constexpr uint32_t kMaxNits = 10000;             // PQ's range: mastering peak and MaxCLL
constexpr uint32_t kDemoMasterLow = 1000;        // nits
constexpr uint32_t kDemoMasterHigh = 4000;       // nits
constexpr uint32_t kDemoCllLow = 600;            // nits
constexpr uint32_t kDemoCllHigh = 1500;          // nits

std::vector<std::string> gLog;

void captureLogger(const struct __android_logger_data* data, const char* message) {
    if (data->tag != nullptr && std::strcmp(data->tag, kLibraryTag) != 0) return;
    gLog.emplace_back(message ? message : "");
}

// What a decision row of the entry produces.
enum class RowKind { kNone, kLayerLut, kHardwareLut, kRefused };

struct ExpectedRow {
    RowKind kind = RowKind::kNone;
    std::string name;
    Signal input = Signal::kPq;
    Signal output = Signal::kPanel;
    const char* checksumPrefix = nullptr;  // start of the checksum line this row logs
    Remedy remedy = Remedy::kNone;  // for a row without a LUT: what would give one
    const char* pipeline = "";      // the stage function that builds its LUT
};

ExpectedRow noLut(std::string name, Remedy remedy) {
    ExpectedRow row;
    row.name = std::move(name);
    row.remedy = remedy;
    return row;
}

ExpectedRow refused(std::string name, Remedy remedy) {
    ExpectedRow row = noLut(std::move(name), remedy);
    row.kind = RowKind::kRefused;
    return row;
}

// The entry's decision table, one layer at a time; `blendTaken` and
// `pccEnabled` carry over between layers as they do in the library.
ExpectedRow expectRow(const LayerConfig& layer, uint32_t blend, bool& blendTaken, bool& pccEnabled) {
    const uint32_t t = layer.transfer;
    if (t == kTransferPq) {
        if (blendTaken) {
            return noLut("no LUT: PQ after the hardware LUT", Remedy::kPerLayerBlend);
        }
        if (blend == kBlendSpacePerLayer) {
            pccEnabled = false;
            return {RowKind::kLayerLut, "layer LUT: lut3d_process",
                    Signal::kPq, Signal::kPanel, "Line = 1852 Forward Tonemap checksum", Remedy::kNone, "lut3d_process"};
        }
        if (blend == kBlendSpacePq && !pccEnabled) {
            return noLut("no LUT: PQ blending without the hardware path", Remedy::kHardwareOrPerLayer);
        }
        if (blend == kBlendSpacePq) {
            blendTaken = true;
            return {RowKind::kHardwareLut, "hardware LUT: lut3d_process, 12-bit",
                    Signal::kPq, Signal::kPanel, "Line: 1785 Forward checksum is", Remedy::kNone, "lut3d_process"};
        }
        return refused("refused: PQ under HLG blending", Remedy::kPqHardwareOrPerLayer);
    }
    if (t == kTransferHlg) {
        if (blend == kBlendSpacePq) {
            return {RowKind::kLayerLut, "layer LUT: inverse_lut3d_process, HLG to PQ",
                    Signal::kHlg, Signal::kPq, "Line: 1988 Inverse Checksum", Remedy::kNone, "inverse_lut3d_process"};
        }
        if (blend == kBlendSpacePerLayer) {
            pccEnabled = false;
            return {RowKind::kLayerLut, "layer LUT: HLG_lut3d_process",
                    Signal::kHlg, Signal::kPanel, "Line: 2017 Inverse Checksum", Remedy::kNone, "HLG_lut3d_process"};
        }
        if (blend == kBlendSpaceHlg && blendTaken) {
            return refused("refused: HLG blending after the hardware LUT", Remedy::kHlgFirstOrPerLayer);
        }
        if (blend == kBlendSpaceHlg && !pccEnabled) {
            return noLut("no LUT: HLG blending without the hardware path", Remedy::kHardwareOrLayerLut);
        }
        if (blend == kBlendSpaceHlg) {
            blendTaken = true;
            return {RowKind::kHardwareLut,
                    "hardware LUT: HLG_lut3d_process, 12-bit", Signal::kHlg,
                    Signal::kPanel, "Line: 1922 Forward checksum is", Remedy::kNone, "HLG_lut3d_process"};
        }
        return noLut("no LUT: HLG under an unknown blend space", Remedy::kKnownBlendSpace);
    }
    if (t == kTransferBt709 || layer.contentClass == kContentClassSdr) {
        if (blend == kBlendSpacePq) {
            return {RowKind::kLayerLut, "layer LUT: inverse_lut3d_process, SDR to PQ",
                    Signal::kSdr, Signal::kPq, "Inverse checksum", Remedy::kNone, "inverse_lut3d_process"};
        }
        if (blend == kBlendSpaceHlg) {
            return {RowKind::kLayerLut, "layer LUT: HLG_inverse_lut3d_process, SDR to HLG",
                    Signal::kSdr, Signal::kHlg, "Inverse checksum", Remedy::kNone, "HLG_inverse_lut3d_process"};
        }
        return noLut("no LUT: SDR without a blending space to map into", Remedy::kSdrBlendSpace);
    }
    return noLut("no LUT: transfer " + std::to_string(t), Remedy::kKnownTransfer);
}

// Reads "<prefix> = N" lines in order.
std::vector<std::pair<std::string, int32_t>> checksumLines() {
    std::vector<std::pair<std::string, int32_t>> out;
    for (const std::string& line : gLog) {
        if (line.find("hecksum") == std::string::npos) continue;
        const size_t eq = line.rfind('=');
        if (eq == std::string::npos) continue;
        out.emplace_back(line, static_cast<int32_t>(std::strtol(line.c_str() + eq + 1, nullptr, 10)));
    }
    return out;
}

PanelInfo panelFromLog() {
    PanelInfo panel;
    for (const std::string& line : gLog) {
        int constant = 0;
        int peak = 0;
        float black = 0.0f;
        float clip = 0.0f;
        unsigned mode = 0;
        if (std::sscanf(line.c_str(), "line = %d luma = %d nits blackLevel = %f nits, clipping luma = %f",
                        &constant, &peak, &black, &clip) == 4) {
            panel.peakNits = static_cast<float>(peak);
            panel.blackNits = black;
        } else if (std::sscanf(line.c_str(), "output color space = %u", &mode) == 1) {
            panel.colorMode = mode;
        } else if (std::sscanf(line.c_str(), "output gamma space = %u", &mode) == 1) {
            panel.gammaSpace = mode;
        }
    }
    // The log names a custom output gamma but not its exponent; a custom
    // gamma comes only from a tuning file, whose record the library exports.
    if (panel.gammaSpace == GAMMA_CUSTOM && g_params_ready != 0) {
        panel.gammaValue = g_params.output_gamma_val;
    }
    return panel;
}

// Runs the entry with stdout sent to a temporary file, so that what it prints
// is reported rather than mixed into the tool's own output.
int callEntry(HdrPlaybackInfo* info, HdrLutSet* luts, std::string* printed) {
    std::fflush(stdout);
    FILE* sink = std::tmpfile();
    const int saved = sink ? dup(STDOUT_FILENO) : -1;
    if (saved >= 0) dup2(fileno(sink), STDOUT_FILENO);
    const int status = HDR_playback_strategies(info, luts);
    std::fflush(stdout);
    if (saved >= 0) {
        dup2(saved, STDOUT_FILENO);
        close(saved);
        std::rewind(sink);
        char buffer[256];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof(buffer), sink)) > 0) printed->append(buffer, n);
    }
    if (sink) std::fclose(sink);
    return status;
}

std::string nits(uint32_t v) { return std::to_string(v); }

}  // namespace

std::string LayerConfig::describe() const {
    std::string s;
    uint32_t usualPrimaries = kPrimariesBt2020;
    if (transfer == kTransferPq) {
        s = "PQ";
    } else if (transfer == kTransferHlg) {
        s = "HLG";
    } else if (transfer == kTransferBt709) {
        s = "SDR";
        usualPrimaries = kPrimariesBt709;
    } else {
        s = "transfer " + std::to_string(transfer);
    }
    if (primaries != usualPrimaries) s += " primaries " + std::to_string(primaries);
    if (contentClass != (transfer == kTransferBt709 ? kContentClassSdr : 0)) {
        s += " class " + std::to_string(contentClass);
    }
    if (masterNits != 0) s += " " + nits(masterNits) + " nits";
    if (cllPresent) s += " MaxCLL " + nits(maxCll);
    return s;
}

std::string LayerConfig::text() const {
    std::string s = transfer == kTransferPq    ? "pq"
                    : transfer == kTransferHlg ? "hlg"
                                               : std::to_string(transfer);
    s += ",primaries=" + primariesName(primaries) + ",class=" + std::to_string(contentClass) +
         ",master=" + nits(masterNits);
    if (cllPresent) s += ",cll=" + nits(maxCll);
    return s;
}

std::string LayerConfig::slug() const {
    std::string s = transfer == kTransferPq    ? "pq"
                    : transfer == kTransferHlg ? "hlg"
                    : transfer == kTransferBt709 ? "sdr"
                                               : "t" + std::to_string(transfer);
    if (masterNits != 0) s += nits(masterNits);
    if (cllPresent) s += "-cll" + nits(maxCll);
    return s;
}

double LayerConfig::contentPeakNits() const {
    if (masterNits != 0) return masterNits;
    return cllPresent ? maxCll : 0.0;
}

bool parseLayerConfig(const std::string& text, LayerConfig* out, std::string* error) {
    std::istringstream in(text);
    std::string token;
    LayerConfig parsed;
    bool first = true;
    std::set<std::string> seen;
    const auto fail = [&](const std::string& what) {
        *error = "\"" + text + "\": " + what;
        return false;
    };
    // A whole number within [low, high]; `what` names the value and its range.
    const auto number = [&](const std::string& key, const std::string& value, uint32_t low,
                            uint32_t high, const std::string& range, uint32_t* v) {
        char* end = nullptr;
        errno = 0;
        const unsigned long n = std::strtoul(value.c_str(), &end, 10);
        if (value.empty() || *end != '\0' || value[0] == '-' || value[0] == '+' || errno != 0 ||
            n < low || n > high) {
            return fail(key + " must be " + range + ", not \"" + value + "\"");
        }
        *v = static_cast<uint32_t>(n);
        return true;
    };
    const std::string codeRange = "0.." + std::to_string(kMaxH273Code);
    const std::string nitsRange = "a whole number of nits, 0.." + std::to_string(kMaxNits);
    while (std::getline(in, token, ',')) {
        if (first) {
            first = false;
            if (token == "pq") {
                parsed.transfer = kTransferPq;
            } else if (token == "hlg") {
                parsed.transfer = kTransferHlg;
            } else if (token == "sdr") {
                parsed.transfer = kTransferBt709;
                parsed.primaries = kPrimariesBt709;
                parsed.contentClass = kContentClassSdr;
            } else if (!number("the transfer", token, 0, kMaxH273Code,
                               "pq, hlg, sdr or an H.273 transfer code " + codeRange, &parsed.transfer)) {
                return false;
            }
            continue;
        }
        const size_t eq = token.find('=');
        const std::string key = token.substr(0, eq);
        const std::string value = eq == std::string::npos ? "" : token.substr(eq + 1);
        if (!seen.insert(key).second) return fail(key + " is given twice");
        if (key == "primaries") {
            if (value == "bt2020") {
                parsed.primaries = kPrimariesBt2020;
            } else if (value == "bt709") {
                parsed.primaries = kPrimariesBt709;
            } else if (value == "p3") {
                parsed.primaries = kPrimariesP3;
            } else if (!number(key, value, 0, kMaxH273Code, "bt2020, bt709, p3 or an H.273 code " + codeRange,
                               &parsed.primaries)) {
                return false;
            }
        } else if (key == "class") {
            if (!number(key, value, 0, kContentClassSdr,
                        "0.." + std::to_string(kContentClassSdr) + " (2 marks SDR content)",
                        &parsed.contentClass)) {
                return false;
            }
        } else if (key == "master") {
            if (!number(key, value, 0, kMaxNits, nitsRange, &parsed.masterNits)) return false;
        } else if (key == "cll") {
            if (!number(key, value, 0, kMaxNits, nitsRange, &parsed.maxCll)) return false;
            parsed.cllPresent = true;
        } else {
            return fail("unknown key \"" + key + "\" (the keys are primaries=, class=, master=, cll=)");
        }
    }
    if (first) {
        *error = "empty layer: give pq, hlg, sdr or an H.273 transfer code";
        return false;
    }
    *out = parsed;
    return true;
}

std::string primariesName(uint32_t code) {
    if (code == kPrimariesBt709) return "bt709";
    if (code == kPrimariesBt2020) return "bt2020";
    if (code == kPrimariesP3) return "p3";
    return std::to_string(code);
}

const char* blendSpaceName(uint32_t blend) {
    switch (blend) {
        case kBlendSpacePq: return "PQ blend";
        case kBlendSpacePerLayer: return "per layer";
        case kBlendSpaceHlg: return "HLG blend";
        default: return "unknown blend space";
    }
}

bool parseBlendSpace(const std::string& text, uint32_t* out) {
    if (text == "pq" || text == "0") {
        *out = kBlendSpacePq;
    } else if (text == "layer" || text == "per-layer" || text == "1") {
        *out = kBlendSpacePerLayer;
    } else if (text == "hlg" || text == "2") {
        *out = kBlendSpaceHlg;
    } else {
        return false;
    }
    return true;
}

std::string Configuration::describe() const {
    std::string s;
    for (const LayerConfig& l : layers) s += (s.empty() ? "" : " + ") + l.describe();
    return s + "; " + blendSpaceName(blendSpace) + "; hw " + (hardware ? "on" : "off");
}

std::string Configuration::slug() const {
    std::string s;
    for (const LayerConfig& l : layers) s += (s.empty() ? "" : "+") + l.slug();
    return s + "_b" + std::to_string(blendSpace) + (hardware ? "-hw" : "");
}

std::vector<Configuration> demoConfigurations() {
    const auto pq = [](uint32_t master, uint32_t cll) {
        LayerConfig l;
        l.transfer = kTransferPq;
        l.primaries = kPrimariesBt2020;
        l.masterNits = master;
        l.cllPresent = cll != 0;
        l.maxCll = cll;
        return l;
    };
    LayerConfig hlg;
    hlg.transfer = kTransferHlg;
    hlg.primaries = kPrimariesBt2020;
    LayerConfig sdr;
    sdr.transfer = kTransferBt709;
    sdr.primaries = kPrimariesBt709;
    sdr.contentClass = kContentClassSdr;
    const std::vector<LayerConfig> singles = {pq(kDemoMasterLow, 0), pq(kDemoMasterLow, kDemoCllLow),
                                            pq(kDemoMasterHigh, 0), pq(kDemoMasterHigh, kDemoCllHigh),
                                            hlg, sdr};
    std::vector<Configuration> configs;
    for (const LayerConfig& layer : singles) {
        for (uint32_t blend : {kBlendSpacePq, kBlendSpacePerLayer, kBlendSpaceHlg}) {
            for (bool hw : {false, true}) configs.push_back({{layer}, blend, hw});
        }
    }
    configs.push_back({{pq(kDemoMasterHigh, kDemoCllHigh), sdr}, kBlendSpacePq, true});
    configs.push_back({{hlg, sdr}, kBlendSpaceHlg, true});
    return configs;
}

RunResult runConfiguration(const Configuration& config, int repeat, bool versionTwo) {
    RunResult result;
    // The entry reads at least two layer records whatever the count.
    std::vector<HdrLayerColorInfo> layers(kMaxLayers);
    std::memset(layers.data(), 0, sizeof(HdrLayerColorInfo) * layers.size());
    for (size_t i = 0; i < config.layers.size(); ++i) {
        const LayerConfig& s = config.layers[i];
        layers[i].transfer = s.transfer;
        layers[i].primaries = s.primaries;
        layers[i].content_class = s.contentClass;
        layers[i].master_max_luminance = s.masterNits * kMasteringUnitsPerNit;
        layers[i].cll_present = s.cllPresent ? 1 : 0;
        layers[i].max_cll = s.maxCll;
    }
    HdrPlaybackInfo info;
    std::memset(&info, 0, sizeof(info));
    info.blend_space = config.blendSpace;
    info.hw_enable = config.hardware ? 1 : 0;
    info.num_layers = static_cast<uint8_t>(config.layers.size());
    info.layers = layers.data();

    std::vector<std::vector<uint32_t>> buffers(kMaxLayers, std::vector<uint32_t>(kLutEntries, 0));
    HdrLayerLut descriptors[kMaxLayers];
    HdrLayerLut blend;
    std::memset(descriptors, 0, sizeof(descriptors));
    std::memset(&blend, 0, sizeof(blend));
    uint8_t applied[kMaxLayers] = {};
    HdrLutSet set;
    std::memset(&set, 0, sizeof(set));
    for (int i = 0; i < kMaxLayers; ++i) {
        descriptors[i].entries = buffers[i].data();
        set.layer_luts[i] = &descriptors[i];
    }
    set.layer_lut_applied = applied;
    set.blend_lut = &blend;

    krel::sim::Reset();
    captureLibraryLog();
    gLog.clear();
    result.status = callEntry(&info, &set, &result.standardOutput);
    const std::vector<std::string> firstCallLog = gLog;
    const std::vector<krel::sim::Push> pushes = krel::sim::Pushes();

    std::vector<double> times;
    for (int k = 0; k < repeat; ++k) {
        std::string ignored;
        const auto start = std::chrono::steady_clock::now();
        callEntry(&info, &set, &ignored);
        const auto stop = std::chrono::steady_clock::now();
        times.push_back(std::chrono::duration<double, std::milli>(stop - start).count());
    }
    krel::sim::Reset();
    gLog = firstCallLog;
    if (!times.empty()) {
        std::nth_element(times.begin(), times.begin() + times.size() / 2, times.end());
        result.msPerCall = times[times.size() / 2];
    }

    // What the decision table says each layer gets, checked against what the
    // entry actually produced.
    const PanelInfo panel = panelFromLog();
    const auto checksums = checksumLines();
    size_t nextChecksum = 0;
    bool blendTaken = false;
    bool pccEnabled = config.hardware;
    for (size_t i = 0; i < config.layers.size(); ++i) {
        const ExpectedRow row = expectRow(config.layers[i], config.blendSpace, blendTaken, pccEnabled);
        result.rows.push_back(row.name);
        result.remedies.push_back(row.remedy);
        if (row.kind == RowKind::kRefused) break;
        if (row.kind == RowKind::kNone) continue;
        ProducedLut produced;
        produced.layer = static_cast<int>(i);
        produced.pipeline = row.pipeline;
        produced.lut.input = row.input;
        produced.lut.output = row.output;
        produced.lut.panel = panel;
        if (nextChecksum < checksums.size() &&
            checksums[nextChecksum].first.rfind(row.checksumPrefix, 0) == 0) {
            produced.hasChecksum = true;
            produced.checksum = checksums[nextChecksum++].second;
        } else {
            result.problems.push_back("layer " + std::to_string(i) + ": no \"" +
                                      row.checksumPrefix + "\" line in the library's log");
        }
        if (row.kind == RowKind::kLayerLut) {
            if (!applied[i] || !descriptors[i].enabled) {
                result.problems.push_back("layer " + std::to_string(i) +
                                          ": expected a layer LUT, the entry wrote none");
                continue;
            }
            produced.label = "layer " + std::to_string(i);
            produced.lut.bitDepth = kLayerLutBits;
            for (int k = 0; k < kLutEntries; ++k) {
                const uint32_t e = buffers[i][k];
                produced.lut.codes[k] = {e & kLayerCodeMask, (e >> 10) & kLayerCodeMask,
                                         (e >> 20) & kLayerCodeMask};
            }
        } else {
            if (!set.blend_lut_applied || pushes.empty()) {
                result.problems.push_back("layer " + std::to_string(i) +
                                          ": expected a hardware LUT push, none reached the panel");
                continue;
            }
            const std::vector<uint8_t>& record = pushes.back().record;
            produced.label = kHardwareLutLabel;
            produced.lut.bitDepth = kHardwareLutBits;
            std::memcpy(&produced.payloadUniform, record.data() + kRecordUniformOffset, 4);
            for (int k = 0; k < kLutEntries; ++k) {
                uint32_t words[kRecordEntryWords];
                std::memcpy(words, record.data() + kRecordEntriesOffset + k * sizeof(words),
                            sizeof(words));
                produced.lut.codes[k] = {words[3], words[4], words[5]};
                if (produced.payloadUniform == 0 && k < kLutSize) {
                    produced.hardwareGrid.push_back(words[0]);
                }
            }
            // The hardware rows sample the tuned grid: non-uniform for a
            // version 2.0 tuning.
            if (versionTwo) {
                produced.lut.grid = kNonUniformGrid;
                produced.lut.uniformGrid = false;
            }
        }
        result.luts.push_back(std::move(produced));
    }
    if (nextChecksum != checksums.size()) {
        result.problems.push_back("the library logged " + std::to_string(checksums.size()) +
                                  " checksums for " + std::to_string(nextChecksum) + " expected LUTs");
    }
    const bool refused = !result.rows.empty() && result.rows.back().rfind("refused", 0) == 0;
    if ((result.status == 0) != refused) {
        result.problems.push_back("the entry returned " + std::to_string(result.status));
    }
    return result;
}

bool setTuningProperty(const std::string& path, std::string* error) {
    std::string value = path;
    if (value.size() >= PROPERTY_VALUE_MAX) {
        std::error_code ec;
        const std::string relative = std::filesystem::relative(path, ec).string();
        if (!ec && !relative.empty() && relative.size() < value.size()) value = relative;
    }
    if (value.size() >= PROPERTY_VALUE_MAX) {
        *error = "the tuning path \"" + path + "\" is longer than the " +
                 std::to_string(PROPERTY_VALUE_MAX - 1) +
                 " characters the property holds: use a shorter path";
        return false;
    }
    if (property_set(kTuningProperty, value.c_str()) != 0) {
        *error = "cannot set the property " + std::string(kTuningProperty);
        return false;
    }
    // The library loads a tuning once per process; a new path must load anew.
    g_params_ready = 0;
    return true;
}

std::vector<RunResult> runOnTuning(const std::string& path, const TMParams& params,
                                   const std::vector<Configuration>& configs, const std::function<void()>& between) {
    std::string error;
    if (!setTuningProperty(path, &error)) throw std::runtime_error(error);
    // Cleared however the run ends, so that no later run reads this tuning.
    const struct ClearProperty {
        ~ClearProperty() {
            std::string ignored;
            setTuningProperty("", &ignored);
        }
    } clear;
    std::vector<RunResult> results;
    for (const Configuration& config : configs) {
        if (between) between();
        RunResult r = runConfiguration(config, 0, params.version == kTableCurveVersion);
        for (ProducedLut& p : r.luts) {
            if (params.output_gamma_space == GAMMA_CUSTOM) p.lut.panel.gammaValue = params.output_gamma_val;
        }
        results.push_back(std::move(r));
    }
    return results;
}

const std::vector<std::string>& lastLibraryLog() { return gLog; }

bool libraryLoadFailed() {
    constexpr const char* kLoadFailedLine = "TMParam loading fails!";  // the entry's log line
    return std::find(gLog.begin(), gLog.end(), kLoadFailedLine) != gLog.end();
}

void upperRangeFromLog(TMParams* params) {
    for (const std::string& line : gLog) {
        int constant = 0;
        int peak = 0;
        int enable = 0;
        float black = 0.0f;
        std::sscanf(line.c_str(),
                    "line = %d luma = %d nits blackLevel = %f nits, clipping luma = %f",
                    &constant, &peak, &black, &params->clipLuma);
        std::sscanf(line.c_str(), "linear scale enable = %d, scale start =%f nits, ratio =%f",
                    &enable, &params->scaleStart, &params->ratio);
    }
}

void captureLibraryLog() { __android_log_set_logger(captureLogger); }

}  // namespace hdrtm::tool
