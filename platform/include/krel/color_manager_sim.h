// Host-only control of the colour-manager simulator in libkrel-color.so: a
// virtual panel whose PCC answer is scriptable, which records every call and
// every pushed 3D LUT, and which can be told to fail. For tests and tools.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace krel {
namespace sim {

constexpr unsigned int kFeatureVirtualPcc = 149;  // get: 280-byte PCC payload
constexpr unsigned int kFeature3dLut = 105;       // set: 24-byte push request
constexpr size_t kPccPayloadBytes = 280;
constexpr size_t kLutRecordBytes = 117928;
constexpr int kPccCoefficientCount = 33;          // rows r, g, b of 11 terms

// One call the simulator received, in order.
struct Call {
    enum Kind { kAcquire, kRelease, kGet, kSet } kind;
    int display = 0;
    unsigned int feature = 0;
    unsigned int flags = 0;
    int status = 0;              // what the simulator returned (acquire: 0 ok, -1 null)
    std::string panel_name;      // acquire only
};

// A recorded feature-105 push: the 24-byte request's words and a copy of the
// 117928-byte LUT record it pointed to.
struct Push {
    uint32_t request_word0 = 0;
    uint32_t request_word1 = 0;
    uint64_t request_tail = 0;
    std::vector<uint8_t> record;
};

// Back to the power-on state: identity PCC, no faults, empty records, no
// manager held.
void Reset();

// Coefficients the Virtual PCC read answers with (rows r, g, b; terms c, r,
// g, b, rr, gg, bb, rg, gb, rb, rgb). Identity by default.
void SetPcc(const double coefficients[kPccCoefficientCount]);

void FailAcquire(bool fail);
void FailPccRead(int status);   // 0: succeed; otherwise the status the get call returns
void FailPush(int status);      // 0: succeed; otherwise the status the set call returns

std::vector<Call> Calls();
std::vector<Push> Pushes();
bool Held();                    // a manager is acquired and not yet released

}  // namespace sim
}  // namespace krel
