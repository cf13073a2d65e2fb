// Heap per entry call, block by block (operator new and the malloc family):
// the PCC block, the plane block and each stage's scratch, with nothing left
// after the call. The host property stand-in's key string is measured on its
// own. Valgrind replaces the same functions, so memcheck leaves this out.
#include <android/log.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <krel/color_manager.h>
#include <krel/color_manager_sim.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "entry_caller.h"
#include "hdr_tm.h"
#include "tm_common.h"

// Under a sanitizer, whose runtime owns malloc, only operator new is counted
// (the library allocates through it alone); otherwise the malloc family is
// replaced, forwarding to glibc's own entry points, and operator new counts
// through it.
#if defined(__has_feature)
#define HDRTM_HAS_FEATURE(name) __has_feature(name)
#else
#define HDRTM_HAS_FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || \
    HDRTM_HAS_FEATURE(address_sanitizer) || HDRTM_HAS_FEATURE(thread_sanitizer)
#define HDRTM_COUNT_MALLOC 0
#else
#define HDRTM_COUNT_MALLOC 1
#endif

namespace {

// Live blocks while counting, by address; a fixed table so that counting
// itself never allocates. Blocks from before counting started are not in it.
struct Counter {
    static constexpr size_t kSlots = 4096;
    bool on = false;
    const void* address[kSlots] = {};
    size_t size[kSlots] = {};
    std::vector<size_t>* sizes = nullptr;  // every block taken, in order
    size_t live = 0, peak = 0, lost = 0;   // lost: blocks the table had no room for

    size_t slot(const void* block) const { return std::find(address, address + kSlots, block) - address; }
    void taken(void* block, size_t bytes) {  // not const void*: GCC would warn the fresh block is unread
        if (!on || block == nullptr) return;
        on = false;  // the sizes vector may grow
        sizes->push_back(bytes);
        on = true;
        const size_t i = slot(nullptr);
        if (i == kSlots) ++lost;
        else address[i] = block, size[i] = bytes, live += bytes, peak = std::max(peak, live);
    }
    void released(const void* block) {
        const size_t i = on && block != nullptr ? slot(block) : kSlots;
        if (i < kSlots) address[i] = nullptr, live -= size[i];
    }
};

Counter gCounter;

}  // namespace

#if HDRTM_COUNT_MALLOC
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);
extern "C" void* __libc_realloc(void* block, size_t size);
extern "C" void __libc_free(void* block);
extern "C" void* malloc(size_t size) {
    void* block = __libc_malloc(size);
    gCounter.taken(block, size);
    return block;
}
extern "C" void free(void* block) { gCounter.released(block), __libc_free(block); }
extern "C" void* calloc(size_t count, size_t size) {
    void* block = __libc_calloc(count, size);
    gCounter.taken(block, count * size);
    return block;
}
extern "C" void* realloc(void* block, size_t size) {
    gCounter.released(block);
    void* moved = __libc_realloc(block, size);
    gCounter.taken(moved, size);
    return moved;
}
#endif

void* operator new(size_t size) {
    void* block = std::malloc(size == 0 ? 1 : size);
    if (!HDRTM_COUNT_MALLOC) gCounter.taken(block, size == 0 ? 1 : size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void* operator new[](size_t size) { return operator new(size); }
void operator delete(void* block) noexcept {
    if (!HDRTM_COUNT_MALLOC) gCounter.released(block);
    std::free(block);
}
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete(void* block, size_t) noexcept { operator delete(block); }
void operator delete[](void* block, size_t) noexcept { operator delete(block); }

namespace {

constexpr size_t kPlane = hdrtm::kLutPoints * sizeof(float);  // N floats
constexpr size_t kPccBlock = sizeof(PccCoefficients);
constexpr size_t kPlaneBlock = 3 * kPlane;
constexpr size_t kCoreScratch = 3 * kPlane;  // XYZ planes; then one luminance plane
constexpr size_t kPeak = kPccBlock + kPlaneBlock + kCoreScratch + kPlane;

struct Heap {
    std::vector<size_t> sizes;  // blocks taken, in order
    size_t peak = 0, liveAfter = 0;
};

template <typename Work>
Heap measure(Work work) {
    Heap heap;
    gCounter.sizes = &heap.sizes;
    gCounter.live = gCounter.peak = 0;
    gCounter.on = true;
    work();
    gCounter.on = false;
    EXPECT_EQ(gCounter.lost, 0u);
    heap.peak = gCounter.peak;
    heap.liveAfter = gCounter.live;
    std::fill(std::begin(gCounter.address), std::end(gCounter.address), nullptr);
    return heap;
}

class AllocationPerCall : public ::testing::Test {
protected:
    void SetUp() override {
        __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
        krel::sim::Reset();
        char value[PROPERTY_VALUE_MAX];
        propertyBlocks_ = measure([&] { property_get("ro.vendor.display.hdr.config", value, nullptr); }).sizes;
    }
    void TearDown() override {
        krel::sim::Reset();
        __android_log_set_logger(__android_log_stderr_logger);
    }

    // Blocks of one call, in order: the property lookup's, the PCC block,
    // the planes, then the scratch of each stage that takes any.
    std::vector<size_t> expected(std::vector<size_t> scratch) const {
        std::vector<size_t> blocks = propertyBlocks_;
        blocks.insert(blocks.end(), {kPccBlock, kPlaneBlock});
        blocks.insert(blocks.end(), scratch.begin(), scratch.end());
        return blocks;
    }

    Heap call(uint32_t blendSpace, uint8_t hw, uint32_t transfer, uint32_t contentClass = 0) {
        const std::vector<EntryLayer> layers = {{transfer, contentClass}};  // not counted
        return measure([&] { EXPECT_EQ(caller_.call(blendSpace, hw, layers), 1); });
    }

    std::vector<size_t> propertyBlocks_;
    EntryCaller caller_;
};

// A repeated call takes the same blocks again.
TEST_F(AllocationPerCall, EachRowTakesTheTwoBlocksAndItsStagesScratchOnly) {
    const std::vector<size_t> core = {kCoreScratch, kPlane};
    constexpr size_t kTwo = kPccBlock + kPlaneBlock;
    struct Row {
        uint32_t blendSpace, transfer, contentClass;
        std::vector<size_t> scratch;
        size_t peak;
    };
    const Row rows[] = {
        {kBlendSpacePq, kTransferPq, 0, {}, kTwo},  // no pipeline
        {kBlendSpacePerLayer, kTransferPq, 0, core, kPeak},
        {kBlendSpacePq, kTransferHlg, 0, {kPlane}, kTwo + kPlane},
        {kBlendSpacePerLayer, kTransferHlg, 0, {kPlane, kCoreScratch, kPlane}, kPeak},
        {kBlendSpacePq, kTransferBt709, kContentClassSdr, core, kPeak},
        {kBlendSpaceHlg, kTransferBt709, kContentClassSdr, {kCoreScratch, kPlane, kPlane}, kPeak},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.blendSpace << ' ' << row.transfer);
        const Heap heap = call(row.blendSpace, 0, row.transfer, row.contentClass);
        EXPECT_EQ(heap.sizes, expected(row.scratch));
        EXPECT_EQ(heap.peak, row.peak);
        EXPECT_EQ(heap.liveAfter, 0u);
        EXPECT_EQ(call(row.blendSpace, 0, row.transfer, row.contentClass).sizes, heap.sizes);
    }
}

// Hardware rows also run the colour manager (the host simulator, which keeps
// what it is sent): its blocks, measured by making the same calls alone, are
// the only ones beyond the library's.
TEST_F(AllocationPerCall, HardwareRowsAddOnlyTheColourManagersBlocks) {
    krel::PPHWAttributes attributes;
    static uint8_t lutRecord[krel::sim::kLutRecordBytes];
    struct { uint32_t one = 1, zero = 0; uint8_t* record = lutRecord; uint64_t tail = 0; } request;
    uint8_t pcc[krel::sim::kPccPayloadBytes] = {};
    krel::sim::Reset();
    const Heap manager = measure([&] {
        krel::ColorManager* cm = krel::ColorManager::AcquireColorManager(krel::kPrimary, attributes);
        cm->ColorIntfGetActiveColorParam(krel::sim::kFeatureVirtualPcc, 0, pcc);
        cm->ColorIntfSetActiveColorParam(krel::sim::kFeature3dLut, 0, &request);
        krel::ColorManager::ReleaseColorManager(krel::kPrimary);
    });
    size_t managerBytes = 0;
    for (size_t bytes : manager.sizes) managerBytes += bytes;

    for (uint32_t transfer : {kTransferPq, kTransferHlg}) {
        SCOPED_TRACE(transfer);
        krel::sim::Reset();
        const Heap heap = call(transfer == kTransferPq ? kBlendSpacePq : kBlendSpaceHlg, 1, transfer);
        // The simulator's vectors keep their capacity across resets: a row
        // may take fewer of its blocks than the dry run did.
        std::vector<size_t> library = heap.sizes;
        for (size_t bytes : manager.sizes)
            if (auto found = std::find(library.begin(), library.end(), bytes); found != library.end()) library.erase(found);
        EXPECT_EQ(library, expected(transfer == kTransferPq ? std::vector<size_t>{kCoreScratch, kPlane}
                                                            : std::vector<size_t>{kPlane, kCoreScratch, kPlane}));
        EXPECT_LE(heap.peak, kPeak + managerBytes);
        EXPECT_LE(heap.liveAfter, managerBytes);  // what the simulator keeps
    }
}

}  // namespace
