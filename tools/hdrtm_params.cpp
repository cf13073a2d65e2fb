// Prints the tone-mapping parameters the library uses: the built-in defaults
// and those a tuning file gives.
#include <cstdio>
#include <cstring>

#include "hdr_tm.h"

namespace {

void printParams(const char* title, const TMParams& p) {
    std::printf("== %s\n", title);
    std::printf("  version                 %u\n", p.version);
    std::printf("  panel luminance         %u nits peak, %g nits black\n", p.panel_max_luminance,
                p.panel_min_luminance);
    std::printf("  nominal peak            %g nits\n", p.nominal_peak_luminance);
    std::printf("  panel colour mode       %u\n", p.panel_color_mode);
    std::printf("  output gamma            space %u, value %g\n", p.output_gamma_space,
                p.output_gamma_val);
    std::printf("  tone curve              t0 %g, sharp %g, slope %g, intl %g, inth %g, pivot %g, "
                "LinearBoost %g\n",
                p.t0, p.sharp, p.slope, p.intl, p.inth, p.pivot, p.LinearBoost);
    std::printf("  brightness              enable %u, sysGamma %g, tlower %g, tupper %g\n",
                p.bright_enable, p.sysGamma, p.tlower, p.tupper);
    std::printf("  saturation              enable %u, t1 %g, t2 %g, kmax %g\n", p.sat_enable, p.t1,
                p.t2, p.kmax);
    std::printf("  upper range             enableM %u, fixedClip %u, clipLuma %g, fixedRatio %u, "
                "linearScale %u, scaleStart %g, ratio %g\n",
                p.enableM, p.fixedClip, p.clipLuma, p.fixedRatio, p.linearScale, p.scaleStart,
                p.ratio);
    std::printf("  panel PCC               %s\n", p.pcc != nullptr ? "from the tuning file" : "none");
    std::printf("  control points (%d)     ", p.curve.num_points);
    for (int i = 0; i < kGridPointsPerAxis; ++i) {
        std::printf(" (%g,%g)", p.curve.points_x[i], p.curve.points_y[i]);
    }
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    TMParams defaults;
    std::memset(&defaults, 0, sizeof(defaults));
    set_default_vals(&defaults);
    printParams("built-in defaults", defaults);

    for (int i = 1; i < argc; ++i) {
        TMParams tuned;
        PccCoefficients pcc;
        std::memset(&tuned, 0, sizeof(tuned));
        tuned.pcc = &pcc;
        if (HDR_load_tone_mapping_xml(argv[i], &tuned) != 0) {
            std::fprintf(stderr, "%s: not a readable tuning file (needs an <hdr_lib> root)\n", argv[i]);
            return 1;
        }
        printParams(argv[i], tuned);
    }
    return 0;
}
