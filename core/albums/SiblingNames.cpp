#include "albums/SiblingNames.h"

#include <cstdint>

namespace lorekeep {
namespace {

bool isTrimmedSpace(std::string_view text, std::size_t at, std::size_t& length) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte == ' ' || (byte >= '\t' && byte <= '\r')) {
        length = 1;
        return true;
    }
    // U+0085 and U+00A0 (two bytes); U+1680, U+2000..U+200A, U+2028, U+2029, U+202F, U+205F, U+3000 (three).
    if (byte == 0xC2 && at + 1 < text.size()) {
        const auto next = static_cast<unsigned char>(text[at + 1]);
        length = 2;
        return next == 0x85 || next == 0xA0;
    }
    if (at + 2 < text.size()) {
        const auto b1 = static_cast<unsigned char>(text[at + 1]), b2 = static_cast<unsigned char>(text[at + 2]);
        length = 3;
        if (byte == 0xE1 && b1 == 0x9A)
            return b2 == 0x80;
        if (byte == 0xE2 && b1 == 0x80)
            return b2 <= 0x8A || b2 == 0xA8 || b2 == 0xA9 || b2 == 0xAF;
        if (byte == 0xE2 && b1 == 0x81)
            return b2 == 0x9F;
        if (byte == 0xE3 && b1 == 0x80)
            return b2 == 0x80;
    }
    return false;
}

// Where a UTF-8 character ending just before `end` starts.
std::size_t previousCharacter(std::string_view text, std::size_t end) {
    std::size_t start = end - 1;
    while (start > 0 && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80)
        --start;
    return start;
}

std::string_view trimmed(std::string_view text) {
    std::size_t length = 0;
    while (!text.empty() && isTrimmedSpace(text, 0, length))
        text.remove_prefix(length);
    while (!text.empty()) {
        const std::size_t start = previousCharacter(text, text.size());
        if (!isTrimmedSpace(text, start, length) || start + length != text.size())
            break;
        text.remove_suffix(length);
    }
    return text;
}

char32_t lowerCodePoint(char32_t c) {
    if ((c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7) || (c >= 0x391 && c <= 0x3AB && c != 0x3A2) ||
        (c >= 0x410 && c <= 0x42F))
        return c + 0x20;
    if (c >= 0x400 && c <= 0x40F)
        return c + 0x50;
    // Latin Extended-A pairs capitals with the next code point; the run from U+0139 to U+0148 and from U+0179 to
    // U+017E is shifted by one.
    if ((c >= 0x100 && c <= 0x12F) || (c >= 0x132 && c <= 0x137) || (c >= 0x14A && c <= 0x177))
        return c % 2 == 0 ? c + 1 : c;
    if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E))
        return c % 2 == 1 ? c + 1 : c;
    return c;
}

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

} // namespace

std::string cleanFolderName(const std::optional<std::string>& title) {
    std::string name = title.value_or("");
    for (char& c : name) {
        // NUL would cut the path short in every system call.
        if (c == '/' || c == ':' || c == '\0')
            c = '-';
    }
    name = std::string(trimmed(name));
    if (name.empty())
        return "Untitled";
    if (name.front() == '.')
        return "_" + name;
    return name;
}

std::string foldCase(std::string_view name) {
    std::string folded;
    folded.reserve(name.size());
    for (std::size_t i = 0; i < name.size();) {
        const auto byte = static_cast<unsigned char>(name[i]);
        if (byte < 0x80) {
            folded += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 0x20 : byte);
            ++i;
            continue;
        }
        // Only two-byte sequences hold the capitals we fold; longer or broken sequences are copied as they are.
        if ((byte & 0xE0) == 0xC0 && i + 1 < name.size() && (static_cast<unsigned char>(name[i + 1]) & 0xC0) == 0x80) {
            const char32_t c = (static_cast<char32_t>(byte & 0x1F) << 6) | (name[i + 1] & 0x3F);
            appendUtf8(folded, lowerCodePoint(c));
            i += 2;
            continue;
        }
        folded += name[i];
        ++i;
    }
    return folded;
}

std::string SiblingNames::claim(const std::string& name) {
    std::string candidate = name;
    for (std::int64_t n = 2; !m_taken.insert(foldCase(candidate)).second; ++n)
        candidate = name + " (" + std::to_string(n) + ")";
    return candidate;
}

} // namespace lorekeep
