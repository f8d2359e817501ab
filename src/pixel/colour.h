#pragma once
// Conversions between red, green, blue bytes and the program's hue, lightness, saturation.
//
// Hue is on a scale of six units from -1 up to (not including) 5: red 0, green 2, blue 4.
// Saturation and lightness run from 0 to 1. The filters lean on these exact formulas, so they
// are kept in single precision as the filters have always computed them.
#include <cstdint>

namespace velmar {

void RGBToHLS(std::int32_t R, std::int32_t G, std::int32_t B, float& H, float& S, float& L);

// No clamp: a hue outside -1..5, or values outside 0..1, give bytes outside 0..255, and the
// callers wrap the hue first. A result too large for a long is the "Overflow" error.
void HLSToRGB(float H, float S, float L, std::int32_t& R, std::int32_t& G, std::int32_t& B);

// The colorize slider's hue: V below 201 stays, above it wraps down by 240.
std::int32_t HueFromSlider(std::int32_t V);

} // namespace velmar
