#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace lorekeep::json {

/// The length of the run of bytes at the start of [begin, end) that a JSON string holds as they are: up to the
/// first quote, backslash or control character, and also the first "/" or non-ASCII byte when asked. Eight bytes
/// are looked at a time, which is what makes reading and writing the paths of a large index cheap.
inline std::size_t plainRun(const char* begin, const char* end, bool stopAtSlash, bool stopAtNonAscii) {
    constexpr std::uint64_t ones = 0x0101010101010101ull, highs = 0x8080808080808080ull;
    // A high bit set in each byte of `word` that equals `byte`, or is below it for `below`.
    const auto equal = [](std::uint64_t word, unsigned char byte) {
        const std::uint64_t x = word ^ (ones * byte);
        return (x - ones) & ~x & highs;
    };
    const char* at = begin;
    while (end - at >= 8) {
        std::uint64_t word;
        std::memcpy(&word, at, 8);
        // Bytes below 0x20: subtracting 0x20 borrows into their high bit (exact for ASCII bytes; the non-ASCII
        // ones are either stopped at or let through by the test after).
        std::uint64_t stop = (word - ones * 0x20) & ~word & highs;
        stop |= equal(word, '"') | equal(word, '\\');
        if (stopAtSlash)
            stop |= equal(word, '/');
        if (stopAtNonAscii)
            stop |= word & highs;
        if (stop != 0)
            break;
        at += 8;
    }
    for (; at != end; ++at) {
        const auto c = static_cast<unsigned char>(*at);
        if (c < 0x20 || c == '"' || c == '\\' || (stopAtSlash && c == '/') || (stopAtNonAscii && c >= 0x80))
            break;
    }
    return static_cast<std::size_t>(at - begin);
}

} // namespace lorekeep::json
