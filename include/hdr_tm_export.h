// Visibility control for libhdr_tm: the library is built with
// -fvisibility=hidden and only names marked HDRTM_EXPORT are exported.
#pragma once

#if defined(__GNUC__) || defined(__clang__)
#define HDRTM_EXPORT __attribute__((visibility("default")))
#else
#define HDRTM_EXPORT
#endif
