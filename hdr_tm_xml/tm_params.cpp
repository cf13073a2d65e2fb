// Process-wide parameter state and the built-in defaults.
#include <algorithm>

#include "hdr_tm_xml.h"

TMParams g_params;
int32_t g_params_ready;
PccCoefficients g_pcc;

namespace hdrtm {

const toneMapperLUT kDefaultToneCurve = {
    17,
    {0, 62, 123, 185, 254, 308, 386, 451, 482, 513, 544, 575, 606, 637, 668, 923, 1023},
    {0, 35, 65, 95, 131, 190, 289, 400, 444, 528, 565, 674, 779, 840, 1000, 1023, 1023},
};

void storeDefaultToneCurve(toneMapperLUT* curve) {
    curve->num_points = kDefaultToneCurve.num_points;
    std::copy_n(kDefaultToneCurve.points_x, kGridPointsPerAxis, curve->points_x);
    std::copy_n(kDefaultToneCurve.points_y, kGridPointsPerAxis, curve->points_y);
}

}  // namespace hdrtm

// Fields without a built-in default (gamut_mode, bit depth, grid, pcc, the
// upper-range ratio knobs...) are left as the caller had them. These values
// differ from the tuning loader's own fallbacks on purpose.
void set_default_vals(TMParams* params) {
    params->panel_max_luminance = 500;
    params->panel_min_luminance = 0.02f;
    params->nominal_peak_luminance = 1500.0f;
    params->panel_color_mode = SPACE_DCIP3;
    params->output_gamma_space = GAMMA_2P2;
    params->t0 = 0.0005f;
    params->sharp = 2.0f;
    params->slope = 1.15f;
    params->intl = 125.0f;
    params->inth = 275.0f;
    params->pivot = 8.0f;
    params->bright_enable = 0;
    params->sysGamma = 1.0f;
    params->tlower = 0.5f;
    params->tupper = 400.0f;
    params->sat_enable = 0;
    params->t1 = 0.05f;
    params->t2 = 0.5f;
    params->kmax = 1.2f;
    params->enableM = 1;
    params->linearScale = 0;
    hdrtm::storeDefaultToneCurve(&params->curve);
    params->version = 0;
}
