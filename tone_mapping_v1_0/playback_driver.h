// Playback strategy driver: what leaves the library as data. The exchange
// with the display's colour manager (acquire, Virtual PCC read, 12-bit 3D LUT
// push, release), the 10-bit packed layer LUT and the LUT checksum.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hdr_tm.h"
#include "tm_common.h"

namespace hdrtm {

constexpr unsigned int kFeatureVirtualPcc = 149;  // colour-manager get: panel PCC
constexpr unsigned int kFeature3dLut = 105;       // colour-manager set: post-blend 3D LUT
constexpr unsigned int kColorParamFlags = 0;      // second argument of every get/set call
constexpr int kPccCoefficientCount = 33;          // rows r, g, b of eleven terms

// Virtual PCC answer: a header the driver leaves zero, then the 33
// coefficients in the block's row and term order.
struct PccPayload {
    uint8_t header[16];
    double coefficients[kPccCoefficientCount];
};
static_assert(sizeof(PccPayload) == 280);

// One entry of the 12-bit hardware LUT: 12-bit grid coordinates (zero for a
// uniform LUT), then the output codes.
struct HardwareLutEntry {
    uint32_t in_r, in_g, in_b;
    uint32_t out_r, out_g, out_b;
};

// LUT data record of the 3D LUT push.
struct HardwareLutRecord {
    uint8_t reserved[8];
    uint32_t uniform;      // 1: uniform sampling, inputs left zero
    uint32_t num_entries;  // 4913
    HardwareLutEntry entries[kLutPoints];
};
static_assert(sizeof(HardwareLutRecord) == 117928);
static_assert(offsetof(HardwareLutRecord, uniform) == 8);
static_assert(offsetof(HardwareLutRecord, entries) == 16);

// The 24-byte push request that points at the data record.
struct HardwareLutRequest {
    uint32_t one;   // 1
    uint32_t zero;  // 0
    HardwareLutRecord* record;
    uint64_t tail;  // 0
};
static_assert(sizeof(HardwareLutRequest) == 24);

// Acquires the primary display's colour manager unless one is held; logs a
// failed acquisition and stays without a handle.
void acquireManager();
// True while a colour-manager handle is held.
bool managerHeld();
// Releases a held colour manager and forgets the handle.
void releaseManager();

// Reads the panel's Virtual PCC into doubles 1..33 of `block` and logs its
// rows. On failure it logs and leaves `block` untouched.
void readVirtualPcc(PccCoefficients* block);

// Checksum term of one sample: R and G truncated and added as integers, the
// sum as a float plus B as a float, truncated.
inline uint32_t checksumTerm(float r, float g, float b) {
    const uint32_t rg = floatToUint32(r) + floatToUint32(g);
    return floatToUint32(uint32ToFloat(rg) + b);
}

// Adds the checksum terms of `count` samples to `sum` (modulo 2^32).
uint32_t lutChecksum(float* const* planes, unsigned int count, uint32_t sum);

// Packs n^3 samples into 10-bit layer LUT entries (R bits 0-9, G 10-19, B
// 20-29, bits 30-31 kept) and returns `sum` plus their checksum terms. A
// null `entries` packs nothing but still sums.
uint32_t packLayerLut(float* const* planes, uint32_t* entries, unsigned int n, uint32_t sum);

// Fills the LUT data record and the push request from the planes: outputs
// truncated to unsigned codes. With `inputGrid` (the 17 12-bit coordinates of
// each axis) the record is non-uniform, every entry carries its grid
// coordinates and the first row is logged; without, it is uniform and the
// inputs stay zero. `logEntries` logs the first 200 entries' outputs.
void buildLutPayload(float* const* planes, const uint32_t* inputGrid, bool logEntries,
                     HardwareLutRecord* record, HardwareLutRequest* request);

// Pushes the 3D LUT when a handle is held. Returns false without a handle;
// otherwise stores the colour manager's status.
bool pushLut(HardwareLutRequest* request, int* status);

// The playback entry behind HDR_playback_strategies.
int playbackStrategies(HdrPlaybackInfo* info, HdrLutSet* luts);

}  // namespace hdrtm
