// Tuning-file checker: reads a tuning file the way the library's loader does
// and reports every setting that does not reach the library as written.
#pragma once

#include <string>
#include <vector>

namespace hdrtm::tool {

enum class Severity { kWarning, kError };

struct Diagnostic {
    int line = 0;  // 1-based; 0 when the problem has no line (unreadable file)
    Severity severity = Severity::kWarning;
    std::string message;
};

struct CheckResult {
    std::vector<Diagnostic> diagnostics;  // in line order
    bool versionTwo = false;              // the file selects the table curve
    int errors() const;
    int warnings() const;
};

// Checks the tuning file at `path`. Never throws for bad content; an
// unreadable or unparsable file is one error diagnostic.
CheckResult checkTuningFile(const std::string& path);

// "FILE:LINE: error: message" (or "FILE: error: message" without a line).
std::string formatDiagnostic(const std::string& path, const Diagnostic& d);

// Exit status of `hdrtm check`: 2 with errors, 1 with warnings under
// `strict`, else 0.
int checkExitStatus(const CheckResult& result, bool strict);

}  // namespace hdrtm::tool
