// A program that uses libhdr_tm as an installed library: one PQ layer under
// per-layer blending gets its 10-bit LUT.
#include <cstdio>
#include <vector>

#include "hdr_playback.h"

int main() {
    std::vector<HdrLayerColorInfo> layers(2, HdrLayerColorInfo{});
    layers[0].transfer = kTransferPq;
    layers[0].primaries = kPrimariesBt2020;
    HdrPlaybackInfo info{};
    info.blend_space = kBlendSpacePerLayer;
    info.num_layers = 1;
    info.layers = layers.data();
    std::vector<uint32_t> entries(17 * 17 * 17);
    HdrLayerLut luts[kMaxLayers] = {};
    HdrLayerLut blend{};
    uint8_t applied[kMaxLayers] = {};
    HdrLutSet set{};
    for (int i = 0; i < kMaxLayers; ++i) set.layer_luts[i] = &luts[i];
    luts[0].entries = entries.data();
    set.layer_lut_applied = applied;
    set.blend_lut = &blend;
    const int status = HDR_playback_strategies(&info, &set);
    const bool ok = status == 1 && applied[0] == 1 && entries.back() != 0;
    std::printf("consumer: %s\n", ok ? "LUT built" : "no LUT");
    return ok ? 0 : 1;
}
