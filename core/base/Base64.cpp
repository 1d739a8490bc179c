#include "base/Base64.h"

#include <array>
#include <cstdint>

namespace lorekeep::base64 {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> makeValues() {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int8_t>(i);
    return values;
}

constexpr std::array<std::int8_t, 256> values = makeValues();

} // namespace

std::string encode(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const std::uint32_t group = static_cast<unsigned char>(bytes[i]) << 16 |
                                    static_cast<unsigned char>(bytes[i + 1]) << 8 |
                                    static_cast<unsigned char>(bytes[i + 2]);
        text += alphabet[group >> 18];
        text += alphabet[group >> 12 & 0x3f];
        text += alphabet[group >> 6 & 0x3f];
        text += alphabet[group & 0x3f];
    }
    const std::size_t rest = bytes.size() - i;
    if (rest > 0) {
        std::uint32_t group = static_cast<unsigned char>(bytes[i]) << 16;
        if (rest == 2)
            group |= static_cast<unsigned char>(bytes[i + 1]) << 8;
        text += alphabet[group >> 18];
        text += alphabet[group >> 12 & 0x3f];
        text += rest == 2 ? alphabet[group >> 6 & 0x3f] : '=';
        text += '=';
    }
    return text;
}

std::optional<std::string> decode(std::string_view text) {
    if (text.size() % 4 != 0)
        return std::nullopt;
    std::size_t padding = 0;
    if (!text.empty() && text.back() == '=')
        padding = text[text.size() - 2] == '=' ? 2 : 1;

    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t i = 0; i < text.size(); i += 4) {
        const bool last = i + 4 == text.size();
        const std::size_t digits = last ? 4 - padding : 4;
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            std::int8_t value = 0;
            if (k < digits) {
                value = values[static_cast<unsigned char>(text[i + k])];
                if (value < 0)
                    return std::nullopt;
            }
            group = group << 6 | static_cast<std::uint32_t>(value);
        }
        bytes += static_cast<char>(group >> 16);
        if (digits > 2)
            bytes += static_cast<char>(group >> 8 & 0xff);
        if (digits > 3)
            bytes += static_cast<char>(group & 0xff);
        // Bits that no byte uses must be zero, so that every byte string has exactly one text.
        if ((digits == 2 && (group & 0xffff) != 0) || (digits == 3 && (group & 0xff) != 0))
            return std::nullopt;
    }
    return bytes;
}

} // namespace lorekeep::base64
