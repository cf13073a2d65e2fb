// Signal encodings and the display light they stand for, by the standard
// formulas in double precision (for previews and colour differences, not the
// library's bit-exact arithmetic): PQ (SMPTE ST 2084), HLG (ARIB STD-B67) on
// the 1000-nit reference display of BT.2100, SDR as sRGB with white at 100
// nits.
#pragma once

#include <array>

#include "playback/lut_data.h"

namespace hdrtm::tool {

using Nits3 = std::array<double, 3>;  // linear light in cd/m2, BT.2020 primaries

double pqToNits(double signal);
double nitsToPq(double nits);
double hlgToScene(double signal);  // scene light 0..1
double sceneToHlg(double scene);
// Display light in nits of a signal of `s` per channel: PQ, HLG on its
// 1000-nit reference display, SDR as sRGB with white at 100 nits (on its own
// primaries).
std::array<double, 3> signalToNits(const std::array<float, 3>& v, Signal s);
// The signal of `s` that shows a grey of `nits`; HLG and SDR stop at their
// white.
float encodeGrey(double nits, Signal s);

// BT.2020 luminance of `rgb`.
double luminance(const Nits3& rgb);

}  // namespace hdrtm::tool
