#include "extract/ResourceId.h"

#include <algorithm>

namespace velmar {

namespace {

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | c >> 6));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | c >> 12));
        out.push_back(static_cast<char>(0x80 | (c >> 6 & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | c >> 18));
        out.push_back(static_cast<char>(0x80 | (c >> 12 & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c >> 6 & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

bool isHighSurrogate(char16_t c) {
    return c >= 0xD800 && c < 0xDC00;
}
bool isLowSurrogate(char16_t c) {
    return c >= 0xDC00 && c < 0xE000;
}

char16_t upperAscii(char16_t c) {
    return c >= u'a' && c <= u'z' ? c - u'a' + u'A' : c;
}

} // namespace

ResourceId ResourceId::FromText(std::string_view text) {
    const bool digits =
        text.size() >= 2 && text.size() <= 6 && text[0] == '#' &&
        std::all_of(text.begin() + 1, text.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (digits) {
        const unsigned long value = std::stoul(std::string(text.substr(1)));
        if (value <= 0xFFFF) return ResourceId(static_cast<std::uint16_t>(value));
    }
    // Names come from the user as UTF-8; only ASCII is compared without case, so the rest is
    // carried over code unit by code unit after decoding.
    std::u16string name;
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        char32_t c = byte;
        std::size_t length = 1;
        if (byte >= 0xF0 && i + 3 < text.size()) {
            c = (byte & 0x07u) << 18 | (text[i + 1] & 0x3Fu) << 12 | (text[i + 2] & 0x3Fu) << 6 |
                (text[i + 3] & 0x3Fu);
            length = 4;
        } else if (byte >= 0xE0 && i + 2 < text.size()) {
            c = (byte & 0x0Fu) << 12 | (text[i + 1] & 0x3Fu) << 6 | (text[i + 2] & 0x3Fu);
            length = 3;
        } else if (byte >= 0xC0 && i + 1 < text.size()) {
            c = (byte & 0x1Fu) << 6 | (text[i + 1] & 0x3Fu);
            length = 2;
        }
        if (c >= 0x10000 && c <= 0x10FFFF) {
            name.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
            name.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
        } else {
            name.push_back(static_cast<char16_t>(c));
        }
        i += length;
    }
    return ResourceId(std::move(name));
}

std::string ResourceId::Text() const {
    if (!isName_) return std::to_string(number_);
    std::string out;
    for (std::size_t i = 0; i < name_.size(); ++i) {
        const char16_t c = name_[i];
        if (isHighSurrogate(c) && i + 1 < name_.size() && isLowSurrogate(name_[i + 1])) {
            appendUtf8(out, 0x10000 + ((c - 0xD800u) << 10) + (name_[i + 1] - 0xDC00u));
            ++i;
        } else if (isHighSurrogate(c) || isLowSurrogate(c)) {
            appendUtf8(out, 0xFFFD);
        } else {
            appendUtf8(out, c);
        }
    }
    return out;
}

bool ResourceId::Matches(const ResourceId& other) const {
    if (isName_ != other.isName_) return false;
    if (!isName_) return number_ == other.number_;
    return std::equal(name_.begin(), name_.end(), other.name_.begin(), other.name_.end(),
                      [](char16_t a, char16_t b) { return upperAscii(a) == upperAscii(b); });
}

} // namespace velmar
