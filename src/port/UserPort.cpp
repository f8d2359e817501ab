#include "port/UserPort.h"

namespace velmar {

std::string UserPort::CompactPath(const std::string& path, int pixels) {
    constexpr int kCharWidth = 7;
    const auto fits = static_cast<std::size_t>(pixels > 0 ? pixels / kCharWidth : 0);
    if (path.size() <= fits) return path;
    // Keep the file name whole where it can: it is the part a person looks for.
    static constexpr std::string_view kDots = "...";
    if (fits <= kDots.size()) return std::string(kDots.substr(0, fits));
    const std::size_t keep = fits - kDots.size();
    const std::size_t slash = path.find_last_of('/');
    const std::size_t nameLength = slash == std::string::npos ? path.size() : path.size() - slash;
    const std::size_t tail = std::min(keep, std::max(nameLength, keep / 2));
    return path.substr(0, keep - tail) + std::string(kDots) + path.substr(path.size() - tail);
}

} // namespace velmar
