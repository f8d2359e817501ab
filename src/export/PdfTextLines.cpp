#include "export/PdfTextLines.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace velmar {

void EscapeParentheses(std::string_view text, std::string& escaped) {
    escaped.clear();
    // Runs without a parenthesis are copied whole; most lines are one such run.
    const char* run = text.data();
    const char* const end = text.data() + text.size();
    for (const char* c = run; c != end; ++c) {
        if (*c != '(' && *c != ')') continue;
        escaped.append(run, static_cast<std::size_t>(c - run));
        escaped += '\\';
        run = c;
    }
    escaped.append(run, static_cast<std::size_t>(end - run));
}

std::string_view TrimBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::size_t BreakLength(std::string_view piece) {
    // Position p (from 1) is searched while p >= length / 2 taken as a real number, so an odd
    // length stops at the upper middle.
    for (std::size_t p = piece.size(); p >= 1 && 2 * p >= piece.size(); --p)
        if (kPdfBreakCharacters.find(piece[p - 1]) != std::string_view::npos) return p;
    return piece.size();
}

bool LooksLikeBinary(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::array<char, 4096> head{};
    in.read(head.data(), head.size());
    const auto n = static_cast<std::size_t>(in.gcount());
    return std::any_of(head.begin(), head.begin() + static_cast<std::ptrdiff_t>(n), [](char c) {
        const auto b = static_cast<unsigned char>(c);
        return b < 32 && b != '\t' && b != '\n' && b != '\f' && b != '\r' && b != 26;
    });
}

} // namespace velmar
