// Soak: the entry called a hundred thousand times over every decision row,
// colour-manager fault and tuning source; a block lost on any path shows as
// heap growth. Runs once in CI (label "soak"), natively.
#include <android/log.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <krel/color_manager_sim.h>
#include <malloc.h>

#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include "entry_caller.h"
#include "hdr_tm.h"
#include "tuning_path.h"

namespace {

constexpr long kDefaultCalls = 100000;
// Growth allowed after the warm-up; leaking the smallest per-call block
// (272 bytes) on one case would add over 100 KiB.
constexpr size_t kHeapSlackBytes = 16 * 1024;

struct Case { EntryCall call; int result; };  // result: what the entry returns

const EntryLayer kPq{kTransferPq, 0, kPrimariesBt2020, 40000000};
const EntryLayer kHlg{kTransferHlg};
const EntryLayer kSdr{kTransferBt709, 0, 1};
const EntryLayer kSdrClass{3, kContentClassSdr, 1};
const EntryLayer kOther{5, 0, 1};

// Every row of the decision table, including both refusals.
const std::vector<Case> kCases = {
    {{1, 0, {kPq}}, 1},                      // PQ per layer
    {{0, 0, {kPq}}, 1},                      // PQ under PQ blending without PCC: cleared
    {{0, 1, {kPq, kPq}}, 1},                 // PQ hardware LUT, then a PQ layer after it
    {{2, 1, {kPq}}, 0},                      // refused: PQ under HLG blending
    {{3, 0, {kPq}}, 0},                      // refused: PQ under an unknown blend space
    {{0, 0, {kHlg}}, 1},                     // HLG under PQ blending: inverse pipeline
    {{1, 0, {kHlg}}, 1},                     // HLG per layer
    {{2, 0, {kHlg}}, 1},                     // HLG under HLG blending without PCC: cleared
    {{2, 1, {kHlg}}, 1},                     // HLG hardware LUT
    {{2, 1, {kHlg, kHlg}}, 0},               // refused: HLG after the blend LUT is taken
    {{3, 1, {kHlg}}, 1},                     // HLG under an unknown blend space: nothing
    {{0, 0, {kSdr, kSdrClass}}, 1},          // SDR inverse into PQ
    {{2, 0, {kSdrClass, kSdr}}, 1},          // SDR inverse into HLG
    {{1, 0, {kSdr, kSdrClass}}, 1},          // SDR per layer: cleared
    {{0, 1, {kOther, kPq, kHlg, kSdr}}, 1},  // four layers sharing one working record
    {{0, 1, {}}, 1},                         // no layers
};

enum Fault { kNoFault, kAcquireFails, kPccReadFails, kPushFails, kFaultCount };

size_t heapInUse() { return mallinfo2().uordblks; }

TEST(Soak, HeapStaysFlatOverEveryRowFaultAndTuning) {
    const std::string tuning = dataTuningPath("tuning_v2_p3.xml");
    // No property, the tuning file, a file that is not there.
    const char* const sources[] = {"", tuning.c_str(), "/nonexistent/hdr_tuning.xml"};
    const long tuningCount = std::size(sources);
    const char* callsEnv = std::getenv("HDRTM_SOAK_CALLS");  // fewer for a quick run
    const long calls = callsEnv != nullptr ? std::atol(callsEnv) : kDefaultCalls;
    const long cycle = static_cast<long>(kCases.size()) * kFaultCount * tuningCount;
    ASSERT_GE(calls, 2 * cycle);

    // Log lines and the refusal's text on standard output go nowhere meanwhile.
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    testing::internal::CaptureStdout();
    EntryCaller caller;
    size_t warmedUp = 0;
    long wrong = -1;  // the first call that returned what its case does not
    for (long n = 0; n < calls && wrong < 0; ++n) {
        const Case& c = kCases[n % kCases.size()];
        const auto fault = static_cast<Fault>(n / kCases.size() % kFaultCount);
        // After a refusal the library still holds the manager until the next
        // completed call, so the panel's record is cleared only when free.
        if (!krel::sim::Held()) krel::sim::Reset();
        krel::sim::FailAcquire(fault == kAcquireFails);
        krel::sim::FailPccRead(fault == kPccReadFails ? -5 : 0);
        krel::sim::FailPush(fault == kPushFails ? -7 : 0);
        property_set(kTuningProperty, sources[n / (kCases.size() * kFaultCount) % tuningCount]);
        if (caller.call(c.call) != c.result) wrong = n;
        if (n == cycle - 1) warmedUp = heapInUse();
    }
    const int last = caller.call(0, 0, {});
    testing::internal::GetCapturedStdout();
    __android_log_set_logger(__android_log_stderr_logger);
    EXPECT_EQ(wrong, -1) << "first call that returned the wrong result";
    ASSERT_EQ(last, 1);
    EXPECT_FALSE(krel::sim::Held());
    krel::sim::Reset();
    property_set(kTuningProperty, "");
    const size_t after = heapInUse();
    EXPECT_LE(after, warmedUp + kHeapSlackBytes)
        << "heap grew by " << (after - warmedUp) << " bytes over " << calls << " calls";
}

}  // namespace
