// Colour-manager simulator: a virtual panel for the host.
#include <krel/color_manager.h>
#include <krel/color_manager_sim.h>

#include <cstring>
#include <mutex>

#define KREL_EXPORT __attribute__((visibility("default")))

namespace krel {
namespace {

constexpr size_t kPccHeaderBytes = 16;
constexpr size_t kPushRequestBytes = 24;

void setIdentityPcc(double* pcc);

struct Panel {
    Panel() { setIdentityPcc(pcc); }
    std::mutex mutex;
    double pcc[sim::kPccCoefficientCount] = {};
    bool failAcquire = false;
    int pccReadStatus = 0;
    int pushStatus = 0;
    ColorManager* held = nullptr;
    std::vector<sim::Call> calls;
    std::vector<sim::Push> pushes;
};

void setIdentityPcc(double* pcc) {
    std::memset(pcc, 0, sizeof(double) * sim::kPccCoefficientCount);
    pcc[0 * 11 + 1] = 1.0;  // row r, term r
    pcc[1 * 11 + 2] = 1.0;  // row g, term g
    pcc[2 * 11 + 3] = 1.0;  // row b, term b
}

Panel& panel() {
    static Panel instance;
    return instance;
}

}  // namespace

KREL_EXPORT ColorManager* ColorManager::AcquireColorManager(DisplayType type,
                                                            const PPHWAttributes& attributes) {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    sim::Call call{sim::Call::kAcquire, static_cast<int>(type), 0, 0, 0,
                   std::string(attributes.panel_name,
                               strnlen(attributes.panel_name, sizeof(attributes.panel_name)))};
    if (p.failAcquire) {
        call.status = -1;
        p.calls.push_back(call);
        return nullptr;
    }
    if (p.held == nullptr) p.held = new ColorManager();
    p.calls.push_back(call);
    return p.held;
}

KREL_EXPORT void ColorManager::ReleaseColorManager(DisplayType type) {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    p.calls.push_back(sim::Call{sim::Call::kRelease, static_cast<int>(type), 0, 0, 0, {}});
    delete p.held;
    p.held = nullptr;
}

KREL_EXPORT int ColorManager::ColorIntfGetActiveColorParam(unsigned int feature, unsigned int flags,
                                                           void* payload) {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    int status = 0;
    if (feature != sim::kFeatureVirtualPcc || payload == nullptr) {
        status = -22;  // unsupported feature or no payload
    } else if (p.pccReadStatus != 0) {
        status = p.pccReadStatus;
    } else {
        std::memcpy(static_cast<uint8_t*>(payload) + kPccHeaderBytes, p.pcc, sizeof(p.pcc));
    }
    p.calls.push_back(sim::Call{sim::Call::kGet, 0, feature, flags, status, {}});
    return status;
}

KREL_EXPORT int ColorManager::ColorIntfSetActiveColorParam(unsigned int feature, unsigned int flags,
                                                           void* payload) {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    int status = 0;
    if (feature != sim::kFeature3dLut || payload == nullptr) {
        status = -22;
    } else {
        sim::Push push;
        const auto* request = static_cast<const uint8_t*>(payload);
        const uint8_t* record = nullptr;
        std::memcpy(&push.request_word0, request, 4);
        std::memcpy(&push.request_word1, request + 4, 4);
        std::memcpy(&record, request + 8, sizeof(record));
        std::memcpy(&push.request_tail, request + 16, 8);
        static_assert(kPushRequestBytes == 24);
        if (record != nullptr) push.record.assign(record, record + sim::kLutRecordBytes);
        p.pushes.push_back(std::move(push));
        status = p.pushStatus;
    }
    p.calls.push_back(sim::Call{sim::Call::kSet, 0, feature, flags, status, {}});
    return status;
}

namespace sim {

KREL_EXPORT void Reset() {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    setIdentityPcc(p.pcc);
    p.failAcquire = false;
    p.pccReadStatus = 0;
    p.pushStatus = 0;
    delete p.held;
    p.held = nullptr;
    p.calls.clear();
    p.pushes.clear();
}

KREL_EXPORT void SetPcc(const double coefficients[kPccCoefficientCount]) {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    std::memcpy(p.pcc, coefficients, sizeof(p.pcc));
}

KREL_EXPORT void FailAcquire(bool fail) {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    p.failAcquire = fail;
}

KREL_EXPORT void FailPccRead(int status) {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    p.pccReadStatus = status;
}

KREL_EXPORT void FailPush(int status) {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    p.pushStatus = status;
}

KREL_EXPORT std::vector<Call> Calls() {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    return p.calls;
}

KREL_EXPORT std::vector<Push> Pushes() {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    return p.pushes;
}

KREL_EXPORT bool Held() {
    Panel& p = panel();
    std::lock_guard<std::mutex> lock(p.mutex);
    return p.held != nullptr;
}

}  // namespace sim
}  // namespace krel
