#include "log_capture.h"

#include <android/log.h>

#include <mutex>

namespace {

std::mutex gMutex;
std::vector<LogLine> gLines;

void captureLogger(const struct __android_logger_data* data, const char* message) {
    std::lock_guard<std::mutex> lock(gMutex);
    gLines.push_back({data->priority, data->tag ? data->tag : "", message ? message : ""});
}

}  // namespace

LogCapture::LogCapture() {
    clear();
    __android_log_set_logger(captureLogger);
}

LogCapture::~LogCapture() { __android_log_set_logger(__android_log_stderr_logger); }

std::vector<LogLine> LogCapture::lines() const {
    std::lock_guard<std::mutex> lock(gMutex);
    return gLines;
}

std::vector<std::string> LogCapture::texts() const {
    std::vector<std::string> out;
    for (const LogLine& line : lines()) out.push_back(line.text);
    return out;
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> lock(gMutex);
    gLines.clear();
}
