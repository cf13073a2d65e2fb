// The tool's own lines on stderr, in one style everywhere:
// "hdrtm: error: COMMAND: message", and the same for warnings and notes,
// COMMAND being the command that runs.
#pragma once

#include <string>

namespace hdrtm::tool {

// The command the lines name; empty before one is chosen.
void setCommandName(const std::string& name);
const std::string& commandName();

// "hdrtm: SEVERITY: COMMAND: message".
std::string messageLine(const char* severity, const std::string& message);

void printError(const std::string& message);
void printWarning(const std::string& message);
void printNote(const std::string& message);

}  // namespace hdrtm::tool
