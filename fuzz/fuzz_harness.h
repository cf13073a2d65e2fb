// The fuzz harnesses, one per libFuzzer target. Each fuzzer's source defines
// its harness and, through HDRTM_FUZZ_TARGET, the libFuzzer entry points;
// tests/fuzz_regressions_test.cpp builds them with HDRTM_FUZZ_REPLAY defined
// (no entry points) to replay the seed corpora and every input that once
// failed.
#pragma once

#include <android/log.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace hdrtm_fuzz {

// Any bytes as the tuning file.
int fuzzTuningLoader(const uint8_t* data, size_t size);
// One exported stage function on a random parameter record and planes.
int fuzzStages(const uint8_t* data, size_t size);
// Up to three calls of the playback entry on random records, with a fuzzed
// tuning file and scripted colour-manager faults.
int fuzzEntry(const uint8_t* data, size_t size);

// Sends the library's log lines nowhere: a fuzzer makes thousands of calls a
// second, each of which logs dozens of lines.
inline void discardLogs() {
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
}

// The libFuzzer entry points of a target: logs discarded, every input handed
// to `harness`. Left out when the harness is built into the replay test.
#ifdef HDRTM_FUZZ_REPLAY
#define HDRTM_FUZZ_TARGET(harness)
#else
#define HDRTM_FUZZ_TARGET(harness)                                              \
    extern "C" int LLVMFuzzerInitialize(int*, char***) {                        \
        hdrtm_fuzz::discardLogs();                                              \
        return 0;                                                               \
    }                                                                           \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {   \
        return harness(data, size);                                             \
    }
#endif

// A file of this process under /tmp, rewritten for each input and removed
// at exit: the tuning file a harness hands to the library by path.
class ScratchFile {
public:
    explicit ScratchFile(const char* name)
        : path_("/tmp/hdrtm_" + std::string(name) + "_" + std::to_string(getpid()) + ".xml") {}
    ~ScratchFile() { unlink(path_.c_str()); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const char* path() const { return path_.c_str(); }

    bool write(std::string_view bytes) const {
        FILE* file = std::fopen(path_.c_str(), "wb");
        if (file == nullptr) return false;
        const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
        return std::fclose(file) == 0 && written;
    }

private:
    std::string path_;
};

// A property every input must keep; a violation aborts, which the fuzzer
// reports as a crash with this line.
#define HDRTM_FUZZ_CHECK(condition)                                                        \
    do {                                                                                   \
        if (!(condition)) {                                                                \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                  \
        }                                                                                  \
    } while (0)

}  // namespace hdrtm_fuzz
