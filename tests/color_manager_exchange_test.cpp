// Layer-LUT packing, the checksum, the hardware payload, and the colour
// manager's acquire, PCC read, push and release as the simulator sees them.
#include <gtest/gtest.h>
#include <krel/color_manager_sim.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

#include "log_capture.h"
#include "lut3d.h"
#include "playback_driver.h"

namespace {

using krel::sim::Call;
constexpr unsigned kCount = 17 * 17 * 17;
using hdrtm::kHardwareGridCodes;

class Exchange : public ::testing::Test {
protected:
    void SetUp() override { krel::sim::Reset(); }
    void TearDown() override { hdrtm::releaseManager(); }
    void set(unsigned k, float r, float g, float b) { r_[k] = r, g_[k] = g, b_[k] = b; }
    std::vector<float> r_ = std::vector<float>(kCount), g_ = r_, b_ = r_;
    float* planes_[3] = {r_.data(), g_.data(), b_.data()};
    LogCapture log_;
};

// The checksum adds blue as a float to the truncated red + green and wraps.
TEST_F(Exchange, PackKeepsTopTwoBitsWrapsThroughTheMaskAndSumsBlueAsAFloat) {
    std::vector<uint32_t> lut(kCount, 0xFFFFFFFFu);
    lut[1] = 0x40000000u;
    set(1, 1023.9f, 1024.0f, 1500.0f);  // 1023; 1024 wraps to 0; 1500 wraps to 476
    set(2, -3.0f, NAN, 5e9f);           // 0; 0; saturated then masked to 1023
    EXPECT_EQ(hdrtm::packLayerLut(planes_, lut.data(), 17, 0), hdrtm::lutChecksum(planes_, kCount, 0));
    EXPECT_EQ(lut[0], 0xC0000000u);
    EXPECT_EQ(lut[1], 0x40000000u | 1023u | (476u << 20));
    EXPECT_EQ(lut[2], 0xC0000000u | (1023u << 20));
    set(1, 1.9f, 2.9f, 0.6f);   // 3.0 + 0.6: 3
    set(2, 3.2f, 0.0f, -0.5f);  // 3.0 - 0.5: 2, not 3
    set(3, -7.0f, NAN, 0.0f);   // 0
    EXPECT_EQ(hdrtm::lutChecksum(planes_, kCount, 0xFFFFFFFFu), 4u);
    EXPECT_EQ(hdrtm::packLayerLut(planes_, nullptr, 17, 10), 15u);  // no buffer: sums only
}

TEST_F(Exchange, PayloadCarriesTruncatedOutputsAndOptionalInputs) {
    auto uniform = std::make_unique<hdrtm::HardwareLutRecord>(), graded = std::make_unique<hdrtm::HardwareLutRecord>();
    hdrtm::HardwareLutRequest request;
    std::memset(uniform.get(), 0xFF, sizeof(*uniform));  // input codes must be written as zeros
    for (unsigned k = 0; k < kCount; ++k) set(k, k * 0.5f, -1.0f, 4095.99f);
    hdrtm::buildLutPayload(planes_, nullptr, false, uniform.get(), &request);
    hdrtm::buildLutPayload(planes_, kHardwareGridCodes, false, graded.get(), &request);
    EXPECT_EQ(uniform->uniform, 1u);
    EXPECT_EQ(graded->uniform, 0u);
    for (unsigned k = 0; k < kCount; ++k) {
        const auto &e = uniform->entries[k], &h = graded->entries[k];
        ASSERT_EQ(e.out_r, k / 2);
        ASSERT_EQ(e.out_g | e.in_r | e.in_g | e.in_b, 0u);
        ASSERT_EQ(e.out_b, 4095u);
        ASSERT_EQ(std::make_tuple(h.in_r, h.in_g, h.in_b),
                  std::make_tuple(kHardwareGridCodes[k % 17], kHardwareGridCodes[k / 17 % 17], kHardwareGridCodes[k / 289]));
    }
    const auto grid = log_.lines();
    ASSERT_EQ(grid.size(), 17u);
    EXPECT_EQ(grid[16].text, "sampling grid R = 4096 G = 0 B = 0");
    EXPECT_EQ(grid[16].priority, ANDROID_LOG_INFO);
}

TEST_F(Exchange, ManagerLifeAsTheSimulatorSeesIt) {
    hdrtm::acquireManager();
    hdrtm::acquireManager();  // held: no second acquisition
    ASSERT_TRUE(hdrtm::managerHeld());
    auto record = std::make_unique<hdrtm::HardwareLutRecord>();
    hdrtm::HardwareLutRequest request;
    set(5, 12.0f, 34.0f, 56.0f);
    hdrtm::buildLutPayload(planes_, nullptr, false, record.get(), &request);
    int status = -1;
    EXPECT_TRUE(hdrtm::pushLut(&request, &status));
    EXPECT_EQ(status, 0);
    hdrtm::releaseManager();
    hdrtm::releaseManager();
    EXPECT_FALSE(hdrtm::managerHeld());

    const auto calls = krel::sim::Calls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(std::make_tuple(calls[0].kind, calls[0].display, calls[0].panel_name),
              std::make_tuple(Call::kAcquire, 0, std::string("generic_panel")));
    EXPECT_EQ(std::make_tuple(calls[1].kind, calls[1].feature, calls[1].flags),
              std::make_tuple(Call::kSet, 105u, 0u));
    EXPECT_EQ(calls[2].kind, Call::kRelease);
    EXPECT_EQ(krel::sim::Pushes().size(), 1u);  // its bytes: playback_entry_test
    EXPECT_TRUE(log_.texts().empty());
}

TEST_F(Exchange, VirtualPccFillsDoublesOneToThirtyThreeAndLogsInTermOrder) {
    double coefficients[33];
    for (int i = 0; i < 33; ++i) coefficients[i] = i + 0.25;
    krel::sim::SetPcc(coefficients);
    hdrtm::acquireManager();
    PccCoefficients block;
    std::memset(&block, 0x5A, sizeof(block));
    const PccCoefficients untouched = block;
    hdrtm::readVirtualPcc(&block);
    EXPECT_EQ(std::memcmp(&block.reserved, &untouched.reserved, 8), 0);  // never written
    EXPECT_EQ(std::memcmp(block.row, coefficients, sizeof(coefficients)), 0);
    const auto lines = log_.lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].text, "PCC index[0] : 1.250000 2.250000 3.250000 7.250000 8.250000 "
                             "9.250000 4.250000 5.250000 6.250000 10.250000 0.250000");
    EXPECT_EQ(lines[2].text, "PCC index[2] : 23.250000 24.250000 25.250000 29.250000 30.250000 "
                             "31.250000 26.250000 27.250000 28.250000 32.250000 22.250000");
    EXPECT_EQ(lines[2].priority, ANDROID_LOG_ERROR);
    const auto calls = krel::sim::Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(std::make_tuple(calls[1].kind, calls[1].feature, calls[1].flags),
              std::make_tuple(Call::kGet, 149u, 0u));
}

}  // namespace
