// Tuning files reach the library through a property value, which holds at
// most 91 characters; a checkout can sit deeper than that. Tests hand the
// library a copy of the data file under a short path instead.
#pragma once

#include <string>

// Copies HDRTM_TEST_DATA_DIR-relative `path` (any path) to /tmp/hdrtm_test_<name>
// and returns the copy's path. The copy is written atomically, so concurrent
// test processes may share it.
std::string shortTuningPath(const std::string& path);

// The property that names the tuning file.
inline constexpr const char* kTuningProperty = "ro.vendor.display.hdr.config";

#ifdef HDRTM_TEST_DATA_DIR
// A short-path copy of tests/data/<name>.
inline std::string dataTuningPath(const std::string& name) {
    return shortTuningPath(std::string(HDRTM_TEST_DATA_DIR) + "/" + name);
}
#endif
