// Per tuning file and layer set, the logged checksums and an FNV-1a 64 hash of
// every output byte (layer LUTs, descriptors and flags, the blend descriptor,
// pushed records) match tests/data/golden_luts.txt on every architecture.
// HDRTM_UPDATE_GOLDEN=1 rewrites the file from this build.
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <krel/color_manager_sim.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "entry_caller.h"
#include "fresh_process.h"
#include "golden_file.h"
#include "log_capture.h"
#include "tuning_path.h"

namespace {

// dim_x, dim_y, enabled, the reserved flag, then the applied flag.
void addDescriptor(Fnv1a64& fnv, const HdrLayerLut& lut, uint8_t applied) {
    fnv.add(&lut.dim_x, 4);
    fnv.add(&lut.enabled, 1);
    fnv.add(&lut.reserved_flag, 1);
    fnv.add(&applied, 1);
}

// Every layer content class 2, mastered at 4000 nits.
struct LayerSet { const char* name; uint32_t blendSpace; uint8_t hw; std::vector<uint32_t> transfers; };

const LayerSet kLayerSets[] = {
    {"pq-blend", 0, 1, {16, 18, 1, 4}},
    {"per-layer", 1, 1, {16, 18, 1}},
    {"hlg-blend", 2, 1, {18, 1, 6}},
    {"sdr-only", 0, 0, {1, 13}},
};

// "<ret> <checksums...> <hash>" for one call of the entry.
std::string runLayerSet(const LayerSet& set) {
    std::vector<EntryLayer> layers;
    for (uint32_t transfer : set.transfers)
        layers.push_back({transfer, kContentClassSdr, kPrimariesBt2020, 40000000});
    krel::sim::Reset();
    LogCapture log;
    EntryCaller caller(0);
    std::ostringstream out;
    out << caller.call(set.blendSpace, set.hw, layers);
    for (const std::string& line : log.texts())
        if (line.find("hecksum") != std::string::npos) out << ' ' << line.substr(line.rfind(' ') + 1);
    Fnv1a64 fnv;
    for (int i = 0; i < kMaxLayers; ++i) {
        addDescriptor(fnv, caller.descriptor(i), caller.appliedFlag(i));
        fnv.add(caller.lut(i).data(), caller.lut(i).size() * 4);
    }
    addDescriptor(fnv, caller.blend(), caller.blendAppliedFlag());
    for (const auto& push : krel::sim::Pushes()) fnv.add(push.record.data(), push.record.size());
    return out.str() + ' ' + fnv.hex();
}

// The tuning is loaded once per process: each one runs in a child process,
// which appends its lines "<tuning> <layer set> <result>" to a file.
TEST(GoldenLuts, EveryOutputByteIsUnchanged) {
    const std::string file = "/tmp/hdrtm_golden_" + std::to_string(getpid()) + ".txt";
    std::ofstream(file).close();
    for (const std::string tuning : {"defaults", "tuning_v2_p3.xml", "tuning_v1_bt709.xml", "tuning_enable_m_2.xml",
                                     "tuning_enable_m_minus3.xml"}) {
        inFreshProcess([&] {
            const std::string path = tuning == "defaults" ? "" : dataTuningPath(tuning);
            ASSERT_EQ(property_set(kTuningProperty, path.c_str()), 0);
            std::ofstream out(file, std::ios::app);
            for (const LayerSet& set : kLayerSets) out << tuning << ' ' << set.name << ' ' << runLayerSet(set) << '\n';
        });
    }
    const std::vector<std::string> computed = readLines(file);
    std::remove(file.c_str());
    expectGoldenLines("golden_luts.txt", "<tuning> <layer set> <result> <logged checksums...> <FNV-1a 64 of every output byte>",
                      computed);
}

}  // namespace
