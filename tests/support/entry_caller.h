// One caller of the playback entry, as the display service keeps it between
// calls: the layer records, four layer descriptors with their LUT buffers,
// the applied flags and the blend descriptor.
#pragma once

#include <cstring>
#include <vector>

#include "hdr_tm.h"

struct EntryLayer {
    uint32_t transfer;
    uint32_t contentClass = 0;
    uint32_t primaries = kPrimariesBt2020;
    uint32_t masterMaxLuminance = 0;  // 0.0001 cd/m2
    uint32_t maxCll = 0;              // cd/m2; 0: no content light level
};

struct EntryCall {
    uint32_t blendSpace;
    uint8_t hwEnable;
    std::vector<EntryLayer> layers;
};

class EntryCaller {
public:
    static constexpr uint32_t kBufferFill = 0xC0000000u;  // bits 30-31 set, codes zero

    // recordFill: the byte every descriptor and flag holds before the first
    // call (the blend descriptor's buffer pointer stays null).
    explicit EntryCaller(uint32_t bufferFill = kBufferFill, uint8_t recordFill = 0) {
        for (int i = 0; i < kMaxLayers; ++i) {
            luts_[i].assign(17 * 17 * 17, bufferFill);
            std::memset(&descriptors_[i], recordFill, sizeof(descriptors_[i]));
            descriptors_[i].entries = luts_[i].data();
            set_.layer_luts[i] = &descriptors_[i];
        }
        std::memset(applied_, recordFill, sizeof(applied_));
        std::memset(&blend_, recordFill, sizeof(blend_));
        blend_.entries = nullptr;
        set_.layer_lut_applied = applied_;
        set_.blend_lut = &blend_;
        set_.blend_lut_applied = recordFill;
    }
    EntryCaller(const EntryCaller&) = delete;  // the set points into this object
    EntryCaller& operator=(const EntryCaller&) = delete;

    int call(uint32_t blendSpace, uint8_t hwEnable, const std::vector<EntryLayer>& layers) {
        std::memset(layers_, 0, sizeof(layers_));
        for (size_t i = 0; i < layers.size() && i < kMaxLayers; ++i) {
            layers_[i].transfer = layers[i].transfer;
            layers_[i].content_class = layers[i].contentClass;
            layers_[i].primaries = layers[i].primaries;
            layers_[i].master_max_luminance = layers[i].masterMaxLuminance;
            layers_[i].cll_present = layers[i].maxCll != 0;
            layers_[i].max_cll = layers[i].maxCll;
        }
        info_ = HdrPlaybackInfo{};
        info_.blend_space = blendSpace;
        info_.hw_enable = hwEnable;
        info_.num_layers = static_cast<uint8_t>(layers.size());
        info_.layers = layers_;
        return HDR_playback_strategies(&info_, &set_);
    }
    int call(const EntryCall& c) { return call(c.blendSpace, c.hwEnable, c.layers); }

    const std::vector<uint32_t>& lut(int i) const { return luts_[i]; }
    uint8_t appliedFlag(int i) const { return applied_[i]; }
    const HdrLayerLut& descriptor(int i) const { return descriptors_[i]; }
    const HdrLayerLut& blend() const { return blend_; }
    uint8_t blendAppliedFlag() const { return set_.blend_lut_applied; }
    HdrPlaybackInfo& info() { return info_; }  // the last call's record
    HdrLutSet& set() { return set_; }

private:
    HdrLayerColorInfo layers_[kMaxLayers];
    HdrPlaybackInfo info_{};
    std::vector<uint32_t> luts_[kMaxLayers];
    HdrLayerLut descriptors_[kMaxLayers];
    HdrLayerLut blend_;
    uint8_t applied_[kMaxLayers];
    HdrLutSet set_{};
};
