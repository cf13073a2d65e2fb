// Parameter record set-up costs.
#include <benchmark/benchmark.h>

#include <cstring>

#include "hdr_tm.h"

static void BM_SetDefaultVals(benchmark::State& state) {
    TMParams params;
    std::memset(&params, 0, sizeof(params));
    for (auto _ : state) {
        set_default_vals(&params);
        benchmark::DoNotOptimize(params);
    }
}
BENCHMARK(BM_SetDefaultVals);
