// Records the maths calls a piece of work makes into the library's own
// correctly rounded maths (plane forms and scalar functions), and replays
// them two ways: through the C library's powf, logf and log10f one call a
// sample, as the engine called them before it had its own maths (the floor
// every configuration is held against), and through the library's own plane
// forms, as the stages called them (the maths' share of a pipeline's time).
//
// The bench binary links the library statically with --wrap on each maths
// entry point (bench/CMakeLists.txt), so every call from the stages lands in
// maths_trace.cpp, which records its arguments while a recording runs and
// passes the call on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mathstrace {

enum class Function { kPow, kLog, kLog10, kExp10 };

// One call of the library's maths: a plane of samples (a scalar call is a
// plane of one), with its exponents for a power and its mask of wanted
// samples (empty: all).
struct MathsCall {
    Function function;
    std::vector<float> values;
    std::vector<float> exponents;  // one per sample, for kPow
    std::vector<uint32_t> wanted;
    bool oneExponent = false;      // a power with one exponent for the plane
};

struct Trace {
    std::vector<MathsCall> calls;
    // Samples computed: maths calls the C library would make.
    size_t samples() const;
    void append(const Trace& other);
};

// Starts and stops recording into `trace` (one recording at a time).
void startRecording(Trace* trace);
void stopRecording();

template <typename Work>
Trace record(Work work) {
    Trace trace;
    startRecording(&trace);
    work();
    stopRecording();
    return trace;
}

// Calls the C library once per wanted sample, in trace order, the results
// stored to `sink`: the floor.
void replayThroughCLibrary(const Trace& trace, std::vector<float>& sink);
// Calls the library's own maths on the same planes, as the stages did; each
// plane is first copied into `scratch`, as replayCopiesOnly does alone.
void replayThroughOwnMaths(const Trace& trace, std::vector<float>& scratch);
void replayCopiesOnly(const Trace& trace, std::vector<float>& scratch);

}  // namespace mathstrace
