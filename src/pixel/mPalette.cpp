#include "pixel/mPalette.h"

#include <cstdlib>

namespace velmar {

void mPalette::NearestPaletteColor(std::int32_t R, std::int32_t G, std::int32_t B,
                                   std::int32_t& OutR, std::int32_t& OutG,
                                   std::int32_t& OutB) const {
    if (entries_.empty()) throw EmptyPaletteError();
    std::size_t best = 0;
    std::int32_t bestScore = 765;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const Entry& p = entries_[i];
        if (p[0] == R && p[1] == G && p[2] == B) {
            best = i;
            break;
        }
        const std::int32_t score = std::abs(R - p[0]) + std::abs(G - p[1]) + std::abs(B - p[2]);
        if (score < bestScore) {
            bestScore = score;
            best = i;
        }
    }
    OutR = entries_[best][0];
    OutG = entries_[best][1];
    OutB = entries_[best][2];
}

} // namespace velmar
