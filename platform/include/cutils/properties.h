// Host stand-in for libcutils's property API (same C signatures). On a device
// libcutils provides these; on the host properties live in process memory.
#pragma once

#define PROPERTY_KEY_MAX 32
#define PROPERTY_VALUE_MAX 92

#ifdef __cplusplus
extern "C" {
#endif

// Copies the value of `key` into `value` (PROPERTY_VALUE_MAX bytes) and returns
// its length; without a value, copies `default_value` (if any) and returns its
// length, or writes an empty string and returns 0.
int property_get(const char* key, char* value, const char* default_value);

// Sets `key` to `value`; an empty value removes the property. Returns 0, or -1
// for a null key or a key or value that does not fit.
int property_set(const char* key, const char* value);

#ifdef __cplusplus
}
#endif
