#pragma once
// Four doubles at a time, for the filters that compute their formulas in double: the vector
// types and round() to whole numbers with ties to even, lane by lane exactly as for one value.
#include <bit>
#include <cstdint>

#if defined(__AVX__)
#include <immintrin.h>
#endif

namespace velmar::lanes {

using Doubles = double __attribute__((vector_size(32)));
using Longs = std::int64_t __attribute__((vector_size(32)));
using Ints4 = std::int32_t __attribute__((vector_size(16)));

// round() of values below 2^51 in magnitude, ties to even, by two additions: after adding
// 1.5 * 2^52 no fraction bits are left, and taking it away is exact.
inline Doubles roundHalfEven(Doubles v) {
    constexpr double kMagic = 6755399441055744.0;
    return (v + kMagic) - kMagic;
}

// The same rounding straight to 32-bit lanes, for values known to fit.
inline Ints4 roundToInts(Doubles v) {
#if defined(__AVX__)
    // The conversion rounds by the default mode, to nearest with ties to even.
    return std::bit_cast<Ints4>(_mm256_cvtpd_epi32(std::bit_cast<__m256d>(v)));
#else
    return __builtin_convertvector(roundHalfEven(v), Ints4);
#endif
}

} // namespace velmar::lanes
