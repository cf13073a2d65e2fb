// Soak: the playback entry called a hundred thousand times over every row of
// the per-layer decision table, every colour-manager fault and every tuning
// source. The heap in use must stay flat: a block lost on any path, even one
// call in a few hundred, shows as growth. Runs once in CI (label "soak"),
// outside the sanitizer, Valgrind and emulator runs.
#include <android/log.h>
#include <cutils/properties.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <krel/color_manager_sim.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "entry_caller.h"
#include "hdr_tm.h"
#include "tuning_path.h"

namespace {

constexpr long kDefaultCalls = 100000;
// Heap growth allowed between the end of the warm-up and the last call. A
// per-call leak of the smallest per-call block (272 bytes) on a single case
// would add over 100 KiB.
constexpr size_t kHeapSlackBytes = 16 * 1024;

struct Case {
    uint32_t blendSpace;
    uint8_t hwEnable;
    std::vector<EntryLayer> layers;
    int result;  // what the entry returns
};

const EntryLayer kPq{kTransferPq, 0, kPrimariesBt2020, 40000000};
const EntryLayer kHlg{kTransferHlg};
const EntryLayer kSdr{kTransferBt709, 0, 1};
const EntryLayer kSdrClass{3, kContentClassSdr, 1};
const EntryLayer kOther{5, 0, 1};

// Every row of the decision table, including both refusals.
const std::vector<Case> kCases = {
    {1, 0, {kPq}, 1},                    // PQ per layer
    {0, 0, {kPq}, 1},                    // PQ under PQ blending without PCC: cleared
    {0, 1, {kPq, kPq}, 1},               // PQ hardware LUT, then a PQ layer after it
    {2, 1, {kPq}, 0},                    // refused: PQ under HLG blending
    {3, 0, {kPq}, 0},                    // refused: PQ under an unknown blend space
    {0, 0, {kHlg}, 1},                   // HLG under PQ blending: inverse pipeline
    {1, 0, {kHlg}, 1},                   // HLG per layer
    {2, 0, {kHlg}, 1},                   // HLG under HLG blending without PCC: cleared
    {2, 1, {kHlg}, 1},                   // HLG hardware LUT
    {2, 1, {kHlg, kHlg}, 0},             // refused: HLG after the blend LUT is taken
    {3, 1, {kHlg}, 1},                   // HLG under an unknown blend space: nothing
    {0, 0, {kSdr, kSdrClass}, 1},        // SDR inverse into PQ
    {2, 0, {kSdrClass, kSdr}, 1},        // SDR inverse into HLG
    {1, 0, {kSdr, kSdrClass}, 1},        // SDR per layer: cleared
    {0, 1, {kOther, kPq, kHlg, kSdr}, 1},  // four layers sharing one working record
    {0, 1, {}, 1},                       // no layers
};

enum Fault { kNoFault, kAcquireFails, kPccReadFails, kPushFails, kFaultCount };
enum Tuning { kNoProperty, kTuningFile, kMissingFile, kTuningCount };

void setFault(Fault fault) {
    krel::sim::FailAcquire(fault == kAcquireFails);
    krel::sim::FailPccRead(fault == kPccReadFails ? -5 : 0);
    krel::sim::FailPush(fault == kPushFails ? -7 : 0);
}

long callsToMake() {
    const char* calls = std::getenv("HDRTM_SOAK_CALLS");
    return calls != nullptr ? std::atol(calls) : kDefaultCalls;
}

size_t heapInUse() { return mallinfo2().uordblks; }

// Log lines and the refusal's text on standard output go nowhere while the
// soak runs.
class Quiet {
public:
    Quiet() : stdout_(dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        close(null);
        __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    }
    ~Quiet() {
        std::fflush(stdout);
        dup2(stdout_, STDOUT_FILENO);
        close(stdout_);
        __android_log_set_logger(__android_log_stderr_logger);
    }

private:
    int stdout_;
};

TEST(Soak, HeapStaysFlatOverEveryRowFaultAndTuning) {
    const std::string tuning = dataTuningPath("tuning_v2_p3.xml");
    const std::string missing = "/nonexistent/hdr_tuning.xml";
    const long calls = callsToMake();
    const long cycle = static_cast<long>(kCases.size()) * kFaultCount * kTuningCount;
    ASSERT_GE(calls, 2 * cycle);

    Quiet quiet;
    EntryCaller caller;
    size_t warmedUp = 0;
    for (long n = 0; n < calls; ++n) {
        const Case& c = kCases[n % kCases.size()];
        const auto fault = static_cast<Fault>(n / kCases.size() % kFaultCount);
        const auto source = static_cast<Tuning>(n / (kCases.size() * kFaultCount) % kTuningCount);
        // The panel's record of calls and pushes is cleared between calls;
        // after a refusal the library still holds the manager, and the next
        // completed call hands it back.
        if (!krel::sim::Held()) krel::sim::Reset();
        setFault(fault);
        property_set(kTuningProperty, source == kTuningFile    ? tuning.c_str()
                                      : source == kMissingFile ? missing.c_str()
                                                               : "");
        ASSERT_EQ(caller.call(c.blendSpace, c.hwEnable, c.layers), c.result) << "call " << n;
        if (n == cycle - 1) warmedUp = heapInUse();
    }
    ASSERT_EQ(caller.call(0, 0, {}), 1);
    EXPECT_FALSE(krel::sim::Held());
    krel::sim::Reset();
    property_set(kTuningProperty, "");

    const size_t after = heapInUse();
    EXPECT_LE(after, warmedUp + kHeapSlackBytes)
        << "heap grew by " << (after - warmedUp) << " bytes over " << calls << " calls";
}

}  // namespace
