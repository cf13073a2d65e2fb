// How hdrtm writes files: whole or not at all, and each run into a folder of
// its own, so that no file from one run is mistaken for part of another.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace hdrtm::tool {

// The list of files a run wrote, kept in its output folder.
constexpr const char* kManifestName = "hdrtm-manifest.txt";

// `text` with the characters XML reserves (& < > ") as entities, for the
// SVG and CLF files hdrtm writes.
std::string xmlEscaped(const std::string& text);

// Writes `bytes` to a temporary file beside `path` and renames it over
// `path`, so a failure leaves no half-written file. A device or pipe (say
// /dev/stdout) is written directly. Throws std::runtime_error naming the path
// and the reason.
void writeFileAtomically(const std::string& path, const std::string& bytes);

// A run folder refused for files no earlier run wrote; what() names the
// folder and the files, and the caller adds how to go on.
struct ForeignFilesError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Makes `dir` ready for a run: creates it, or, when it exists, removes the
// files the manifest of an earlier run lists. Any other file in it is refused
// (ForeignFilesError) unless `force`, which leaves such files be; other
// failures throw std::runtime_error.
void prepareRunFolder(const std::string& dir, bool force);

// Records `files` (names inside `dir`) as the run's own.
void writeManifest(const std::string& dir, const std::vector<std::string>& files);

// Removes what a failed run wrote (names inside `dir`), ignoring errors.
void removeRunFiles(const std::string& dir, const std::vector<std::string>& files);

}  // namespace hdrtm::tool
