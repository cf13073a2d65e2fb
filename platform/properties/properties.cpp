// In-process property store standing in for the Android property service.
#include <cutils/properties.h>

#include <cstring>
#include <map>
#include <mutex>
#include <string>

#define CUTILS_EXPORT __attribute__((visibility("default")))

namespace {

std::mutex& storeMutex() {
    static std::mutex mutex;
    return mutex;
}

std::map<std::string, std::string>& store() {
    static std::map<std::string, std::string> properties;
    return properties;
}

int copyOut(char* value, const char* text) {
    size_t length = strnlen(text, PROPERTY_VALUE_MAX - 1);
    memcpy(value, text, length);
    value[length] = '\0';
    return static_cast<int>(length);
}

}  // namespace

extern "C" CUTILS_EXPORT int property_get(const char* key, char* value, const char* default_value) {
    if (value == nullptr) return 0;
    if (key != nullptr) {
        std::lock_guard<std::mutex> lock(storeMutex());
        auto found = store().find(key);
        if (found != store().end()) return copyOut(value, found->second.c_str());
    }
    if (default_value != nullptr) return copyOut(value, default_value);
    value[0] = '\0';
    return 0;
}

extern "C" CUTILS_EXPORT int property_set(const char* key, const char* value) {
    if (key == nullptr || strlen(key) >= PROPERTY_KEY_MAX) return -1;
    if (value != nullptr && strlen(value) >= PROPERTY_VALUE_MAX) return -1;
    std::lock_guard<std::mutex> lock(storeMutex());
    if (value == nullptr || value[0] == '\0') {
        store().erase(key);
    } else {
        store()[key] = value;
    }
    return 0;
}
