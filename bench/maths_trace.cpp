// The bench binary's powf, logf, log10f and sqrtf: each forwards to the maths
// library's own function (looked up once with RTLD_NEXT) and, while a
// recording runs, keeps its arguments. <cmath> is not included here so that
// these definitions do not meet the library's declarations.
#include "maths_trace.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace mathstrace {
namespace {

using Unary = float (*)(float);
using Binary = float (*)(float, float);

template <typename F>
F lookUp(const char* name) {
    void* symbol = dlsym(RTLD_NEXT, name);
    if (symbol == nullptr) {
        std::fprintf(stderr, "maths_trace: no %s in the maths library\n", name);
        std::abort();
    }
    return reinterpret_cast<F>(symbol);
}

// The maths library's own functions, looked up before any other static
// initialiser of the binary runs.
struct MathsLibrary {
    Binary powf = lookUp<Binary>("powf");
    Unary logf = lookUp<Unary>("logf");
    Unary log10f = lookUp<Unary>("log10f");
    Unary sqrtf = lookUp<Unary>("sqrtf");
};

__attribute__((init_priority(101))) const MathsLibrary gMaths;

Trace* gRecording = nullptr;

}  // namespace

void Trace::append(const Trace& other) {
    powBase.insert(powBase.end(), other.powBase.begin(), other.powBase.end());
    powExponent.insert(powExponent.end(), other.powExponent.begin(), other.powExponent.end());
    logArg.insert(logArg.end(), other.logArg.begin(), other.logArg.end());
    log10Arg.insert(log10Arg.end(), other.log10Arg.begin(), other.log10Arg.end());
    sqrtArg.insert(sqrtArg.end(), other.sqrtArg.begin(), other.sqrtArg.end());
}

void startRecording(Trace* trace) { gRecording = trace; }

void stopRecording() { gRecording = nullptr; }

namespace {

template <typename Library>
void replayThrough(const Library& m, const Trace& trace, std::vector<float>& sink) {
    sink.resize(trace.calls());
    float* out = sink.data();
    const size_t pows = trace.powBase.size();
    const float* base = trace.powBase.data();
    const float* exponent = trace.powExponent.data();
    for (size_t i = 0; i < pows; ++i) *out++ = m.powf(base[i], exponent[i]);
    for (float x : trace.logArg) *out++ = m.logf(x);
    for (float x : trace.log10Arg) *out++ = m.log10f(x);
    for (float x : trace.sqrtArg) *out++ = m.sqrtf(x);
}

// The binary's own definitions below, as the library reaches them.
struct Forwarders {
    static float powf(float base, float exponent);
    static float logf(float x);
    static float log10f(float x);
    static float sqrtf(float x);
};

}  // namespace

void replay(const Trace& trace, std::vector<float>& sink) { replayThrough(gMaths, trace, sink); }

void replayThroughForwarders(const Trace& trace, std::vector<float>& sink) {
    replayThrough(Forwarders{}, trace, sink);
}

}  // namespace mathstrace

using mathstrace::gRecording;
using mathstrace::gMaths;

// noinline: the replay through these must make real calls, as the library does.
extern "C" __attribute__((noinline)) float powf(float base, float exponent) {
    if (__builtin_expect(gRecording != nullptr, 0)) {
        gRecording->powBase.push_back(base);
        gRecording->powExponent.push_back(exponent);
    }
    return gMaths.powf(base, exponent);
}

extern "C" __attribute__((noinline)) float logf(float x) {
    if (__builtin_expect(gRecording != nullptr, 0)) gRecording->logArg.push_back(x);
    return gMaths.logf(x);
}

extern "C" __attribute__((noinline)) float log10f(float x) {
    if (__builtin_expect(gRecording != nullptr, 0)) gRecording->log10Arg.push_back(x);
    return gMaths.log10f(x);
}

extern "C" __attribute__((noinline)) float sqrtf(float x) {
    if (__builtin_expect(gRecording != nullptr, 0)) gRecording->sqrtArg.push_back(x);
    return gMaths.sqrtf(x);
}

float mathstrace::Forwarders::powf(float base, float exponent) { return ::powf(base, exponent); }
float mathstrace::Forwarders::logf(float x) { return ::logf(x); }
float mathstrace::Forwarders::log10f(float x) { return ::log10f(x); }
float mathstrace::Forwarders::sqrtf(float x) { return ::sqrtf(x); }
