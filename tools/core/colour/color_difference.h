// Colour difference as a viewer sees it: a LUT's output decoded to the
// display light it stands for, then ICtCp (ITU-R BT.2100) and the
// difference ΔE_ITP (ITU-R BT.2124) between two such colours.
#pragma once

#include <array>
#include <vector>

#include "colour/signal_light.h"
#include "playback/lut_data.h"

namespace hdrtm::tool {

struct Ictcp {
    double i = 0.0;
    double ct = 0.0;
    double cp = 0.0;
};

// BT.2100 ICtCp (PQ form) of light in nits on BT.2020 primaries; negative
// light is taken as none.
Ictcp ictcpFromNits(const Nits3& rgb);

// BT.2124 ΔE_ITP = 720 sqrt(ΔI² + ΔT² + ΔP²) with T = Ct / 2 and P = Cp; 1 is
// about one just-noticeable difference.
double deltaEItp(const Ictcp& a, const Ictcp& b);

// The display light of LUT outputs (normalised 0..1, as `output` encodes
// them) on BT.2020 primaries: PQ and HLG (at its 1000-nit reference display)
// by BT.2100, a panel signal by the panel's output transfer, peak and
// primaries.
std::vector<Nits3> outputLight(const std::vector<std::array<float, 3>>& values, Signal output,
                               const PanelInfo& panel);

// Light in nits on BT.2020 primaries clipped plainly to the panel: scaled
// by its peak, converted to its primaries, clipped, encoded with its output
// transfer (panel signal 0..1).
std::vector<std::array<float, 3>> clipToPanel(const std::vector<Nits3>& light, const PanelInfo& panel);

// The display light of input signals of `input` (SDR as sRGB with white at
// 100 nits on BT.709 primaries), on BT.2020 primaries.
Nits3 inputLight(const std::array<float, 3>& signal, Signal input);

}  // namespace hdrtm::tool
