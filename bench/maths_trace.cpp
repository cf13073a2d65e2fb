// The wrappers of the library's maths entry points (linked with --wrap) and
// the two replays of a recorded trace.
#include "maths_trace.h"

#include <cmath>
#include <cstring>

#include "cr_maths.h"

namespace mathstrace {
namespace {

Trace* gRecording = nullptr;
// Set while a plane form runs: its scalar fallbacks are part of that call.
bool gInsidePlane = false;

void recordCall(Function function, const float* values, uint32_t count, const float* exponents,
                float exponent, const uint32_t* wanted) {
    MathsCall call{function, {values, values + count}, {}, {}, exponents == nullptr};
    if (function == Function::kPow) {
        call.exponents = exponents != nullptr ? std::vector<float>(exponents, exponents + count)
                                              : std::vector<float>(count, exponent);
    }
    if (wanted != nullptr) call.wanted.assign(wanted, wanted + count);
    gRecording->calls.push_back(std::move(call));
}

bool recordingScalar() { return gRecording != nullptr && !gInsidePlane; }

// Runs a plane form's real function with the scalar fallbacks unrecorded.
template <typename Real>
void insidePlane(Real real) {
    gInsidePlane = true;
    real();
    gInsidePlane = false;
}

}  // namespace

size_t Trace::samples() const {
    size_t total = 0;
    for (const MathsCall& c : calls) {
        for (size_t i = 0; i < c.values.size(); ++i) total += c.wanted.empty() || c.wanted[i] != 0;
    }
    return total;
}

void Trace::append(const Trace& other) { calls.insert(calls.end(), other.calls.begin(), other.calls.end()); }

void startRecording(Trace* trace) { gRecording = trace; }
void stopRecording() { gRecording = nullptr; }

// f(i) for each wanted sample i of a call, into `out`; returns the end.
template <typename F>
float* eachWanted(const MathsCall& c, float* out, F f) {
    const bool all = c.wanted.empty();
    for (size_t i = 0; i < c.values.size(); ++i) {
        if (all || c.wanted[i] != 0) *out++ = f(i);
    }
    return out;
}

void replayThroughCLibrary(const Trace& trace, std::vector<float>& sink) {
    sink.resize(trace.samples());
    float* out = sink.data();
    for (const MathsCall& c : trace.calls) {
        const float* x = c.values.data();
        switch (c.function) {
            case Function::kPow:
                out = eachWanted(c, out, [&](size_t i) { return powf(x[i], c.exponents[i]); });
                break;
            case Function::kExp10: out = eachWanted(c, out, [&](size_t i) { return powf(10.0f, x[i]); }); break;
            case Function::kLog: out = eachWanted(c, out, [&](size_t i) { return logf(x[i]); }); break;
            case Function::kLog10: out = eachWanted(c, out, [&](size_t i) { return log10f(x[i]); }); break;
        }
    }
}

void replayCopiesOnly(const Trace& trace, std::vector<float>& scratch) {
    for (const MathsCall& c : trace.calls) {
        scratch.resize(std::max(scratch.size(), c.values.size()));
        std::memcpy(scratch.data(), c.values.data(), c.values.size() * sizeof(float));
    }
}

}  // namespace mathstrace

using mathstrace::Function;
using mathstrace::gRecording;
using mathstrace::insidePlane;
using mathstrace::recordCall;
using mathstrace::recordingScalar;

// The wrapped entry points, by their mangled names (hdrtm::powPlane and so on).
extern "C" {
void __real__ZN5hdrtm8powPlaneEPfjfPKj(float*, uint32_t, float, const uint32_t*);
void __real__ZN5hdrtm17powPlanePerSampleEPfPKfjPKj(float*, const float*, uint32_t, const uint32_t*);
void __real__ZN5hdrtm10exp10PlaneEPfjPKj(float*, uint32_t, const uint32_t*);
void __real__ZN5hdrtm8logPlaneEPfjPKj(float*, uint32_t, const uint32_t*);
void __real__ZN5hdrtm10log10PlaneEPfjPKj(float*, uint32_t, const uint32_t*);
float __real__ZN5hdrtm6crPowfEff(float, float);
float __real__ZN5hdrtm6crLogfEf(float);
float __real__ZN5hdrtm8crLog10fEf(float);
float __real__ZN5hdrtm8crExp10fEf(float);

void __wrap__ZN5hdrtm8powPlaneEPfjfPKj(float* values, uint32_t count, float exponent,
                                        const uint32_t* wanted) {
    if (gRecording != nullptr) recordCall(Function::kPow, values, count, nullptr, exponent, wanted);
    insidePlane([&] { __real__ZN5hdrtm8powPlaneEPfjfPKj(values, count, exponent, wanted); });
}

void __wrap__ZN5hdrtm17powPlanePerSampleEPfPKfjPKj(float* values, const float* exponents,
                                                   uint32_t count, const uint32_t* wanted) {
    if (gRecording != nullptr) recordCall(Function::kPow, values, count, exponents, 0.0f, wanted);
    insidePlane([&] { __real__ZN5hdrtm17powPlanePerSampleEPfPKfjPKj(values, exponents, count, wanted); });
}

void __wrap__ZN5hdrtm10exp10PlaneEPfjPKj(float* values, uint32_t count, const uint32_t* wanted) {
    if (gRecording != nullptr) recordCall(Function::kExp10, values, count, nullptr, 0.0f, wanted);
    insidePlane([&] { __real__ZN5hdrtm10exp10PlaneEPfjPKj(values, count, wanted); });
}

void __wrap__ZN5hdrtm8logPlaneEPfjPKj(float* values, uint32_t count, const uint32_t* wanted) {
    if (gRecording != nullptr) recordCall(Function::kLog, values, count, nullptr, 0.0f, wanted);
    insidePlane([&] { __real__ZN5hdrtm8logPlaneEPfjPKj(values, count, wanted); });
}

void __wrap__ZN5hdrtm10log10PlaneEPfjPKj(float* values, uint32_t count, const uint32_t* wanted) {
    if (gRecording != nullptr) recordCall(Function::kLog10, values, count, nullptr, 0.0f, wanted);
    insidePlane([&] { __real__ZN5hdrtm10log10PlaneEPfjPKj(values, count, wanted); });
}

float __wrap__ZN5hdrtm6crPowfEff(float x, float y) {
    if (recordingScalar()) recordCall(Function::kPow, &x, 1, &y, 0.0f, nullptr);
    return __real__ZN5hdrtm6crPowfEff(x, y);
}

float __wrap__ZN5hdrtm6crLogfEf(float x) {
    if (recordingScalar()) recordCall(Function::kLog, &x, 1, nullptr, 0.0f, nullptr);
    return __real__ZN5hdrtm6crLogfEf(x);
}

float __wrap__ZN5hdrtm8crLog10fEf(float x) {
    if (recordingScalar()) recordCall(Function::kLog10, &x, 1, nullptr, 0.0f, nullptr);
    return __real__ZN5hdrtm8crLog10fEf(x);
}

float __wrap__ZN5hdrtm8crExp10fEf(float y) {
    if (recordingScalar()) recordCall(Function::kExp10, &y, 1, nullptr, 0.0f, nullptr);
    return __real__ZN5hdrtm8crExp10fEf(y);
}
}  // extern "C"

void mathstrace::replayThroughOwnMaths(const Trace& trace, std::vector<float>& scratch) {
    for (const MathsCall& c : trace.calls) {
        const uint32_t n = static_cast<uint32_t>(c.values.size());
        scratch.resize(std::max<size_t>(scratch.size(), n));
        float* v = scratch.data();
        std::memcpy(v, c.values.data(), n * sizeof(float));
        const uint32_t* wanted = c.wanted.empty() ? nullptr : c.wanted.data();
        switch (c.function) {
            case Function::kPow:
                if (c.oneExponent && n > 0) {
                    __real__ZN5hdrtm8powPlaneEPfjfPKj(v, n, c.exponents[0], wanted);
                } else {
                    __real__ZN5hdrtm17powPlanePerSampleEPfPKfjPKj(v, c.exponents.data(), n, wanted);
                }
                break;
            case Function::kExp10: __real__ZN5hdrtm10exp10PlaneEPfjPKj(v, n, wanted); break;
            case Function::kLog: __real__ZN5hdrtm8logPlaneEPfjPKj(v, n, wanted); break;
            case Function::kLog10: __real__ZN5hdrtm10log10PlaneEPfjPKj(v, n, wanted); break;
        }
    }
}
