// Colour conversion: the primaries and XYZ matrix tables, RGB/XYZ/Lab
// conversions over sample planes, gamut mapping to the panel and the panel's
// polynomial colour correction.
#include "color_conversion.h"

#include <algorithm>
#include <cmath>

#include "cr_maths.h"
#include "tm_stages.h"

namespace hdrtm {

// Linear RGB to linear RGB, D65, rows give output R, G, B. Rounded published
// values (four decimals, BT.2020 to BT.709 six), not exact inverses of each
// other; stored as written, never recomputed from primaries.
const Matrix3 kPrimariesConversion[6] = {
    // BT709_TO_BT2020
    {{0.6274f, 0.3293f, 0.0433f}, {0.0691f, 0.9195f, 0.0114f}, {0.0164f, 0.0880f, 0.8956f}},
    // BT2020_TO_BT709
    {{1.660363f, -0.587540f, -0.072823f},
     {-0.124564f, 1.132911f, -0.008348f},
     {-0.018157f, -0.100602f, 1.118758f}},
    // ADOBE_TO_BT2020
    {{0.8773f, 0.0775f, 0.0452f}, {0.0966f, 0.8915f, 0.0119f}, {0.0229f, 0.0430f, 0.9340f}},
    // BT2020_TO_ADOBE
    {{1.1520f, -0.0975f, -0.0545f}, {-0.1246f, 1.1329f, -0.0083f}, {-0.0225f, -0.0498f, 1.0723f}},
    // P3_TO_BT2020
    {{0.7538f, 0.1986f, 0.0476f}, {0.0457f, 0.9418f, 0.0125f}, {-0.0012f, 0.0176f, 0.9836f}},
    // BT2020_TO_P3
    {{1.3436f, -0.2822f, -0.0614f}, {-0.0653f, 1.0758f, -0.0105f}, {0.0028f, -0.0196f, 1.0168f}},
};

// Linear RGB to CIE XYZ (D65), rows X, Y, Z, by primaries index. The Y rows of
// BT.709 and BT.2020 are the engine's luminance weights.
const Matrix3 kRgbToXyz[kPrimariesCount] = {
    // sRGB / BT.709
    {{0.412391f, 0.357584f, 0.180481f},
     {kBt709LumaR, kBt709LumaG, kBt709LumaB},
     {0.019331f, 0.119195f, 0.950532f}},
    // Adobe RGB (1998)
    {{0.576669f, 0.185558f, 0.188229f},
     {0.297345f, 0.627364f, 0.075291f},
     {0.027031f, 0.070689f, 0.991338f}},
    // Display P3 (D65)
    {{0.486570f, 0.265670f, 0.198220f},
     {0.228970f, 0.691740f, 0.079290f},
     {0.000000f, 0.045110f, 1.043940f}},
    // BT.2020
    {{0.636960f, 0.144620f, 0.168880f},
     {kBt2020LumaR, kBt2020LumaG, kBt2020LumaB},
     {0.000000f, 0.028070f, 1.060990f}},
};

// CIE XYZ (D65) to linear RGB, rows R, G, B, by primaries index.
const Matrix3 kXyzToRgb[kPrimariesCount] = {
    // sRGB / BT.709
    {{3.240970f, -1.537383f, -0.498611f},
     {-0.969244f, 1.875968f, 0.041555f},
     {0.055630f, -0.203977f, 1.056972f}},
    // Adobe RGB (1998)
    {{2.041588f, -0.565007f, -0.344731f},
     {-0.969244f, 1.875968f, 0.041555f},
     {0.013444f, -0.118362f, 1.015175f}},
    // Display P3 (D65)
    {{2.493497f, -0.931384f, -0.402711f},
     {-0.829489f, 1.762664f, 0.023625f},
     {0.035846f, -0.076172f, 0.956885f}},
    // BT.2020
    {{1.716651f, -0.355671f, -0.253366f},
     {-0.666684f, 1.616481f, 0.015769f},
     {0.017640f, -0.042771f, 0.942103f}},
};

namespace {

// A matrix copied by value into a stage's locals, so the nine coefficients
// stay in registers while the loop writes the planes.
struct MatrixLocals {
    float m[3][3];
};

MatrixLocals loadMatrix(const Matrix3& table) {
    MatrixLocals local;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) local.m[row][column] = table[row][column];
    }
    return local;
}

// One row of a matrix product, in the engine's order: (m0*a + m1*b) + m2*c.
inline float rowTimes(const float (&row)[3], float a, float b, float c) {
    return row[0] * a + row[1] * b + row[2] * c;
}

// Sample count of a parameter record's grid: grid_size cubed.
unsigned int gridPointCount(const TMParams* params) {
    const unsigned int n = params->grid_size;
    return n * n * n;
}

}  // namespace

HDRTM_VECTOR_CLONES
void applyMatrix(const Matrix3& m, float* const* in, float* const* out, unsigned int count) {
    const MatrixLocals k = loadMatrix(m);
    float* const in0 = in[0];
    float* const in1 = in[1];
    float* const in2 = in[2];
    float* const out0 = out[0];
    float* const out1 = out[1];
    float* const out2 = out[2];
    HDRTM_INDEPENDENT_POINTS
    for (unsigned int i = 0; i < count; ++i) {
        const float a = in0[i];
        const float b = in1[i];
        const float c = in2[i];
        out0[i] = rowTimes(k.m[0], a, b, c);
        out1[i] = rowTimes(k.m[1], a, b, c);
        out2[i] = rowTimes(k.m[2], a, b, c);
    }
}

HDRTM_VECTOR_CLONES
void replaceLuminanceToBt2020(const float* lumaBefore, const float* lumaAfter, float* const* xyz,
                              float* const* rgb, unsigned int count) {
    const MatrixLocals k = loadMatrix(kXyzToRgb[kPrimariesBt2020]);
    const float* const planeX = xyz[0];
    const float* const planeY = xyz[1];
    const float* const planeZ = xyz[2];
    float* const outR = rgb[0];
    float* const outG = rgb[1];
    float* const outB = rgb[2];
    HDRTM_INDEPENDENT_POINTS
    for (unsigned int i = 0; i < count; ++i) {
        const float x0 = planeX[i];
        const float y0 = planeY[i];
        const float z0 = planeZ[i];
        // Computed for every point and used only where Y is not 0, so that
        // the loop has no branch.
        const float ratio = lumaAfter[i] / lumaBefore[i];
        // Zero luminance: a D65 neutral of that luminance, whatever the
        // luminance planes say.
        const bool neutral = y0 == 0.0f;
        const float x = neutral ? y0 * kD65XOverY : x0 * ratio;
        const float y = neutral ? y0 : y0 * ratio;
        const float z = neutral ? y0 * kD65ZOverY : z0 * ratio;
        outR[i] = clampUnitKeepNaN(rowTimes(k.m[0], x, y, z));
        outG[i] = clampUnitKeepNaN(rowTimes(k.m[1], x, y, z));
        outB[i] = clampUnitKeepNaN(rowTimes(k.m[2], x, y, z));
    }
}

namespace {

// CIE L*a*b* reference white (D65, Y = 100). Z is 108.91 rather than the
// usual 108.88; the engine keeps its own value.
constexpr float kLabWhiteX = 95.05f;
constexpr float kLabWhiteY = 100.0f;
constexpr float kLabWhiteZ = 108.91f;
constexpr float kLabPercent = 100.0f;  // relative XYZ (Y = 1 white) to percent
// CIE Lab f(t): cube root above (6/29)^3, linear t/(3*(6/29)^2) + 4/29 below.
constexpr float kLabLinearThreshold = 0.008856453f;  // (6/29)^3
constexpr float kLabLinearSlope = 7.7870374f;        // 1/(3*(6/29)^2)
constexpr float kLabLinearOffset = 0.13793103f;      // 4/29
constexpr float kLabLightnessScale = 116.0f;
constexpr float kLabLightnessOffset = 16.0f;
constexpr float kLabAScale = 500.0f;
constexpr float kLabBScale = 200.0f;

// Lab companding of `n` values of t in place: the cube root above the
// threshold, the line at and below it (NaN too). A vectorised pass takes the
// line and marks the others, whose powers go over the block in the maths'
// plane form.
void labCompand(float* t, uint32_t n) {
    uint32_t cubeRoot[kCallBlock];
    for (uint32_t j = 0; j < n; ++j) {
        cubeRoot[j] = t[j] > kLabLinearThreshold;
        t[j] = selectValue(cubeRoot[j] != 0, t[j], kLabLinearSlope * t[j] + kLabLinearOffset);
    }
    powPlane(t, n, kLabCubeRootExponent, cubeRoot);
}

// Primaries index of a panel colour space: sRGB and BT.709 share index 0,
// every other space v is index v - 1.
inline int primariesOfPanel(HDR_COLOR_SPACE space) {
    if (static_cast<int32_t>(space) < 2) return kPrimariesBt709;
    return static_cast<uint8_t>(space - 1);
}

// One row of the panel correction, coefficient by coefficient, in locals.
struct PccRow {
    double c, r, g, b, rr, gg, bb, rg, gb, rb, rgb;
};

PccRow loadPccRow(const double* k) {
    return {k[kPccC],  k[kPccR],  k[kPccG],  k[kPccB],  k[kPccRR],  k[kPccGG],
            k[kPccBB], k[kPccRG], k[kPccGB], k[kPccRB], k[kPccRGB]};
}

// A point's polynomial terms, widened to double.
struct PccTerms {
    double r, g, b, rr, gg, bb, rg, gb, rb, rgb;
};

// c + (r, g, b, rg, gb, rb, rr, gg, bb, rgb terms summed in that order), to
// float, clamped to [0, 1] (NaN passes).
inline float pccChannel(const PccRow& k, const PccTerms& t) {
    const double sum = k.r * t.r + k.g * t.g + k.b * t.b + k.rg * t.rg + k.gb * t.gb +
                       k.rb * t.rb + k.rr * t.rr + k.gg * t.gg + k.bb * t.bb + k.rgb * t.rgb;
    return clampUnitKeepNaN(static_cast<float>(k.c + sum));
}

// c + ((r, g, b terms) in that order), to float, clamped: pccChannel when
// every second-order coefficient is zero (see firstOrderOnly).
inline float pccFirstOrderChannel(const PccRow& k, double r, double g, double b) {
    const double sum = k.r * r + k.g * g + k.b * b;
    return clampUnitKeepNaN(static_cast<float>(k.c + sum));
}

// Whether the correction has no second-order terms (identity, or a matrix
// with offsets, as most panels' are) and no constant of -0. Its zero
// coefficients then add only signed zeros to a sum of finite terms, which
// change the sum only when it is itself zero, and the constant, added last,
// gives the same result for either sign of a zero sum unless it is -0. So
// the three first-order products alone give the polynomial's bits, for a
// grid whose components are all below kFiniteTermsBound in magnitude.
bool firstOrderOnly(const PccCoefficients& pcc) {
    constexpr int kSecondOrder[] = {kPccRR, kPccGG, kPccBB, kPccRG, kPccGB, kPccRB, kPccRGB};
    for (const double* row : pcc.row) {
        for (int term : kSecondOrder) {
            if (row[term] != 0.0) return false;
        }
        if (row[kPccC] == 0.0 && std::signbit(row[kPccC])) return false;
    }
    return true;
}

// Components below 2^42 in magnitude keep every second-order term finite
// (r g b below 2^126); larger ones, infinities and NaN may make a zero
// coefficient times an infinite term NaN, so such a grid takes the whole
// polynomial.
constexpr float kFiniteTermsBound = 4398046511104.0f;  // 2^42

}  // namespace

}  // namespace hdrtm

void rgb2rgb_conv(float** planes, IndexRGB conversion, unsigned int count) {
    // Counts of 2^31 and above read as negative and convert nothing.
    if (static_cast<int32_t>(count) < 1) return;
    // An unknown conversion leaves the planes as they are.
    if (conversion > BT2020_TO_P3) return;
    hdrtm::applyMatrix(hdrtm::kPrimariesConversion[conversion], planes, planes, count);
}

void rgb2xyz(TMParams* params, unsigned char primaries, float** rgb, float** xyz) {
    const unsigned int count = hdrtm::gridPointCount(params);
    // No upper bound on the count here, unlike xyz2rgb: the planes must hold
    // grid_size^3 samples.
    if (count == 0) return;
    // An unknown primaries index converts nothing.
    if (primaries >= hdrtm::kPrimariesCount) return;
    hdrtm::applyMatrix(hdrtm::kRgbToXyz[primaries], rgb, xyz, count);
}

void xyz2rgb(TMParams* params, unsigned char primaries, float** xyz, float** rgb) {
    const unsigned int count = hdrtm::gridPointCount(params);
    if (count == 0 || count > static_cast<unsigned int>(hdrtm::kLutPoints)) return;
    // An unknown primaries index converts nothing.
    if (primaries >= hdrtm::kPrimariesCount) return;
    hdrtm::applyMatrix(hdrtm::kXyzToRgb[primaries], xyz, rgb, count);
}

void xyz2lab(TMParams* params, float** xyz, float** lab) {
    using namespace hdrtm;
    const unsigned int count = gridPointCount(params);
    if (count == 0 || count > static_cast<unsigned int>(kLutPoints)) return;
    const float* const planeX = xyz[0];
    const float* const planeY = xyz[1];
    const float* const planeZ = xyz[2];
    float* const outL = lab[0];
    float* const outA = lab[1];
    float* const outB = lab[2];
    // Block by block, every input of a block read before its outputs are
    // written, so `lab` may be `xyz`.
    float fx[kCallBlock], fy[kCallBlock], fz[kCallBlock];
    for (unsigned int start = 0; start < count; start += kCallBlock) {
        const uint32_t n = std::min(count - start, kCallBlock);
        HDRTM_INDEPENDENT_POINTS
        for (uint32_t j = 0; j < n; ++j) {
            fx[j] = planeX[start + j] * kLabPercent / kLabWhiteX;
            fy[j] = planeY[start + j] * kLabPercent / kLabWhiteY;
            fz[j] = planeZ[start + j] * kLabPercent / kLabWhiteZ;
        }
        labCompand(fx, n);
        labCompand(fy, n);
        labCompand(fz, n);
        HDRTM_INDEPENDENT_POINTS
        for (uint32_t j = 0; j < n; ++j) {
            outL[start + j] = kLabLightnessScale * fy[j] - kLabLightnessOffset;
            outA[start + j] = kLabAScale * (fx[j] - fy[j]);
            outB[start + j] = kLabBScale * (fy[j] - fz[j]);
        }
    }
}

void XYZ2rgb(TMParams* params, float* lumaBefore, float* lumaAfter, float** xyz, float** rgb) {
    const unsigned int count = hdrtm::gridPointCount(params);
    if (count == 0) return;
    hdrtm::replaceLuminanceToBt2020(lumaBefore, lumaAfter, xyz, rgb, count);
}

void rgb2rgb_gmap(TMParams* params, float** planes) {
    using namespace hdrtm;
    const unsigned int count = gridPointCount(params);
    if (count == 0) return;
    const HDR_COLOR_SPACE panelColorMode = params->panel_color_mode;
    // A panel colour mode outside the enumeration leaves the planes as they are.
    if (panelColorMode > SPACE_BT2020) return;
    // Inverse mapping stays in BT.2020.
    const int target =
        params->map_direction != MAP_FORWARD ? kPrimariesBt2020 : primariesOfPanel(panelColorMode);
    // Through XYZ in place; out-of-gamut colours keep components below 0 or
    // above 1 here.
    applyMatrix(kRgbToXyz[kPrimariesBt2020], planes, planes, count);
    applyMatrix(kXyzToRgb[target], planes, planes, count);
}

HDRTM_VECTOR_CLONES
void panel_mapping_PCC(TMParams* params, float** planes) {
    using namespace hdrtm;
    const unsigned int count = gridPointCount(params);
    if (count == 0) return;
    const PccCoefficients* const pcc = params->pcc;
    // Without a coefficient block there is no correction to apply.
    if (pcc == nullptr) return;
    // Each row's eleven coefficients in locals for the whole loop.
    const PccRow kr = loadPccRow(pcc->row[0]);
    const PccRow kg = loadPccRow(pcc->row[1]);
    const PccRow kb = loadPccRow(pcc->row[2]);
    float* const planeR = planes[0];
    float* const planeG = planes[1];
    float* const planeB = planes[2];
    if (firstOrderOnly(*pcc)) {
        uint32_t outsideBound = 0;
        for (unsigned int i = 0; i < count; ++i) {
            outsideBound |= static_cast<uint32_t>(!(std::fabs(planeR[i]) < kFiniteTermsBound)) |
                            static_cast<uint32_t>(!(std::fabs(planeG[i]) < kFiniteTermsBound)) |
                            static_cast<uint32_t>(!(std::fabs(planeB[i]) < kFiniteTermsBound));
        }
        if (outsideBound == 0) {
            HDRTM_INDEPENDENT_POINTS
            for (unsigned int i = 0; i < count; ++i) {
                const double r = planeR[i];
                const double g = planeG[i];
                const double b = planeB[i];
                planeR[i] = pccFirstOrderChannel(kr, r, g, b);
                planeG[i] = pccFirstOrderChannel(kg, r, g, b);
                planeB[i] = pccFirstOrderChannel(kb, r, g, b);
            }
            return;
        }
    }
    HDRTM_INDEPENDENT_POINTS
    for (unsigned int i = 0; i < count; ++i) {
        const float r = planeR[i];
        const float g = planeG[i];
        const float b = planeB[i];
        // Products in single precision, then widened; the polynomial is
        // summed in double, linear terms first and the constant last.
        PccTerms t;
        t.r = r;
        t.g = g;
        t.b = b;
        t.rr = r * r;
        t.gg = g * g;
        t.bb = b * b;
        t.rg = r * g;
        t.gb = g * b;
        t.rb = r * b;
        t.rgb = (r * g) * b;
        planeR[i] = pccChannel(kr, t);
        planeG[i] = pccChannel(kg, t);
        planeB[i] = pccChannel(kb, t);
    }
}
