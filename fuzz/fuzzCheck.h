#pragma once
// A property of the parser's result that must hold for every input: a broken one stops the
// fuzzer at once with the input that broke it, in release builds too (unlike assert).
#include <cstdlib>

namespace velmar::fuzz {

inline void check(bool ok) {
    if (!ok) std::abort();
}

} // namespace velmar::fuzz
