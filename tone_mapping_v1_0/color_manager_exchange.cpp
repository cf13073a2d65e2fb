// Colour-manager exchange and LUT output formats: acquiring the display's
// colour manager, reading the panel's Virtual PCC, the 12-bit 3D LUT payload
// and its push, the 10-bit packed layer LUT and the LUT checksum.
#include "playback_driver.h"

#include <krel/color_manager.h>

#include <cstddef>
#include <cstring>

namespace hdrtm {
namespace {

constexpr krel::DisplayType kDisplay = krel::kPrimary;  // the panel is the primary display
constexpr char kPanelName[] = "generic_panel";          // zero-padded to the 256-byte field
constexpr unsigned int kLoggedLutEntries = 200;         // entries of a PQ hardware LUT logged
constexpr uint32_t kLayerChannelMask = 0x3FFu;          // one 10-bit channel of a layer entry
constexpr int kLayerGreenShift = 10;
constexpr int kLayerBlueShift = 20;

// The process-wide handle: held from acquisition to the end of a completed
// call (a refused call keeps it for the next one).
krel::ColorManager* gColorManager = nullptr;

// Writes one 10-bit channel of a layer entry. A code of 1024 or more wraps
// through the mask rather than clamping, on purpose.
inline uint32_t withChannel(uint32_t word, float value, int shift) {
    const uint32_t mask = kLayerChannelMask << shift;
    return (word & ~mask) | ((floatToUint32(value) << shift) & mask);
}

// The first entries' output codes, one line each (printf's %d reading of
// the codes).
void logEntryOutputs(const HardwareLutEntry* entries) {
    if (!logLineWanted(ANDROID_LOG_ERROR)) return;
    for (unsigned int k = 0; k < kLoggedLutEntries; ++k) {
        const HardwareLutEntry& e = entries[k];
        writeLogPieces(ANDROID_LOG_ERROR, "Index [", static_cast<int32_t>(k), "] = R = ",
                       static_cast<int32_t>(e.out_r), " G = ", static_cast<int32_t>(e.out_g),
                       " B = ", static_cast<int32_t>(e.out_b));
    }
}

}  // namespace

void acquireManager() {
    if (gColorManager != nullptr) return;
    krel::PPHWAttributes attributes;
    static_assert(sizeof(kPanelName) <= sizeof(attributes.panel_name));
    std::memset(attributes.panel_name, 0, sizeof(attributes.panel_name));
    std::memcpy(attributes.panel_name, kPanelName, sizeof(kPanelName));
    gColorManager = krel::ColorManager::AcquireColorManager(kDisplay, attributes);
    if (gColorManager == nullptr) HDRTM_LOGE("failed Acquiring ColorManager");
}

bool managerHeld() { return gColorManager != nullptr; }

void releaseManager() {
    if (gColorManager == nullptr) return;
    krel::ColorManager::ReleaseColorManager(kDisplay);
    gColorManager = nullptr;
}

void readVirtualPcc(PccCoefficients* block) {
    if (gColorManager == nullptr || block == nullptr) return;
    PccPayload payload;
    std::memset(&payload, 0, sizeof(payload));
    const int status =
        gColorManager->ColorIntfGetActiveColorParam(kFeatureVirtualPcc, kColorParamFlags, &payload);
    if (status != 0) {
        HDRTM_LOGE("Failed getting the Virtual PCC");
        return;
    }
    static_assert(sizeof(block->row) == sizeof(payload.coefficients));
    std::memcpy(block->row, payload.coefficients, sizeof(block->row));
    if (!logLineWanted(ANDROID_LOG_ERROR)) return;
    // Terms are logged first order, cross terms, squares, then rgb and c: not
    // the storage order, on purpose.
    constexpr int kLoggedTermOrder[] = {kPccR,  kPccG,  kPccB,  kPccRG,  kPccGB, kPccRB,
                                        kPccRR, kPccGG, kPccBB, kPccRGB, kPccC};
    for (int k = 0; k < 3; ++k) {
        LogLine line;
        appendText(line, "PCC index[");
        appendInteger(line, k);
        appendText(line, "] :");
        for (int term : kLoggedTermOrder) {
            appendText(line, " ");
            appendFixed(line, block->row[k][term]);
        }
        writeLogLine(ANDROID_LOG_ERROR, line);
    }
}

HDRTM_VECTOR_CLONES
uint32_t lutChecksum(float* const* planes, unsigned int count, uint32_t sum) {
    const float* r = planes[0];
    const float* g = planes[1];
    const float* b = planes[2];
    for (unsigned int k = 0; k < count; ++k) sum += checksumTerm(r[k], g[k], b[k]);
    return sum;
}

HDRTM_VECTOR_CLONES
uint32_t packLayerLut(float* const* planes, uint32_t* entries, unsigned int n, uint32_t sum) {
    const unsigned int count = n * n * n;
    if (entries == nullptr) return lutChecksum(planes, count, sum);
    const float* r = planes[0];
    const float* g = planes[1];
    const float* b = planes[2];
    for (unsigned int k = 0; k < count; ++k) {
        // Read-modify-write, one channel at a time: bits 30-31 stay the caller's.
        uint32_t word = entries[k];
        word = withChannel(word, r[k], 0);
        word = withChannel(word, g[k], kLayerGreenShift);
        word = withChannel(word, b[k], kLayerBlueShift);
        entries[k] = word;
        sum += checksumTerm(r[k], g[k], b[k]);
    }
    return sum;
}

HDRTM_VECTOR_CLONES
void buildLutPayload(float* const* planes, const uint32_t* inputGrid, bool logEntries,
                     HardwareLutRecord* record, HardwareLutRequest* request) {
    // Everything before the entries is zeroed here; every field of every
    // entry is written below.
    std::memset(record, 0, offsetof(HardwareLutRecord, entries));
    record->uniform = inputGrid == nullptr ? 1u : 0u;
    record->num_entries = kLutPoints;
    request->one = 1;
    request->zero = 0;
    request->record = record;
    request->tail = 0;

    const float* r = planes[0];
    const float* g = planes[1];
    const float* b = planes[2];
    // Whole entries, inputs zero, so that the stores combine.
    HardwareLutEntry* const entries = record->entries;
    for (unsigned int k = 0; k < static_cast<unsigned int>(kLutPoints); ++k) {
        entries[k] = {0, 0, 0, floatToUint32(r[k]), floatToUint32(g[k]), floatToUint32(b[k])};
    }
    if (logEntries) logEntryOutputs(record->entries);
    if (inputGrid == nullptr) return;

    constexpr int n = kGridPointsPerAxis;
    for (int bi = 0; bi < n; ++bi) {
        for (int gi = 0; gi < n; ++gi) {
            for (int ri = 0; ri < n; ++ri) {
                HardwareLutEntry& e = record->entries[(bi * n + gi) * n + ri];
                e.in_r = inputGrid[ri];
                e.in_g = inputGrid[gi];
                e.in_b = inputGrid[bi];
            }
        }
    }
    if (!logLineWanted(ANDROID_LOG_INFO)) return;
    for (int k = 0; k < n; ++k) {
        const HardwareLutEntry& e = record->entries[k];
        writeLogPieces(ANDROID_LOG_INFO, "sampling grid R = ", static_cast<int32_t>(e.in_r),
                       " G = ", static_cast<int32_t>(e.in_g), " B = ", static_cast<int32_t>(e.in_b));
    }
}

bool pushLut(HardwareLutRequest* request, int* status) {
    if (gColorManager == nullptr) return false;
    *status = gColorManager->ColorIntfSetActiveColorParam(kFeature3dLut, kColorParamFlags, request);
    return true;
}

}  // namespace hdrtm
