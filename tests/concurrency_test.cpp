// Threads racing the process's first call (the one that loads the tuning, in
// a fresh child process) get exactly the LUTs one caller gets alone, and the
// tuning file is read once. Run under ThreadSanitizer in CI.
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <krel/color_manager_sim.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "entry_caller.h"
#include "fresh_process.h"
#include "log_capture.h"
#include "tuning_path.h"

namespace {

constexpr int kCallsPerThread = 8;

// One kind of work per thread: the hardware path, per-layer LUTs, inverse
// mapping into both blend spaces.
const EntryCall kWork[] = {
    {0, 1, {{kTransferPq, 0, kPrimariesBt2020, 20000000}, {kTransferHlg}}},
    {1, 0, {{kTransferPq}, {kTransferHlg}}},
    {0, 0, {{kTransferBt709, 0, 1}, {kTransferHlg}}},
    {2, 1, {{3, kContentClassSdr, 1}, {kTransferHlg}}},
};
constexpr int kThreads = std::size(kWork);

TEST(Concurrency, ThreadsRacingTheFirstCallLoadTheTuningOnceAndGetSerialLuts) {
    const std::string tuning = dataTuningPath("tuning_v2_p3.xml");
    inFreshProcess([&] {
        krel::sim::Reset();
        ASSERT_EQ(property_set(kTuningProperty, tuning.c_str()), 0);
        LogCapture log;
        EntryCaller callers[kThreads];
        int completed[kThreads] = {};
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([&, t] {
                for (int n = 0; n < kCallsPerThread; ++n) completed[t] += callers[t].call(kWork[t]);
            });
        for (std::thread& thread : threads) thread.join();
        const auto texts = log.texts();
        EXPECT_EQ(std::count_if(texts.begin(), texts.end(),
                                [](const std::string& t) { return t.rfind("HDR_load_tone_mapping_xml", 0) == 0; }),
                  1);
        EXPECT_FALSE(krel::sim::Held());
        // Each hardware call's acquire, read, push and release run unbroken.
        using krel::sim::Call;
        const auto calls = krel::sim::Calls();
        ASSERT_EQ(calls.size(), 4u * 2 * kCallsPerThread);  // two threads ask for the hardware
        const Call::Kind cycle[4] = {Call::kAcquire, Call::kGet, Call::kSet, Call::kRelease};
        for (size_t n = 0; n < calls.size(); ++n) EXPECT_EQ(calls[n].kind, cycle[n % 4]) << n;
        const auto pushes = krel::sim::Pushes();

        // The same work, one caller at a time, gives the same LUTs and pushes.
        for (int t = 0; t < kThreads; ++t) {
            EXPECT_EQ(completed[t], kCallsPerThread) << "thread " << t;
            EntryCaller alone;
            ASSERT_EQ(alone.call(kWork[t]), 1);
            for (int i = 0; i < kMaxLayers; ++i) {
                EXPECT_EQ(callers[t].appliedFlag(i), alone.appliedFlag(i)) << "thread " << t;
                EXPECT_TRUE(callers[t].lut(i) == alone.lut(i)) << "thread " << t << " layer " << i;
            }
            if (kWork[t].hwEnable == 0) continue;
            const std::vector<uint8_t> pushed = krel::sim::Pushes().back().record;
            EXPECT_EQ(std::count_if(pushes.begin(), pushes.end(), [&](const auto& p) { return p.record == pushed; }),
                      kCallsPerThread) << "thread " << t;
        }
    });
}

}  // namespace
