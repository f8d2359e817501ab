#pragma once
// How the PDF writer prepares one line of the input before it goes into a page: the string
// escape, the trimming and the search for a place to break a long line.
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace velmar {

// Every "(" becomes "\(" and every ")" becomes "\)". Nothing else is escaped, backslashes
// included: a backslash in the text keeps its meaning inside the PDF string. The result replaces
// the content of `escaped`, whose memory is reused from line to line.
void EscapeParentheses(std::string_view text, std::string& escaped);

// The text without blanks (spaces) at either end; tabs and other characters stay.
std::string_view TrimBlanks(std::string_view text);

// The characters behind which a long line may be broken.
inline constexpr std::string_view kPdfBreakCharacters = "*&^%$#,. ;<=>[])}!\"";

// The length of the first piece of a line that is too long, given `piece`, its first
// characters-per-line characters: the piece is cut behind the last break character in its
// second half (1-based positions from its length back to its length / 2), or kept whole when
// that half holds none.
std::size_t BreakLength(std::string_view piece);

// True when the first bytes of the file hold characters no text file has (NUL and the control
// characters other than tab, line feed, form feed, carriage return and the end-of-file mark 26
// of old DOS files). The writer converts such a file anyway; this lets a caller warn first.
// False when the file cannot be read.
bool LooksLikeBinary(const std::filesystem::path& path);

} // namespace velmar
