#include "base/Sha256.h"

namespace lorekeep {

Sha256::Digest Sha256::of(std::string_view bytes) {
    Sha256 state;
    state.update(bytes.data(), bytes.size());
    return state.finish();
}

std::string Sha256::hex(const std::uint8_t* bytes, std::size_t count) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text(2 * count, '0');
    for (std::size_t i = 0; i < count; ++i) {
        text[2 * i] = digits[bytes[i] >> 4];
        text[2 * i + 1] = digits[bytes[i] & 0xf];
    }
    return text;
}

} // namespace lorekeep
