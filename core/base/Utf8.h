#pragma once

#include <optional>

namespace lorekeep {

/// What well-formed UTF-8 allows after a lead byte: how many continuation bytes follow, and the range of the first
/// of them (narrower than 0x80-0xBF after some leads, which rules out overlong forms, surrogates and code points
/// past U+10FFFF). Nothing for a byte that cannot start a multibyte character.
struct Utf8Lead {
    int continuations = 0;
    unsigned low = 0x80;
    unsigned high = 0xBF;
};

inline std::optional<Utf8Lead> utf8Lead(unsigned lead) {
    if (lead >= 0xC2 && lead <= 0xDF)
        return Utf8Lead{1};
    if (lead >= 0xE0 && lead <= 0xEF)
        return Utf8Lead{2, lead == 0xE0 ? 0xA0u : 0x80u, lead == 0xED ? 0x9Fu : 0xBFu};
    if (lead >= 0xF0 && lead <= 0xF4)
        return Utf8Lead{3, lead == 0xF0 ? 0x90u : 0x80u, lead == 0xF4 ? 0x8Fu : 0xBFu};
    return std::nullopt;
}

} // namespace lorekeep
