// The display service's interface: the playback entry and the records it
// exchanges. Layouts are fixed byte by byte; bytes not named are reserved.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hdr_tm_export.h"
#include "tm_params.h"

constexpr int kMaxLayers = 4;
constexpr uint32_t kBlendSpacePq = 0;        // layers blended in PQ space
constexpr uint32_t kBlendSpacePerLayer = 1;  // each HDR layer tone-mapped in its own pipe
constexpr uint32_t kBlendSpaceHlg = 2;       // layers blended in HLG space (SPACE_HLG)

// H.273 codes the entry acts on.
constexpr uint32_t kTransferBt709 = 1;
constexpr uint32_t kTransferPq = 16;
constexpr uint32_t kTransferHlg = 18;
constexpr uint32_t kPrimariesBt2020 = 9;
constexpr uint32_t kContentClassSdr = 2;

struct HdrLayerColorInfo {
    uint32_t content_class;
    uint32_t primaries;
    uint8_t reserved_8[4];
    uint32_t transfer;
    uint8_t reserved_16[40];
    uint32_t master_max_luminance;  // 0.0001 cd/m2
    uint8_t reserved_60[4];
    uint8_t cll_present;
    uint8_t reserved_65[3];
    uint32_t max_cll;               // cd/m2
    uint8_t reserved_72[1700];
};

struct HdrPlaybackInfo {
    uint32_t blend_space;
    uint8_t hw_enable;
    uint8_t reserved_5[51];
    uint8_t num_layers;
    uint8_t reserved_57[7];
    HdrLayerColorInfo* layers;
};

struct HdrLayerLut {
    uint16_t dim_x;
    uint16_t dim_y;
    uint8_t reserved_4[4];
    uint32_t* entries;              // caller-owned, at least 4913 packed entries
    uint8_t enabled;
    uint8_t reserved_17[15];
    uint8_t reserved_flag;
    uint8_t reserved_33[7];
};

struct HdrLutSet {
    HdrLayerLut* layer_luts[kMaxLayers];
    uint8_t* layer_lut_applied;
    void* unused;
    HdrLayerLut* blend_lut;
    uint8_t blend_lut_applied;
    uint8_t reserved_57[7];
};

static_assert(sizeof(HdrLayerColorInfo) == 1772);
static_assert(offsetof(HdrLayerColorInfo, content_class) == 0);
static_assert(offsetof(HdrLayerColorInfo, primaries) == 4);
static_assert(offsetof(HdrLayerColorInfo, transfer) == 12);
static_assert(offsetof(HdrLayerColorInfo, master_max_luminance) == 56);
static_assert(offsetof(HdrLayerColorInfo, cll_present) == 64);
static_assert(offsetof(HdrLayerColorInfo, max_cll) == 68);
static_assert(offsetof(HdrPlaybackInfo, blend_space) == 0);
static_assert(offsetof(HdrPlaybackInfo, hw_enable) == 4);
static_assert(offsetof(HdrPlaybackInfo, num_layers) == 56);
static_assert(offsetof(HdrPlaybackInfo, layers) == 64);
static_assert(offsetof(HdrLayerLut, dim_x) == 0);
static_assert(offsetof(HdrLayerLut, dim_y) == 2);
static_assert(offsetof(HdrLayerLut, entries) == 8);
static_assert(offsetof(HdrLayerLut, enabled) == 16);
static_assert(offsetof(HdrLayerLut, reserved_flag) == 32);
static_assert(offsetof(HdrLutSet, layer_luts) == 0);
static_assert(offsetof(HdrLutSet, layer_lut_applied) == 32);
static_assert(offsetof(HdrLutSet, blend_lut) == 48);
static_assert(offsetof(HdrLutSet, blend_lut_applied) == 56);

extern "C" {
// Builds the LUTs for the layers on screen. Returns 1 when the call ran to its
// end, 0 when it refused the layer set.
HDRTM_EXPORT int HDR_playback_strategies(HdrPlaybackInfo* info, HdrLutSet* luts);

// Parses the tuning file at `path` into `params`. Returns 0 on success, -1 when
// the file cannot be read or has no "hdr_lib" root (the record is then untouched).
HDRTM_EXPORT int HDR_load_tone_mapping_xml(const char* path, TMParams* params);
}

// Exported for compatibility; does nothing and returns 0.
HDRTM_EXPORT int hdr_to_hdr_tm();
