// Tuning-file loader: parses the panel's XML tuning ("hdr_lib" root) into a
// TMParams record. Every setting has its own fallback; only an unreadable
// file or a missing root is an error.
#pragma once

#include <tinyxml2.h>

#include <map>
#include <string>

#include "hdr_tm_export.h"
#include "tm_params.h"

namespace tinyxml2 {

// The element's text converted, or `fallback` when the element is null or its
// text does not convert.
template <typename T>
T as(XMLElement* element, T fallback);
template <>
HDRTM_EXPORT int as<int>(XMLElement* element, int fallback);
template <>
HDRTM_EXPORT float as<float>(XMLElement* element, float fallback);

}  // namespace tinyxml2

class HDRTM_EXPORT HDRXml {
public:
    // Fills `params` from the "hdr_lib" root element.
    static void LoadTmParams(tinyxml2::XMLElement* root, TMParams& params);

    // A map holding the one pair (name, value); the name tables start from it.
    template <typename T>
    static std::map<std::string, T> InitMap(const std::string& name, T value);
};

namespace hdrtm {

// Built-in tone-curve control points (10-bit codes): the defaults and the
// loader's fallback. Rising, reaching the top code at x = 923.
extern const toneMapperLUT kDefaultToneCurve;
// Stores the default count and points in slots 0..16; the spare slots keep
// what they held.
void storeDefaultToneCurve(toneMapperLUT* curve);

}  // namespace hdrtm
