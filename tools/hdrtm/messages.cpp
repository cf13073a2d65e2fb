#include "messages.h"

#include <iostream>

namespace hdrtm::tool {
namespace {

std::string& currentCommand() {
    static std::string name;
    return name;
}

}  // namespace

void setCommandName(const std::string& name) { currentCommand() = name; }

const std::string& commandName() { return currentCommand(); }

std::string messageLine(const char* severity, const std::string& message) {
    const std::string& command = currentCommand();
    return std::string("hdrtm: ") + severity + ": " + (command.empty() ? "" : command + ": ") + message;
}

void printError(const std::string& message) { std::cerr << messageLine("error", message) << std::endl; }
void printWarning(const std::string& message) { std::cerr << messageLine("warning", message) << std::endl; }
void printNote(const std::string& message) { std::cerr << messageLine("note", message) << std::endl; }

}  // namespace hdrtm::tool
