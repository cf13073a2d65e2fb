// LUT sampling grids, the sample-plane fill and the four LUT pipelines.
#pragma once

#include <cstdint>

#include "tm_common.h"
#include "tm_params.h"

namespace hdrtm {

// 10-bit code values per axis. The uniform grid ends at 1023, not 1024: its
// last interval is 63 codes wide, on purpose.
extern const uint32_t kUniformGridCodes[kGridPointsPerAxis];
// Dense in the dark and mid tones; used as grid set 0 for version 2.0 tunings.
extern const uint32_t kNonUniformGridCodes[kGridPointsPerAxis];
// The non-uniform points as 12-bit hardware coordinates (x 4096/1023,
// rounded); the last is 4096, one past the 12-bit maximum, on purpose.
extern const uint32_t kHardwareGridCodes[kGridPointsPerAxis];

// Fills n^3 samples of the three planes from a grid table (R fastest).
void fillSamplePlanes(const uint32_t (*grid)[kGridPointsPerAxis], float** planes, unsigned int n);

}  // namespace hdrtm
