#include "pixel/colour.h"

#include "pixel/RuntimeError.h"

#include <algorithm>

namespace velmar {

void RGBToHLS(std::int32_t R, std::int32_t G, std::int32_t B, float& H, float& S, float& L) {
    const float r = static_cast<float>(R / 255.0);
    const float g = static_cast<float>(G / 255.0);
    const float b = static_cast<float>(B / 255.0);
    const float mx = std::max({r, g, b});
    const float mn = std::min({r, g, b});
    L = (mx + mn) / 2.0f;
    if (mx == mn) {
        S = 0.0f;
        H = 0.0f;
        return;
    }
    S = L > 0.5f ? (mx - mn) / (2.0f - mx - mn) : (mx - mn) / (mx + mn);
    const float d = mx - mn;
    if (r == mx)
        H = (g - b) / d;
    else if (g == mx)
        H = (b - r) / d + 2.0f;
    else
        H = (r - g) / d + 4.0f;
}

void HLSToRGB(float H, float S, float L, std::int32_t& R, std::int32_t& G, std::int32_t& B) {
    float r, g, b;
    if (S == 0.0f) {
        r = g = b = L;
    } else {
        const float mn = L <= 0.5f ? (1.0f - S) * L : L - (1.0f - L) * S;
        const float mx = 2.0f * L - mn;
        const float e = mx - mn;
        if (H < 1.0f) {
            r = mx;
            if (H < 0.0f) {
                g = mn;
                b = mn - e * H;
            } else {
                b = mn;
                g = e * H + mn;
            }
        } else if (H < 3.0f) {
            g = mx;
            if (H < 2.0f) {
                b = mn;
                r = mn - e * (H - 2.0f);
            } else {
                r = mn;
                b = e * (H - 2.0f) + mn;
            }
        } else {
            b = mx;
            if (H < 4.0f) {
                r = mn;
                g = mn - e * (H - 4.0f);
            } else {
                g = mn;
                r = mn + e * (H - 4.0f);
            }
        }
    }
    R = roundToLong(r * 255.0f);
    G = roundToLong(g * 255.0f);
    B = roundToLong(b * 255.0f);
}

std::int32_t HueFromSlider(std::int32_t V) {
    return V < 201 ? V : V - 240;
}

} // namespace velmar
