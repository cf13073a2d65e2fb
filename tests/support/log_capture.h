// Captures the lines the library sends to liblog, through liblog's own
// logger hook, for the lifetime of the object.
#pragma once

#include <string>
#include <vector>

struct LogLine {
    int priority;
    std::string tag;
    std::string text;
};

class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> lines() const;
    // Texts only, in order.
    std::vector<std::string> texts() const;
    void clear();
};
