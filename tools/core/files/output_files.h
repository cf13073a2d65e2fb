// How hdrtm writes files: whole or not at all, and each run into a folder of
// its own, so that no file from one run is mistaken for part of another and a
// run that fails leaves nothing behind.
#pragma once

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace hdrtm::tool {

// The list of files a run wrote, kept in its output folder.
constexpr const char* kManifestName = "hdrtm-manifest.txt";

// `text` with the characters XML reserves (& < > ") as entities, for the
// SVG and CLF files hdrtm writes.
std::string xmlEscaped(const std::string& text);

// Why `path` cannot take a new file, or "" when it can: it is a folder, its
// folder is missing or not writable, or its extension is none of
// `extensions` (".png"; none given: any). An existing device or pipe (say
// /dev/stdout) takes any bytes.
std::string outputFileProblem(const std::string& path, const std::vector<std::string>& extensions);

// Files written together. Each is staged under a temporary name beside its
// target; commit() puts them all in place. Until then nothing is replaced,
// and whatever is not committed is removed when the batch goes. A device or
// pipe (say /dev/stdout) is written directly at commit(). Failures throw
// std::runtime_error naming the path and the reason.
class StagedFiles {
public:
    StagedFiles() = default;
    ~StagedFiles();
    StagedFiles(const StagedFiles&) = delete;
    StagedFiles& operator=(const StagedFiles&) = delete;

    void stage(const std::string& path, const std::string& bytes);
    void commit();
    // Removes what is staged and not committed.
    void discard();

private:
    struct Staged {
        std::string target;
        std::string temporary;  // empty for a device, written at commit
        std::string bytes;      // a device's bytes
    };
    std::vector<Staged> staged_;
};

// Writes `bytes` to `path` as a batch of one: a failure leaves no
// half-written file and keeps the old one.
void writeFileAtomically(const std::string& path, const std::string& bytes);

// A run folder refused for files no earlier run wrote; what() names the
// folder and the files, and the caller adds how to go on.
struct ForeignFilesError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The folder a run writes into: a new or empty one, or one an earlier run
// wrote (its manifest lists its files); any other file in it is refused
// (ForeignFilesError) unless `force`, which leaves such files be. The
// constructor checks the folder and creates it when missing. Files are staged
// in it; commit() removes the earlier run's files, puts the new ones in place
// and writes the manifest. A run that does not commit leaves the folder as it
// found it, and removes it if the run created it.
class RunFolder {
public:
    RunFolder(const std::string& dir, bool force);
    ~RunFolder();
    RunFolder(const RunFolder&) = delete;
    RunFolder& operator=(const RunFolder&) = delete;

    const std::string& dir() const { return dir_; }
    std::string pathOf(const std::string& name) const;
    // Stages `bytes` as the file `name` in the folder.
    void write(const std::string& name, const std::string& bytes);
    void commit();
    // The names written so far, in order.
    const std::vector<std::string>& names() const { return names_; }
    // The path of every file commit() writes, the manifest last.
    std::vector<std::string> paths() const;

private:
    void removeCreatedFolders();

    std::string dir_;
    std::set<std::string> earlier_;   // the last run's files, replaced at commit
    StagedFiles files_;
    std::vector<std::string> names_;
    std::vector<std::string> created_;  // folders this run made, innermost first
    bool committed_ = false;
};

// The files the manifest in `dir` lists as an earlier run's; empty when
// there is none.
std::set<std::string> earlierRunNames(const std::string& dir);

}  // namespace hdrtm::tool
