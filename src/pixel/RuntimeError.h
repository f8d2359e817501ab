#pragma once
// The run-time errors of the pixel code: a byte or long conversion that leaves its range, and a
// division by zero. They carry the classic error numbers and texts so that the editor can show
// them as users of the old program know them. Throwing one aborts the operation; operations that
// can throw work on a copy, so the caller's pixels are untouched.
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace velmar {

class RuntimeError : public std::runtime_error {
  public:
    RuntimeError(int number, const std::string& text) : std::runtime_error(text), number_(number) {}
    int number() const noexcept { return number_; }

    static RuntimeError Overflow() { return {6, "Overflow"}; }
    static RuntimeError DivisionByZero() { return {11, "Division by zero"}; }

  private:
    int number_;
};

// round() of the program: nearest, ties to even, into a 32-bit long. A value outside the long's
// range (or not a number) is the "Overflow" error, as the conversion of the old runtime was.
inline std::int32_t roundToLong(double v) {
    const double r = std::nearbyint(v);
    if (!(r >= -2147483648.0 && r <= 2147483647.0)) throw RuntimeError::Overflow();
    return static_cast<std::int32_t>(r);
}

// The same rounding into a byte: outside 0..255 is "Overflow".
inline std::uint8_t roundToByte(double v) {
    const double r = std::nearbyint(v);
    if (!(r >= 0.0 && r <= 255.0)) throw RuntimeError::Overflow();
    return static_cast<std::uint8_t>(r);
}

} // namespace velmar
