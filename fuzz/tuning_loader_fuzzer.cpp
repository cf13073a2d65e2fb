// Fuzzes the tuning-file loader: the input is the whole file. The file goes
// through HDR_load_tone_mapping_xml as the entry would hand it over (a record
// whose pcc points at a coefficient block), and a loaded record is then run
// through CalCurveLUT, the first stage to read the loaded control points.
#include <cstring>

#include "fuzz_harness.h"
#include "hdr_tm.h"
#include "tm_stages.h"

namespace hdrtm_fuzz {
namespace {

constexpr int kLoadFailed = -1;
constexpr int kMinPoints = 17;        // a loaded record always holds 17 control points
constexpr float kMaxInputCode = 1023.0f;

}  // namespace

int fuzzTuningLoader(const uint8_t* data, size_t size) {
    static const ScratchFile tuning("tuning_loader_fuzz");
    if (!tuning.write(std::string_view(reinterpret_cast<const char*>(data), size))) return 0;

    PccCoefficients block;
    std::memset(&block, 0xA5, sizeof(block));
    TMParams params{};
    params.pcc = &block;
    const TMParams before = params;

    const int result = HDR_load_tone_mapping_xml(tuning.path(), &params);
    HDRTM_FUZZ_CHECK(result == 0 || result == kLoadFailed);
    if (result == kLoadFailed) {
        // A refused file leaves the record as it was.
        HDRTM_FUZZ_CHECK(std::memcmp(&params, &before, sizeof(params)) == 0);
        return 0;
    }
    HDRTM_FUZZ_CHECK(params.version == 0 || params.version == 1);
    HDRTM_FUZZ_CHECK(params.pcc == &block || params.pcc == nullptr);
    HDRTM_FUZZ_CHECK(params.curve.num_points >= kMinPoints);
    for (int i = 0; i < kMinPoints; ++i) {
        HDRTM_FUZZ_CHECK(params.curve.points_x[i] >= 0.0f &&
                         params.curve.points_x[i] <= kMaxInputCode);
    }
    CalCurveLUT(&params);
    return 0;
}

}  // namespace hdrtm_fuzz

HDRTM_FUZZ_TARGET(hdrtm_fuzz::fuzzTuningLoader)
