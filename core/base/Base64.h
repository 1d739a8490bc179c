#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lorekeep {

/// Base64 with the standard alphabet ("+" and "/") and "=" padding, on one line.
namespace base64 {

[[nodiscard]] std::string encode(std::string_view bytes);
/// The bytes of canonical base64 text: a multiple of four characters of the standard alphabet, padded with at most
/// two "=", unused bits zero. Anything else (line breaks, blanks, the URL-safe alphabet) gives nothing.
[[nodiscard]] std::optional<std::string> decode(std::string_view text);

} // namespace base64
} // namespace lorekeep
