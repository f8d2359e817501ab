#include "shell/settingsFile.h"

#include "port/ReplaceFile.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <span>

namespace velmar {

namespace fs = std::filesystem;

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

int hexValue(char c) {
    return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}

void appendUtf8(std::string& out, char32_t cp) {
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = 0xFFFD;
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

// The code point at text[i], moving i past it. A byte that starts no well-formed sequence is
// taken as the Latin-1 character of its value, so that no input is lost.
char32_t decodeUtf8(std::string_view text, std::size_t& i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    const int extra = lead >= 0xF0 && lead <= 0xF4 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : 0;
    if (lead >= 0x80 && extra > 0 && i + static_cast<std::size_t>(extra) < text.size()) {
        char32_t cp = lead & (0x3F >> extra);
        bool formed = true;
        for (int k = 1; k <= extra && formed; ++k) {
            const unsigned char next = byte(i + static_cast<std::size_t>(k));
            formed = (next & 0xC0) == 0x80;
            cp = (cp << 6) | (next & 0x3F);
        }
        const char32_t least = extra == 1 ? 0x80 : extra == 2 ? 0x800 : 0x10000;
        if (formed && cp >= least && cp <= 0x10FFFF && !(cp >= 0xD800 && cp <= 0xDFFF)) {
            i += static_cast<std::size_t>(extra) + 1;
            return cp;
        }
    }
    ++i;
    return lead;
}

// QSettings' key escape: letters, digits, "_", "-" and "." stand as they are, "/" (its group
// separator) becomes "\", any other character up to U+00FF becomes %XX and the rest %UXXXX per
// UTF-16 unit.
std::string escapeKey(std::string_view key) {
    std::string out;
    const auto hex4 = [&](unsigned unit) {
        out += "%U";
        for (int shift = 12; shift >= 0; shift -= 4)
            out += kHexDigits[(unit >> shift) & 0xF];
    };
    for (std::size_t i = 0; i < key.size();) {
        const char32_t ch = decodeUtf8(key, i);
        if (ch == '/') {
            out += '\\';
        } else if ((ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') ||
                   (ch >= '0' && ch <= '9') || ch == '_' || ch == '-' || ch == '.') {
            out += static_cast<char>(ch);
        } else if (ch <= 0xFF) {
            out += '%';
            out += kHexDigits[ch >> 4];
            out += kHexDigits[ch & 0xF];
        } else if (ch <= 0xFFFF) {
            hex4(ch);
        } else {
            hex4(0xD800 + ((ch - 0x10000) >> 10));
            hex4(0xDC00 + ((ch - 0x10000) & 0x3FF));
        }
    }
    return out;
}

// Reads n hex digits at text[i] into value; false when they are not all there.
bool readHex(std::string_view text, std::size_t i, std::size_t n, char32_t& value) {
    if (i + n > text.size()) return false;
    value = 0;
    for (std::size_t k = 0; k < n; ++k) {
        if (!isHexDigit(text[i + k])) return false;
        value = value * 16 + static_cast<char32_t>(hexValue(text[i + k]));
    }
    return true;
}

// The reverse of escapeKey. A "%" that starts no escape stands for itself.
std::string unescapeKey(std::string_view key) {
    std::string out;
    for (std::size_t i = 0; i < key.size();) {
        char32_t unit = 0;
        if (key[i] == '\\') {
            out += '/';
            ++i;
        } else if (key[i] == '%' && i + 1 < key.size() && key[i + 1] == 'U' &&
                   readHex(key, i + 2, 4, unit)) {
            i += 6;
            char32_t low = 0;
            if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < key.size() && key[i] == '%' &&
                key[i + 1] == 'U' && readHex(key, i + 2, 4, low) && low >= 0xDC00 &&
                low <= 0xDFFF) {
                unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
                i += 6;
            }
            appendUtf8(out, unit);
        } else if (key[i] == '%' && readHex(key, i + 1, 2, unit)) {
            appendUtf8(out, unit);
            i += 3;
        } else {
            out += key[i++];
        }
    }
    return out;
}

// "\x" and the character's number in lower-case hex without leading zeros, as QSettings
// writes it.
void appendHexEscape(std::string& out, unsigned char ch) {
    char digits[2];
    const auto result = std::to_chars(digits, digits + 2, static_cast<unsigned>(ch), 16);
    out += "\\x";
    out.append(digits, result.ptr);
}

// QSettings' text escape: named escapes for control characters and for '"' and '\', \x for the
// other control characters (and for hex digits right after one, which would otherwise be read
// as part of it), UTF-8 for the rest; quotes round the whole when it holds ";", "," or "=" or
// begins or ends with a blank. A text beginning with "@" gets a second "@", which is how
// QSettings tells text from its typed values.
std::string escapeValue(std::string_view value) {
    std::string out;
    if (!value.empty() && value.front() == '@') out += '@';
    bool needsQuotes = false;
    bool escapeNextIfHex = false;
    for (const char c : value) {
        const auto ch = static_cast<unsigned char>(c);
        if (c == ';' || c == ',' || c == '=') needsQuotes = true;
        if (escapeNextIfHex && isHexDigit(c)) {
            appendHexEscape(out, ch);
            continue;
        }
        escapeNextIfHex = false;
        switch (c) {
        case '\0':
            out += "\\0";
            escapeNextIfHex = true;
            break;
        case '\a':
            out += "\\a";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\v':
            out += "\\v";
            break;
        case '"':
        case '\\':
            out += '\\';
            out += c;
            break;
        default:
            if (ch <= 0x1F) {
                appendHexEscape(out, ch);
                escapeNextIfHex = true;
            } else {
                out += c;
            }
        }
    }
    if (needsQuotes || (!out.empty() && (out.front() == ' ' || out.back() == ' ')))
        out = '"' + out + '"';
    return out;
}

std::string unescapeValue(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') continue; // quotes only group; they are not part of the text
        if (c != '\\' || i + 1 == text.size()) {
            out += c;
            continue;
        }
        const char e = text[++i];
        switch (e) {
        case 'a':
            out += '\a';
            break;
        case 'b':
            out += '\b';
            break;
        case 'f':
            out += '\f';
            break;
        case 'n':
            out += '\n';
            break;
        case 'r':
            out += '\r';
            break;
        case 't':
            out += '\t';
            break;
        case 'v':
            out += '\v';
            break;
        case 'x':
        case '0':
        case '1':
        case '2':
        case '3':
        case '4':
        case '5':
        case '6':
        case '7': {
            // \x takes every hex digit that follows, an octal escape every octal digit.
            const bool hex = e == 'x';
            char32_t cp = hex ? 0 : static_cast<char32_t>(e - '0');
            while (i + 1 < text.size() &&
                   (hex ? isHexDigit(text[i + 1]) : (text[i + 1] >= '0' && text[i + 1] <= '7'))) {
                cp = std::min<char32_t>(
                    cp * (hex ? 16 : 8) + static_cast<char32_t>(hexValue(text[++i])), 0x110000);
            }
            appendUtf8(out, cp);
            break;
        }
        default:
            out += e; // '"', '\\', '\'', '?' and any unknown escape stand for themselves
        }
    }
    if (out.size() >= 2 && out[0] == '@' && out[1] == '@') out.erase(0, 1);
    return out;
}

std::string_view trim(std::string_view s) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
    while (!s.empty() && blank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && blank(s.back()))
        s.remove_suffix(1);
    return s;
}

// The value part of a line up to a comment: a ";" outside quotes ends it.
std::string_view cutComment(std::string_view value) {
    bool inQuotes = false;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\')
            ++i;
        else if (value[i] == '"')
            inQuotes = !inQuotes;
        else if (value[i] == ';' && !inQuotes)
            return value.substr(0, i);
    }
    return value;
}

ini::Section& sectionNamed(std::vector<ini::Section>& sections, std::string_view name) {
    const auto it = std::find_if(sections.begin(), sections.end(),
                                 [&](const ini::Section& s) { return s.name == name; });
    if (it != sections.end()) return *it;
    sections.push_back({std::string(name), {}});
    return sections.back();
}

void setText(std::vector<ini::Section>& sections, std::string_view section, std::string_view key,
             std::string text) {
    auto& entries = sectionNamed(sections, section).entries;
    const auto it = std::find_if(entries.begin(), entries.end(),
                                 [&](const ini::Entry& e) { return e.key == key; });
    if (it != entries.end())
        it->text = std::move(text);
    else
        entries.push_back({std::string(key), std::move(text)});
}

std::vector<ini::Section> parse(std::string_view text) {
    std::vector<ini::Section> sections;
    std::string current = "General";
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = trim(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty() || line.front() == ';' || line.front() == '#') continue;
        if (line.front() == '[') {
            const std::size_t close = line.rfind(']');
            if (close == std::string_view::npos) continue;
            current = unescapeKey(trim(line.substr(1, close - 1)));
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        const std::string key = unescapeKey(trim(line.substr(0, equals)));
        if (key.empty()) continue;
        setText(sections, current, key, std::string(trim(cutComment(line.substr(equals + 1)))));
    }
    return sections;
}

std::vector<ini::Section> readSections(const fs::path& path) {
    // Only a plain file is read: the stream library throws on reading a folder, which is an
    // unreadable store like any other.
    std::error_code ec;
    if (!fs::is_regular_file(path, ec)) return {};
    try {
        std::ifstream in(path, std::ios::binary);
        if (!in) return {};
        const std::string text{std::istreambuf_iterator<char>(in),
                               std::istreambuf_iterator<char>()};
        if (in.bad()) return {};
        return parse(text);
    } catch (const std::ios_base::failure&) {
        return {};
    }
}

std::string format(const std::vector<ini::Section>& sections) {
    std::string out;
    for (const ini::Section& s : sections) {
        if (s.entries.empty()) continue;
        if (!out.empty()) out += '\n';
        out += '[' + escapeKey(s.name) + "]\n";
        for (const ini::Entry& e : s.entries)
            out += escapeKey(e.key) + '=' + e.text + '\n';
    }
    return out;
}

} // namespace

fs::path SettingsFilePath(const fs::path& appFolder) {
    return appFolder / "Velmar.ini";
}

SettingsFile::SettingsFile(const fs::path& appFolder)
    : path_(SettingsFilePath(appFolder)), sections_(readSections(path_)) {}

std::optional<std::string> SettingsFile::Value(std::string_view section,
                                               std::string_view key) const {
    for (const ini::Section& s : sections_) {
        if (s.name != section) continue;
        for (const ini::Entry& e : s.entries)
            if (e.key == key) return unescapeValue(e.text);
    }
    return std::nullopt;
}

void SettingsFile::SetValue(std::string_view section, std::string_view key,
                            std::string_view value) {
    std::string text = escapeValue(value);
    setText(sections_, section, key, text);
    const auto it = std::find_if(changes_.begin(), changes_.end(), [&](const ini::Change& c) {
        return c.section == section && c.key == key;
    });
    if (it != changes_.end())
        it->text = std::move(text);
    else
        changes_.push_back({std::string(section), std::string(key), std::move(text)});
}

void SettingsFile::Save() const {
    std::vector<ini::Section> current = readSections(path_);
    for (const ini::Change& c : changes_)
        setText(current, c.section, c.key, c.text);
    const std::string text = format(current);
    ReplaceFile(path_, std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

} // namespace velmar
