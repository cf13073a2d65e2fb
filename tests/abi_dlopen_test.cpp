// The binary interface as the display service sees it: no project header,
// records laid out by byte offset, the entries reached through dlopen of
// libhdr_tm.so.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// HdrPlaybackInfo
constexpr size_t kInfoBytes = 72, kBlendSpace = 0, kHwEnable = 4, kNumLayers = 56, kLayers = 64;
// HdrLayerColorInfo
constexpr size_t kLayerBytes = 1772, kPrimaries = 4, kTransfer = 12;
// HdrLutSet
constexpr size_t kSetBytes = 64, kLayerLuts = 0, kApplied = 32, kBlendLut = 48, kBlendApplied = 56;
// HdrLayerLut
constexpr size_t kLutBytes = 40, kDimX = 0, kDimY = 2, kEntries = 8, kEnabled = 16, kReserved = 32;
constexpr size_t kEntryCount = 17 * 17 * 17;
constexpr uint8_t kPoison = 0xA5;

template <typename T>
void put(uint8_t* record, size_t offset, T value) {
    std::memcpy(record + offset, &value, sizeof(value));
}

class AbiDlopen : public ::testing::Test {
protected:
    void SetUp() override {
        library_ = dlopen(HDRTM_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library_, nullptr) << dlerror();
        entry_ = reinterpret_cast<int (*)(void*, void*)>(dlsym(library_, "HDR_playback_strategies"));
        ASSERT_NE(entry_, nullptr);
    }
    void TearDown() override { if (library_ != nullptr) dlclose(library_); }

    // Two layers, PQ then HLG, each tone-mapped in its own pipe.
    int call(uint32_t blendSpace) {
        std::memset(layers_, 0, sizeof(layers_));
        put<uint32_t>(layers_, kTransfer, 16);
        put<uint32_t>(layers_, kPrimaries, 9);
        put<uint32_t>(layers_ + kLayerBytes, kTransfer, 18);
        std::memset(info_, kPoison, sizeof(info_));
        put<uint32_t>(info_, kBlendSpace, blendSpace);
        put<uint8_t>(info_, kHwEnable, 0);
        put<uint8_t>(info_, kNumLayers, 2);
        put<void*>(info_, kLayers, layers_);
        std::memset(set_, kPoison, sizeof(set_));
        std::memset(luts_, kPoison, sizeof(luts_));
        std::memset(applied_, kPoison, sizeof(applied_));
        for (int i = 0; i < 4; ++i) {
            entries_[i].assign(kEntryCount, 0xFFFFFFFFu);
            put<void*>(luts_[i], kEntries, entries_[i].data());
            put<void*>(set_, kLayerLuts + 8 * i, luts_[i]);
        }
        put<void*>(set_, kApplied, applied_);
        put<void*>(set_, kBlendLut, luts_[4]);
        std::memcpy(setBefore_, set_, sizeof(set_));
        return entry_(info_, set_);
    }

    void* library_ = nullptr;
    int (*entry_)(void*, void*) = nullptr;
    alignas(8) uint8_t info_[kInfoBytes];
    alignas(8) uint8_t layers_[2 * kLayerBytes];
    alignas(8) uint8_t set_[kSetBytes], setBefore_[kSetBytes];
    alignas(8) uint8_t luts_[5][kLutBytes];  // four layers, then the blend LUT
    uint8_t applied_[4];
    std::vector<uint32_t> entries_[4];
};

TEST_F(AbiDlopen, EntryWritesOnlyTheDocumentedBytesAndRefusesAPqLayerUnderHlg) {
    ASSERT_EQ(call(1), 1);
    for (int i = 0; i < 2; ++i) {
        uint8_t expected[kLutBytes];
        std::memset(expected, kPoison, sizeof(expected));
        put<uint16_t>(expected, kDimX, 17);
        put<uint16_t>(expected, kDimY, 17);
        put<void*>(expected, kEntries, entries_[i].data());
        put<uint8_t>(expected, kEnabled, 1);
        put<uint8_t>(expected, kReserved, 0);
        EXPECT_EQ(std::memcmp(luts_[i], expected, kLutBytes), 0) << "layer " << i;
        EXPECT_EQ(applied_[i], 1);
        EXPECT_EQ(entries_[i][0] & 0xC0000000u, 0xC0000000u);  // caller's top bits kept
        EXPECT_NE(entries_[i][kEntryCount - 1], 0xFFFFFFFFu);
    }
    EXPECT_EQ(applied_[2], kPoison);  // beyond num_layers: untouched
    EXPECT_EQ(luts_[2][kEnabled], kPoison);
    EXPECT_EQ(entries_[2][0], 0xFFFFFFFFu);
    // Blend LUT: only enabled and the reserved flag; the set: only its flag.
    uint8_t blend[kLutBytes];
    std::memset(blend, kPoison, kLutBytes);
    put<uint8_t>(blend, kEnabled, 0);
    put<uint8_t>(blend, kReserved, 0);
    EXPECT_EQ(std::memcmp(luts_[4], blend, kLutBytes), 0);
    put<uint8_t>(setBefore_, kBlendApplied, 0);
    EXPECT_EQ(std::memcmp(set_, setBefore_, kSetBytes), 0);
    EXPECT_EQ(call(2), 0);
}

}  // namespace
