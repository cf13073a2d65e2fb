// Tuning-file checker: reads a tuning file the way the library's loader does
// and reports every setting that does not reach the library as written.
#pragma once

#include <string>
#include <vector>

namespace hdrtm::tool {

// error: the loader stores something other than what the file says, or
// ignores what it holds. warning: legal but suspicious. note: an optional
// element is absent and its fallback applies.
enum class Severity { kNote, kWarning, kError };

struct Diagnostic {
    int line = 0;    // 1-based; 0 when the problem has no line (unreadable file)
    int column = 0;  // 1-based column of the element's "<"; 0 when not known
    Severity severity = Severity::kWarning;
    std::string code;     // stable name of the rule, e.g. "unknown-element"
    std::string message;
    std::string stored;   // what the loader stores instead, when that is one value
};

struct CheckResult {
    std::vector<Diagnostic> diagnostics;  // in line order
    bool versionTwo = false;              // the file selects the table curve
    int count(Severity s) const;
    int errors() const { return count(Severity::kError); }
    int warnings() const { return count(Severity::kWarning); }
    int notes() const { return count(Severity::kNote); }
};

const char* severityName(Severity s);

// A tuning file a run checked before it read it, with what was found.
struct CheckedTuning {
    std::string path;
    CheckResult result;
};

// Checks the tuning file at `path`. Never throws for bad content; an
// unreadable or unparsable file is one error diagnostic.
CheckResult checkTuningFile(const std::string& path);

// "FILE:LINE:COLUMN: error: message" (or without the line or column when
// unknown).
std::string formatDiagnostic(const std::string& path, const Diagnostic& d);

// The diagnostics as a JSON list of {file, line, column, severity, code,
// message, stored}; unknown line, column and stored value are null.
std::string diagnosticsJson(const std::string& path, const CheckResult& result);

}  // namespace hdrtm::tool
