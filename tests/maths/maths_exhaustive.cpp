// The exhaustive check of the correctly rounded maths against MPFR (through
// the fast reference of maths_reference.h): every float through logf and
// log10f, every float base through powf for each constant exponent of the
// stages, and 10^y (and powf(10, y)) for every y whose result neither
// overflows nor underflows. Prints a line per function with the arguments
// checked and the mismatches, the first few of them in full; exits 1 on any.
//   maths_exhaustive [logf] [log10f] [powf] [exp10f]   (all without arguments)
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "constant_exponents.h"
#include "cr_maths.h"
#include "maths_reference.h"

namespace {

constexpr uint64_t kAllFloats = uint64_t{1} << 32;
constexpr uint64_t kChunk = uint64_t{1} << 20;

struct Outcome {
    std::atomic<uint64_t> checked{0}, mismatches{0};
    std::mutex printing;
};

// check(bits) for every bits in [begin, end), on every processor; returns
// false for a mismatch.
void forEachBits(uint64_t begin, uint64_t end, Outcome& outcome,
                 const std::function<bool(uint32_t, std::string*)>& check) {
    std::atomic<uint64_t> next{begin};
    auto work = [&] {
        std::string report;
        for (uint64_t start; (start = next.fetch_add(kChunk)) < end;) {
            const uint64_t stop = std::min(start + kChunk, end);
            uint64_t bad = 0;
            for (uint64_t bits = start; bits < stop; ++bits) {
                report.clear();
                if (check(static_cast<uint32_t>(bits), &report)) continue;
                if (++bad + outcome.mismatches.load() <= 10) {
                    std::lock_guard<std::mutex> lock(outcome.printing);
                    std::printf("  mismatch: %s\n", report.c_str());
                }
            }
            outcome.checked += stop - start;
            outcome.mismatches += bad;
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < std::max(1u, std::thread::hardware_concurrency()); ++i) threads.emplace_back(work);
    for (std::thread& t : threads) t.join();
}

std::string describe(const char* function, float x, float y, float got, float want) {
    char text[160];
    std::snprintf(text, sizeof(text), "%s(%a, %a) = %a, MPFR %a", function, x, y, got, want);
    return text;
}

bool run(const char* name, uint64_t begin, uint64_t end, const std::function<bool(uint32_t, std::string*)>& check) {
    const auto start = std::chrono::steady_clock::now();
    Outcome outcome;
    forEachBits(begin, end, outcome, check);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%-28s %12llu arguments, %llu mismatches (%.0f s)\n", name,
                static_cast<unsigned long long>(outcome.checked.load()),
                static_cast<unsigned long long>(outcome.mismatches.load()), seconds);
    std::fflush(stdout);
    return outcome.mismatches == 0;
}

bool wanted(int argc, char** argv, const char* name) {
    if (argc < 2) return true;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], name) == 0) return true;
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    using mathsref::sameResult;
    bool passed = true;
    using Unary = float (*)(float);
    const struct {
        const char* name;
        Unary library, reference;
    } logarithms[] = {{"logf", hdrtm::crLogf, mathsref::referenceLogf},
                      {"log10f", hdrtm::crLog10f, mathsref::referenceLog10f}};
    for (const auto& f : logarithms) {
        if (!wanted(argc, argv, f.name)) continue;
        passed &= run(f.name, 0, kAllFloats, [&f](uint32_t bits, std::string* report) {
            const float x = std::bit_cast<float>(bits);
            const float got = f.library(x), want = f.reference(x);
            if (sameResult(got, want)) return true;
            *report = describe(f.name, x, 0.0f, got, want);
            return false;
        });
    }
    if (wanted(argc, argv, "powf")) {
        for (const float exponent : hdrtm::constantExponents()) {
            char name[64];
            std::snprintf(name, sizeof(name), "powf(x, %.9g)", exponent);
            passed &= run(name, 0, kAllFloats, [exponent](uint32_t bits, std::string* report) {
                const float x = std::bit_cast<float>(bits);
                const float got = hdrtm::crPowf(x, exponent), want = mathsref::referencePowf(x, exponent);
                if (sameResult(got, want)) return true;
                *report = describe("powf", x, exponent, got, want);
                return false;
            });
        }
    }
    if (wanted(argc, argv, "exp10f")) {
        // 10^y is a float above 0 and below infinity for y in (-45.16, 38.54):
        // every float y of magnitude below 46 covers that, and both ends.
        auto check = [](uint32_t bits, std::string* report) {
            const float y = std::bit_cast<float>(bits);
            const float want = mathsref::referencePowf(10.0f, y);
            const float exp10 = hdrtm::crExp10f(y), pow = hdrtm::crPowf(10.0f, y);
            if (sameResult(exp10, want) && sameResult(pow, want)) return true;
            *report = describe(sameResult(exp10, want) ? "powf" : "10^y", 10.0f, y,
                               sameResult(exp10, want) ? pow : exp10, want);
            return false;
        };
        constexpr uint64_t kBelow46 = 0x42380000u;  // bits of 46.0f
        passed &= run("10^y and powf(10, y), y > 0", 0, kBelow46, check);
        passed &= run("10^y and powf(10, y), y < 0", 0x80000000u, 0x80000000u + kBelow46, check);
    }
    return passed ? 0 : 1;
}
