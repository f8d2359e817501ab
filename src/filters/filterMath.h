#pragma once
// The arithmetic conventions every filter shares, so that each formula reads as written:
// round half to even (roundToLong, roundToByte), integer division truncating toward zero, a
// remainder with the sign of the dividend (C++'s own / and %), the standard clamp, and the
// single-precision constants the filters have always used for pi and degrees.
#include "filters/cBitFilter.h"
#include "pixel/RuntimeError.h"

#include <cstdint>

namespace velmar::filters {

// pi and 2 pi as the single-precision values of 3.141592 and 6.283184, and the stored value of
// pi / 180.
inline constexpr double kPi = 3.141592025756836;
inline constexpr double kTwoPi = 6.283184051513672;
inline constexpr double kDegree = 0.017453288659453392;

// A result of the program's long arithmetic: outside 32 bits is "Overflow".
inline constexpr bool fitsLong(std::int64_t v) noexcept { return v >= INT32_MIN && v <= INT32_MAX; }
inline std::int32_t checkedLong(std::int64_t v) {
    if (!fitsLong(v)) throw RuntimeError::Overflow();
    return static_cast<std::int32_t>(v);
}

// a div b: truncating; a zero divisor is "Division by zero", and the one quotient a long cannot
// hold is "Overflow".
inline std::int32_t idiv(std::int64_t a, std::int64_t b) {
    if (b == 0) throw RuntimeError::DivisionByZero();
    const std::int64_t q = a / b;
    if (q < INT32_MIN || q > INT32_MAX) throw RuntimeError::Overflow();
    return static_cast<std::int32_t>(q);
}

// a / b on floating values as the program divides: x / 0 is "Division by zero", and 0 / 0,
// which has no value at all, is "Overflow".
inline double fdiv(double a, double b) {
    if (b == 0.0) throw a == 0.0 ? RuntimeError::Overflow() : RuntimeError::DivisionByZero();
    return a / b;
}

// The standard clamp: below 0 becomes 0, above 255 becomes 255.
inline constexpr std::uint8_t clampByte(std::int32_t v) noexcept {
    return static_cast<std::uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

// The parts of a colour value 0x00BBGGRR.
inline constexpr std::int32_t redOf(COLORREF c) noexcept { return static_cast<std::int32_t>(c & 0xFF); }
inline constexpr std::int32_t greenOf(COLORREF c) noexcept {
    return static_cast<std::int32_t>((c >> 8) & 0xFF);
}
inline constexpr std::int32_t blueOf(COLORREF c) noexcept {
    return static_cast<std::int32_t>((c >> 16) & 0xFF);
}

// The colour-key tolerance of a percentage: round((t * 127.5 / 100)^2 + 1), compared with the
// squared distance of a colour to the key.
inline std::int32_t tolerance2(std::int32_t percent) {
    const double t = percent * 127.5 / 100.0;
    return roundToLong(t * t + 1.0);
}

} // namespace velmar::filters
