#include "files/output_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

void writeFileAtomically(const std::string& path, const std::string& bytes) {
    std::error_code ec;
    const fs::file_status status = fs::status(path, ec);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        if (fs::is_directory(status)) throw writeError(path, "it is a folder");
        const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd < 0) throw writeError(path, std::strerror(errno));
        const bool ok = writeAll(fd, bytes, false);
        const int saved = errno;
        ::close(fd);
        if (!ok) throw writeError(path, std::strerror(saved));
        return;
    }
    const fs::path target(path);
    const std::string temp =
        (target.parent_path() / ("." + target.filename().string() + ".tmp-XXXXXX")).string();
    std::string name = temp;
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
    if (ok && std::rename(name.c_str(), path.c_str()) != 0) {
        ok = false;
        saved = errno;
    }
    if (!ok) {
        ::unlink(name.c_str());
        throw writeError(path, std::strerror(saved));
    }
}

void prepareRunFolder(const std::string& dir, bool force) {
    std::error_code ec;
    if (!fs::exists(dir, ec)) {
        fs::create_directories(dir, ec);
        if (ec) throw std::runtime_error("cannot create the output folder " + dir + ": " + ec.message());
        return;
    }
    if (!fs::is_directory(dir, ec)) {
        throw std::runtime_error("the output folder " + dir + " exists and is not a folder");
    }
    const std::set<std::string> owned = manifestFiles(dir);
    std::vector<std::string> foreign;
    for (const fs::directory_entry& e : fs::directory_iterator(dir, ec)) {
        const std::string name = e.path().filename().string();
        if (name != kManifestName && owned.count(name) == 0) foreign.push_back(name);
    }
    if (ec) throw std::runtime_error("cannot read the output folder " + dir + ": " + ec.message());
    if (!foreign.empty() && !force) {
        std::string names;
        for (size_t i = 0; i < foreign.size() && i < kListedForeignFiles; ++i) {
            names += (i ? ", " : "") + foreign[i];
        }
        if (foreign.size() > kListedForeignFiles) names += ", ...";
        throw ForeignFilesError("the output folder " + dir + " holds " + std::to_string(foreign.size()) +
                                " file(s) that no earlier hdrtm run there wrote (" + names + ")");
    }
    if (::access(dir.c_str(), W_OK) != 0) {
        throw std::runtime_error("cannot write into the output folder " + dir + ": " +
                                 std::strerror(errno));
    }
    // The earlier run's files go, so none is mistaken for this run's.
    for (const std::string& name : owned) fs::remove(fs::path(dir) / name, ec);
    fs::remove(fs::path(dir) / kManifestName, ec);
}

void writeManifest(const std::string& dir, const std::vector<std::string>& files) {
    std::string text = "# Files written by the last hdrtm run in this folder; the next run removes them.\n";
    for (const std::string& f : files) text += f + "\n";
    writeFileAtomically((fs::path(dir) / kManifestName).string(), text);
}

void removeRunFiles(const std::string& dir, const std::vector<std::string>& files) {
    std::error_code ec;
    for (const std::string& f : files) fs::remove(fs::path(dir) / f, ec);
}

}  // namespace hdrtm::tool
