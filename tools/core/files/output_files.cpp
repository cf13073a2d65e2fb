#include "files/output_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>

namespace hdrtm::tool {
namespace {

namespace fs = std::filesystem;

constexpr size_t kListedForeignFiles = 3;  // names quoted when a folder is refused

std::runtime_error writeError(const std::string& path, const std::string& reason) {
    return std::runtime_error("cannot write " + path + ": " + reason);
}

// Writes all of `bytes` to `fd`, then flushes it to the disk.
bool writeAll(int fd, const std::string& bytes, bool sync) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return !sync || ::fsync(fd) == 0 || errno == EINVAL;
}

std::set<std::string> manifestFiles(const fs::path& dir) {
    std::set<std::string> files;
    std::ifstream in(dir / kManifestName);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        // Only plain names: a manifest never reaches outside its folder.
        if (line.find('/') == std::string::npos && line != "." && line != "..") files.insert(line);
    }
    return files;
}


// A staged file's temporary: ".NAME.tmp-XXXXXX" beside its target.
constexpr const char* kTemporaryMark = ".tmp-";
constexpr size_t kTemporarySuffix = 6;  // mkstemp's XXXXXX

bool isStagedTemporary(const std::string& name) {
    const size_t mark = name.rfind(kTemporaryMark);
    return name.size() > 1 && name[0] == '.' && mark != std::string::npos &&
           name.size() == mark + std::strlen(kTemporaryMark) + kTemporarySuffix;
}

std::string manifestText(const std::vector<std::string>& files) {
    std::string text = "# Files written by the last hdrtm run in this folder; the next run removes them.\n";
    for (const std::string& f : files) text += f + "\n";
    return text;
}

// The files an earlier run wrote into `dir`, which a new run may replace.
// Any other file is refused unless `force`; a killed run's temporaries go.
std::set<std::string> earlierRunFiles(const std::string& dir, bool force) {
    std::error_code ec;
    const std::set<std::string> owned = manifestFiles(dir);
    std::vector<std::string> foreign;
    for (const fs::directory_entry& e : fs::directory_iterator(dir, ec)) {
        const std::string name = e.path().filename().string();
        if (isStagedTemporary(name)) {
            fs::remove(e.path(), ec);
        } else if (name != kManifestName && owned.count(name) == 0) {
            foreign.push_back(name);
        }
    }
    if (ec) throw std::runtime_error("cannot read the output folder " + dir + ": " + ec.message());
    if (!foreign.empty() && !force) {
        std::sort(foreign.begin(), foreign.end());
        std::string names;
        for (size_t i = 0; i < foreign.size() && i < kListedForeignFiles; ++i) {
            names += (i ? ", " : "") + foreign[i];
        }
        if (foreign.size() > kListedForeignFiles) names += ", ...";
        throw ForeignFilesError("the output folder " + dir + " holds " + std::to_string(foreign.size()) +
                                " file(s) that no earlier hdrtm run there wrote (" + names + ")");
    }
    if (::access(dir.c_str(), W_OK | X_OK) != 0) {
        throw std::runtime_error("cannot write into the output folder " + dir + ": " + std::strerror(errno));
    }
    return owned;
}

}  // namespace

std::string xmlEscaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            default: out += c;
        }
    }
    return out;
}

std::string outputFileProblem(const std::string& path, const std::vector<std::string>& extensions) {
    std::error_code ec;
    const fs::file_status status = fs::status(path, ec);
    if (fs::is_directory(status)) return "it is a folder";
    if (fs::exists(status) && !fs::is_regular_file(status)) return "";
    if (!extensions.empty()) {
        std::string ext = fs::path(path).extension().string();
        for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (std::find(extensions.begin(), extensions.end(), ext) == extensions.end()) {
            std::string names;
            for (const std::string& e : extensions) names += (names.empty() ? "" : " or ") + e;
            return "the file is written as " + names +
                   (ext.empty() ? ", and the name has no extension" : ", not " + ext) + ": name it " + names;
        }
    }
    const fs::path parent = fs::path(path).parent_path().empty() ? fs::path(".") : fs::path(path).parent_path();
    const fs::file_status folder = fs::status(parent, ec);
    if (!fs::exists(folder)) return "the folder " + parent.string() + " does not exist";
    if (!fs::is_directory(folder)) return parent.string() + " is not a folder";
    if (::access(parent.c_str(), W_OK | X_OK) != 0) {
        return "cannot write into the folder " + parent.string() + ": " + std::strerror(errno);
    }
    return "";
}

StagedFiles::~StagedFiles() { discard(); }

void StagedFiles::discard() {
    for (const Staged& s : staged_) {
        if (!s.temporary.empty()) ::unlink(s.temporary.c_str());
    }
    staged_.clear();
}

void StagedFiles::stage(const std::string& path, const std::string& bytes) {
    std::error_code ec;
    const fs::file_status status = fs::status(path, ec);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        if (fs::is_directory(status)) throw writeError(path, "it is a folder");
        staged_.push_back({path, "", bytes});
        return;
    }
    const fs::path target(path);
    std::string name = (target.parent_path() / ("." + target.filename().string() + kTemporaryMark + "XXXXXX")).string();
    const int fd = ::mkstemp(name.data());
    if (fd < 0) throw writeError(path, std::strerror(errno));
    bool ok = writeAll(fd, bytes, true);
    int saved = errno;
    // mkstemp makes the file private; give it the usual permissions.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd, 0666 & ~mask);
    if (::close(fd) != 0 && ok) {
        ok = false;
        saved = errno;
    }
    if (!ok) {
        ::unlink(name.c_str());
        throw writeError(path, std::strerror(saved));
    }
    staged_.push_back({path, name, ""});
}

void StagedFiles::commit() {
    // Devices first: a full disk or a closed pipe then leaves every file
    // as it was, since renames hardly fail.
    std::stable_partition(staged_.begin(), staged_.end(), [](const Staged& s) { return s.temporary.empty(); });
    for (Staged& s : staged_) {
        if (s.temporary.empty()) {
            const int fd = ::open(s.target.c_str(), O_WRONLY | O_CLOEXEC);
            if (fd < 0) throw writeError(s.target, std::strerror(errno));
            const bool ok = writeAll(fd, s.bytes, false);
            const int saved = errno;
            ::close(fd);
            if (!ok) throw writeError(s.target, std::strerror(saved));
        } else if (std::rename(s.temporary.c_str(), s.target.c_str()) != 0) {
            throw writeError(s.target, std::strerror(errno));
        }
        s.temporary.clear();
        s.bytes.clear();
    }
    staged_.clear();
}

void writeFileAtomically(const std::string& path, const std::string& bytes) {
    StagedFiles file;
    file.stage(path, bytes);
    file.commit();
}

RunFolder::RunFolder(const std::string& dir, bool force) : dir_(dir) {
    std::error_code ec;
    const fs::file_status status = fs::status(dir, ec);
    if (fs::exists(status)) {
        if (!fs::is_directory(status)) {
            throw std::runtime_error("the output folder " + dir + " exists and is not a folder");
        }
        earlier_ = earlierRunFiles(dir, force);
        return;
    }
    // The missing levels, innermost first, made outermost first.
    std::vector<fs::path> missing;
    fs::path p = fs::path(dir).lexically_normal();
    if (!p.has_filename()) p = p.parent_path();
    while (!p.empty() && !fs::exists(p, ec)) {
        missing.push_back(p);
        p = p.parent_path();
    }
    const fs::path base = p.empty() ? fs::path(".") : p;
    if (!fs::is_directory(base, ec)) {
        throw std::runtime_error("cannot create the output folder " + dir + ": " + base.string() + " is not a folder");
    }
    for (auto level = missing.rbegin(); level != missing.rend(); ++level) {
        if (!fs::create_directory(*level, ec)) {
            const std::string reason = ec ? ec.message() : "it appeared meanwhile";
            removeCreatedFolders();
            throw std::runtime_error("cannot create the output folder " + dir + ": " + reason);
        }
        created_.insert(created_.begin(), level->string());
    }
}

RunFolder::~RunFolder() {
    if (committed_) return;
    files_.discard();
    removeCreatedFolders();
}

void RunFolder::removeCreatedFolders() {
    std::error_code ec;
    for (const std::string& folder : created_) fs::remove(folder, ec);  // only when empty
    created_.clear();
}

std::string RunFolder::pathOf(const std::string& name) const { return (fs::path(dir_) / name).string(); }

std::vector<std::string> RunFolder::paths() const {
    std::vector<std::string> all;
    for (const std::string& name : names_) all.push_back(pathOf(name));
    all.push_back(pathOf(kManifestName));
    return all;
}

void RunFolder::write(const std::string& name, const std::string& bytes) {
    files_.stage(pathOf(name), bytes);
    names_.push_back(name);
}

void RunFolder::commit() {
    // The manifest is staged with the rest, so a full disk still leaves the
    // earlier run whole.
    files_.stage(pathOf(kManifestName), manifestText(names_));
    std::error_code ec;
    for (const std::string& name : earlier_) {
        if (std::find(names_.begin(), names_.end(), name) == names_.end()) fs::remove(pathOf(name), ec);
    }
    files_.commit();
    committed_ = true;
}

std::set<std::string> earlierRunNames(const std::string& dir) { return manifestFiles(dir); }

}  // namespace hdrtm::tool
