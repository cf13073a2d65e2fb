// Records the single-precision maths-library calls (powf, logf, log10f,
// sqrtf) that a piece of work makes, and replays them: the replay is the
// floor a LUT build cannot go below while its results stay bit-exact.
//
// The bench binary defines those four functions itself (maths_trace.cpp), so
// every call from the library lands there and is forwarded to the maths
// library; while a recording runs, the arguments are kept as well. The
// library is built without errno, so its sqrtf is the processor's
// instruction: it never reaches the maths library and is not recorded.
#pragma once

#include <cstddef>
#include <vector>

namespace mathstrace {

struct Trace {
    std::vector<float> powBase, powExponent;
    std::vector<float> logArg;
    std::vector<float> log10Arg;
    std::vector<float> sqrtArg;

    size_t calls() const {
        return powBase.size() + logArg.size() + log10Arg.size() + sqrtArg.size();
    }
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

// Calls the maths library once per recorded call, on the recorded arguments,
// function by function, results stored to `sink` (resized to calls()).
void replay(const Trace& trace, std::vector<float>& sink);
// The same calls through the binary's forwarding definitions, as the library
// in this binary makes them: the difference from replay() is what the
// forwarding adds to a timed pipeline, which the report takes off again.
void replayThroughForwarders(const Trace& trace, std::vector<float>& sink);

}  // namespace mathstrace
