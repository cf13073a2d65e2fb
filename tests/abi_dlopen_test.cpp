// The binary interface as the display service sees it: no project header,
// records laid out by byte offset, the entries reached through dlopen of
// libhdr_tm.so.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

constexpr size_t kInfoBytes = 72, kBlendSpace = 0, kHwEnable = 4, kNumLayers = 56, kLayers = 64;  // HdrPlaybackInfo
constexpr size_t kLayerBytes = 1772, kPrimaries = 4, kTransfer = 12;  // HdrLayerColorInfo
constexpr size_t kSetBytes = 64, kLayerLuts = 0, kApplied = 32, kBlendLut = 48, kBlendApplied = 56;  // HdrLutSet
constexpr size_t kLutBytes = 40, kDimX = 0, kDimY = 2, kEntries = 8, kEnabled = 16, kReserved = 32;  // HdrLayerLut
constexpr size_t kEntryCount = 17 * 17 * 17;
constexpr uint8_t kPoison = 0xA5;

template <typename T>
void put(uint8_t* record, size_t offset, T value) {
    std::memcpy(record + offset, &value, sizeof(value));
}

// Two layers, PQ then HLG, each tone-mapped in its own pipe; four layer
// descriptors, then the blend descriptor.
TEST(AbiDlopen, EntryWritesOnlyTheDocumentedBytesAndRefusesAPqLayerUnderHlg) {
    void* library = dlopen(HDRTM_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto entry = reinterpret_cast<int (*)(void*, void*)>(dlsym(library, "HDR_playback_strategies"));
    ASSERT_NE(entry, nullptr);
    alignas(8) uint8_t info[kInfoBytes], layers[2 * kLayerBytes], luts[5][kLutBytes];
    alignas(8) uint8_t set[kSetBytes], setBefore[kSetBytes], applied[4];
    std::vector<uint32_t> entries[4];
    const auto call = [&](uint32_t blendSpace) {
        std::memset(layers, 0, sizeof(layers));
        put<uint32_t>(layers, kTransfer, 16);
        put<uint32_t>(layers, kPrimaries, 9);
        put<uint32_t>(layers + kLayerBytes, kTransfer, 18);
        std::memset(info, kPoison, sizeof(info));
        put<uint32_t>(info, kBlendSpace, blendSpace);
        put<uint8_t>(info, kHwEnable, 0);
        put<uint8_t>(info, kNumLayers, 2);
        put<void*>(info, kLayers, layers);
        std::memset(set, kPoison, sizeof(set));
        std::memset(luts, kPoison, sizeof(luts));
        std::memset(applied, kPoison, sizeof(applied));
        for (int i = 0; i < 4; ++i) {
            entries[i].assign(kEntryCount, 0xFFFFFFFFu);
            put<void*>(luts[i], kEntries, entries[i].data());
            put<void*>(set, kLayerLuts + 8 * i, luts[i]);
        }
        put<void*>(set, kApplied, applied);
        put<void*>(set, kBlendLut, luts[4]);
        std::memcpy(setBefore, set, sizeof(set));
        return entry(info, set);
    };

    ASSERT_EQ(call(1), 1);
    // Blend LUT: only enabled and the reserved flag; the layers' also their dimensions.
    uint8_t expected[kLutBytes];
    std::memset(expected, kPoison, kLutBytes);
    put<uint8_t>(expected, kEnabled, 0);
    put<uint8_t>(expected, kReserved, 0);
    EXPECT_EQ(std::memcmp(luts[4], expected, kLutBytes), 0);
    put<uint16_t>(expected, kDimX, 17);
    put<uint16_t>(expected, kDimY, 17);
    put<uint8_t>(expected, kEnabled, 1);
    for (int i = 0; i < 2; ++i) {
        put<void*>(expected, kEntries, entries[i].data());
        EXPECT_EQ(std::memcmp(luts[i], expected, kLutBytes), 0) << "layer " << i;
        EXPECT_EQ(applied[i], 1);
        EXPECT_EQ(entries[i][0] & 0xC0000000u, 0xC0000000u);  // caller's top bits kept
        EXPECT_NE(entries[i][kEntryCount - 1], 0xFFFFFFFFu);
    }
    EXPECT_EQ(applied[2], kPoison);  // beyond num_layers: untouched
    EXPECT_EQ(luts[2][kEnabled], kPoison);
    EXPECT_EQ(entries[2][0], 0xFFFFFFFFu);
    put<uint8_t>(setBefore, kBlendApplied, 0);  // the set: only its flag
    EXPECT_EQ(std::memcmp(set, setBefore, kSetBytes), 0);
    EXPECT_EQ(call(2), 0);
    dlclose(library);
}

}  // namespace
