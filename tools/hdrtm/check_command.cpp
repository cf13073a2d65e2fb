// check: a tuning file's diagnostics as text or JSON.
#include <iostream>

#include "command_inputs.h"
#include "commands.h"
#include "tuning/tuning_check.h"

namespace hdrtm::tool {
namespace {

// Errors fail; warnings fail only under `strict`; notes never count.
int exitStatus(const CheckResult& result, bool strict) {
    if (result.errors() > 0) return kExitError;
    if (strict && result.warnings() > 0) return kExitWarnings;
    return kExitOk;
}

}  // namespace

int runCheck(const std::string& path, const CheckOptions& options) {
    const CheckResult result = checkTuningFile(path);
    if (options.json) {
        std::cout << diagnosticsJson(absolutePath(path), result) << "\n";
        return exitStatus(result, options.strict);
    }
    for (const Diagnostic& d : result.diagnostics) {
        if (d.severity != Severity::kNote || options.verbose) std::cout << formatDiagnostic(path, d) << "\n";
    }
    if (result.errors() + result.warnings() == 0) {
        std::cout << path << ": no problems found";
    } else {
        std::cout << path << ": " << result.errors() << " error(s), " << result.warnings() << " warning(s)";
    }
    if (result.notes() > 0) {
        std::cout << "; " << result.notes() << " note(s) on fallbacks"
                  << (options.verbose ? "" : " (shown with -v)");
    }
    std::cout << "\n";
    return exitStatus(result, options.strict);
}

}  // namespace hdrtm::tool
